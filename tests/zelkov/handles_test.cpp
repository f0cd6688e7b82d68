/*
 * handles_test.cpp - the kinds of file handle beside plain files: memory, descriptors, sinks
 *
 * Also what is said about a file that could not be opened or written, and what stays when it could
 * not.
 */
#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "tests/support/scratch_directory.h"
#include "zelkov/file.h"
#include "zelkov/host.h"

namespace {

std::string allOf(ZFile *file)
{
    std::string bytes(1 << 20, '\0');
    bytes.resize(fgetm(file, bytes.data(), bytes.size()));
    return bytes;
}

/* A sink that keeps what it gets, up to a number of bytes. */
struct Kept {
    std::string bytes;
    size_t room = SIZE_MAX;
    int calls = 0;

    static int write(void *context, const uint8_t *bytes, size_t count)
    {
        Kept *kept = static_cast<Kept *>(context);
        kept->calls++;
        if (count > kept->room - kept->bytes.size())
            return ENOSPC;
        kept->bytes.append(reinterpret_cast<const char *>(bytes), count);
        return 0;
    }
    ZFileSink sink() { return {write, this}; }
};

std::string saidBy(const std::function<void()> &work)
{
    testing::internal::CaptureStderr();
    work();
    return testing::internal::GetCapturedStderr();
}

} // namespace

TEST(MemoryInput, IsReadAsAFileIs)
{
    const std::string content = "first\r\nsecond" + std::string(100000, 'x');
    errno = EIO;
    ZFile *file = fopenmemory(content.data(), content.size());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(fgeteof(file), content.size());
    char line[LINE_BYTES];
    EXPECT_EQ(fgetstr(file, line), 5);
    EXPECT_STREQ(line, "first");
    EXPECT_EQ(fgetb(file), 's');
    file->position--;
    EXPECT_TRUE(allOf(file) == content.substr(7));
    EXPECT_EQ(fgetb(file), -1);
    EXPECT_EQ(errno, ENODATA);
    fputp(file, 0xFFFFFFFF);
    EXPECT_EQ(fgetb(file), -1);
    EXPECT_EQ(fgetp(file), 0xFFFFFFFF);
    EXPECT_EQ(fputb(file, 'x'), -1);
    EXPECT_EQ(fclosx(file), 0);
}

TEST(MemoryInput, MayBeEmptyButNotOf4GiB)
{
    ZFile *file = fopenmemory("", 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fgetb(file), -1);
    EXPECT_EQ(errno, ENODATA);
    fclosx(file);
    EXPECT_EQ(fopenmemory("", (size_t)UINT32_MAX + 1), nullptr);
    EXPECT_EQ(errno, EFBIG);
}

TEST(DescriptorInput, OfAFileIsReadFromItsBeginningAndStaysOpen)
{
    ScratchDirectory directory;
    int descriptor = open(directory.write("in.dat", "abcdef").c_str(), O_RDONLY);
    ASSERT_GE(descriptor, 0);
    ASSERT_EQ(lseek(descriptor, 3, SEEK_SET), 3);
    ZFile *file = fopendescriptor(descriptor);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(allOf(file), "abcdef");
    EXPECT_EQ(fopenw("", (directory / "in.dat").c_str(), "", 0), nullptr) << "it is an input";
    EXPECT_EQ(errno, EEXIST);
    fclosx(file);
    EXPECT_EQ(lseek(descriptor, 0, SEEK_CUR), 3) << "and its position is left alone";
    close(descriptor);
}

TEST(DescriptorInput, OfAPipeIsReadToItsEnd)
{
    const std::string content(300000, 'p');
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::thread writer([&] {
        size_t done = 0;
        while (done < content.size())
            done += (size_t)write(ends[1], content.data() + done, content.size() - done);
        close(ends[1]);
    });
    ZFile *file = fopendescriptor(ends[0]);
    writer.join();
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fgeteof(file), content.size());
    fputp(file, 299999);
    EXPECT_EQ(fgetb(file), 'p');
    frewind(file);
    EXPECT_TRUE(allOf(file) == content);
    fclosx(file);
    close(ends[0]);
}

TEST(DescriptorInput, ThatIsNoneFails)
{
    EXPECT_EQ(fopendescriptor(-1), nullptr);
    EXPECT_EQ(errno, EBADF);
    int directory = open("/", O_RDONLY | O_DIRECTORY);
    EXPECT_EQ(fopendescriptor(directory), nullptr);
    EXPECT_EQ(errno, EISDIR);
    close(directory);
}

TEST(SinkOutput, GetsEveryByteInOrder)
{
    Kept kept;
    ZFile *file = fopensink(kept.sink());
    ASSERT_NE(file, nullptr);
    std::string expected;
    for (int i = 0; i < 20000; i++) {
        fputstr(file, std::to_string(i).c_str());
        expected += std::to_string(i) + "\n";
    }
    std::string much(200000, 'm');
    fputm(file, much.data(), much.size());
    EXPECT_EQ(fgetp(file), expected.size() + much.size());
    EXPECT_EQ(fclosx(file), 0);
    EXPECT_TRUE(kept.bytes == expected + much);
    EXPECT_LT(kept.calls, 20) << "in whole buffers";
}

TEST(SinkOutput, IsNotCalledAgainOnceItHasFailed)
{
    Kept kept;
    kept.room = 100000;
    ZFile *file = fopensink(kept.sink());
    std::string piece(70000, 'm');
    EXPECT_EQ(fputm(file, piece.data(), piece.size()), 0);
    EXPECT_EQ(fputm(file, piece.data(), piece.size()), -1);
    EXPECT_EQ(errno, ENOSPC);
    int calls = kept.calls;
    EXPECT_EQ(fputm(file, piece.data(), piece.size()), -1);
    EXPECT_EQ(zfile_writeError(file), ENOSPC);
    EXPECT_EQ(fclosx(file), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(kept.calls, calls);
}

TEST(FileReasons, AnOpenThatFailsSaysTheNameTriedAndWhy)
{
    ScratchDirectory directory;
    std::string base = directory.path;
    EXPECT_EQ(saidBy([&] { fopenr("", (base + "/none").c_str(), ".pdf", 0); }),
              base + "/none.pdf: No such file or directory\n");
    EXPECT_EQ(saidBy([&] { fopenr("", base.c_str(), "", 0); }), base + ": Is a directory\n");
    EXPECT_EQ(saidBy([&] { fopenr("", "", ".pdf", 0); }), "") << "there is no name to tell";
    EXPECT_EQ(saidBy([&] { fopenw("", (base + "/no/out").c_str(), ".ps", 0); }),
              base + "/no/out.ps: No such file or directory\n");
    EXPECT_EQ(saidBy([&] { fopent("", (base + "/no/font").c_str(), ".tmp", 0); }),
              base + "/no/font.tmp: No such file or directory\n");
    EXPECT_EQ(saidBy([&] { fopenr("", (base + "/").c_str(), ".pdf", 0); }),
              base + "/: Is a directory\n");
}

TEST(FileReasons, AWriteThatFailsSaysSoOnce)
{
    EXPECT_EQ(saidBy([&] {
                  ZFile *file = fopenw("", "/dev/full", "", 0);
                  std::string much(300000, 'x');
                  fputm(file, much.data(), much.size());
                  fputm(file, much.data(), much.size());
                  fclosx(file);
              }),
              "/dev/full: No space left on device\n");
}

TEST(FileNames, ANameThatIsAFileAsItStandsIsOpenedSo)
{
    ScratchDirectory directory;
    directory.write("doc", "exact");
    directory.write("doc.pdf", "completed");
    ZFile *file = fopenr("", (directory / "doc").c_str(), ".pdf", 0);
    EXPECT_EQ(allOf(file), "exact");
    fclosx(file);
    unlink((directory / "doc").c_str());
    mkdir((directory / "doc").c_str(), 0700);
    file = fopenr("", (directory / "doc").c_str(), ".pdf", 0);
    ASSERT_NE(file, nullptr) << "a directory is no such file";
    EXPECT_EQ(allOf(file), "completed");
    fclosx(file);
}

TEST(OlderOutput, StaysUntilAWholeNewOneTakesItsPlace)
{
    ScratchDirectory directory;
    std::string path = directory.write("out.ps", "the user's");
    ZFile *file = fopenw("", path.c_str(), "", 0);
    fputstr(file, "half");
    EXPECT_EQ(fcldelete(file), 0);
    EXPECT_EQ(readFile(path), "the user's");
    EXPECT_EQ(directory.names(), std::vector<std::string>{"out.ps"});
}

TEST(FileReasons, AReadErrorIsRememberedUntilTheFileIsClosed)
{
    /* A process may not read its own memory at address 0: a regular file whose reads fail. */
    ZFile *file = fopenr("", "/proc/self/mem", "", 0);
    ASSERT_NE(file, nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(fgetb(file), -1);
    EXPECT_EQ(errno, EIO);
    ZFile *other = fopenmemory("", 0);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(zfile_readError(file), EIO);
    EXPECT_EQ(zfile_readError(other), 0);
    EXPECT_EQ(fgetb(other), -1);
    EXPECT_EQ(zfile_readError(other), 0) << "the end is no error";
    fclosx(other);
    fclosx(file);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "/proc/self/mem: Input/output error\n");
}

TEST(Hosts, InTwoThreadsHaveTheirOwnTemporaryFilesAndInputs)
{
    ScratchDirectory directory;
    directory.write("in.dat", "x");
    auto run = [&](const std::string &mine, std::string *back) {
        Host own;
        own.temporaryParent = directory.path;
        HostScope scope(own);
        ZFile *file = fopent("", "font", "KV_TMP:.tmp", 0);
        fputstr(file, mine.c_str());
        for (int i = 0; i < 1000; i++) {
            frewind(file);
            char line[LINE_BYTES];
            fgetstr(file, line);
            *back = line;
            if (*back != mine)
                break;
        }
        fclosx(file);
    };
    std::string a, b;
    std::thread first(run, "one", &a), second(run, "two", &b);
    first.join();
    second.join();
    EXPECT_EQ(a, "one");
    EXPECT_EQ(b, "two");
    EXPECT_EQ(directory.names(), std::vector<std::string>{"in.dat"}) << "nothing is left";
}
