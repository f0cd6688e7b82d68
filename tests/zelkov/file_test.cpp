/*
 * file_test.cpp - file handles: positions, lines, errno, atomic output
 */
#include "zelkov/file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/scratch_directory.h"
#include "zelkov/format.h"

namespace {

ZFile *openInput(const ScratchDirectory &directory, const std::string &content)
{
    return fopenr("", directory.write("in.dat", content).c_str(), "", 0);
}

/* The line read, or "(failed)". */
std::string nextLine(ZFile *file)
{
    char line[LINE_BYTES];
    return fgetstr(file, line) >= 0 ? line : "(failed)";
}

} // namespace

TEST(FileReading, BytesAreDeliveredInOrderAndCanBeUnread)
{
    ScratchDirectory directory;
    ZFile *file = openInput(directory, "abc");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(fgetb(file), 'a');
    EXPECT_EQ(fgetb(file), 'b');
    file->position--;
    EXPECT_EQ(fgetb(file), 'b');
    EXPECT_EQ(fgetp(file), 2U);
    EXPECT_EQ(fgeteof(file), 3U);
    fclosx(file);
}

TEST(FileReading, TheEndOfTheFileIsAFailureOfFgetbAndDoesNotMove)
{
    ScratchDirectory directory;
    ZFile *file = openInput(directory, "a");
    fgetb(file);
    EXPECT_EQ(fgetb(file), -1);
    EXPECT_EQ(errno, ENODATA);
    EXPECT_EQ(fgetp(file), 1U);
    file->position--;
    EXPECT_EQ(fgetb(file), 'a');
    EXPECT_EQ(errno, ENODATA) << "an error stays visible until the next open";
    ZFile *other = fopenr("", file->body ? (directory / "in.dat").c_str() : "", "", 0);
    EXPECT_EQ(errno, 0);
    fclosx(other);
    fclosx(file);
}

TEST(FileReading, APositionBeyondTheEndIsAllowedAndTheNextReadFails)
{
    ScratchDirectory directory;
    ZFile *file = openInput(directory, "abc");
    fputp(file, 0xFFFFFFFF);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(fgetb(file), -1);
    EXPECT_EQ(fgetp(file), 0xFFFFFFFF);
    frewind(file);
    EXPECT_EQ(fgetb(file), 'a');
    fclosx(file);
}

TEST(FileReading, FgetmAnswersTheCountItCouldReadAndTheEndIsNoFailure)
{
    ScratchDirectory directory;
    ZFile *file = openInput(directory, "abcde");
    char buffer[8] = {};
    EXPECT_EQ(fgetm(file, buffer, 3), 3U);
    EXPECT_EQ(fgetm(file, buffer, 8), 2U);
    EXPECT_EQ(fgetm(file, buffer, 8), 0U);
    EXPECT_EQ(errno, 0);
    fclosx(file);
}

TEST(FileReading, LargePiecesAndSingleBytesSeeTheSameFile)
{
    std::string content;
    for (int i = 0; i < 300000; i++)
        content += (char)(i * 7 + i / 256);
    ScratchDirectory directory;
    ZFile *file = openInput(directory, content);
    std::string seen;
    size_t sizes[] = {1, 8191, 8192, 8193, 70000, 3, 100000};
    for (size_t turn = 0; seen.size() < content.size(); turn++) {
        std::string piece(sizes[turn % std::size(sizes)], '\0');
        piece.resize(fgetm(file, piece.data(), piece.size()));
        seen += piece;
        int byte = fgetb(file);
        if (byte >= 0)
            seen += (char)byte;
    }
    EXPECT_TRUE(seen == content);
    /* Jumping about: blocks that share a slot of the cache push each other out. */
    for (uint32_t at : {0U, 8192U * 3, 299999U, 8191U, 8192U, 1U, 262144U, 8192U * 3}) {
        fputp(file, at);
        EXPECT_EQ(fgetb(file), (unsigned char)content[at]) << at;
    }
    fclosx(file);
}

TEST(FileReading, LinesEndWithLineFeedReturnOrBoth)
{
    ScratchDirectory directory;
    ZFile *file = openInput(directory, "one\ntwo\rthree\r\nfour\n\r\nlast");
    EXPECT_EQ(nextLine(file), "one");
    EXPECT_EQ(nextLine(file), "two");
    EXPECT_EQ(nextLine(file), "three");
    EXPECT_EQ(nextLine(file), "four");
    EXPECT_EQ(nextLine(file), "") << "CR LF behind LF is a line of its own";
    EXPECT_EQ(nextLine(file), "last");
    EXPECT_EQ(errno, 0) << "a last line without end is no failure";
    EXPECT_EQ(nextLine(file), "(failed)");
    EXPECT_EQ(errno, ENODATA);
    fclosx(file);
}

TEST(FileReading, ALineKeepsIts255FirstBytesAndTheRestIsDropped)
{
    ScratchDirectory directory;
    for (size_t length : {254U, 255U, 256U, 20000U}) {
        ZFile *file = openInput(directory, std::string(length, 'x') + "\nnext\n");
        EXPECT_EQ(nextLine(file), std::string(std::min<size_t>(length, 255), 'x'));
        EXPECT_EQ(nextLine(file), "next") << length;
        fclosx(file);
    }
}

TEST(FileReading, ALineEndAcrossABlockIsOneLineEnd)
{
    ScratchDirectory directory;
    ZFile *file = openInput(directory, std::string(8191, 'x') + "\r\nnext");
    nextLine(file);
    EXPECT_EQ(nextLine(file), "next");
    fclosx(file);
}

TEST(FileOpening, OnlyRegularFilesAreRead)
{
    ScratchDirectory directory;
    EXPECT_EQ(fopenr("", directory.path.c_str(), "", 0), nullptr);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(fopenr("", (directory / "absent").c_str(), ".pdf", 0), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(fopenr("", "/dev/null", "", 0), nullptr);
    EXPECT_NE(errno, 0);
    std::string pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(fopenr("", pipe.c_str(), "", 0), nullptr) << "and is not waited for";
    EXPECT_NE(errno, 0);
}

TEST(FileOpening, FourGibibytesAreRefused)
{
    ScratchDirectory directory;
    std::string path = directory.write("big.dat", "");
    ASSERT_EQ(truncate(path.c_str(), (off_t)1 << 32), 0);
    EXPECT_EQ(fopenr("", path.c_str(), "", 0), nullptr);
    EXPECT_EQ(errno, EFBIG);
    ASSERT_EQ(truncate(path.c_str(), ((off_t)1 << 32) - 1), 0);
    ZFile *file = fopenr("", path.c_str(), "", 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fgeteof(file), 0xFFFFFFFF);
    fputp(file, 0xFFFFFFFE);
    EXPECT_EQ(fgetb(file), 0);
    EXPECT_EQ(fgetb(file), -1);
    fclosx(file);
}

TEST(FileWriting, NobodySeesHalfAFile)
{
    ScratchDirectory directory;
    directory.write("out.ps", "old");
    ZFile *file = fopenw("", (directory / "out").c_str(), ".ps", 0);
    ASSERT_NE(file, nullptr);
    fputstr(file, "new");
    EXPECT_EQ(readFile(directory / "out.ps"), "old");
    EXPECT_EQ(directory.names().size(), 2U) << "a hidden file beside it";
    EXPECT_EQ(fclosx(file), 0);
    EXPECT_EQ(readFile(directory / "out.ps"), "new\n");
    EXPECT_EQ(directory.names(), std::vector<std::string>{"out.ps"});
}

TEST(FileWriting, FcldeleteThrowsAwayWhatWasWrittenAndKeepsTheOlderFile)
{
    ScratchDirectory directory;
    directory.write("out.ps", "old");
    ZFile *file = fopenw("", (directory / "out.ps").c_str(), "", 0);
    fputstr(file, "new");
    EXPECT_EQ(fcldelete(file), 0);
    EXPECT_EQ(directory.names(), std::vector<std::string>{"out.ps"});
    EXPECT_EQ(readFile(directory / "out.ps"), "old");
}

TEST(FileWriting, AFileThatIsOpenAsInputIsNotOverwritten)
{
    ScratchDirectory directory;
    std::string path = directory.write("doc.pdf", "precious");
    ASSERT_EQ(link(path.c_str(), (directory / "other.pdf").c_str()), 0);
    ZFile *input = fopenr("", path.c_str(), "", 0);
    EXPECT_EQ(fopenw("", path.c_str(), "", 0), nullptr);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(fopenw("", (directory / "other.pdf").c_str(), "", 0), nullptr)
        << "the same file by another name";
    EXPECT_EQ(errno, EEXIST);
    fclosx(input);
    EXPECT_EQ(readFile(path), "precious");
    ZFile *output = fopenw("", path.c_str(), "", 0);
    EXPECT_NE(output, nullptr) << "once it is closed it may be";
    fclosx(output);
}

TEST(FileWriting, AFileThatIsOpenAsInputIsNotWrittenThroughADescriptorEither)
{
    ScratchDirectory directory;
    std::string path = directory.write("doc.pdf", "precious");
    ZFile *input = fopenr("", path.c_str(), "", 0);
    int descriptor = open(path.c_str(), O_WRONLY | O_APPEND);
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(fopenw("", ("/dev/fd/" + std::to_string(descriptor)).c_str(), "", 0), nullptr);
    EXPECT_EQ(errno, EEXIST);
    close(descriptor);
    fclosx(input);
}

TEST(FileWriting, AFileThatMayNotGrowIsAWriteErrorAndNoSignal)
{
    ScratchDirectory directory;
    ZFile *file = fopenw("", (directory / "out.ps").c_str(), "", 0);
    ASSERT_NE(file, nullptr);
    rlimit before;
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit limit = {4096, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    for (int i = 0; i < 1000; i++)
        fputstr(file, "a line that fills the file");
    int result = fclosx(file);
    int cause = errno;
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(cause, EFBIG);
    EXPECT_TRUE(directory.names().empty());
}

TEST(FileWriting, TheModeOfTheDestinationIsKept)
{
    ScratchDirectory directory;
    std::string path = directory.write("out.ps", "old");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    fclosx(fopenw("", path.c_str(), "", 0));
    struct stat info;
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640U);
}

TEST(FileWriting, OfTheModeOfTheDestinationOnlyThePermissionsAreKept)
{
    ScratchDirectory directory;
    std::string path = directory.write("out.ps", "old");
    ASSERT_EQ(chmod(path.c_str(), 06755), 0);
    fclosx(fopenw("", path.c_str(), "", 0));
    struct stat info;
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0755U);
}

TEST(FileWriting, ASymbolicLinkIsWrittenThrough)
{
    ScratchDirectory directory;
    directory.write("real.ps", "old");
    ASSERT_EQ(symlink("real.ps", (directory / "link.ps").c_str()), 0);
    ZFile *file = fopenw("", (directory / "link.ps").c_str(), "", 0);
    fputstr(file, "new");
    EXPECT_EQ(fclosx(file), 0);
    EXPECT_EQ(readFile(directory / "real.ps"), "new\n");
    struct stat info;
    ASSERT_EQ(lstat((directory / "link.ps").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
}

TEST(FileWriting, ASymbolicLinkToNoFileYetMakesThatFile)
{
    ScratchDirectory directory;
    ASSERT_EQ(mkdir((directory / "sub").c_str(), 0700), 0);
    ASSERT_EQ(symlink("../second.ps", (directory / "sub/first.ps").c_str()), 0);
    ASSERT_EQ(symlink((directory / "real.ps").c_str(), (directory / "second.ps").c_str()), 0);
    ZFile *file = fopenw("", (directory / "sub/first.ps").c_str(), "", 0);
    ASSERT_NE(file, nullptr);
    fputstr(file, "new");
    EXPECT_EQ(fclosx(file), 0);
    EXPECT_EQ(readFile(directory / "real.ps"), "new\n");
    EXPECT_EQ(directory.names(), (std::vector<std::string>{"real.ps", "second.ps", "sub"}));
    struct stat info;
    ASSERT_EQ(lstat((directory / "sub/first.ps").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
}

TEST(FileWriting, APipeIsWrittenDirectlyWithoutExtensionAndNeverRemoved)
{
    ScratchDirectory directory;
    std::string pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ZFile *file = fopenw("", pipe.c_str(), ".ps", 0);
    ASSERT_NE(file, nullptr);
    fputstr(file, "text");
    EXPECT_EQ(fcldelete(file), 0);
    EXPECT_EQ(directory.names(), std::vector<std::string>{"pipe"});
    close(reader);
}

TEST(FileWriting, AFullDeviceShowsAtTheLatestWhenItIsClosed)
{
    ZFile *file = fopenw("", "/dev/full", ".ps", 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fputstr(file, "x"), 0) << "still in the buffer";
    EXPECT_EQ(fclosx(file), -1);
    EXPECT_EQ(errno, ENOSPC);

    file = fopenw("", "/dev/full", ".ps", 0);
    std::string much(100000, 'x');
    EXPECT_EQ(fputm(file, much.data(), much.size()), -1);
    EXPECT_EQ(errno, ENOSPC);
    ScratchDirectory directory;
    ZFile *other = openInput(directory, "");
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(zfile_writeError(file), ENOSPC) << "an open does not take the error away";
    EXPECT_EQ(fclosx(file), -1);
    EXPECT_EQ(errno, ENOSPC);
    fclosx(other);
}

TEST(FileWriting, AClosedPipeIsAWriteErrorAndNoSignal)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    ZFile *file = fopenw("", ("/dev/fd/" + std::to_string(ends[1])).c_str(), ".ps", 0);
    ASSERT_NE(file, nullptr);
    fputstr(file, "x");
    EXPECT_EQ(fclosx(file), -1);
    EXPECT_EQ(errno, EPIPE);
    close(ends[1]);
}

TEST(FileWriting, ADirectoryThatDoesNotExistIsAnError)
{
    ScratchDirectory directory;
    EXPECT_EQ(fopenw("", (directory / "absent/out.ps").c_str(), "", 0), nullptr);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(fopenw("", "", ".ps", 0), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST(FileWriting, NumbersAreThoseOfPrintf)
{
    ScratchDirectory directory;
    ZFile *file = fopenw("", (directory / "out.ps").c_str(), "", 0);
    std::string expected;
    const double infinite = std::numeric_limits<double>::infinity();
    for (double value :
         {0.0,     -0.0,     1.0,          -1.0,      278.0,    278.5,     0.1,
          -0.05,   999999.0, -999999.0,    1000000.0, 999999.5, 1234567.0, 0.0001,
          0.00001, 123456.7, 2147483648.0, 1e100,     -1e-300,  infinite,  -infinite}) {
        fputnumber(file, value);
        fputb(file, ' ');
        char text[64];
        snprintf(text, sizeof text, "%g ", value);
        expected += text;
    }
    EXPECT_EQ(fclosx(file), 0);
    EXPECT_EQ(readFile(directory / "out.ps"), expected);
}

TEST(FileWriting, FormattedLinesHaveNoLimit)
{
    ScratchDirectory directory;
    ZFile *file = fopenw("", (directory / "out.ps").c_str(), "", 0);
    std::string longText(100000, 'y');
    fputstr_arg(file, "%d %s", 5, longText.c_str());
    fputstr_arg_noeol(file, "%s|", "a%d");
    fputstr(file, "100%d");
    EXPECT_EQ(fclosx(file), 0);
    EXPECT_TRUE(readFile(directory / "out.ps") == "5 " + longText + "\na%d|100%d\n");
}

TEST(TemporaryFile, WhatWasWrittenCanBeReadBack)
{
    ZFile *file = fopent("", "probe", "KV_TMP:.tmp", 0);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(errno, 0);
    std::string content(200000, 'z');
    fputm(file, "abc", 3);
    fputm(file, content.data(), content.size());
    EXPECT_EQ(fgeteof(file), 200003U);
    frewind(file);
    std::string back(300000, '\0');
    back.resize(fgetm(file, back.data(), back.size()));
    EXPECT_TRUE(back == "abc" + content);
    fputp(file, 1);
    fputb(file, 'B');
    fputp(file, 0);
    EXPECT_EQ(fgetb(file), 'a');
    EXPECT_EQ(fgetb(file), 'B');
    EXPECT_EQ(fgetb(file), 'c');
    EXPECT_EQ(fclosx(file), 0);
}

TEST(TemporaryFile, TheSameNameBeginsEmpty)
{
    ZFile *file = fopent("", "again", "KV_TMP:.tmp", 0);
    fputstr(file, "long text");
    fclosx(file);
    file = fopent("", "again", "KV_TMP:.tmp", 0);
    EXPECT_EQ(fgeteof(file), 0U);
    fclosx(file);
}

TEST(FileErrors, EveryOpenClearsErrnoAndNoOtherCallTouchesItWhenAllIsWell)
{
    ScratchDirectory directory;
    errno = EIO;
    ZFile *output = fopenw("", (directory / "out.ps").c_str(), "", 0);
    ASSERT_NE(output, nullptr);
    EXPECT_EQ(errno, 0);
    errno = EIO;
    ZFile *temporary = fopent("", (directory / "font").c_str(), ".tmp", 0);
    ASSERT_NE(temporary, nullptr);
    EXPECT_EQ(errno, 0);

    errno = EIO;
    for (ZFile *file : {output, temporary}) {
        EXPECT_EQ(fputb(file, 'a'), 0);
        EXPECT_EQ(fputm(file, "bc", 2), 0);
        EXPECT_EQ(fputstr(file, "d"), 0);
        EXPECT_EQ(fgeteof(file), 5U);
        EXPECT_EQ(fgetp(file), 5U);
    }
    frewind(temporary);
    char line[LINE_BYTES];
    EXPECT_EQ(fgetb(temporary), 'a');
    EXPECT_EQ(fgetstr(temporary, line), 3);
    EXPECT_EQ(fgetm(temporary, line, 1), 0U);
    EXPECT_EQ(fclosx(temporary), 0);
    EXPECT_EQ(fclosx(output), 0);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(readFile(directory / "out.ps"), "abcd\n");
}

TEST(FileErrors, ADeletedOutputLeavesTheCauseInErrno)
{
    ScratchDirectory directory;
    ZFile *file = fopenw("", (directory / "out.ps").c_str(), "", 0);
    errno = ENOSPC;
    EXPECT_EQ(fcldelete(file), 0);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(directory.names().empty());
}

TEST(FileErrors, ReadingAnOutputAndWritingAnInputFail)
{
    ScratchDirectory directory;
    ZFile *input = openInput(directory, "abc");
    ZFile *output = fopenw("", (directory / "out.ps").c_str(), "", 0);
    EXPECT_EQ(fgetb(output), -1);
    EXPECT_EQ(errno, EBADF);
    errno = 0;
    EXPECT_EQ(fputb(input, 'x'), -1);
    EXPECT_EQ(errno, EBADF);
    errno = 0;
    EXPECT_EQ(fgetb(input), 'a');
    EXPECT_EQ(errno, 0);
    fclosx(input);
    fcldelete(output);
    EXPECT_EQ(readFile(directory / "in.dat"), "abc");
}
