/*
 * serializer_test.cpp - values as PostScript text, byte for byte
 */
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"

namespace {

using Texts = std::vector<std::string>;

std::string write(const std::string &value, int expected = 0)
{
    TestInstance test(value + " endobj ");
    EXPECT_EQ(writeObject(test.run, 0), expected) << value;
    EXPECT_EQ(test.controller.takeTexts(), Texts{}) << value;
    return test.written();
}

/* Writes object 3 of a document with the given objects from 3 on. */
std::string writeReferenced(const Texts &objects)
{
    PdfBuilder pdf;
    for (const std::string &text : objects)
        pdf.add(text);
    TestInstance test(pdf.build());
    test.openIndex();
    writeObject(test.run, (ValuePosition)pdf.offsetOf(3) + 7);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    return test.written();
}

std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; i++)
        all += text;
    return all;
}

} // namespace

TEST(Serializer, ScalarsHaveABlankBehindThem)
{
    EXPECT_EQ(write("true"), "true ");
    EXPECT_EQ(write("false"), "false ");
    EXPECT_EQ(write("-3"), "-3 ");
    EXPECT_EQ(write("+007"), "7 ");
    EXPECT_EQ(write("2.5"), "2.500000 ");
    EXPECT_EQ(write("-.0000004"), "-0.000000 ");
    EXPECT_EQ(write("4."), "4.000000 ");
    EXPECT_EQ(write("null"), "null ");
    EXPECT_EQ(write("/Name"), "/Name ");
    EXPECT_EQ(write("/A#20#ff"), "/A#20#ff ");
}

TEST(Serializer, StringsAreLiteralWhateverTheyWere)
{
    EXPECT_EQ(write("(a\\)b)"), "(a\\)b) ");
    EXPECT_EQ(write("<414243>"), "(ABC) ");
    EXPECT_EQ(write("<285C29>"), "(\\(\\\\\\)) ");
    EXPECT_EQ(write("(a\\nb\\001\xFF)"), "(a\nb\x01\xFF) ") << "other bytes as they are";
    EXPECT_EQ(write("<41004243>"), "(A) ") << "up to a zero byte";
    EXPECT_EQ(write("()"), "() ");
}

TEST(Serializer, ADictionaryHasALineForEachEntry)
{
    EXPECT_EQ(write("<< /Type /XObject /Width 10 /Decode [0 1] >>"),
              "<<\n/Type /XObject \n/Width 10 \n/Decode [ 0 1 ] \n>>\n");
    EXPECT_EQ(write("<< >>"), "<<\n>>\n");
    EXPECT_EQ(write("<< /A << /B 1 >> >>"), "<<\n/A <<\n/B 1 \n>>\n\n>>\n");
}

TEST(Serializer, KeysAreWrittenAsStored)
{
    EXPECT_EQ(write("<< /A#20B 1 >>"), "<<\n/A B 1 \n>>\n");
}

TEST(Serializer, AnArrayBreaksAfterNineAndThenEveryEightItems)
{
    std::string input = "[";
    for (int i = 1; i <= 20; i++)
        input += std::to_string(i) + " ";
    EXPECT_EQ(write(input + "]"), "[ 1 2 3 4 5 6 7 8 9 \n10 11 12 13 14 15 16 17 \n18 19 20 ] ");
    EXPECT_EQ(write("[]"), "[ ] ");
    EXPECT_EQ(write("[1 2 3 4 5 6 7 8 9]"), "[ 1 2 3 4 5 6 7 8 9 \n] ");
}

TEST(Serializer, OfAStreamOnlyTheDictionaryIsWritten)
{
    EXPECT_EQ(write("<< /Length 2 >>\nstream\nab\nendstream"), "<<\n/Length 2 \n>>\n");
}

TEST(Serializer, ReferencesAreWrittenInline)
{
    EXPECT_EQ(writeReferenced({"<< /DecodeParms 4 0 R /N 5 0 R >>", "<< /K [5 0 R] >>", "-1"}),
              "<<\n/DecodeParms <<\n/K [ -1 ] \n>>\n\n/N -1 \n>>\n");
}

TEST(Serializer, ADirectNullIsLeftOutAndAReferenceToOneIsNot)
{
    EXPECT_EQ(writeReferenced({"<< /A null /B 4 0 R /C [null 4 0 R] >>", "null"}),
              "<<\n/B null \n/C [ null null ] \n>>\n");
}

TEST(Serializer, AKeywordLeavesItsKeyWithNothingBehindIt)
{
    EXPECT_EQ(writeReferenced({"<< /A 4 0 R /B [4 0 R 1] >>", "foo"}), "<<\n/A \n/B [ 1 ] \n>>\n");
    EXPECT_EQ(write("foo", -1), "");
    EXPECT_EQ(write("]", -1), "");
}

TEST(Serializer, AnElementOutsideTheArrayWritesNothing)
{
    TestInstance test("[7 8] ");
    ArrayPtr array = readArray(test.run);
    writeArrayElement(test.run, array.get(), -1);
    writeArrayElement(test.run, array.get(), 2);
    EXPECT_EQ(test.written(), "");
    writeArrayElement(test.run, array.get(), 1);
    EXPECT_EQ(test.written(), "8 ");
}

TEST(Serializer, AnEntryIsKeyBlankValueLineEnd)
{
    TestInstance test("<< /A 1 /B (x) >> ");
    DictPtr dict = readDict(test.run);
    EXPECT_EQ(writeDictEntry(test.run, dict.get(), "/C"), -1);
    EXPECT_EQ(test.written(), "");
    EXPECT_EQ(writeDictEntry(test.run, dict.get(), "/B"), 1);
    EXPECT_EQ(test.written(), "/B (x) \n");
}

TEST(Serializer, StreamDataIsCopiedAsItIsWithALineEnd)
{
    std::string data;
    for (int i = 0; i < 200000; i++)
        data += (char)(i * 31 + i / 255);
    TestInstance test(data);
    test.seek(17);
    copyStreamData(test.run, 3, 199000);
    EXPECT_TRUE(test.written() == data.substr(3, 199000) + "\n");
    EXPECT_EQ(test.position(), 17U) << "the input's position is kept";
    copyStreamData(test.run, 3, 0);
    EXPECT_EQ(test.written(), "\n");
    copyStreamData(test.run, 3, -5);
    EXPECT_EQ(test.written(), "\n");
}

TEST(Serializer, 256LevelsAreWrittenAndTheNextIsNot)
{
    std::string deep = repeated("[", 256) + repeated("]", 256);
    EXPECT_EQ(write(deep), repeated("[ ", 256) + repeated("] ", 256));

    /* References count in what is written, though not in what is parsed. */
    for (int inner : {56, 57}) {
        PdfBuilder pdf;
        pdf.add(repeated("[", 200) + "4 0 R" + repeated("]", 200));
        pdf.add(repeated("[", inner) + repeated("]", inner));
        TestInstance test(pdf.build());
        test.openIndex();
        writeObject(test.run, (ValuePosition)pdf.offsetOf(3) + 7);
        EXPECT_EQ(test.controller.takeTexts(),
                  inner == 56 ? Texts{} : Texts{"ZOLAK 4 BADOBJ: Objects are nested too deeply."});
    }
}

TEST(Serializer, AReferenceBackEndsWithAMessage)
{
    PdfBuilder pdf;
    pdf.add("<< /A 3 0 R >>");
    TestInstance test(pdf.build());
    test.openIndex();
    EXPECT_EQ(writeObject(test.run, (ValuePosition)pdf.offsetOf(3) + 7), 0)
        << "the outermost is closed all the same";
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: Objects are nested too deeply."});
    std::string text = test.written();
    EXPECT_TRUE(text.starts_with("<<\n/A <<\n/A "));
    EXPECT_TRUE(text.ends_with("\n>>\n\n>>\n")) << "the output stays bracketed";
}

TEST(Serializer, SharedReferencesDoNotMultiplyWithoutEnd)
{
    /* Sixteen levels of four references each: 4^16 values. */
    PdfBuilder pdf;
    for (int i = 3; i < 18; i++)
        pdf.add("[" + repeated(ref(i + 1) + " ", 4) + "]");
    pdf.add("[1 1 1 1]");
    TestInstance test(pdf.build());
    test.openIndex();
    writeObject(test.run, (ValuePosition)pdf.offsetOf(3) + 7);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADOBJ: Object is too large."});
}

TEST(Serializer, AMillionValuesAreWrittenAndTheNextIsNot)
{
    /* 1023 times an array of 1023, themselves and the outermost counted: 1023 short of 2^20. */
    for (int more : {1023, 1024}) {
        PdfBuilder pdf;
        pdf.add("[" + repeated("4 0 R ", 1023) + repeated("7 ", more) + "]");
        pdf.add("[" + repeated("1 ", 1023) + "]");
        TestInstance test(pdf.build());
        test.openIndex();
        writeObject(test.run, (ValuePosition)pdf.offsetOf(3) + 7);
        EXPECT_EQ(test.controller.takeTexts(),
                  more == 1023 ? Texts{} : Texts{"ZOLAK 4 BADOBJ: Object is too large."});
        std::string text = test.written();
        EXPECT_EQ(std::count(text.begin(), text.end(), '7'), 1023) << "the last one is left out";
        EXPECT_TRUE(text.ends_with("7 ] ") || text.ends_with("7 \n] ")) << "and it is closed";

        /* The next value that is handed over counts anew. */
        test.run->errorFlag = 0;
        EXPECT_EQ(writeObject(test.run, (ValuePosition)pdf.offsetOf(4) + 7), 0);
        EXPECT_EQ(test.controller.takeTexts(), Texts{});
    }
}

TEST(Serializer, NumbersAtTheEndsOfTheirRange)
{
    EXPECT_EQ(write("2147483647"), "2147483647 ");
    EXPECT_EQ(write("2147483648"), "2147483647 ");
    EXPECT_EQ(write("-2147483649"), "-2147483648 ");
    EXPECT_EQ(write("2147483648."), "2147483648.000000 ") << "a real has its whole range";
    EXPECT_EQ(write("0.00000051"), "0.000001 ");
    EXPECT_EQ(write("--5"), "0 ") << "a sign alone";
}

TEST(Serializer, ANumberOfMoreThan255CharactersIsReadInPieces)
{
    EXPECT_EQ(write("[" + std::string(255, '0') + "1]"), "[ 0 1 ] ")
        << "the second begins with the last digit of the first";
    EXPECT_EQ(write("[" + std::string(253, '0') + "1]"), "[ 1 ] ");
}

TEST(Serializer, ContainersInsideAnArrayKeepTheirLineEnds)
{
    EXPECT_EQ(write("[<< /A [] >> [<< >>] 1]"), "[ <<\n/A [ ] \n>>\n[ <<\n>>\n] 1 ] ");
    std::string empty;
    for (int i = 0; i < 18; i++)
        empty += "[]";
    EXPECT_EQ(write("[" + empty + "]"),
              "[ " + repeated("[ ] ", 9) + "\n" + repeated("[ ] ", 8) + "\n[ ] ] ");
}

TEST(Serializer, NamesOfTheLargestSizeAreWrittenWhole)
{
    EXPECT_EQ(write("/" + repeated("#20", 139)), "/" + repeated("#20", 139) + " ");
    EXPECT_EQ(write("/" + repeated("#20", 140)), "/" + repeated("#20", 139) + " ");
    EXPECT_EQ(write("/"), "/ ");
}

TEST(Serializer, AMemberThatFailsStillLeavesItsContainersClosed)
{
    PdfBuilder pdf;
    pdf.add("<< /A [1 4 0 R 2] /B 3 >>");
    pdf.add("(no end");
    TestInstance test(pdf.build());
    test.openIndex();
    EXPECT_EQ(writeObject(test.run, (ValuePosition)pdf.offsetOf(3) + 7), 0);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 READERR: Reading error."});
    EXPECT_EQ(test.written(), "<<\n/A [ 1 ] \n/B \n>>\n");
}
