/*
 * lexer_test.cpp - white space, comments, keywords and numbers, and where each leaves the input
 */
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"

#include <gtest/gtest.h>

#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

namespace {

using Texts = std::vector<std::string>;

/* The keyword at the start of `input`. */
std::string keywordOf(TestInstance &test)
{
    char keyword[KEYWORD_BYTES];
    readKeyword(test.run, test.run->input, keyword);
    return keyword;
}

double numberOf(const std::string &input, uint32_t *position = nullptr)
{
    TestInstance test(input);
    double value = readNumber(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{}) << input;
    if (position)
        *position = test.position();
    return value;
}

} // namespace

TEST(Lexer, CommentsAreWhiteSpaceToTheEndOfTheirLine)
{
    TestInstance test("% a % b ( <<\n  42 ");
    EXPECT_EQ(readInteger(test.run), 42);
    EXPECT_EQ(test.ahead(), " ");
}

TEST(Lexer, ACommentEndsAtAnyLineEndHoweverLongItIs)
{
    for (const char *end : {"\n", "\r", "\r\n"}) {
        TestInstance test("%" + std::string(1000, 'x') + end + "7 ");
        EXPECT_EQ(readInteger(test.run), 7);
    }
}

TEST(Lexer, WhiteSpaceIsThatOfThePosixLocale)
{
    TestInstance test(" \t\n\v\f\r7 ");
    skipWhite(test.run, test.run->input);
    EXPECT_EQ(test.ahead(), "7");
}

TEST(Lexer, ANulByteIsNotWhiteSpace)
{
    TestInstance test(std::string("  \0 7", 5));
    skipWhite(test.run, test.run->input);
    EXPECT_EQ(test.position(), 2U);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
}

TEST(Lexer, TheEndOfTheFileInWhiteSpaceIsAnError)
{
    TestInstance test("   ");
    skipWhite(test.run, test.run->input);
    EXPECT_EQ(test.controller.takeTexts(),
              Texts{"ZOLAK 4 BADSPACE: Error occurred during skipping white spaces."});
    EXPECT_NE(test.run->errorFlag, 0);
    skipWhite(test.run, test.run->input);
    EXPECT_EQ(test.controller.takeTexts(), Texts{}) << "does nothing once the flag is set";
}

TEST(Lexer, KeywordsAreLettersOnly)
{
    TestInstance test("  endstream3 ");
    EXPECT_EQ(keywordOf(test), "endstream");
    EXPECT_EQ(test.ahead(), "3");
    EXPECT_EQ(keywordOf(test), "") << "none here";
    EXPECT_EQ(test.ahead(), "3");
}

TEST(Lexer, ReadKeywordAnswersTheByteThatEndedIt)
{
    TestInstance test("abc] ");
    char keyword[KEYWORD_BYTES];
    EXPECT_EQ(readKeyword(test.run, test.run->input, keyword), ']');
}

TEST(Lexer, AKeywordAtTheEndOfTheFileIsAReadingError)
{
    TestInstance test("endobj");
    EXPECT_EQ(keywordOf(test), "endobj");
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 READERR: Reading error."});
    EXPECT_EQ(test.position(), 6U) << "not stepped back";
}

TEST(Lexer, TheLastOf255LettersIsReadAgain)
{
    TestInstance test(std::string(254, 'a') + "bc ");
    EXPECT_EQ(keywordOf(test), std::string(254, 'a') + "b");
    EXPECT_EQ(test.ahead(2), "bc");
    TestInstance shorter(std::string(254, 'a') + "] ");
    EXPECT_EQ(keywordOf(shorter), std::string(254, 'a'));
    EXPECT_EQ(shorter.ahead(2), "] ");
    TestInstance exact(std::string(254, 'a') + "b] ");
    EXPECT_EQ(keywordOf(exact), std::string(254, 'a') + "b");
    EXPECT_EQ(exact.ahead(2), "b]") << "though it has no more letters";
}

TEST(Lexer, Booleans)
{
    TestInstance test("true] false ");
    EXPECT_EQ(readBoolean(test.run), 1);
    EXPECT_EQ(test.ahead(), "]");
    test.seek(5);
    EXPECT_EQ(readBoolean(test.run), 0);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
}

TEST(Lexer, ALongerWordIsNoBoolean)
{
    TestInstance test("truex ");
    EXPECT_EQ(readBoolean(test.run), -1);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 NOBOOL: Boolean object expected."});
}

TEST(Lexer, NumbersAreSignDigitsAndOnePoint)
{
    uint32_t position;
    EXPECT_EQ(numberOf("-12.5 "), -12.5);
    EXPECT_EQ(numberOf("+.5 "), 0.5);
    EXPECT_EQ(numberOf("1.2.3 ", &position), 1.2);
    EXPECT_EQ(position, 3U) << "on the second point";
    EXPECT_EQ(numberOf("--5 ", &position), 0.0) << "the sign alone, and no message";
    EXPECT_EQ(position, 1U);
    EXPECT_EQ(numberOf("1e5 ", &position), 1.0);
    EXPECT_EQ(position, 1U);
    EXPECT_EQ(numberOf("5-3 ", &position), 5.0);
    EXPECT_EQ(position, 1U);
    EXPECT_EQ(numberOf(". ", &position), 0.0);
    EXPECT_EQ(position, 1U);
}

TEST(Lexer, AnIntegerIsTruncatedTowardZero)
{
    EXPECT_EQ(readInteger(TestInstance("-3.9 ").run), -3);
    EXPECT_EQ(readInteger(TestInstance("-12.5 ").run), -12);
    EXPECT_EQ(readInteger(TestInstance("3.9 ").run), 3);
}

TEST(Lexer, AnIntegerIsHeldToItsRange)
{
    EXPECT_EQ(readInteger(TestInstance("2147483647 ").run), INT32_MAX);
    EXPECT_EQ(readInteger(TestInstance("2147483646.9 ").run), 2147483646);
    EXPECT_EQ(readInteger(TestInstance("2147483648 ").run), INT32_MAX);
    EXPECT_EQ(readInteger(TestInstance("-2147483647.9 ").run), -2147483647);
    EXPECT_EQ(readInteger(TestInstance("-2147483648 ").run), INT32_MIN);
    EXPECT_EQ(readInteger(TestInstance("-2147483649 ").run), INT32_MIN);
    EXPECT_EQ(readInteger(TestInstance("-99999999999999999999999 ").run), INT32_MIN);
}

TEST(Lexer, WhatIsNoNumberIsReported)
{
    TestInstance test("/Name ");
    EXPECT_EQ(readNumber(test.run), 0.0);
    EXPECT_EQ(test.controller.takeTexts(),
              Texts{"ZOLAK 4 NONUMBER: Couldn't read number from PDF file."});
}

TEST(Lexer, ANumberHas255CharactersAndItsLastIsReadAgain)
{
    TestInstance test("0." + std::string(252, '0') + "15 ");
    EXPECT_NEAR(readNumber(test.run), 0.0, 1e-200);
    EXPECT_EQ(test.ahead(3), "15 ");
}

TEST(Lexer, ANumberAtTheEndOfTheFileStepsBackOverItsLastDigit)
{
    TestInstance test(" 12");
    EXPECT_EQ(readInteger(test.run), 12);
    EXPECT_EQ(test.position(), 2U);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    skipWhite(test.run, test.run->input);
    EXPECT_EQ(test.controller.takeTexts().size(), 1U) << "the failed read stays visible";
}

TEST(Lexer, NothingIsReadOnceTheErrorFlagIsSet)
{
    TestInstance test("true 5 ");
    test.run->errorFlag = 1;
    EXPECT_EQ(keywordOf(test), "");
    EXPECT_EQ(readBoolean(test.run), -1);
    EXPECT_EQ(readNumber(test.run), 0.0);
    EXPECT_EQ(test.position(), 0U);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
}

TEST(Scanning, AFileIsScannedSoManyTimesAndNoMore)
{
    /* Pages that share one large dictionary read it again each: time with the square of the file's
     * size. */
    TestInstance test("   1 2 3 ");
    test.run->limits.bytesScanned = 536870912 + 1024 * 9 - 4;
    EXPECT_EQ(readInteger(test.run), 1) << "three blanks and a digit";
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(readInteger(test.run), 0);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: Objects are shared too often."});
    EXPECT_EQ(readInteger(test.run), 0);
    EXPECT_EQ(test.controller.takeTexts(), Texts{}) << "once";
}

TEST(Scanning, WhateverCanBeLongIsCounted)
{
    const std::string thousand(1000, ' '), digits(1000, '1'), letters(1000, 'x');
    for (const std::string &value :
         {thousand + "1", "%" + letters + "\n1", digits, "/" + letters, "(" + letters + ")",
          "<" + digits + ">", std::string(500, '[') + std::string(500, ']')}) {
        TestInstance test(value + " ");
        test.run->limits.parsedDepth = -500;
        skipObject(test.run);
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << value;
        EXPECT_GE(test.run->limits.bytesScanned, 1000U) << value;
    }
}
