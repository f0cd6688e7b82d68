/*
 * filter_test.cpp - a stream's data, decoded into a file
 */
#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <vector>

#include "tests/compress/encoders.h"
#include "tests/compress/samples.h"
#include "tests/compress/zlib_encoder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/zolak_filter/filter.h"

namespace {

using Texts = std::vector<std::string>;
using namespace std::string_literals;

const char *const DATA_ENDED = "ZOLAK:270 3 FILTER: Stream data ended before its end-of-data mark.";
const char *const CANNOT_DECODE = "ZOLAK:258 4 FILTER: Error uncompressing stream data.";
const char *const CANNOT_WRITE = "ZOLAK:263 4 FILTER: Error writing decoded data to file.";
const char *const CANNOT_COPY = "ZOLAK:233 4 FILTER: Error copying stream data.";
const char *const NO_CHAIN = "ZOLAK:237 4 FILTER: Can't create decoding chain.";
const char *const WRONG_HEX = "DECODE 3 CORDATA: Wrong character in hex stream";

/* A stream with these dictionary entries and this data, and what filter makes of it. */
class Filtered {
  public:
    Filtered(const std::string &entries, const std::string &data)
        : dictText("<< " + entries + " >>"), test(dictText + data)
    {
        DictPtr dict = readDict(test.run);
        EXPECT_TRUE(dict);
        stream = {dict.release(), 0, (ValuePosition)dictText.size(), (int32_t)data.size()};
    }
    ~Filtered() { freeDict(test.run, stream.dict); }

    /* What is written. */
    std::string run()
    {
        filter(test.run, &stream, test.run->output);
        return test.written();
    }

    Texts reports() { return test.controller.takeTexts(); }
    Texts reportsWithLines() { return test.controller.takeTextsWithLines(); }

    std::string dictText;
    TestInstance test;
    PdfStream stream;
};

class Filter : public ::testing::Test {
  protected:
    ~Filter() override { errno = 0; }

    /* Runs a stream and holds its output and its reports (without lines) against these. */
    void expect(const std::string &entries, const std::string &data, const std::string &decoded,
                const Texts &reports = {})
    {
        Filtered filtered(entries, data);
        EXPECT_EQ(filtered.run(), decoded);
        EXPECT_EQ(filtered.reports(), reports);
        EXPECT_EQ(filtered.test.run->liveNames, 0);
    }
};

/* ---- without filters */

TEST_F(Filter, WithoutFiltersTheDataIsCopied)
{
    expect("", "raw\0\n data"s, "raw\0\n data"s);
}

TEST_F(Filter, EmptyDataWithoutFiltersWritesNothing)
{
    expect("", "", "");
}

TEST_F(Filter, EmptyFilterArrayCopiesTheData)
{
    expect("/Filter []", "raw data", "raw data");
}

TEST_F(Filter, NegativeLengthCopiesNothing)
{
    Filtered filtered("", "data");
    filtered.stream.length = -4;
    EXPECT_EQ(filtered.run(), "");
    EXPECT_EQ(filtered.reports(), Texts{});
}

TEST_F(Filter, OnlyTheStreamsBytesAreCopied)
{
    Filtered filtered("", "0123456789");
    filtered.stream.dataPosition += 2;
    filtered.stream.length = 5;
    EXPECT_EQ(filtered.run(), "23456");
    EXPECT_EQ(filtered.test.position(), filtered.stream.dataPosition + 5);
}

TEST_F(Filter, LongDataIsCopiedWhole)
{
    for (size_t size : std::initializer_list<size_t>{65535, 65536, 65537, 200001}) {
        std::string data = sampleNoise(size, 1);
        Filtered filtered("", data);
        EXPECT_TRUE(filtered.run() == data) << size;
        EXPECT_EQ(filtered.reports(), Texts{});
    }
}

TEST_F(Filter, CopyBeyondTheEndOfTheFileIsAnError)
{
    Filtered filtered("", "data");
    filtered.stream.length = 2000000000;
    EXPECT_EQ(filtered.run(), "data");
    EXPECT_EQ(filtered.reportsWithLines(), Texts{CANNOT_COPY});
    EXPECT_EQ(errno, ENODATA);
    EXPECT_EQ(filtered.test.run->errorFlag, 1);
}

TEST_F(Filter, ErrorFromBeforeShowsAfterTheCopy)
{
    Filtered filtered("", "data");
    errno = EIO;
    EXPECT_EQ(filtered.run(), "data");
    EXPECT_EQ(filtered.reportsWithLines(), Texts{CANNOT_COPY});
}

/* ---- one filter and several */

TEST_F(Filter, EachFilterDecodes)
{
    for (int kind = 0; kind < SAMPLE_KINDS; kind++) {
        std::string data = sampleOf(kind, 20000, 5);
        expect("/Filter /ASCII85Decode", encodeASCII85(data), data);
        expect("/Filter /ASCIIHexDecode", encodeASCIIHex(data), data);
        expect("/Filter /LZWDecode", encodeLZW(data), data);
        expect("/Filter /FlateDecode", encodeFlate(data), data);
        expect("/Filter [/FlateDecode]", encodeFlate(data), data);
    }
}

TEST_F(Filter, ChainsOfTwoAndThreeFiltersDecode)
{
    for (int kind = 0; kind < SAMPLE_KINDS; kind++) {
        std::string data = sampleOf(kind, 20000, 6);
        expect("/Filter [/ASCII85Decode /FlateDecode]", encodeASCII85(encodeFlate(data)), data);
        expect("/Filter [/ASCIIHexDecode /LZWDecode]", encodeASCIIHex(encodeLZW(data)), data);
        expect("/Filter [/FlateDecode /FlateDecode]", encodeFlate(encodeFlate(data)), data);
        expect("/Filter [/ASCII85Decode /ASCIIHexDecode /FlateDecode]",
               encodeASCII85(encodeASCIIHex(encodeFlate(data))), data);
        expect("/Filter [/LZWDecode /FlateDecode /ASCII85Decode]",
               encodeLZW(encodeFlate(encodeASCII85(data))), data);
    }
}

TEST_F(Filter, EmptyDataDecodesToNothing)
{
    expect("/Filter /ASCII85Decode", "~>", "");
    expect("/Filter /ASCIIHexDecode", ">", "");
    expect("/Filter /LZWDecode", encodeLZW(""), "");
    expect("/Filter /FlateDecode", encodeFlate(""), "");
}

TEST_F(Filter, DecodedDataIsWrittenBehindWhatIsThere)
{
    Filtered filtered("/Filter /ASCIIHexDecode", "4142>");
    fputm(filtered.test.run->output, "before ", 7);
    EXPECT_EQ(filtered.run(), "before AB");
}

/* ---- white space */

TEST_F(Filter, WhiteSpaceBeforeAFirstTextFilterIsDropped)
{
    expect("/Filter /ASCIIHexDecode", " 4\t8\n6\v5\f6\r\n6 > ", "Hef");
    expect("/Filter /ASCII85Decode", "8 7\tc\nU\vR\fD\rZ ~ >", "Hello");
    expect("/Filter [/ASCIIHexDecode /ASCII85Decode]", "38 37 63 55 52 44 5A 7E 3E >", "Hello");
}

TEST_F(Filter, OtherBytesAreNotDropped)
{
    for (char byte : "\0\x01\x08\x0E\x1F\x7F\x85\xA0"s)
        expect("/Filter /ASCIIHexDecode", "41"s + byte + "42>", "",
               {WRONG_HEX, "ZOLAK 4 FILTER: Error uncompressing stream data."});
}

TEST_F(Filter, WhiteSpaceReachesALaterTextFilter)
{
    expect("/Filter [/FlateDecode /ASCIIHexDecode]", encodeFlate("41 42>"), "",
           {WRONG_HEX, "ZOLAK 4 FILTER: Error uncompressing stream data."});
    expect("/Filter [/FlateDecode /ASCII85Decode]", encodeFlate("87 cUR\nDZ~>"), "Hello");
}

TEST_F(Filter, WhiteSpaceBeforeOtherFiltersIsData)
{
    std::string data = storedStream(" \n data \t");
    expect("/Filter /FlateDecode", data, " \n data \t");
}

TEST_F(Filter, DroppedBytesCountAgainstTheLength)
{
    Filtered filtered("/Filter /ASCIIHexDecode", "4 1 4 2 >");
    filtered.stream.length = 7;
    EXPECT_EQ(filtered.run(), "AB");
    EXPECT_EQ(filtered.reportsWithLines(), Texts{DATA_ENDED});
    EXPECT_EQ(filtered.test.position(), filtered.stream.dataPosition + 7);
}

TEST_F(Filter, MuchWhiteSpaceIsDroppedInOnePass)
{
    std::string space(10000, '\n');
    expect("/Filter /ASCIIHexDecode", space + "41" + space + "42" + space + ">" + space, "AB");
}

/* ---- filters that cannot be had */

TEST_F(Filter, RunLengthCannotBeSetUp)
{
    Filtered filtered("/Filter /RunLengthDecode", "\x80");
    EXPECT_EQ(filtered.run(), "");
    EXPECT_EQ(
        filtered.reportsWithLines(),
        (Texts{"ZOLAK:100 4 FILTER: Error setting up filter - '/RunLengthDecode'.", NO_CHAIN}));
}

TEST_F(Filter, FiltersOfThePostScriptSideAloneAreUnknownHere)
{
    for (std::string name : {"/DCTDecode", "/CCITTFaxDecode"})
        expect("/Filter " + name, "data", "",
               {"ZOLAK 4 FILTER: Unknown filter - '" + name + "'.",
                "ZOLAK 4 FILTER: Can't create decoding chain."});
}

TEST_F(Filter, ShortNamesAreUnknown)
{
    expect("/Filter [/AHx /Fl]", "data", "",
           {"ZOLAK 4 UNSUPPFILTER: PDF document contains unsupported filter (/AHx)",
            "ZOLAK 4 UNSUPPFILTER: PDF document contains unsupported filter (/Fl)",
            "ZOLAK 4 FILTER: Unknown filter - '/AHx'.",
            "ZOLAK 4 FILTER: Can't create decoding chain."});
}

TEST_F(Filter, FilterThatIsNoNameHasNoChain)
{
    Filtered single("/Filter 5", "data");
    single.run();
    EXPECT_EQ(single.reports(), Texts{"ZOLAK 4 FILTER: Wrong filter type in stream."});

    Filtered list("/Filter [/FlateDecode 5]", encodeFlate("data"));
    EXPECT_EQ(list.run(), "");
    EXPECT_EQ(list.reports(), (Texts{"ZOLAK 4 READERR: Reading error.",
                                     "ZOLAK 4 FILTER: Can't create decoding chain."}));
    EXPECT_EQ(list.test.run->errorFlag, 1);
}

/* ---- data at fault */

TEST_F(Filter, DecoderFaultKeepsWhatWasWritten)
{
    /* the first pass decodes 2048 digits, the fault comes in the second */
    std::string digits = encodeASCIIHex(std::string(2000, 'x'));
    digits[3000] = '?';
    Filtered damaged("/Filter /ASCIIHexDecode", digits);
    EXPECT_EQ(damaged.run(), std::string(1024, 'x'));
    EXPECT_EQ(damaged.reportsWithLines().back(), CANNOT_DECODE);
    EXPECT_EQ(damaged.test.run->errorFlag, 1);
}

TEST_F(Filter, WrongChecksumEndsTheRunOnce)
{
    std::string data = encodeFlate("Hello");
    data.back() ^= 1;
    expect("/Filter /FlateDecode", data, "Hello",
           {"DECODE 3 BADEOF: Incorrect checksum", "DECODE 4 BADENCODE: Cannot restart encoding."});
}

TEST_F(Filter, BadCodeEndsTheRunOnce)
{
    LowBitWriter blocks;
    blocks.put(1, 1);
    blocks.put(1, 2);
    putFixedSymbol(blocks, 'a');
    putFixedSymbol(blocks, 286);
    blocks.put(0, 16);
    expect("/Filter /FlateDecode", zlibStream(blocks.bytes, ""), "a",
           {"DECODE 3 BADCODE: Bad code in flate stream",
            "DECODE 4 BADENCODE: Cannot restart encoding."});
}

TEST_F(Filter, UndecodableHeaderIsAnError)
{
    expect("/Filter /FlateDecode", "no zlib stream", "",
           {"DECODE 3 BADFLATE: Unknown compression method",
            "ZOLAK 4 FILTER: Error uncompressing stream data."});
}

TEST_F(Filter, LZWFaultIsAnError)
{
    HighBitWriter codes;
    for (uint32_t code : {256U, 65U, 300U})
        codes.put(code, 9);
    expect("/Filter /LZWDecode", codes.bytes, "",
           {"DECODE 3 CORDATA: Unexpected code in LZW decode",
            "ZOLAK 4 FILTER: Error uncompressing stream data."});
}

TEST_F(Filter, ASCII85FaultHasNoReportOfItsOwn)
{
    expect("/Filter /ASCII85Decode", "!~>", "",
           {"ZOLAK 4 FILTER: Error uncompressing stream data."});
}

TEST_F(Filter, DataWithoutEndMarkIsAFaultThatTheRunSurvives)
{
    Filtered filtered("/Filter /ASCIIHexDecode", "48656C6C6F");
    EXPECT_EQ(filtered.run(), "Hello");
    EXPECT_EQ(filtered.reportsWithLines(), Texts{DATA_ENDED});
    EXPECT_EQ(filtered.test.run->errorFlag, 0);
}

TEST_F(Filter, TruncatedDataOfEveryFilterEnds)
{
    std::string data = sampleText(5000, 2);
    const std::pair<const char *, std::string> streams[] = {
        {"/Filter /ASCII85Decode", encodeASCII85(data)},
        {"/Filter /ASCIIHexDecode", encodeASCIIHex(data)},
        {"/Filter /LZWDecode", encodeLZW(data)},
        {"/Filter /FlateDecode", encodeFlate(data)},
        {"/Filter [/ASCII85Decode /FlateDecode]", encodeASCII85(encodeFlate(data))},
        {"/Filter [/ASCII85Decode /ASCIIHexDecode /LZWDecode]",
         encodeASCII85(encodeASCIIHex(encodeLZW(data)))},
    };
    Random random(31);
    for (const auto &[entries, encoded] : streams)
        for (int round = 0; round < 40; round++) {
            size_t size = round == 0 ? 0 : random.below(encoded.size() - 3);
            Filtered filtered(entries, encoded.substr(0, size));
            std::string decoded = filtered.run();
            EXPECT_TRUE(data.starts_with(decoded)) << entries << " " << size;
            EXPECT_EQ(filtered.reportsWithLines(), Texts{DATA_ENDED}) << entries << " " << size;
        }
}

TEST_F(Filter, ZeroLengthWithAFilterIsDataWithoutEnd)
{
    expect("/Filter /FlateDecode", "", "",
           {"ZOLAK 3 FILTER: Stream data ended before its end-of-data mark."});
}

TEST_F(Filter, DataBehindTheEndMarkIsLeft)
{
    expect("/Filter /FlateDecode", encodeFlate("Hello") + std::string(5000, 'x'), "Hello");
    expect("/Filter /ASCIIHexDecode", "41>" + std::string(5000, '?'), "A");
}

TEST_F(Filter, InnerDataThatEndsEarlyStopsTheChain)
{
    /* The outer data goes on and finds no room any more. */
    std::string outer = encodeFlate("Hello") + sampleNoise(20000, 3);
    expect("/Filter [/ASCII85Decode /FlateDecode]", encodeASCII85(outer), "Hello",
           {"ZOLAK 3 FILTER: Stream data ended before its end-of-data mark."});
}

TEST_F(Filter, DecodingBeyondTheEndOfTheFileIsAnError)
{
    Filtered filtered("/Filter /ASCIIHexDecode", "4142");
    filtered.stream.length = 100;
    EXPECT_EQ(filtered.run(), "AB");
    EXPECT_EQ(filtered.reportsWithLines(), Texts{CANNOT_WRITE});
    EXPECT_EQ(errno, ENODATA);
}

TEST_F(Filter, LengthThatEndsWithTheFileIsNoError)
{
    expect("/Filter /ASCIIHexDecode", "4142>", "AB");
}

TEST_F(Filter, OutputThatCannotBeWrittenIsAnError)
{
    std::string data(400000, 'x');
    for (const auto &[entries, encoded, report] :
         {std::tuple{"/Filter /FlateDecode", encodeFlate(data), CANNOT_WRITE},
          std::tuple{"", data, CANNOT_COPY}}) {
        Filtered filtered(entries, encoded);
        ZFile *full = fopenw("", "/dev/full", "", 0);
        ASSERT_NE(full, nullptr);
        filter(filtered.test.run, &filtered.stream, full);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_EQ(filtered.reportsWithLines(), Texts{report});
        fclosx(full);
        errno = 0;
    }
}

TEST_F(Filter, NothingIsWrittenOnceTheErrorFlagIsSet)
{
    Filtered filtered("/Filter /ASCIIHexDecode", "4142>");
    filtered.test.run->errorFlag = 1;
    EXPECT_EQ(filtered.run(), "");
    EXPECT_EQ(filtered.reports(), Texts{});
}

TEST_F(Filter, DataAtTheSizesOfTheBuffers)
{
    for (size_t size : std::initializer_list<size_t>{1, 1023, 1024, 1025, 2047, 2048, 2049, 4096}) {
        std::string data = sampleNoise(size, 7);
        expect("/Filter /ASCIIHexDecode", encodeASCIIHex(data), data);
        expect("/Filter /ASCII85Decode", encodeASCII85(data), data);
        expect("/Filter /FlateDecode", storedStream(data), data);
        expect("/Filter /LZWDecode", encodeLZW(data), data);
    }
}

TEST_F(Filter, TheEndMarkMayBeTheFirstByteOfABuffer)
{
    /* 1024 pairs fill the buffer; the mark comes alone in the next pass. */
    std::string digits(2048, '4');
    expect("/Filter /ASCIIHexDecode", digits + ">", std::string(1024, 'D'));
    expect("/Filter /ASCIIHexDecode", digits.substr(1) + ">", std::string(1023, 'D') + "@");
    expect("/Filter /ASCIIHexDecode", digits, std::string(1024, 'D'),
           {"ZOLAK 3 FILTER: Stream data ended before its end-of-data mark."});
}

} // namespace

/* ---- hostile chains */

TEST_F(Filter, SixtyFourFiltersAreTheMost)
{
    std::string sixtyFour, data = "x";
    for (int i = 0; i < 64; i++) {
        sixtyFour += " /FlateDecode";
        data = encodeFlate(data, 1);
    }
    expect("/Filter [" + sixtyFour + "]", data, "x");

    Filtered oneMore("/Filter [" + sixtyFour + " /ASCIIHexDecode]", data);
    EXPECT_EQ(oneMore.run(), "");
    EXPECT_EQ(
        oneMore.reportsWithLines(),
        (Texts{"ZOLAK:100 4 FILTER: Error setting up filter - '/ASCIIHexDecode'.", NO_CHAIN}));
}

TEST_F(Filter, DecodersMakeNoMoreThanAGibibyte)
{
    /* Zero bytes are no ASCII85 data and are dropped: without a bound, a few more filters in
     * front would let a small file run for years. */
    LowBitWriter zeros;
    zeros.putBytes("\x78\x01");
    zeros.put(0, 1); /* not the last block */
    zeros.put(1, 2); /* fixed codes */
    putFixedSymbol(zeros, 0);
    for (int bytes = 1; bytes < 1073741824 + 4096; bytes += 258) {
        putFixedSymbol(zeros, 285); /* 258 bytes */
        zeros.putCode(0, 5);        /* from one byte back */
    }
    Filtered filtered("/Filter [/FlateDecode /ASCII85Decode]", zeros.bytes);
    EXPECT_EQ(filtered.run(), "");
    EXPECT_EQ(filtered.reportsWithLines(), Texts{"ZOLAK:271 4 FILTER: Stream data is too large."});
}
