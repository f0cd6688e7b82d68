/*
 * cleanup_test.cpp - nothing temporary outlives a process, however it ends
 */
#include "zelkov/cleanup.h"

#include <csignal>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/scratch_directory.h"
#include "zelkov/file.h"

namespace {

/* Runs `work` in a process of its own, with `directory` as the place for temporary files, and
 * answers its wait status. */
int inProcess(const ScratchDirectory &directory, const std::function<void()> &work)
{
    fflush(stdout);
    pid_t child = fork();
    if (child == 0) {
        setenv("KV_TMP", directory.path.c_str(), 1);
        work();
        exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return status;
}

void openBothKinds(const ScratchDirectory &directory)
{
    static ZFile *kept[2]; /* open at the end, and no leak */
    cleanup_removePrivateDirectory();
    kept[0] = fopenw("", (directory / "out.ps").c_str(), "", 0);
    kept[1] = fopent("", "font", "KV_TMP:.tmp", 0);
    fputstr(kept[0], "half a file");
    fputstr(kept[1], "half a font");
}

} // namespace

TEST(Cleanup, EachEndingSignalRemovesTheTemporaryFilesFirst)
{
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ScratchDirectory directory;
        int status = inProcess(directory, [&] {
            openBothKinds(directory);
            if (directory.names().size() != 2)
                exit(99);
            raise(signal);
        });
        EXPECT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_TRUE(directory.names().empty()) << signal;
    }
}

TEST(Cleanup, ASignalThatWasIgnoredStaysIgnored)
{
    ScratchDirectory directory;
    int status = inProcess(directory, [&] {
        /* As nohup does, before the program begins; the parent may have installed its own. */
        std::signal(SIGHUP, SIG_IGN);
        cleanup_install();
        raise(SIGHUP);
    });
    EXPECT_TRUE(WIFEXITED(status));
}

TEST(Cleanup, TheExitRemovesThePrivateDirectoryWithItsContent)
{
    ScratchDirectory directory;
    int status = inProcess(directory, [&] { openBothKinds(directory); });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(directory.names().empty());
}

TEST(Cleanup, ThePrivateDirectoryIsForItsOwnerAlone)
{
    ScratchDirectory directory;
    int status = inProcess(directory, [&] {
        cleanup_removePrivateDirectory();
        const std::string &path = cleanup_privateDirectory();
        struct stat info;
        bool good = path.starts_with(directory.path) && stat(path.c_str(), &info) == 0 &&
                    (info.st_mode & 07777) == 0700;
        exit(good ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
}
