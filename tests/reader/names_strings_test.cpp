/*
 * names_strings_test.cpp - strings and names, with the rules that are the reader's own
 */
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/strings.h"

namespace {

using Texts = std::vector<std::string>;

std::string stringOf(const std::string &input, std::string *rest = nullptr)
{
    TestInstance test(input + " ");
    StringPtr string = readString(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{}) << input;
    if (rest)
        *rest = test.ahead(20);
    return string ? string.get() : "(none)";
}

std::string nameOf(const std::string &input, std::string *rest = nullptr)
{
    TestInstance test(input + " ");
    NamePtr name = readName(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{}) << input;
    if (rest)
        *rest = test.ahead(20);
    return name ? name.get() : "(none)";
}

} // namespace

TEST(Strings, ParenthesesAreNotCounted)
{
    std::string rest;
    EXPECT_EQ(stringOf("(a(b)c)", &rest), "a(b");
    EXPECT_EQ(rest, "c) ");
}

TEST(Strings, AParenthesisBehindABackslashNeverEndsTheString)
{
    std::string rest;
    EXPECT_EQ(stringOf("(a\\)b)"), "a)b");
    EXPECT_EQ(stringOf("(a\\\\)b)", &rest), "a\\)b") << "also when the backslash is itself escaped";
    EXPECT_EQ(rest, " ");
}

TEST(Strings, AnUnknownEscapeIsAZeroByteThatEndsTheString)
{
    TestInstance test("(x\\q) ");
    StringPtr string = readString(test.run);
    ASSERT_TRUE(string);
    EXPECT_EQ(std::string(string.get(), 3), std::string("x\0q", 3));
    EXPECT_EQ(stringOf("(x\\q)"), "x");
}

TEST(Strings, NamedEscapes)
{
    EXPECT_EQ(stringOf("(\\n\\r\\t\\b\\f\\\\\\(\\).)"), "\n\r\t\b\f\\().");
}

TEST(Strings, ABackslashAtALineEndContinuesTheLine)
{
    for (const char *end : {"\n", "\r", "\r\n", "\n\r"})
        EXPECT_EQ(stringOf(std::string("(ab\\") + end + "cd)"), "abcd");
    EXPECT_EQ(stringOf("(ab\\\n\ncd)"), "ab\ncd");
}

TEST(Strings, OctalEscapesTakeUpToThreeDigits)
{
    EXPECT_EQ(stringOf("(\\101\\102C)"), "ABC");
    EXPECT_EQ(stringOf("(\\1012)"), "A2");
    EXPECT_EQ(stringOf("(\\53x)"), "+x");
    EXPECT_EQ(stringOf("(\\501)"), "A") << "the low eight bits";
    EXPECT_EQ(stringOf("(a\\1890b)"), std::string("a\x01") + "0b")
        << "an 8 or 9 ends the value and is swallowed";
    EXPECT_EQ(stringOf("(a\\81b)"), "a") << "no value at all is a zero byte";
    EXPECT_EQ(stringOf("(a\\000b)"), "a");
}

TEST(Strings, HexadecimalPairsIgnoreWhiteSpace)
{
    EXPECT_EQ(stringOf("<48 65 6C6>"), "Hel\x60") << "a last single digit is paired with 0";
    EXPECT_EQ(stringOf("<48\n65>"), "He");
    EXPECT_EQ(stringOf("<>"), "");
}

TEST(Strings, AHexadecimalPairIsItsValidPrefix)
{
    EXPECT_EQ(stringOf("<4G48>"), "\x04H");
    EXPECT_EQ(stringOf("<48G148>"), "H") << "no prefix is a zero byte";
}

TEST(Strings, LongStringsGrow)
{
    for (size_t length : {2046U, 2047U, 2048U, 2049U, 100000U})
        EXPECT_EQ(stringOf("(" + std::string(length, 'x') + ")"), std::string(length, 'x'));
    for (size_t digits : {2046U, 2047U, 2048U, 2049U, 4095U, 4096U, 4097U})
        EXPECT_EQ(stringOf("<" + std::string(digits, '4') + ">"),
                  std::string(digits / 2, 'D') + (digits % 2 ? "@" : ""));
}

TEST(Strings, AStringWithoutEndIsAReadingError)
{
    for (const char *input : {"(abc", "<41"}) {
        TestInstance test(input);
        EXPECT_EQ(parseString(test.run), nullptr);
        EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 READERR: Reading error."});
    }
    TestInstance test("/Name ");
    EXPECT_EQ(parseString(test.run), nullptr);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 READERR: Reading error."});
}

TEST(Names, EndAtTheFirstByteThatIsNotRegular)
{
    std::string rest;
    EXPECT_EQ(nameOf("/Type/Page", &rest), "/Type");
    EXPECT_EQ(rest, "/Page ");
    EXPECT_EQ(nameOf("/A[", &rest), "/A");
    EXPECT_EQ(rest, "[ ");
    EXPECT_EQ(nameOf("/", &rest), "/");
    EXPECT_EQ(nameOf("/A\xC3\xA4", &rest), "/A");
    EXPECT_EQ(rest, "\xC3\xA4 ") << "bytes above 126 are not regular";
}

TEST(Names, NumberSignsAreDecoded)
{
    EXPECT_EQ(nameOf("/A#20B"), "/A B");
    EXPECT_EQ(nameOf("/#4f#4B"), "/OK");
    EXPECT_EQ(nameOf("/A#]]"), "/A") << "the two bytes behind it are taken whatever they are";
    EXPECT_EQ(nameOf("/A#4GB"), "/A\x04"
                                "B");
    EXPECT_EQ(nameOf("/A#00B"), "/A") << "a zero byte ends the text";
}

TEST(Names, Keep139CharactersBehindTheSlash)
{
    std::string rest;
    EXPECT_EQ(nameOf("/" + std::string(200, 'n'), &rest), "/" + std::string(139, 'n'));
    EXPECT_EQ(rest, " ") << "the rest is passed over";
    for (size_t length : {138U, 139U, 140U, 141U}) {
        EXPECT_EQ(nameOf("/" + std::string(length, 'n'), &rest),
                  "/" + std::string(std::min<size_t>(length, 139), 'n'));
        EXPECT_EQ(rest, " ") << length;
    }
    EXPECT_EQ(nameOf("/" + std::string(138, 'n') + "#20#20"), "/" + std::string(138, 'n') + " ")
        << "a number sign counts as one";
}

TEST(Names, OneAtTheVeryEndOfTheFileIsAReadingError)
{
    TestInstance test("/Name");
    EXPECT_EQ(parseName(test.run), nullptr);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 READERR: Reading error."});
}

TEST(Names, OnlyASlashBeginsOne)
{
    TestInstance test("Name ");
    EXPECT_EQ(parseName(test.run), nullptr);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 READERR: Reading error."});
}

TEST(Names, AreWrittenBackWithNumberSigns)
{
    char text[NAME_PS_BYTES];
    EXPECT_STREQ(nameToPS(text, "/A B"), "/A#20B");
    EXPECT_STREQ(nameToPS(text, "/a#(\xE4"), "/a#23#28#e4");
    EXPECT_STREQ(nameToPS(text, "/"), "/");
    EXPECT_STREQ(nameToPS(text, ("/" + std::string(139, '\x01')).c_str()), [] {
        static std::string all = "/";
        for (int i = 0; i < 139; i++)
            all += "#01";
        return all.c_str();
    }());
}

TEST(Names, RegularCharacters)
{
    for (int byte = 0; byte < 256; byte++) {
        bool delimiter = byte > 0 && strchr("%()<>[]{}/#", byte);
        EXPECT_EQ(isRegularChar(byte), byte >= 33 && byte <= 126 && !delimiter) << byte;
    }
}

TEST(Names, EscapedStrings)
{
    char text[32];
    escapeString(text, "a(b)\\c\n");
    EXPECT_STREQ(text, "a\\(b\\)\\\\c\n");
}

TEST(Names, TheCountersFollowWhatLives)
{
    TestInstance test("(s) /n ");
    char *string = parseString(test.run);
    char *name = parseName(test.run);
    EXPECT_EQ(test.run->liveStrings, 1);
    EXPECT_EQ(test.run->liveNames, 1);
    freeString(test.run, string);
    freeName(test.run, name);
    freeString(test.run, nullptr);
    EXPECT_EQ(test.run->liveStrings, 0);
    EXPECT_EQ(test.run->liveNames, 0);
    freeName(test.run, nullptr);
    EXPECT_EQ(test.run->liveNames, -1) << "this one counts in every case";
}

TEST(Strings, ABackslashAtTheVeryEndIsAnEmptyOctalEscape)
{
    /* A parenthesis never follows it directly: that one would not end the string. */
    EXPECT_EQ(stringOf("(ab\\)c\\ )"), "ab)c") << "the blank behind it stands behind a zero byte";
    EXPECT_EQ(stringOf("(\\7)"), "\a");
    EXPECT_EQ(stringOf("(\\12)"), "\n") << "one, two or three digits";
    EXPECT_EQ(stringOf("(\\377\\400x)"), "\xFF") << "256 is a zero byte";
}
