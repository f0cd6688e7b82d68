/*
 * cleanup_test.cpp - nothing temporary outlives a process, however it ends
 */
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/scratch_directory.h"
#include "zelkov/cleanup.h"
#include "zelkov/file.h"
#include "zelkov/host.h"
#include "zelkov/process.h"

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

/* As if the process had just begun in the environment that is set now. */
void startAnew()
{
    host_removePrivateDirectory(host());
    process_readEnvironment();
}

void openBothKinds(const ScratchDirectory &directory)
{
    static ZFile *kept[2]; /* open at the end, and no leak */
    startAnew();
    kept[0] = fopenw("", (directory / "out.ps").c_str(), "", 0);
    kept[1] = fopent("", "font", "KV_TMP:.tmp", 0);
    fputstr(kept[0], "half a file");
    fputstr(kept[1], "half a font");
}

} // namespace

TEST(Cleanup, EachEndingSignalRemovesTheTemporaryFilesFirst)
{
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGXCPU, SIGALRM}) {
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
        process_begin();
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
        startAnew();
        const std::string &path = host_privateDirectory();
        struct stat info;
        bool good = path.starts_with(directory.path) && stat(path.c_str(), &info) == 0 &&
                    (info.st_mode & 07777) == 0700;
        exit(good ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
}

TEST(Cleanup, ThePrivateDirectoryIsMadeWhereTheEnvironmentSays)
{
    struct Case {
        const char *own, *general; /* KV_TMP and TMPDIR; null: not set */
        const char *expected;
    };
    ScratchDirectory own, general;
    const Case cases[] = {
        {own.path.c_str(), general.path.c_str(), own.path.c_str()},
        {nullptr, general.path.c_str(), general.path.c_str()},
        {"", general.path.c_str(), general.path.c_str()},
        {nullptr, nullptr, "/tmp"},
        {"", "", "/tmp"},
    };
    auto set = [](const char *name, const char *value) {
        value ? setenv(name, value, 1) : unsetenv(name);
    };
    for (const Case &c : cases) {
        int status = inProcess(own, [&] {
            set("KV_TMP", c.own);
            set("TMPDIR", c.general);
            startAnew();
            std::string parent = std::string(c.expected) + "/";
            const std::string &path = host_privateDirectory();
            bool good = path.starts_with(parent) && path.ends_with("/") &&
                        path.find('/', parent.size()) == path.size() - 1;
            exit(good ? 0 : 1);
        });
        EXPECT_EQ(status, 0) << c.expected;
    }
    EXPECT_TRUE(own.names().empty());
    EXPECT_TRUE(general.names().empty());
}

TEST(Cleanup, ADirectoryThatCannotBeMadeFailsTheOpen)
{
    ScratchDirectory directory;
    int status = inProcess(directory, [&] {
        setenv("KV_TMP", (directory / "absent").c_str(), 1);
        startAnew();
        errno = 0;
        ZFile *file = fopent("", "font", "KV_TMP:.tmp", 0);
        exit(!file && errno == ENOENT ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(directory.names().empty());
}

TEST(Cleanup, TemporaryFilesOfOneNameInTwoProcessesNeverMeet)
{
    ScratchDirectory directory;
    /* Writes a temporary file, stands still when asked to, and reads it back. */
    auto work = [](const char *content, bool pause) {
        startAnew();
        ZFile *file = fopent("", "font", "KV_TMP:.tmp", 0);
        fputstr(file, content);
        frewind(file);
        if (pause)
            raise(SIGSTOP);
        char line[LINE_BYTES] = "";
        fgetstr(file, line);
        fclosx(file);
        exit(line == std::string(content) ? 0 : 1);
    };
    fflush(stdout);
    pid_t first = fork();
    if (first == 0) {
        setenv("KV_TMP", directory.path.c_str(), 1);
        work("the first one's", true);
    }
    int status = 0;
    waitpid(first, &status, WUNTRACED);
    EXPECT_TRUE(WIFSTOPPED(status));
    EXPECT_EQ(inProcess(directory, [&] { work("another", false); }), 0);
    EXPECT_EQ(directory.names().size(), 1U) << "the one that stands still has its directory yet";
    kill(first, SIGCONT);
    waitpid(first, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(directory.names().empty());
}

TEST(Cleanup, ClosedTemporaryFilesLeaveTheListFreeForOthers)
{
    ScratchDirectory directory;
    int status = inProcess(directory, [&] {
        startAnew();
        /* More than the list has room for, one after the other. */
        for (int i = 0; i < 200; i++) {
            ZFile *file = fopent("", ("font" + std::to_string(i)).c_str(), "KV_TMP:.tmp", 0);
            fputstr(file, "x");
            fclosx(file);
            if (access((host_privateDirectory() + "font" + std::to_string(i) + ".tmp").c_str(),
                       F_OK) == 0)
                exit(98);
        }
        openBothKinds(directory);
        raise(SIGTERM);
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(directory.names().empty()) << "the last two were still on the list";
}

TEST(Cleanup, TheListHolds64PathsAndSaysWhenItIsFull)
{
    ScratchDirectory directory;
    int status = inProcess(directory, [&] {
        startAnew();
        int taken = 0;
        while (taken < 1000 && cleanup_add(directory / std::to_string(taken)))
            taken++;
        if (taken != 64)
            exit(99);
        cleanup_forget(directory / "7");
        exit(cleanup_add(directory / "another") && !cleanup_add(directory / "more") ? 0 : 1);
    });
    EXPECT_EQ(status, 0);
}
