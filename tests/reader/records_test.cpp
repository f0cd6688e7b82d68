/*
 * records_test.cpp - arrays and dictionaries, their nesting and their cost
 */
#include <cerrno>
#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

namespace {

using Texts = std::vector<std::string>;

/* The keys of the dictionary at the start of `input`, blank-separated. */
std::string keysOf(TestInstance &test)
{
    DictPtr dict = readDict(test.run);
    std::string keys;
    for (int32_t i = 0; dict && i < dict->count; i++)
        keys += std::string(dictKey(dict.get(), i)) + " ";
    return dict ? keys : "(none)";
}

std::string repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; i++)
        all += text;
    return all;
}

} // namespace

TEST(Dictionary, ADirectNullIsDropped)
{
    TestInstance test("<< /A 1 /B null /C 2 >> ");
    EXPECT_EQ(keysOf(test), "/A /C ");
    EXPECT_EQ(test.ahead(), " ");
}

TEST(Dictionary, AReferenceToANullIsKept)
{
    PdfBuilder pdf;
    int null = pdf.add("null");
    std::string bytes = pdf.build();
    TestInstance test(bytes + "\n<< /A " + ref(null) + " /B 1 >> ");
    test.openIndex();
    test.seek((uint32_t)bytes.size());
    EXPECT_EQ(keysOf(test), "/A /B ");
}

TEST(Dictionary, AReferenceIsThePositionBehindTheObjectHeader)
{
    PdfBuilder pdf;
    int number = pdf.add("(five)");
    std::string bytes = pdf.build();
    TestInstance test(bytes + "\n<< /A " + ref(number) + " /B 7 >> ");
    test.openIndex();
    test.seek((uint32_t)bytes.size());
    DictPtr dict = readDict(test.run);
    ASSERT_TRUE(dict);
    ASSERT_EQ(dict->count, 2);
    EXPECT_EQ(dict->entries[0].value, pdf.offsetOf(number) + 7);
    EXPECT_EQ(findKey(test.run, dict.get(), "/B"), 1);
    EXPECT_EQ(readInteger(test.run), 7);
}

TEST(Dictionary, TheFirstOfTwoEqualKeysWins)
{
    TestInstance test("<< /A 1 /A 2 >> ");
    DictPtr dict = readDict(test.run);
    EXPECT_EQ(dict->count, 2);
    EXPECT_EQ(findKey(test.run, dict.get(), "/A"), 0);
    EXPECT_EQ(readInteger(test.run), 1);
}

TEST(Dictionary, AnAbsentKeyLeavesTheInputAlone)
{
    TestInstance test("<< /A 1 >> ");
    DictPtr dict = readDict(test.run);
    uint32_t before = test.position();
    EXPECT_EQ(findKey(test.run, dict.get(), "/B"), -1);
    EXPECT_EQ(findKey(test.run, dict.get(), "A"), -1) << "keys have their slash";
    EXPECT_EQ(test.position(), before);
}

TEST(Dictionary, ManyEntriesGrowTheRecordAndKeepThemAll)
{
    for (int entries : {31, 32, 33, 40, 63, 64, 65, 1000}) {
        std::string input = "<<";
        for (int i = 0; i < entries; i++)
            input += " /Key" + std::to_string(i) + " " + std::to_string(i * 3);
        TestInstance test(input + " >> ");
        DictPtr dict = readDict(test.run);
        ASSERT_TRUE(dict);
        ASSERT_EQ(dict->count, entries);
        for (int i = 0; i < entries; i++) {
            EXPECT_EQ(findKey(test.run, dict.get(), ("/Key" + std::to_string(i)).c_str()), i);
            EXPECT_EQ(readInteger(test.run), i * 3);
        }
    }
}

TEST(Dictionary, Failures)
{
    const std::pair<const char *, Texts> cases[] = {
        {"[1] ", {"ZOLAK 4 BADDICT: Dictionary expected."}},
        {"< 41> ", {"ZOLAK 4 BADDICT: Dictionary expected."}},
        {"<< A 1 >> ", {"ZOLAK 4 READERR: Reading error."}},
        {"<< /A ] >> ", {"ZOLAK 4 BADOBJ: PDF object expected"}},
        {"<< /A endobj ", {"ZOLAK 4 READERR: Reading error."}},
        {"<< /A 1 ",
         {"ZOLAK 4 BADSPACE: Error occurred during skipping white spaces.",
          "ZOLAK 4 BADOBJ: PDF object expected"}},
    };
    for (const auto &[input, reports] : cases) {
        TestInstance test(input);
        EXPECT_EQ(parseDict(test.run), nullptr) << input;
        EXPECT_EQ(test.controller.takeTexts(), reports) << input;
        EXPECT_EQ(test.run->liveDicts, 0) << input;
    }
}

TEST(Dictionary, AReferenceThatLeadsNowhereIsABadPair)
{
    std::string bytes = PdfBuilder().build();
    TestInstance test(bytes + "\n<< /A 99 0 R >> ");
    test.openIndex();
    test.seek((uint32_t)bytes.size());
    EXPECT_EQ(parseDict(test.run), nullptr);
    EXPECT_EQ(test.controller.takeTexts(),
              Texts{"ZOLAK 4 BADDICT: Bad dictionary key-value pair."});
}

TEST(Array, ItemsArePositions)
{
    PdfBuilder pdf;
    int number = pdf.add("(two)");
    std::string bytes = pdf.build();
    std::string input = "\n[1 " + ref(number) + " 3] ";
    TestInstance test(bytes + input);
    test.openIndex();
    test.seek((uint32_t)bytes.size());
    ArrayPtr array = readArray(test.run);
    ASSERT_TRUE(array);
    ASSERT_EQ(array->count, 3);
    EXPECT_EQ(array->items[0], bytes.size() + input.find('1'));
    EXPECT_EQ(array->items[1], pdf.offsetOf(number) + 7);
    EXPECT_EQ(array->items[2], bytes.size() + input.find("3]"));
    EXPECT_EQ(test.ahead(), " ");
}

TEST(Array, ManyItemsGrowTheRecordAndKeepThemAll)
{
    for (int items : {0, 1, 255, 256, 257, 300, 511, 512, 513, 5000}) {
        std::string input = "[";
        for (int i = 0; i < items; i++)
            input += std::to_string(i) + " ";
        TestInstance test(input + "] ");
        ArrayPtr array = readArray(test.run);
        ASSERT_TRUE(array);
        ASSERT_EQ(array->count, items);
        for (int i = 0; i < items; i++) {
            test.seek(array->items[i]);
            EXPECT_EQ(readInteger(test.run), i);
        }
    }
}

TEST(Array, WhatIsNoArrayIsNullWithoutAMessage)
{
    TestInstance test("<< >> ");
    EXPECT_EQ(parseArray(test.run), nullptr);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
}

TEST(Array, AnItemThatIsNoValueIsAReadingError)
{
    for (const char *input : {"[1 > ] ", "[1 endobj ] ", "[ } ] "}) {
        TestInstance test(input);
        EXPECT_EQ(parseArray(test.run), nullptr) << input;
        EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 READERR: Reading error."}) << input;
        EXPECT_EQ(test.run->liveArrays, 0);
    }
}

TEST(Nesting, 256LevelsAreReadAndThe257thIsNot)
{
    for (const auto &[open, close] : {std::pair("[", "]"), std::pair("<</A", ">>")}) {
        TestInstance good(repeated(open, 256) + (*open == '[' ? "" : " 1") + repeated(close, 256) +
                          " endobj ");
        skipObject(good.run);
        EXPECT_EQ(good.controller.takeTexts(), Texts{}) << open;

        TestInstance bad(repeated(open, 257) + (*open == '[' ? "" : " 1") + repeated(close, 257) +
                         " endobj ");
        skipObject(bad.run);
        auto reports = bad.controller.take();
        ASSERT_FALSE(reports.empty());
        EXPECT_EQ(reports[0].key, "BADOBJ");
        EXPECT_EQ(reports[0].text, "Objects are nested too deeply.");
        EXPECT_EQ(reports[0].severity, 4);
    }
}

TEST(Nesting, WhatWasReadBeforeAtALowerLevelStillCountsAtAHigherOne)
{
    /* The inner 200 levels are read by themselves first, and remembered. */
    std::string inner = repeated("[", 200) + repeated("]", 200);
    std::string input = repeated("[", 100) + inner + repeated("]", 100) + " ";
    TestInstance test(input);
    test.seek(100);
    skipObject(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    test.seek(0);
    skipObject(test.run);
    EXPECT_NE(test.run->errorFlag, 0);
    EXPECT_EQ(test.controller.take()[0].text, "Objects are nested too deeply.");
}

TEST(Nesting, ClassifyingAndParsingReadEachLevelOnce)
{
    /* Each level of a naive reader reads the levels below it four times: 4^100 would never end.
     * Streams are classified, too, by what stands behind their dictionaries. */
    std::string dicts = "1", streams = "1";
    for (int i = 0; i < 100; i++)
        dicts = "<</A " + dicts + " /B [" + std::string(3, '1') + "]>>";
    for (int i = 0; i < 20; i++)
        streams = "<</Length 0 /A " + streams + ">>stream\n\nendstream";
    for (const std::string &input : {dicts, streams}) {
        TestInstance test(input + " next ");
        EXPECT_NE(peekType(test.run), PDF_NONE);
        skipObject(test.run);
        EXPECT_EQ(test.controller.takeTexts(), Texts{});
        EXPECT_EQ(test.ahead(5), " next");
        test.seek(0);
        DictPtr dict = readDict(test.run);
        EXPECT_TRUE(dict);
    }
}

TEST(Containers, TheCountersFollowWhatLives)
{
    TestInstance test("[<< /A [1] >>] ");
    PdfArray *array = parseArray(test.run);
    EXPECT_EQ(test.run->liveArrays, 1);
    EXPECT_EQ(test.run->liveDicts, 0) << "what is passed over leaves nothing";
    freeArray(test.run, array);
    freeArray(test.run, nullptr);
    freeDict(test.run, nullptr);
    EXPECT_EQ(test.run->liveArrays, 0);
    EXPECT_EQ(test.run->liveDicts, 0);
}

TEST(Containers, TakeNoMoreMemoryThanTheFileExplains)
{
    /* 2 MiB for each, of a file of 1 MB: beyond 64 MiB and 32 times the file there is no more. */
    std::string text = "[";
    for (int i = 0; i < 500000; i++)
        text += "1 ";
    TestInstance test(text + "]");
    std::vector<ArrayPtr> arrays;
    while (!test.run->errorFlag && arrays.size() < 1000) {
        test.seek(0);
        arrays.push_back(readArray(test.run));
    }
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 out of memory: Out of memory"});
    EXPECT_FALSE(arrays.back());
    EXPECT_GT(arrays.size(), 40U);
    EXPECT_LT(arrays.size(), 60U);

    arrays.clear();
    EXPECT_EQ(test.run->limits.containerBytes, 0U) << "what is released counts no more";
    test.run->errorFlag = 0;
    test.seek(0);
    EXPECT_TRUE(readArray(test.run));
}

TEST(Containers, EveryByteOfADictionaryIsGivenBack)
{
    std::string text = "<<";
    for (int i = 0; i < 3000; i++)
        text += "/Key" + std::to_string(i) + " [" + std::to_string(i) + "] ";
    TestInstance test(text + ">>");
    PdfDict *dict = parseDict(test.run);
    ASSERT_TRUE(dict);
    EXPECT_GT(test.run->limits.containerBytes, 3000U * (sizeof(PdfDictEntry) + sizeof "/Key100"));
    freeDict(test.run, dict);
    EXPECT_EQ(test.run->limits.containerBytes, 0U);
}

TEST(Dictionary, KeysThatFillTheirTextExactlyAreKept)
{
    /* The text of the keys grows by 256 bytes at a time; both keys and their ends count. */
    for (size_t length : {116U, 117U, 118U, 119U}) {
        std::string first = "/" + std::string(134, 'a'), second = "/" + std::string(length, 'b');
        TestInstance test("<< " + first + " 1 " + second + " 2 /C 3 >> ");
        EXPECT_EQ(keysOf(test), first + " " + second + " /C ") << length;
    }
    std::string input = "<<", keys;
    for (int i = 100; i < 140; i++) {
        std::string key = "/" + std::string(136, 'k') + std::to_string(i);
        input += key + " " + std::to_string(i);
        keys += key + " ";
    }
    TestInstance test(input + ">> ");
    EXPECT_EQ(keysOf(test), keys);
}

TEST(Dictionary, KeysThatAreCutAlikeAreAlike)
{
    std::string common(139, 'k');
    TestInstance test("<< /" + common + "1 1 /" + common + "2 2 >> ");
    DictPtr dict = readDict(test.run);
    ASSERT_TRUE(dict);
    EXPECT_EQ(dict->count, 2);
    EXPECT_EQ(findKey(test.run, dict.get(), ("/" + common).c_str()), 0);
    EXPECT_EQ(readInteger(test.run), 1);
    EXPECT_EQ(findKey(test.run, dict.get(), ("/" + common + "1").c_str()), -1);
}

TEST(Dictionary, AnEmptyOneHasNoKeys)
{
    for (const char *input : {"<<>> ", "<< >> ", "<< % >>\n>> ", "<< /A null >> "}) {
        TestInstance test(input);
        EXPECT_EQ(keysOf(test), "") << input;
        EXPECT_EQ(test.ahead(2), " ") << input;
    }
}
