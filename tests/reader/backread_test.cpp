/*
 * backread_test.cpp - lines read backwards from the end of a file, where "startxref" is looked for
 */
#include "tools/zolak1_3/pdf_to_ps/reader/backread.h"

#include <cerrno>
#include <gtest/gtest.h>

#include "tests/support/test_instance.h"

namespace {

/* The last lines of `input`, last first, until the start of the file. */
std::vector<std::string> linesBackward(const std::string &input, int lines)
{
    TestInstance test(input);
    test.seek((uint32_t)input.size());
    std::vector<std::string> found;
    char line[LINE_BYTES];
    for (int i = 0; i < lines; i++) {
        readLineBackward(test.run->input, line);
        found.push_back(line);
    }
    return found;
}

} // namespace

TEST(BackwardLines, EveryLineEndCountsOnce)
{
    using Lines = std::vector<std::string>;
    EXPECT_EQ(linesBackward("zero\none\ntwo\n", 2), (Lines{"two", "one"}));
    EXPECT_EQ(linesBackward("zero\r\none\r\ntwo\r\n", 2), (Lines{"two", "one"}));
    EXPECT_EQ(linesBackward("zero\rone\rtwo\r", 2), (Lines{"two", "one"}));
    EXPECT_EQ(linesBackward("zero\n\rone\n\rtwo\n\r", 2), (Lines{"two", "one"}));
    EXPECT_EQ(linesBackward("zero\none\ntwo", 2), (Lines{"two", "one"}));
    EXPECT_EQ(linesBackward("zero\none\n\n", 2), (Lines{"", "one"}));
}

TEST(BackwardLines, TheInputIsLeftAtTheStartOfTheLine)
{
    TestInstance test("zero\none\n");
    test.seek(9);
    char line[LINE_BYTES];
    EXPECT_EQ(readLineBackward(test.run->input, line), 3);
    EXPECT_EQ(test.position(), 5U);
}

TEST(BackwardLines, ALongLineKeepsItsLast255Bytes)
{
    std::string longLine = std::string(1000, 'x') + std::string(255, 'y');
    TestInstance test("zero\n" + longLine + "\n");
    test.seek((uint32_t)(6 + longLine.size()));
    char line[LINE_BYTES];
    EXPECT_EQ(readLineBackward(test.run->input, line), 1255) << "all bytes are counted";
    EXPECT_EQ(line, std::string(255, 'y'));
}

TEST(BackwardLines, TheStartOfTheFileIsAReadFailure)
{
    TestInstance test("one\n");
    test.seek(4);
    char line[LINE_BYTES];
    EXPECT_EQ(readLineBackward(test.run->input, line), 3);
    EXPECT_STREQ(line, "one");
    EXPECT_EQ(errno, 1);
}
