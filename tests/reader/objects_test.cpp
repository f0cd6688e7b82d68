/*
 * objects_test.cpp - classifying, resolving and passing over values
 */
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"
#include "zelkov/text.h"

namespace {

using Texts = std::vector<std::string>;

PdfType typeOf(const std::string &input)
{
    TestInstance test(input);
    PdfType type = peekType(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{}) << input;
    if (type != PDF_NONE) {
        EXPECT_EQ(test.position(), input.find_first_not_of(' ')) << input;
    }
    return type;
}

} // namespace

TEST(PeekType, KnowsEveryType)
{
    EXPECT_EQ(typeOf("  true "), PDF_BOOLEAN);
    EXPECT_EQ(typeOf("false "), PDF_BOOLEAN);
    EXPECT_EQ(typeOf("12 "), PDF_INTEGER);
    EXPECT_EQ(typeOf("-12 "), PDF_INTEGER);
    EXPECT_EQ(typeOf("+ "), PDF_INTEGER);
    EXPECT_EQ(typeOf("1.5 "), PDF_REAL);
    EXPECT_EQ(typeOf("12. "), PDF_REAL);
    EXPECT_EQ(typeOf("-.5 "), PDF_REAL);
    EXPECT_EQ(typeOf(".5 "), PDF_REAL);
    EXPECT_EQ(typeOf("1.2.3 "), PDF_REAL);
    EXPECT_EQ(typeOf("(s) "), PDF_STRING);
    EXPECT_EQ(typeOf("<41> "), PDF_STRING);
    EXPECT_EQ(typeOf("/N "), PDF_NAME);
    EXPECT_EQ(typeOf("[1] "), PDF_ARRAY);
    EXPECT_EQ(typeOf("<< >> endobj "), PDF_DICTIONARY);
    EXPECT_EQ(typeOf("<< >>\nstream\n"), PDF_STREAM);
    EXPECT_EQ(typeOf("<< >> streams "), PDF_DICTIONARY);
    EXPECT_EQ(typeOf("null "), PDF_NULL);
    EXPECT_EQ(typeOf("R "), PDF_KEYWORD);
    EXPECT_EQ(typeOf("endobj "), PDF_KEYWORD);
    for (const char *nothing : {"] ", ") ", "> ", "{ ", "\x80 ", "* "})
        EXPECT_EQ(typeOf(nothing), PDF_NONE) << nothing;
    EXPECT_EQ(typeOf(std::string(" \0 ", 3)), PDF_NONE) << "a NUL byte is an unexpected character";
}

TEST(PeekType, APointAnywhereBehindInALongRunOfDigitsMakesAReal)
{
    /* The lexer takes such a run in pieces, and each of them is classified by what is left. */
    std::string run = std::string(600, '1') + "." + std::string(300, '2') + "." + "33";
    TestInstance test("[" + run + " 4.5 6 " + run + "]");
    for (uint32_t i = 0; i < run.size(); i++) {
        test.seek(1 + i);
        EXPECT_EQ(peekType(test.run), i <= 901 ? PDF_REAL : PDF_INTEGER) << i;
        EXPECT_EQ(test.position(), 1 + i);
    }
    test.seek(0);
    ArrayPtr array = readArray(test.run);
    ASSERT_TRUE(array);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    uint32_t behind = 1 + (uint32_t)run.size();
    std::vector<ValuePosition> items(array->items, array->items + array->count);
    std::vector<ValuePosition> first = {1, 255, 509, 763, behind + 1, behind + 5, behind + 7};
    ASSERT_GT(items.size(), first.size());
    items.resize(first.size());
    EXPECT_EQ(items, first);
}

TEST(PeekType, ALongRunOfDigitsIsScannedOnce)
{
    /* Scanned again for each of its numbers, these five million digits would take minutes. */
    TestInstance test("[" + std::string(5000000, '7') + "] ");
    skipObject(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(test.ahead(), " ");
}

TEST(PeekType, ADictionaryThatCannotBeParsedIsNothing)
{
    TestInstance test("<< /A ] >> ");
    EXPECT_EQ(peekType(test.run), PDF_NONE);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: PDF object expected"});
}

TEST(ResolveValue, FollowsAReference)
{
    PdfBuilder pdf;
    int number = pdf.add("(target)");
    TestInstance test(pdf.build() + "\n" + ref(number) + " next");
    test.openIndex();
    size_t reference = test.run->input->position = fgeteof(test.run->input) - 10;
    ValuePosition value = resolveValue(test.run);
    EXPECT_EQ(value, pdf.offsetOf(number) + lenstr("3 0 obj"));
    EXPECT_EQ(test.ahead(5), " next") << "behind the reference";
    EXPECT_NE(test.position(), reference);
    test.seek(value);
    EXPECT_EQ(peekType(test.run), PDF_STRING);
}

TEST(ResolveValue, AnyOtherValueStaysWhereItIs)
{
    for (const char *input : {"(s) ", "  12 ", "1 2 ", "1 2 X ", "1 2 (R) ", "1.0 0 R ", "/R "}) {
        TestInstance test(std::string("  ") + input + "/ ");
        EXPECT_EQ(resolveValue(test.run), 0U) << input;
        EXPECT_EQ(test.position(), 0U) << input;
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << input;
    }
}

TEST(ResolveValue, WithoutATableEveryReferenceIsZero)
{
    TestInstance test("5 0 R next");
    EXPECT_EQ(resolveValue(test.run), POSITION_NONE);
    EXPECT_EQ(test.ahead(5), " next");
}

TEST(ResolveValue, TableAndHeaderMustAgree)
{
    struct Case {
        const char *what, *object;
        bool good;
    };
    const Case cases[] = {
        {"agreement", "3 0 obj", true},
        {"another number", "4 0 obj", false},
        {"another generation", "3 1 obj", false},
        {"another keyword", "3 0 ob ", false},
        {"generations compare as integers", "3 65536 obj", false},
    };
    for (const Case &c : cases) {
        std::string file = std::string(c.object) + " (x)";
        TestInstance test(file + " 3 7 R ");
        XrefEntry table[4] = {};
        table[3] = {0, 0, 'n', false};
        test.run->xref = table;
        test.run->xrefCapacity = 4;
        test.run->xrefLoaded = 1;
        test.seek((uint32_t)file.size());
        EXPECT_EQ(resolveValue(test.run) != POSITION_FAILED, c.good) << c.what;
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << c.what;
        test.run->xref = nullptr;
    }
}

TEST(ResolveValue, ANumberOutsideTheTableLeadsNowhere)
{
    for (const char *input : {"4 0 R ", "-1 0 R ", "99999999999 0 R "}) {
        TestInstance test(input);
        XrefEntry table[4] = {};
        test.run->xref = table;
        test.run->xrefCapacity = 4;
        test.run->xrefLoaded = 1;
        EXPECT_EQ(resolveValue(test.run), POSITION_FAILED) << input;
        test.run->xref = nullptr;
    }
}

TEST(ResolveValue, AnObjectsHeaderIsReadOnce)
{
    PdfBuilder pdf;
    int far = pdf.add("(body)");
    std::string references;
    for (int i = 0; i < 100000; i++)
        references += ref(far) + " ";
    int many = pdf.add("[" + references + "]");
    std::string file = pdf.build();
    /* Read again for each reference, this much white space would take hours. */
    size_t header = pdf.offsetOf(far);
    std::string moved = std::to_string(far) + std::string(4000000, ' ') + "0 obj (body)";
    std::string before = file.substr(0, pdf.xrefOffset());
    std::string entry = file.substr(pdf.xrefOffset());
    char oldOffset[16], newOffset[16];
    snprintf(oldOffset, sizeof oldOffset, "%010zu", header);
    snprintf(newOffset, sizeof newOffset, "%010zu", before.size());
    entry.replace(entry.find(oldOffset), 10, newOffset);
    entry.replace(entry.find(std::to_string(before.size()) + "\n%%EOF"),
                  std::to_string(before.size()).size(),
                  std::to_string(before.size() + moved.size() + 1));
    TestInstance test(before + moved + "\n" + entry);
    test.openIndex();

    test.seek((uint32_t)(pdf.offsetOf(many) + std::to_string(many).size() + sizeof " 0 obj"));
    ArrayPtr array = readArray(test.run);
    ASSERT_TRUE(array);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    ASSERT_EQ(array->count, 100000);
    ValuePosition body = (ValuePosition)(before.size() + moved.size() - sizeof " (body)" + 1);
    EXPECT_EQ(array->items[0], body);
    EXPECT_EQ(array->items[99999], body);
}

TEST(SkipObject, PassesOverEveryType)
{
    const std::string values[] = {"true",        "12",
                                  "-1.5",        "(a)b)",
                                  "<41 42>",     "/N#20",
                                  "[1 [2] (])]", "<< /A << /B [1] >> >>",
                                  "null",        "<< /Length 4 >>\nstream\n(([[\nendstream"};
    for (const std::string &value : values) {
        TestInstance test("  " + value + " next ");
        skipObject(test.run);
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << value;
        if (value != "(a)b)") {
            EXPECT_EQ(test.ahead(5), " next") << value;
        }
    }
}

TEST(SkipObject, AKeywordIsNotConsumed)
{
    TestInstance test(" endobj ");
    skipObject(test.run);
    EXPECT_EQ(test.ahead(6), "endobj");
}

TEST(SkipObject, WhatIsNoValueIsReported)
{
    TestInstance test(" ] ");
    skipObject(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: PDF object expected."});
}
