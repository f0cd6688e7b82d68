/*
 * content_test.cpp - content as operations
 */
#include <gtest/gtest.h>

#include "prepare/content/track.h"
#include "prepare/model/tokens.h"

using namespace prepare;

namespace {

/* The operators, each with its operands in front. */
std::vector<std::string> operations(const std::string &content)
{
    std::vector<std::string> found;
    ContentReader reader{content};
    Operation operation;
    std::string sources;
    while (readOperation(&reader, &operation)) {
        std::string text;
        for (const Token &token : operation.operands)
            text += std::string(token.source) + " ";
        found.push_back(text + std::string(operation.name));
        sources += operation.source;
    }
    EXPECT_EQ(sources + std::string(operation.source), content) << "every byte is in one source";
    return found;
}

Token tokenOf(const std::string &text)
{
    ContentReader reader{text};
    return readToken(&reader);
}

using Lines = std::vector<std::string>;

} // namespace

TEST(Content, OperandsAndOperators)
{
    EXPECT_EQ(operations("q 1 0 0 -1.5 .5 +7 cm/F1 12 Tf[(a\\)b)-20<4142>]TJ\n%% note (\nQ"),
              (Lines{"q", "1 0 0 -1.5 .5 +7 cm", "/F1 12 Tf", "[ (a\\)b) -20 <4142> ] TJ", "Q"}));
}

TEST(Content, DictionariesAndWordsAreOperands)
{
    EXPECT_EQ(operations("/OC << /A true /B [null] >> BDC EMC"),
              (Lines{"/OC << /A true /B [ null ] >> BDC", "EMC"}));
}

TEST(Content, InlineImageIsOneOperation)
{
    std::string data = "\1EI\2 EIx \xff";
    EXPECT_EQ(operations("q BI /W 2 /H 1 /BPC 8 ID " + data + "\nEI Q"),
              (Lines{"q", "/W 2 /H 1 /BPC 8 " + data + "\n BI", "Q"}));
}

/* Bytes behind the end that are no text do not hide it where the data's length is known. */
TEST(Content, InlineImagesEndWhereTheirSizeSaysSo)
{
    const std::string nul("\0\0", 2), data = "\x10 EI Q\xff";
    for (const char *entries : {"/W 8 /H 1 /CS /G", "/W 4 /H 2 /BPC 8 /CS [/I /G 1 <0001>]",
                                "/W 8 /H 8 /IM true", "/W 2 /H 1 /BPC 8 /CS /CMYK"}) {
        std::string content = "BI " + std::string(entries) + " ID " + data + "\nEI" + nul + "Q";
        Lines found = operations(content);
        ASSERT_EQ(found.size(), 2u) << entries;
        EXPECT_TRUE(found[0].ends_with(data + "\n BI")) << found[0];
    }
}

TEST(Content, DamageEndsWithTheContent)
{
    EXPECT_EQ(operations("1 w (open \\( string"), (Lines{"1 w"}));
    EXPECT_EQ(operations(") > } { 2 w <41"), (Lines{") > } { 2 w"}));
    EXPECT_EQ(operations("BI /W 2 ID abc"), (Lines{"/W 2 abc BI"}));
    EXPECT_EQ(operations(""), Lines());
    EXPECT_EQ(operations("\\"), (Lines{"\\"}));
}

TEST(Content, Strings)
{
    EXPECT_EQ(stringValue(tokenOf("(a\\n\\101\\7x\\\r\nb\r\nc(d)\\)\\q)")), "a\nA\7xb\nc(d))q");
    EXPECT_EQ(stringValue(tokenOf("<48 65 6C6c\n6F7>")), "Hellop");
    EXPECT_EQ(stringValue(tokenOf("()")), "");
    std::string all;
    for (int c = 0; c < 256; c++)
        all.push_back((char)c);
    std::string written = literalString(all);
    EXPECT_EQ(stringValue(tokenOf(written)), all);
}

TEST(Content, NamesAndNumbers)
{
    EXPECT_EQ(nameValue("/A#20B#zz#4"), "/A B#zz#4");
    EXPECT_EQ(nameText("/A B#"), "/A#20B#23");
    EXPECT_EQ(numberValue(tokenOf("--5")), -5);
    EXPECT_EQ(numberValue(tokenOf("-.25")), -0.25);
    EXPECT_EQ(numberText(-0.000001), "0");
    EXPECT_EQ(numberText(12.340), "12.34");
    EXPECT_EQ(numberText(1e300 * 1e300), "0");
}

TEST(Content, StateFollowsTheOperators)
{
    ResourceScope scope{QPDFObjectHandle::parse("<< /Font << /F << /Type /Font >> >> >>"), nullptr};
    ContentState state;
    state.scope = &scope;
    std::string content =
        "q 2 0 0 3 10 20 cm 1 0 0 1 5 5 cm BT /F 9 Tf 50 Tz 4 Tc 7 TL 10 20 Td T* "
        "1 2 TD";
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation))
        track(&state, operation);
    EXPECT_EQ(state.now.ctm.e, 20);
    EXPECT_EQ(state.now.ctm.f, 35);
    EXPECT_TRUE(state.now.text.font.isDictionary());
    EXPECT_EQ(state.now.text.size, 9);
    EXPECT_EQ(state.now.text.scale, 0.5);
    EXPECT_EQ(state.now.text.leading, -2);
    EXPECT_EQ(state.textMatrix.e, 11);
    EXPECT_EQ(state.textMatrix.f, 15);
    ContentReader restore{"Q"};
    readOperation(&restore, &operation);
    track(&state, operation);
    EXPECT_EQ(state.now.ctm.e, 0);
    EXPECT_EQ(state.now.text.size, 0);
}
