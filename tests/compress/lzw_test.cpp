/*
 * lzw_test.cpp - the LZW decoder
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/compress/driver.h"
#include "tests/compress/encoders.h"
#include "tests/compress/samples.h"
#include "tests/support/recording_controller.h"

namespace {

using Texts = std::vector<std::string>;
using namespace std::string_literals;

constexpr uint32_t CLEAR = 256, END = 257;

const char *const BAD_CODE = "DECODE 3 CORDATA: Unexpected code in LZW decode";
const char *const AFTER_ERROR = "DECODE 3 PROGERR: Can't restart LZW decode after error";

/* Codes of 9 bits. */
std::string nineBits(std::initializer_list<uint32_t> codes)
{
    HighBitWriter writer;
    for (uint32_t code : codes)
        writer.put(code, 9);
    return writer.bytes;
}

class LZW : public ::testing::Test {
  protected:
    CallResult call(const std::string &data, size_t outMax = 100000)
    {
        return callDecoder(decoder, data.data(), data.size(), outMax);
    }

    RecordingController controller;
    DecoderLZW decoder{LZWD_Init(12, controller)};
};

TEST_F(LZW, NewDecoderHasSeenNothing)
{
    const LZWDecoder &d = *decoder.decoder;
    EXPECT_EQ(d.controller, (ZelkovController *)controller);
    EXPECT_EQ(d.tableSize, 4096U);
    EXPECT_EQ(d.status, 4U);
    EXPECT_EQ(d.nextCode, 258);
    EXPECT_EQ(d.threshold, 512);
    EXPECT_EQ(d.codeWidth, 9);
    EXPECT_EQ(d.previousCode, -1);
    EXPECT_EQ(d.bitPosition, 8);
    EXPECT_EQ(d.overflowFill, 0);
    EXPECT_EQ(LZWD_isBegin(&d), 1);
    EXPECT_EQ(LZWD_isBeginRun(&d), 1);
    EXPECT_EQ(LZWD_isRun(&d), 0);
    EXPECT_EQ(LZWD_isDone(&d), 0);
    EXPECT_EQ(LZWD_isError(&d), 0);
    for (int i = 0; i < 256; i++) {
        EXPECT_EQ(d.Val[i], i);
        EXPECT_EQ(d.Prev[i], -1);
    }
}

TEST(LZWInit, CodeWidthsFrom9To16AreAccepted)
{
    RecordingController controller;
    for (int32_t bits : {-1, 0, 8, 17, 32, 1000})
        EXPECT_EQ(LZWD_Init(bits, controller), nullptr) << bits;
    for (int32_t bits = 9; bits <= 16; bits++) {
        LZWDecoder *decoder = LZWD_Init(bits, controller);
        ASSERT_NE(decoder, nullptr) << bits;
        EXPECT_EQ(decoder->tableSize, 1U << bits);
        LZWD_Free(decoder);
    }
    EXPECT_TRUE(controller.reports.empty());
}

TEST(LZWNull, IsAccepted)
{
    EXPECT_EQ(LZWD_Consumed(nullptr), 0);
    EXPECT_EQ(LZWD_Produced(nullptr), 0);
    LZWD_Free(nullptr);
}

TEST_F(LZW, EntryIsMadeFromTwoCodes)
{
    /* 258 is "AB"; 45 bits, of which the last byte holds five */
    EXPECT_EQ(call(nineBits({CLEAR, 65, 66, 258, END})),
              (CallResult{4, 5, 4, DECODER_DONE, "ABAB"}));
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(LZW, EntryCanBeUsedByTheCodeThatCompletesIt)
{
    EXPECT_EQ(call(nineBits({CLEAR, 65, 258, END})).out, "AAA");
    EXPECT_EQ(LZWD_isDone(decoder.decoder), 1);
}

TEST_F(LZW, IncompleteEntryOfALongerString)
{
    /* 258 "AB"; then 259 = "AB" and its own first byte */
    EXPECT_EQ(call(nineBits({CLEAR, 65, 66, 258, 260, END})).out, "ABABABA");
}

TEST_F(LZW, DataNeedNotBeginWithAClearCode)
{
    EXPECT_EQ(call(nineBits({65, 66, 258, END})).out, "ABAB");
}

TEST_F(LZW, ClearCodeForgetsTheEntries)
{
    EXPECT_EQ(call(nineBits({CLEAR, 65, 66, 258, CLEAR, 67, 68, 258, END})).out, "ABABCDCD");
}

TEST_F(LZW, ClearCodesMayFollowEachOther)
{
    EXPECT_EQ(call(nineBits({CLEAR, CLEAR, CLEAR, 65, END})).out, "A");
}

TEST_F(LZW, EndCodeAloneIsNoData)
{
    EXPECT_EQ(call(nineBits({END})), (CallResult{0, 1, 0, DECODER_DONE, ""}));
}

TEST_F(LZW, NothingBehindTheEndCodeIsTaken)
{
    std::string data = nineBits({CLEAR, 65, END});
    EXPECT_EQ(call(data + "rest"), (CallResult{1, 3, 1, DECODER_DONE, "A"}));
}

TEST_F(LZW, DecoderThatIsDoneGoesOnWithMoreInput)
{
    call(nineBits({CLEAR, 65, END})); /* 27 bits: the fourth byte is used in part */
    EXPECT_EQ(decoder.decoder->bitPosition, 5);
    HighBitWriter more;
    more.put(0, 3);
    more.put(66, 9);
    EXPECT_EQ(call(more.bytes), (CallResult{1, 1, 1, DECODER_RUN, "B"}));
}

TEST_F(LZW, DecoderThatIsDoneStaysSoWithoutACode)
{
    call(nineBits({END}));
    EXPECT_EQ(call("x"), (CallResult{0, 0, 0, DECODER_DONE, ""}));
}

TEST_F(LZW, CodeAboveTheNextIsAFault)
{
    EXPECT_EQ(call(nineBits({CLEAR, 65, 66, 260, 67})),
              (CallResult{-2, 4, 2, DECODER_ERROR, "AB"}));
    EXPECT_EQ(LZWD_isError(decoder.decoder), 1);
    std::vector<RecordedReport> reports = controller.take();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].source, "tools/compress1_0/lzwdecode");
    controller.reports = reports;
    EXPECT_EQ(controller.takeTexts(), Texts{BAD_CODE});
}

TEST_F(LZW, CallAfterAFaultIsAFault)
{
    call(nineBits({CLEAR, 65, 300}));
    controller.take();
    EXPECT_EQ(call(nineBits({CLEAR, 65})), (CallResult{-6, 0, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTexts(), Texts{AFTER_ERROR});
}

TEST_F(LZW, CodeIsReadOnlyWhenAllItsBytesAreThere)
{
    std::string data = nineBits({CLEAR, 65, END}); /* codes end in the bytes 1, 2 and 3 */
    EXPECT_EQ(call(data.substr(0, 1)), (CallResult{0, 0, 0, DECODER_BEGIN, ""}));
    EXPECT_EQ(call(data.substr(0, 2)), (CallResult{0, 1, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(data.substr(1, 1)), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(data.substr(1, 2)), (CallResult{1, 1, 1, DECODER_RUN, "A"}));
    EXPECT_EQ(call(data.substr(2)), (CallResult{0, 1, 0, DECODER_DONE, ""}));
}

TEST_F(LZW, ByteThatIsUsedUpIsTaken)
{
    /* eight codes of nine bits fill nine bytes */
    std::string data = nineBits({CLEAR, 65, 65, 66, 66, 67, 67, 68});
    ASSERT_EQ(data.size(), 9U);
    EXPECT_EQ(call(data), (CallResult{7, 9, 7, DECODER_RUN, "AABBCCD"}));
    EXPECT_EQ(decoder.decoder->bitPosition, 8);
}

TEST_F(LZW, NoCodeIsReadWithoutRoom)
{
    std::string data = nineBits({CLEAR, 65, END});
    EXPECT_EQ(call(data, 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(data, 1), (CallResult{1, 2, 1, DECODER_RUN, "A"}));
}

TEST_F(LZW, StringWithoutRoomIsCompletedBeforeAnyFurtherCode)
{
    std::string data = nineBits({CLEAR, 65, 66, 258, 258, END});
    EXPECT_EQ(call(data, 3), (CallResult{3, 4, 3, DECODER_RUN, "ABA"}));
    EXPECT_EQ(decoder.decoder->overflowFill, 1);
    EXPECT_EQ(call("", 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("", 5), (CallResult{1, 0, 1, DECODER_RUN, "B"}));
    EXPECT_EQ(call(data.substr(4), 1), (CallResult{1, 1, 1, DECODER_RUN, "A"}));
    EXPECT_EQ(call(data.substr(5), 10), (CallResult{1, 1, 1, DECODER_DONE, "B"}));
}

TEST_F(LZW, IncompleteEntryWithoutRoomEndsWithItsFirstByte)
{
    /* "A", "B", 258 = "AB", then 260 = "ABA" that is just being made */
    std::string data = nineBits({CLEAR, 65, 66, 258, 260, END});
    std::string whole = "ABABABA";
    for (size_t room = 1; room <= 7; room++) {
        DecoderLZW fresh(LZWD_Init(12, controller));
        EXPECT_EQ(decodePieces(fresh, data, 100, room).data, whole) << room;
    }
}

TEST_F(LZW, DeclaredEndOfInputEndsTheData)
{
    LZWD_setEODInput(decoder.decoder);
    EXPECT_EQ(LZWD_isEODInput(decoder.decoder), 1);
    EXPECT_EQ(call(nineBits({CLEAR, 65, 66}), 2), (CallResult{2, 3, 2, DECODER_RUN, "AB"}));
    EXPECT_EQ(call("x"), (CallResult{0, 0, 0, DECODER_DONE, ""}));
}

TEST_F(LZW, DeclaredEndOfInputCanBeTakenBack)
{
    LZWD_setEODInput(decoder.decoder);
    LZWD_unsetEODInput(decoder.decoder);
    EXPECT_EQ(LZWD_isEODInput(decoder.decoder), 0);
    EXPECT_EQ(call(""), (CallResult{0, 0, 0, DECODER_BEGIN, ""}));
}

TEST_F(LZW, DeclaredEndOfInputWaitsForWhatIsHeld)
{
    std::string data = nineBits({CLEAR, 65, 258});
    EXPECT_EQ(call(data, 2).out, "AA");
    LZWD_setEODInput(decoder.decoder);
    EXPECT_EQ(call("", 10), (CallResult{1, 0, 1, DECODER_RUN, "A"}));
    EXPECT_EQ(call("", 10), (CallResult{0, 0, 0, DECODER_DONE, ""}));
}

TEST_F(LZW, OptionsAreIndependentOfEachOtherAndOfTheState)
{
    LZWDecoder *d = decoder.decoder;
    EXPECT_EQ(LZWD_isOptEarlyChange(d), 1);
    LZWD_unsetOptEarlyChange(d);
    EXPECT_EQ(LZWD_isOptEarlyChange(d), 0);
    LZWD_setEODInput(d);
    EXPECT_EQ(LZWD_isOptEarlyChange(d), 0);
    call(nineBits({CLEAR, 65, END}));
    EXPECT_EQ(LZWD_isDone(d), 1);
    EXPECT_EQ(LZWD_isEODInput(d), 1);
    LZWD_setOptEarlyChange(d);
    EXPECT_EQ(LZWD_isOptEarlyChange(d), 1);
    EXPECT_EQ(LZWD_isDone(d), 1);
}

/* After a clear code, the n-th code makes entry 256 + n.  Literals that never repeat a pair keep
 * the encoder from using entries. */
std::string literals(int count, int firstWide, int wide)
{
    HighBitWriter writer;
    writer.put(CLEAR, 9);
    for (int i = 1; i <= count; i++)
        writer.put((uint32_t)(i * 7 % 256), i < firstWide ? 9 : wide);
    return writer.bytes;
}

std::string literalBytes(int count)
{
    std::string bytes;
    for (int i = 1; i <= count; i++)
        bytes += (char)(i * 7 % 256);
    return bytes;
}

TEST_F(LZW, FirstTenBitCodeFollowsEntry510)
{
    /* the 254th code makes entry 510 */
    EXPECT_EQ(call(literals(254, 255, 10)).out, literalBytes(254));
    EXPECT_EQ(decoder.decoder->nextCode, 511);
    EXPECT_EQ(decoder.decoder->codeWidth, 10);
    DecoderLZW fresh(LZWD_Init(12, controller));
    std::string data = literals(300, 255, 10);
    EXPECT_EQ(callDecoder(fresh, data.data(), data.size(), 1000).out, literalBytes(300));
}

TEST_F(LZW, WithoutEarlyChangeTheFirstTenBitCodeFollowsEntry511)
{
    LZWD_unsetOptEarlyChange(decoder.decoder);
    EXPECT_EQ(call(literals(254, 256, 10)).out, literalBytes(254));
    EXPECT_EQ(decoder.decoder->codeWidth, 9);
    DecoderLZW fresh(LZWD_Init(12, controller));
    LZWD_unsetOptEarlyChange(fresh.decoder);
    std::string data = literals(300, 256, 10);
    EXPECT_EQ(callDecoder(fresh, data.data(), data.size(), 1000).out, literalBytes(300));
}

TEST_F(LZW, CodesWidenAtTheSameEntriesUpToTheirGreatestWidth)
{
    struct Case {
        int32_t bits;
        bool early;
        std::vector<int> lastNarrow; /* the entries after which the width has grown */
    };
    const Case cases[] = {
        {12, true, {510, 1022, 2046}},
        {12, false, {511, 1023, 2047}},
        {10, true, {510}},
        {9, true, {}},
        {9, false, {}},
        {16, true, {510, 1022, 2046, 4094, 8190, 16382, 32766}},
    };
    for (const Case &c : cases) {
        DecoderLZW fresh(LZWD_Init(c.bits, controller));
        LZWDecoder *d = fresh.decoder;
        if (!c.early)
            LZWD_unsetOptEarlyChange(d);
        std::vector<int> seen;
        while (d->nextCode < (int)d->tableSize) {
            /* one code at a time, at the front of its own bytes */
            int width = d->codeWidth;
            HighBitWriter writer;
            writer.put(0, 8 - d->bitPosition);
            writer.put(65, width);
            CallResult result = callDecoder(fresh, writer.bytes.data(), writer.bytes.size(), 1);
            ASSERT_EQ(result.out, "A");
            if (d->codeWidth != width)
                seen.push_back(d->nextCode - 1);
        }
        EXPECT_EQ(seen, c.lastNarrow) << c.bits << c.early;
    }
}

TEST_F(LZW, FullTableTakesNoMoreEntries)
{
    /* 5000 codes without a clear code: the last entry is 4095, and codes keep their meaning */
    HighBitWriter writer;
    std::string expected;
    int width = 9;
    writer.put(CLEAR, 9);
    for (int i = 1; i <= 5000; i++) {
        int entry = 256 + i; /* what this code makes */
        writer.put(i > 4500 ? 4095U : 65U, width);
        expected += i > 4500 ? "AA" : "A";
        if (entry == 510 || entry == 1022 || entry == 2046)
            width++;
    }
    writer.put(END, 12);
    CallResult result = call(writer.bytes);
    EXPECT_EQ(result.out, expected);
    EXPECT_EQ(result.state, DECODER_DONE);
    EXPECT_EQ(decoder.decoder->nextCode, 4096);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(LZW, FirstCodeAbove255IsWrittenAsItsLowByte)
{
    /* 0x141 is 321: 'A' with the ninth bit */
    EXPECT_EQ(call(nineBits({CLEAR, 0x141, END})).out, "A");
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(LZW, EntryThatWasNeverSetIsOneZeroByte)
{
    /* 258 = string of 321 and its first byte */
    EXPECT_EQ(call(nineBits({CLEAR, 0x141, 258, END})).out, "A\0\0"s);
}

TEST_F(LZW, EntriesFromBeforeAClearCodeMayBeReachedThroughAFirstCode)
{
    /* 259 was "BC" before the clear code; now 258 = string of 259 and 'D' */
    EXPECT_EQ(call(nineBits({CLEAR, 65, 66, 67, CLEAR, 259, 68, 258, END})).out,
              "ABC\x03"s + "DBCD");
}

TEST_F(LZW, StringsThatLeadRoundInACircleAreAFault)
{
    /* The first code is 258, which has no entry yet; the next makes 258 out of itself. */
    EXPECT_EQ(call(nineBits({CLEAR, 258, 65, 258, END})).answer, -2);
    EXPECT_EQ(controller.takeTexts(), Texts{BAD_CODE});
    EXPECT_EQ(LZWD_isError(decoder.decoder), 1);
}

TEST_F(LZW, CircleLeftBehindDoesNoHarmAfterAClearCode)
{
    EXPECT_EQ(call(nineBits({CLEAR, 258, 65, CLEAR, 66, 67, 258, END})).out, "\x02"s + "ABCBC");
}

TEST_F(LZW, StringAsLongAsTheTableIsDecoded)
{
    /* Each code is the entry that it completes: strings of 1, 2, 3 ... bytes. */
    HighBitWriter writer;
    size_t length = 1;
    int width = 9;
    writer.put(CLEAR, 9);
    writer.put(65, 9);
    for (uint32_t code = 258; code < 4096; code++) {
        writer.put(code, width);
        length += code - 256;
        if (code == 510 || code == 1022 || code == 2046)
            width++;
    }
    writer.put(END, 12);
    for (size_t room : std::initializer_list<size_t>{500, 2048, 10000000}) {
        DecoderLZW fresh(LZWD_Init(12, controller));
        Decoded result = decodePieces(fresh, writer.bytes, 2048, room);
        EXPECT_EQ(result.data.size(), length);
        EXPECT_EQ(result.data.find_first_not_of('A'), std::string::npos);
        EXPECT_EQ(result.state, DECODER_DONE);
    }
}

TEST_F(LZW, EncodedSamplesComeBack)
{
    for (int kind = 0; kind < SAMPLE_KINDS; kind++)
        for (bool early : {true, false})
            for (int bits : {9, 12, 16}) {
                std::string data = sampleOf(kind, 30000, 3);
                std::string encoded = encodeLZW(data, early, bits);
                DecoderLZW fresh(LZWD_Init(bits, controller));
                if (!early)
                    LZWD_unsetOptEarlyChange(fresh.decoder);
                Decoded result = decodePieces(fresh, encoded, 2048, 2048);
                EXPECT_TRUE(result.data == data) << kind << early << bits;
                EXPECT_EQ(result.state, DECODER_DONE);
            }
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(LZW, TheNextCodeIsTheLargestThatMayCome)
{
    /* After two codes entry 258 is there and 259 is just being made; 260 is one too far. */
    EXPECT_EQ(call(nineBits({CLEAR, 65, 66, 259, END})).out, "ABBB");
    DecoderLZW fresh(LZWD_Init(12, controller));
    std::string data = nineBits({CLEAR, 65, 259, END});
    EXPECT_EQ(callDecoder(fresh, data.data(), data.size(), 10).answer, -2);
    EXPECT_EQ(controller.takeTexts(), Texts{BAD_CODE});
}

TEST_F(LZW, ARoomOfNothingTakesNoHeldBytes)
{
    std::string data = nineBits({CLEAR, 65, 258, 259, END});
    EXPECT_EQ(call(data, 2).out, "AA");
    EXPECT_EQ(decoder.decoder->overflowFill, 1);
    EXPECT_EQ(call("", 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(decoder.decoder->overflowFill, 1);
    EXPECT_EQ(call("", 1), (CallResult{1, 0, 1, DECODER_RUN, "A"}));
    EXPECT_EQ(decoder.decoder->overflowFill, 0);
}

} // namespace
