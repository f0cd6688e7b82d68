/*
 * objects_test.cpp - classifying, resolving and passing over values
 */
#include "tools/zolak1_3/pdf_to_ps/objects.h"

#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/xref.h"
#include "zelkov/text.h"

namespace {

using Texts = std::vector<std::string>;

PdfType typeOf(const std::string &input)
{
    TestInstance test(input);
    PdfType type = peekType(test.inst);
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

TEST(PeekType, ADictionaryThatCannotBeParsedIsNothing)
{
    TestInstance test("<< /A ] >> ");
    EXPECT_EQ(peekType(test.inst), PDF_NONE);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: PDF object expected"});
}

TEST(ResolveValue, FollowsAReference)
{
    PdfBuilder pdf;
    int number = pdf.add("(target)");
    TestInstance test(pdf.build() + "\n" + ref(number) + " next");
    test.openIndex();
    size_t reference = test.inst->input->position = fgeteof(test.inst->input) - 10;
    ValuePosition value = resolveValue(test.inst);
    EXPECT_EQ(value, pdf.offsetOf(number) + lenstr("3 0 obj"));
    EXPECT_EQ(test.ahead(5), " next") << "behind the reference";
    EXPECT_NE(test.position(), reference);
    test.seek(value);
    EXPECT_EQ(peekType(test.inst), PDF_STRING);
}

TEST(ResolveValue, AnyOtherValueStaysWhereItIs)
{
    for (const char *input : {"(s) ", "  12 ", "1 2 ", "1 2 X ", "1 2 (R) ", "1.0 0 R ", "/R "}) {
        TestInstance test(std::string("  ") + input + "/ ");
        EXPECT_EQ(resolveValue(test.inst), 0U) << input;
        EXPECT_EQ(test.position(), 0U) << input;
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << input;
    }
}

TEST(ResolveValue, WithoutATableEveryReferenceIsZero)
{
    TestInstance test("5 0 R next");
    EXPECT_EQ(resolveValue(test.inst), POSITION_NONE);
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
        table[3] = {0, 0, 'n'};
        test.inst->xref = table;
        test.inst->xrefCapacity = 4;
        test.inst->xrefLoaded = 1;
        test.seek((uint32_t)file.size());
        EXPECT_EQ(resolveValue(test.inst) != POSITION_FAILED, c.good) << c.what;
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << c.what;
        test.inst->xref = nullptr;
    }
}

TEST(ResolveValue, ANumberOutsideTheTableLeadsNowhere)
{
    for (const char *input : {"4 0 R ", "-1 0 R ", "99999999999 0 R "}) {
        TestInstance test(input);
        XrefEntry table[4] = {};
        test.inst->xref = table;
        test.inst->xrefCapacity = 4;
        test.inst->xrefLoaded = 1;
        EXPECT_EQ(resolveValue(test.inst), POSITION_FAILED) << input;
        test.inst->xref = nullptr;
    }
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
        skipObject(test.inst);
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << value;
        if (value != "(a)b)") {
            EXPECT_EQ(test.ahead(5), " next") << value;
        }
    }
}

TEST(SkipObject, AKeywordIsNotConsumed)
{
    TestInstance test(" endobj ");
    skipObject(test.inst);
    EXPECT_EQ(test.ahead(6), "endobj");
}

TEST(SkipObject, WhatIsNoValueIsReported)
{
    TestInstance test(" ] ");
    skipObject(test.inst);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: PDF object expected."});
}
