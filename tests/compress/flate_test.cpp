/*
 * flate_test.cpp - the Flate decoder, with streams written bit by bit
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

const char *const BAD_CODE = "DECODE:561 3 BADCODE: Bad code in flate stream";
const char *const BAD_DYNAMIC = "DECODE:472 3 BADEOF: Bad dynamic code table in flate stream";
const char *const BAD_BLOCK = "DECODE:376 3 BADEOF: Bad block header";
const char *const BAD_CHECKSUM = "DECODE:177 3 BADEOF: Incorrect checksum";
const char *const RESTART = "DECODE:201 4 BADENCODE: Cannot restart encoding.";

constexpr uint32_t END_OF_BLOCK = 256;
enum Last { NOT_LAST, LAST };
enum Type { STORED, FIXED, DYNAMIC, RESERVED };

void beginBlock(LowBitWriter &blocks, Last last, Type type)
{
    blocks.put(last, 1);
    blocks.put(type, 2);
}

void putLiterals(LowBitWriter &blocks, const std::string &text)
{
    for (char byte : text)
        putFixedSymbol(blocks, (uint8_t)byte);
}

/* A match of length 3 to 10 (symbols without extra bits). */
void putShortMatch(LowBitWriter &blocks, uint32_t length, uint32_t distSymbol, uint32_t extra,
                   int extraBits)
{
    putFixedSymbol(blocks, 257 + length - 3);
    blocks.putCode(distSymbol, 5);
    blocks.put(extra, extraBits);
}

/* One fixed block with these literals, as a whole stream. */
std::string fixedStream(const std::string &text)
{
    LowBitWriter blocks;
    beginBlock(blocks, LAST, FIXED);
    putLiterals(blocks, text);
    putFixedSymbol(blocks, END_OF_BLOCK);
    return zlibStream(blocks.bytes, text);
}

/* The part of a stream without its checksum. */
std::string withoutTrailer(const std::string &stream)
{
    return stream.substr(0, stream.size() - 4);
}

class Flate : public ::testing::Test {
  protected:
    CallResult call(const std::string &data, size_t outMax = 100000)
    {
        return callDecoder(decoder, data.data(), data.size(), outMax);
    }

    RecordingController controller;
    DecoderFlate decoder{FlateD_Init(controller)};
};

/* ---- creation */

TEST_F(Flate, NewDecoderHasSeenNothing)
{
    const FlateDecoder &d = *decoder.decoder;
    EXPECT_EQ(d.controller, (ZelkovController *)controller);
    EXPECT_EQ(d.consumed, 0);
    EXPECT_EQ(d.produced, 0);
    EXPECT_EQ(d.needBlockHeader, 1U);
    EXPECT_EQ(d.lastBlock, 0U);
    EXPECT_EQ(d.awaitingChecksum, 0U);
    EXPECT_EQ(d.adler, 1U);
    EXPECT_EQ(d.windowPosition, 0);
    EXPECT_EQ(d.pending, 0);
    EXPECT_EQ(d.bitBuffer, 0U);
    EXPECT_EQ(d.bitCount, 0);
    EXPECT_EQ(d.huffmanBlock, 0U);
    EXPECT_EQ(FlateD_isBegin(&d), 1);
    EXPECT_EQ(FlateD_isBeginRun(&d), 1);
    EXPECT_EQ(FlateD_isRun(&d), 0);
    EXPECT_EQ(FlateD_isDone(&d), 0);
    EXPECT_EQ(FlateD_isError(&d), 0);
}

TEST(FlateNull, IsAccepted)
{
    EXPECT_EQ(FlateD_Consumed(nullptr), 0);
    EXPECT_EQ(FlateD_Produced(nullptr), 0);
    FlateD_Free(nullptr);
}

/* ---- the stream's header */

TEST_F(Flate, HeaderIsTakenWholeOrNotAtAll)
{
    EXPECT_EQ(call(""), (CallResult{0, 0, 0, DECODER_BEGIN, ""}));
    EXPECT_EQ(call("\x78"), (CallResult{0, 0, 0, DECODER_BEGIN, ""}));
    EXPECT_EQ(call("\x78\x9C"), (CallResult{0, 2, 0, DECODER_RUN, ""}));
    EXPECT_EQ(FlateD_isRun(decoder.decoder), 1);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Flate, UnknownMethodIsRefusedAndTheStateKept)
{
    EXPECT_EQ(call("\x77\x9C"), (CallResult{-1, 0, 0, DECODER_BEGIN, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(),
              Texts{"DECODE:97 3 BADFLATE: Unknown compression method"});
    EXPECT_EQ(call(fixedStream("abc")).out, "abc");
}

TEST_F(Flate, WrongHeaderCheckIsRefused)
{
    EXPECT_EQ(call("\x78\x9D"), (CallResult{-1, 0, 0, DECODER_BEGIN, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{"DECODE:102 3 BADFLATE: Bad FCHECK"});
}

TEST_F(Flate, PresetDictionaryIsRefused)
{
    EXPECT_EQ(call("\x78\xBB"), (CallResult{-1, 0, 0, DECODER_BEGIN, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{"DECODE:106 3 BADFLATE: FDICT bit set"});
}

TEST_F(Flate, HeaderFaultsAreLookedForInOrder)
{
    call("\x77\xFF"); /* everything is wrong */
    call("\x78\xFF"); /* check and dictionary */
    EXPECT_EQ(controller.takeTextsWithLines(),
              (Texts{"DECODE:97 3 BADFLATE: Unknown compression method",
                     "DECODE:102 3 BADFLATE: Bad FCHECK"}));
}

TEST_F(Flate, WindowSizeOfTheHeaderIsNotLookedAt)
{
    std::string stream = fixedStream("abc");
    stream[0] = '\xF8'; /* 8 MiB, if it existed */
    stream[1] = '\0';   /* 0xF800 is divisible by 31 */
    ASSERT_EQ(0xF800 % 31, 0);
    EXPECT_EQ(call(stream).out, "abc");
}

TEST_F(Flate, ReportsNameTheirSource)
{
    call("xx");
    ASSERT_EQ(controller.reports.size(), 1U);
    EXPECT_EQ(controller.reports[0].module, "DECODE");
    EXPECT_EQ(controller.reports[0].source, "tools/compress1_2/flatedecode");
}

/* ---- the checksum */

TEST_F(Flate, WholeStreamInOneCall)
{
    std::string stream = fixedStream("Hello");
    EXPECT_EQ(call(stream), (CallResult{5, (int32_t)stream.size(), 5, DECODER_DONE, "Hello"}));
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Flate, NothingBehindTheChecksumIsTaken)
{
    std::string stream = fixedStream("Hello");
    EXPECT_EQ(call(stream + "more").consumed, (int32_t)stream.size());
}

TEST_F(Flate, ChecksumMayArriveInALaterCall)
{
    std::string stream = fixedStream("Hello"), blocks = withoutTrailer(stream);
    std::string trailer = stream.substr(blocks.size());
    EXPECT_EQ(call(blocks), (CallResult{5, (int32_t)blocks.size(), 5, DECODER_RUN, "Hello"}));
    EXPECT_EQ(decoder.decoder->awaitingChecksum, 1U);
    for (size_t size = 0; size < 4; size++)
        EXPECT_EQ(call(trailer.substr(0, size)), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(trailer + "more"), (CallResult{0, 4, 0, DECODER_DONE, ""}));
}

TEST_F(Flate, PartOfTheChecksumIsNotTaken)
{
    std::string stream = fixedStream("Hello");
    for (size_t cut = 1; cut < 4; cut++) {
        DecoderFlate fresh(FlateD_Init(controller));
        std::string start = stream.substr(0, stream.size() - cut);
        EXPECT_EQ(callDecoder(fresh, start.data(), start.size(), 10),
                  (CallResult{5, (int32_t)stream.size() - 4, 5, DECODER_RUN, "Hello"}));
    }
}

TEST_F(Flate, EachWrongByteOfTheChecksumIsAFault)
{
    std::string stream = fixedStream("Hello");
    int32_t blocks = (int32_t)stream.size() - 4;
    for (size_t i = 1; i <= 4; i++) {
        std::string wrong = stream;
        wrong[wrong.size() - i] = (char)(wrong[wrong.size() - i] ^ 1);
        DecoderFlate fresh(FlateD_Init(controller));
        EXPECT_EQ(callDecoder(fresh, wrong.data(), wrong.size(), 10),
                  (CallResult{5, blocks, 5, DECODER_ERROR, "Hello"}));
        EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_CHECKSUM});
        EXPECT_EQ(callDecoder(fresh, "", 0, 10), (CallResult{0, 0, 0, DECODER_ERROR, ""}));
        EXPECT_EQ(controller.takeTextsWithLines(), Texts{RESTART});
    }
}

TEST_F(Flate, WrongChecksumInALaterCallIsAFault)
{
    call(withoutTrailer(fixedStream("Hello")));
    EXPECT_EQ(call("\0\0\0\0"s), (CallResult{0, 0, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_CHECKSUM});
}

TEST_F(Flate, BitsLeftAfterTheLastBlockAreIgnored)
{
    LowBitWriter blocks;
    beginBlock(blocks, LAST, FIXED);
    putFixedSymbol(blocks, END_OF_BLOCK); /* 10 bits */
    blocks.put(0x3F, 6);
    ASSERT_EQ(blocks.bytes.size(), 2U);
    EXPECT_EQ(call(zlibStream(blocks.bytes, "")), (CallResult{0, 8, 0, DECODER_DONE, ""}));
}

TEST_F(Flate, CallAfterTheEndIsAnError)
{
    call(fixedStream("x"));
    EXPECT_EQ(call("y"), (CallResult{0, 0, 0, DECODER_DONE, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{RESTART});
}

/* ---- stored blocks */

TEST_F(Flate, StoredBlock)
{
    EXPECT_EQ(call(storedStream("stored")).out, "stored");
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, EmptyStoredBlock)
{
    EXPECT_EQ(call(storedStream("")), (CallResult{0, 11, 0, DECODER_DONE, ""}));
}

TEST_F(Flate, ComplementOfTheStoredLengthIsNotLookedAt)
{
    std::string stream = storedStream("stored");
    stream[5] = stream[6] = '\x55';
    EXPECT_EQ(call(stream).out, "stored");
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, StoredHeaderIsTakenWithItsFirstPieceOrNotAtAll)
{
    std::string stream = storedStream("stored");
    for (size_t size = 2; size < 7; size++) {
        DecoderFlate fresh(FlateD_Init(controller));
        EXPECT_EQ(callDecoder(fresh, stream.data(), size, 10).consumed, 2) << size;
        EXPECT_EQ(callDecoder(fresh, stream.data() + 2, stream.size() - 2, 10).out, "stored");
    }
}

TEST_F(Flate, StoredBlockBeginsAtTheNextByte)
{
    LowBitWriter blocks;
    beginBlock(blocks, NOT_LAST, FIXED);
    putLiterals(blocks, "a");
    putFixedSymbol(blocks, END_OF_BLOCK);
    beginBlock(blocks, LAST, STORED);
    blocks.put(0x7F, 3); /* the rest of the byte may hold anything */
    blocks.align();
    blocks.put(2, 16);
    blocks.put(0, 16);
    blocks.putBytes("bc");
    EXPECT_EQ(call(zlibStream(blocks.bytes, "abc")).out, "abc");
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, StoredBlockLongerThanTheWindow)
{
    std::string data = sampleNoise(65535, 1);
    std::string stream = storedStream(data);
    for (size_t room :
         std::initializer_list<size_t>{1000, 32767, 32768, 32769, 65534, 65535, 100000}) {
        DecoderFlate fresh(FlateD_Init(controller));
        Decoded result = decodePieces(fresh, stream, stream.size(), room);
        EXPECT_TRUE(result.data == data) << room;
        EXPECT_EQ(result.state, DECODER_DONE) << room;
    }
}

TEST_F(Flate, PieceOfAStoredBlockIsTakenWholeAndWaits)
{
    /* of 100 bytes the first piece is 50 */
    std::string data = sampleNoise(100, 1), stream = storedStream(data);
    EXPECT_EQ(call(stream, 10), (CallResult{10, 57, 10, DECODER_RUN, data.substr(0, 10)}));
    EXPECT_EQ(decoder.decoder->pending, 40);
    EXPECT_EQ(call("", 100), (CallResult{40, 0, 40, DECODER_RUN, data.substr(10, 40)}));
}

/* ---- fixed blocks */

TEST_F(Flate, EveryLiteralOfAFixedBlock)
{
    std::string data;
    for (int byte = 0; byte < 256; byte++)
        data += (char)byte;
    EXPECT_EQ(call(fixedStream(data)).out, data);
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, EveryLengthAndDistanceOfAFixedBlock)
{
    /* base and extra bits by the rules of the format, not by the decoder's tables */
    std::string data = sampleNoise(32768, 2);
    LowBitWriter blocks;
    beginBlock(blocks, NOT_LAST, STORED);
    blocks.align();
    blocks.put(32768, 16);
    blocks.put(0, 16);
    blocks.putBytes(data);
    beginBlock(blocks, LAST, FIXED);
    auto match = [&](uint32_t length, uint32_t distance) {
        uint32_t symbol = 0, base = 3, extra = 0;
        if (length == 258) {
            symbol = 28;
            base = 258;
        }
        for (; symbol < 28; symbol++) {
            extra = symbol < 8 ? 0 : symbol / 4 - 1;
            if (length < base + (1U << extra))
                break;
            base += 1U << extra;
        }
        putFixedSymbol(blocks, 257 + symbol);
        blocks.put(length - base, (int)(length == 258 ? 0 : extra));
        base = 1;
        for (symbol = 0; symbol < 30; symbol++) {
            extra = symbol < 4 ? 0 : symbol / 2 - 1;
            if (distance < base + (1U << extra))
                break;
            base += 1U << extra;
        }
        blocks.putCode(symbol, 5);
        blocks.put(distance - base, (int)extra);
        for (uint32_t i = 0; i < length; i++)
            data += data[data.size() - distance];
    };
    for (uint32_t length = 3; length <= 258; length++)
        match(length, length);
    for (uint32_t distance = 1; distance <= 32768; distance += distance < 600 ? 1 : 97)
        match(3 + distance % 256, distance);
    match(258, 32768);
    match(3, 32768);
    putFixedSymbol(blocks, END_OF_BLOCK);
    std::string stream = zlibStream(blocks.bytes, data);
    for (size_t room : std::initializer_list<size_t>{100, 2048, 1000000}) {
        DecoderFlate fresh(FlateD_Init(controller));
        Decoded result = decodePieces(fresh, stream, stream.size(), room);
        EXPECT_TRUE(result.data == data) << room;
        EXPECT_EQ(result.state, DECODER_DONE) << room;
    }
}

/* A literal, then a match of 258 at distance 1. */
std::string longestMatch(LowBitWriter blocks = {})
{
    beginBlock(blocks, LAST, FIXED);
    putLiterals(blocks, "x");
    putFixedSymbol(blocks, 285);
    blocks.putCode(0, 5);
    putFixedSymbol(blocks, END_OF_BLOCK);
    return zlibStream(blocks.bytes, std::string(259, 'x'));
}

TEST_F(Flate, MatchAtDistanceOneRepeatsTheByteBefore)
{
    EXPECT_EQ(call(longestMatch()).out, std::string(259, 'x'));
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, RestOfAMatchComesFirstInTheNextCall)
{
    std::string stream = longestMatch();
    CallResult first = call(stream, 100);
    EXPECT_EQ(first.out, std::string(100, 'x'));
    EXPECT_EQ(decoder.decoder->pending, 159);
    std::string rest = stream.substr((size_t)first.consumed);
    EXPECT_EQ(call(rest, 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(rest, 158), (CallResult{158, 0, 158, DECODER_RUN, std::string(158, 'x')}));
    EXPECT_EQ(decoder.decoder->pending, 1);
    EXPECT_EQ(call(rest, 2), (CallResult{1, (int32_t)rest.size(), 1, DECODER_DONE, "x"}));
}

TEST_F(Flate, CallThatOnlyHandsOutTheEndChecksTheChecksum)
{
    /* the room ends inside the last match, but the end of the block has been read with it when
     * there is no other input left */
    LowBitWriter blocks;
    beginBlock(blocks, LAST, STORED);
    blocks.align();
    blocks.put(1, 16);
    blocks.put(0, 16);
    blocks.putBytes("y");
    std::string stream = zlibStream(blocks.bytes, "y");
    /* with no room at all, the only piece of the block waits */
    EXPECT_EQ(call(stream, 0), (CallResult{0, 8, 0, DECODER_RUN, ""}));
    EXPECT_EQ(decoder.decoder->pending, 1);
    EXPECT_EQ(call(stream.substr(8), 1), (CallResult{1, 4, 1, DECODER_DONE, "y"}));
}

TEST_F(Flate, WithoutRoomOneSymbolIsDecodedAndWaits)
{
    std::string stream = fixedStream("ab");
    EXPECT_EQ(call(stream, 0), (CallResult{0, 4, 0, DECODER_RUN, ""}));
    EXPECT_EQ(decoder.decoder->pending, 1);
    EXPECT_EQ(call(stream.substr(4), 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(stream.substr(4), 9).out, "ab");
}

TEST_F(Flate, MatchReachesIntoTheOutputOfEarlierCalls)
{
    LowBitWriter blocks;
    beginBlock(blocks, LAST, FIXED);
    putLiterals(blocks, "abcdef");
    putShortMatch(blocks, 6, 4, 1, 1); /* distance 6 */
    putFixedSymbol(blocks, END_OF_BLOCK);
    std::string stream = zlibStream(blocks.bytes, "abcdefabcdef");
    for (size_t room = 1; room < 12; room++) {
        DecoderFlate fresh(FlateD_Init(controller));
        EXPECT_EQ(decodePieces(fresh, stream, stream.size(), room).data, "abcdefabcdef") << room;
    }
}

TEST_F(Flate, DistanceBeforeTheFirstByteGivesZeroBytes)
{
    LowBitWriter blocks;
    beginBlock(blocks, LAST, FIXED);
    putLiterals(blocks, "a");
    putShortMatch(blocks, 4, 2, 0, 0); /* distance 3: two bytes before the first */
    putFixedSymbol(blocks, END_OF_BLOCK);
    EXPECT_EQ(call(zlibStream(blocks.bytes, "a\0\0a\0"s)).out, "a\0\0a\0"s);
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, DistancesWithoutMeaningAreFaults)
{
    for (uint32_t symbol : {30U, 31U}) {
        LowBitWriter blocks;
        beginBlock(blocks, LAST, FIXED);
        putLiterals(blocks, "abc");
        putFixedSymbol(blocks, 257);
        blocks.putCode(symbol, 5);
        blocks.put(0, 32);
        std::string stream = zlibStream(blocks.bytes, "");
        DecoderFlate fresh(FlateD_Init(controller));
        CallResult result = callDecoder(fresh, stream.data(), stream.size(), 100);
        EXPECT_EQ(result, (CallResult{3, 6, 3, DECODER_ERROR, "abc"}));
        EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_CODE});
    }
}

TEST_F(Flate, LengthsWithoutMeaningAreFaults)
{
    for (uint32_t symbol : {286U, 287U}) {
        LowBitWriter blocks;
        beginBlock(blocks, LAST, FIXED);
        putLiterals(blocks, "abc");
        putFixedSymbol(blocks, symbol);
        blocks.put(0, 32);
        std::string stream = zlibStream(blocks.bytes, "");
        DecoderFlate fresh(FlateD_Init(controller));
        CallResult result = callDecoder(fresh, stream.data(), stream.size(), 100);
        EXPECT_EQ(result, (CallResult{3, 6, 3, DECODER_ERROR, "abc"}));
        EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_CODE});
        EXPECT_EQ(callDecoder(fresh, "", 0, 0).answer, 0);
        EXPECT_EQ(controller.takeTextsWithLines(), Texts{RESTART});
    }
}

TEST_F(Flate, ReservedBlockTypeIsAFault)
{
    LowBitWriter blocks;
    beginBlock(blocks, NOT_LAST, FIXED);
    putLiterals(blocks, "abc");
    putFixedSymbol(blocks, END_OF_BLOCK); /* 34 bits: the header ends in the fifth byte */
    beginBlock(blocks, NOT_LAST, RESERVED);
    EXPECT_EQ(call(zlibStream(blocks.bytes, "")).answer, -1);
    EXPECT_EQ(FlateD_isError(decoder.decoder), 1);
    EXPECT_EQ(FlateD_Produced(decoder.decoder), 3);
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_BLOCK});
    EXPECT_EQ(call("abc"), (CallResult{0, 0, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{RESTART});
}

TEST_F(Flate, SymbolIsTakenWholeOrNotAtAll)
{
    std::string stream = fixedStream("ab"); /* 3 + 8 + 8 + 7 bits */
    EXPECT_EQ(call(stream.substr(0, 3)), (CallResult{0, 2, 0, DECODER_RUN, ""}));
    EXPECT_EQ(decoder.decoder->bitCount, 0);
    EXPECT_EQ(call(stream.substr(2, 2)), (CallResult{1, 2, 1, DECODER_RUN, "a"}));
    EXPECT_EQ(decoder.decoder->bitCount, 5);
    EXPECT_EQ(call(""), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(stream.substr(4, 1)), (CallResult{1, 1, 1, DECODER_RUN, "b"}));
}

/* ---- dynamic blocks */

/* The header of a dynamic block whose code lengths are sent as they are, without repeats: every
 * length from 0 to 15 has the four-bit code of its own number. */
class DynamicHeader {
  public:
    DynamicHeader(Last last, uint32_t litlenCodes, uint32_t distCodes)
    {
        static const int order[] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                    11, 4,  12, 3, 13, 2, 14, 1, 15};
        beginBlock(bits, last, DYNAMIC);
        bits.put(litlenCodes - 257, 5);
        bits.put(distCodes - 1, 5);
        bits.put(15, 4); /* all 19 lengths */
        for (int symbol : order)
            bits.put(symbol < 16 ? 4 : 0, 3);
    }

    DynamicHeader &length(uint32_t bitCount, int times = 1)
    {
        for (; times > 0; times--)
            bits.putCode(bitCount, 4);
        return *this;
    }

    LowBitWriter bits;
};

/* The same with repeats: lengths 0 and 1 have the codes 00 and 01, the repeats 16, 17 and 18 the
 * codes 10, 110 and 111. */
class RepeatHeader {
  public:
    RepeatHeader(Last last, uint32_t litlenCodes, uint32_t distCodes)
    {
        static const int order[] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1};
        beginBlock(bits, last, DYNAMIC);
        bits.put(litlenCodes - 257, 5);
        bits.put(distCodes - 1, 5);
        bits.put(14, 4); /* 18 lengths, up to that of 1 */
        for (int symbol : order)
            bits.put(symbol == 0 || symbol == 1 || symbol == 16 ? 2
                     : symbol == 17 || symbol == 18             ? 3
                                                                : 0,
                     3);
    }

    RepeatHeader &zero()
    {
        bits.putCode(0, 2);
        return *this;
    }
    RepeatHeader &one()
    {
        bits.putCode(1, 2);
        return *this;
    }
    RepeatHeader &again(uint32_t count) /* 3 to 6 */
    {
        bits.putCode(2, 2);
        bits.put(count - 3, 2);
        return *this;
    }
    RepeatHeader &zeros(uint32_t count) /* 3 to 138 */
    {
        bits.putCode(count < 11 ? 6 : 7, 3);
        bits.put(count < 11 ? count - 3 : count - 11, count < 11 ? 3 : 7);
        return *this;
    }

    LowBitWriter bits;
};

TEST_F(Flate, DynamicBlock)
{
    /* 'a' has the code 0, the end of block 10, length 3 has 11; distance 1 has 0 */
    DynamicHeader header(LAST, 258, 1);
    header.length(0, 'a').length(1).length(0, 256 - 'a' - 1).length(2).length(2).length(1);
    header.bits.putCode(0, 1);
    header.bits.putCode(3, 2);
    header.bits.putCode(0, 1);
    header.bits.putCode(2, 2);
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "aaaa")).out, "aaaa");
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Flate, DynamicHeaderIsTakenWithItsFirstSymbolOrNotAtAll)
{
    DynamicHeader header(LAST, 257, 1);
    header.length(0, 'a').length(1).length(0, 256 - 'a' - 1).length(1).length(0);
    size_t headerBytes = header.bits.bytes.size(); /* the first symbol ends in one of them */
    header.bits.putCode(0, 1);
    header.bits.putCode(0, 1);
    header.bits.putCode(1, 1);
    std::string stream = zlibStream(header.bits.bytes, "aa");
    for (size_t size = 2; size < 2 + headerBytes; size++) {
        DecoderFlate fresh(FlateD_Init(controller));
        EXPECT_EQ(callDecoder(fresh, stream.data(), size, 10).consumed, 2) << size;
        EXPECT_EQ(callDecoder(fresh, stream.data() + 2, stream.size() - 2, 10).out, "aa") << size;
    }
}

TEST_F(Flate, FifteenBitCodes)
{
    /* lengths 1, 2, ... 14, 15, 15: the longest code of 15 ones is the end of block */
    DynamicHeader header(LAST, 257, 1);
    std::string data;
    for (uint32_t i = 1; i <= 15; i++)
        header.length(i);
    header.length(0, 256 - 15).length(15).length(0);
    for (uint32_t i = 1; i <= 15; i++) {
        header.bits.putCode((1U << i) - 2, (int)i);
        data += (char)(i - 1);
    }
    header.bits.putCode(0x7FFF, 15);
    EXPECT_EQ(call(zlibStream(header.bits.bytes, data)).out, data);
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, MoreThanThirtyDistanceCodesAreRefused)
{
    for (uint32_t codes : {31U, 32U}) {
        DynamicHeader header(LAST, 257, codes);
        std::string stream = zlibStream(header.bits.bytes, "");
        DecoderFlate fresh(FlateD_Init(controller));
        EXPECT_EQ(callDecoder(fresh, stream.data(), stream.size(), 10),
                  (CallResult{-1, 2, 0, DECODER_ERROR, ""}));
        EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_DYNAMIC});
    }
}

TEST_F(Flate, All288LengthCodesAndThirtyDistancesAreAccepted)
{
    DynamicHeader header(LAST, 288, 30);
    header.length(0, 'a').length(1).length(0, 256 - 'a' - 1).length(1).length(0, 31).length(5, 30);
    header.bits.putCode(0, 1);
    header.bits.putCode(1, 1);
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "a")).out, "a");
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, RepeatsOfCodeLengths)
{
    /* 'a' and the end of block have codes of one bit; one distance of one bit */
    RepeatHeader header(LAST, 257, 1);
    header.zeros('a').one().zeros(138).zeros(256 - 'a' - 1 - 138).one().one();
    header.bits.putCode(0, 1);
    header.bits.putCode(1, 1);
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "a")).out, "a");
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
}

TEST_F(Flate, RepeatAtTheBeginningRepeatsZero)
{
    RepeatHeader header(LAST, 257, 1);
    header.again(6).zeros('a' - 6).one().zeros(138).zeros(256 - 'a' - 1 - 138).one().zero();
    header.bits.putCode(0, 1);
    header.bits.putCode(1, 1);
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "a")).out, "a");
}

TEST_F(Flate, RepeatAfterZerosRepeatsZero)
{
    RepeatHeader header(LAST, 257, 1);
    header.one().zeros(3).again(6).zeros(246 - 138).zeros(138).one().zero();
    header.bits.putCode(0, 1);
    header.bits.putCode(1, 1);
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "\0"s)).out, "\0"s);
}

TEST_F(Flate, RepeatMayGoOnFromLengthsToDistances)
{
    /* the last length code and three distance codes are sent as one repeat */
    RepeatHeader header(LAST, 258, 3);
    header.zeros(138).zeros(118).one().again(4);
    header.bits.putCode(0, 1); /* end of block */
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "")).state, DECODER_DONE);
}

TEST_F(Flate, RepeatMayOvershootAsFarAsThereAreEntries)
{
    /* 258 lengths are wanted; 256 + 62 = 318 are given */
    RepeatHeader header(LAST, 257, 1);
    header.one().zeros(138).zeros(117).one();
    header.zeros(318 - 257);
    header.bits.putCode(0, 1); /* literal 0 */
    header.bits.putCode(1, 1); /* end of block */
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "\0"s)).out, "\0"s);
    EXPECT_EQ(FlateD_isDone(decoder.decoder), 1);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Flate, RepeatBeyondTheEntriesIsAFault)
{
    RepeatHeader header(LAST, 257, 1);
    header.one().zeros(138).zeros(117).one();
    header.zeros(318 - 257 + 1);
    EXPECT_EQ(call(zlibStream(header.bits.bytes, "\0"s)),
              (CallResult{-1, 2, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_DYNAMIC});
}

TEST_F(Flate, BadCodeAmongTheCodeLengthsIsAFaultOfTheHeader)
{
    LowBitWriter bits;
    beginBlock(bits, LAST, DYNAMIC);
    bits.put(0, 14);
    for (int i = 0; i < 4; i++)
        bits.put(0, 3); /* no code at all */
    bits.put(0, 32);
    EXPECT_EQ(call(zlibStream(bits.bytes, "")), (CallResult{-1, 2, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_CODE});
}

TEST_F(Flate, BadCodeAnswersWhatWasDecodedBefore)
{
    /* an incomplete code: 'a' is 00, the end of block 01 */
    DynamicHeader header(LAST, 257, 1);
    header.length(0, 'a').length(2).length(0, 256 - 'a' - 1).length(2).length(0);
    header.bits.putCode(0, 2);
    header.bits.putCode(0, 2);
    header.bits.putCode(0x7FFF, 15);
    CallResult result = call(zlibStream(header.bits.bytes, ""));
    EXPECT_EQ(result.answer, 2);
    EXPECT_EQ(result.out, "aa");
    EXPECT_EQ(result.state, DECODER_ERROR);
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{BAD_CODE});
    EXPECT_EQ(call("more"), (CallResult{0, 0, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTextsWithLines(), Texts{RESTART});
}

TEST_F(Flate, BadCodeNeedsFifteenBitsToBeSeen)
{
    DynamicHeader header(LAST, 257, 1);
    header.length(0, 'a').length(2).length(0, 256 - 'a' - 1).length(2).length(0);
    header.bits.putCode(0, 2);
    header.bits.put(1, 1); /* begins no code */
    header.bits.put(0xFF, 8);
    EXPECT_EQ(call("\x78\x9C" + header.bits.bytes).out, "a");
    EXPECT_EQ(FlateD_isRun(decoder.decoder), 1);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Flate, TooManyCodesDecodeByTheirOrder)
{
    /* Three codes of one bit: the first two have 0 and 1; the third, 2, can never come.  Of the
     * two codes of two bits, which begin at 6, none can come either. */
    DynamicHeader header(LAST, 257, 1);
    header.length(1, 2).length(2, 2).length(0, 252).length(1).length(0);
    header.bits.put(0x2, 2); /* symbols 0 and 1, for ever */
    for (int i = 0; i < 15; i++)
        header.bits.put(0, 1);
    CallResult result = call("\x78\x9C" + header.bits.bytes, 4);
    EXPECT_EQ(result.out, "\0\1\0\0"s);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Flate, BlocksOfAllTypesFollowEachOther)
{
    LowBitWriter blocks;
    beginBlock(blocks, NOT_LAST, FIXED);
    putLiterals(blocks, "fixed ");
    putFixedSymbol(blocks, END_OF_BLOCK);
    beginBlock(blocks, NOT_LAST, STORED);
    blocks.align();
    blocks.put(7, 16);
    blocks.put(0, 16);
    blocks.putBytes("stored ");
    beginBlock(blocks, NOT_LAST, STORED);
    blocks.align();
    blocks.put(0, 32);
    beginBlock(blocks, NOT_LAST, FIXED);
    putFixedSymbol(blocks, END_OF_BLOCK);
    beginBlock(blocks, LAST, FIXED);
    putShortMatch(blocks, 6, 7, 0, 2); /* distance 13 */
    putFixedSymbol(blocks, END_OF_BLOCK);
    std::string data = "fixed stored fixed ";
    std::string stream = zlibStream(blocks.bytes, data);
    for (size_t in = 1; in <= stream.size(); in++)
        for (size_t room = 1; room <= data.size(); room++) {
            DecoderFlate fresh(FlateD_Init(controller));
            Decoded result = decodePieces(fresh, stream, in, room);
            EXPECT_EQ(result.data, data);
            EXPECT_EQ(result.state, DECODER_DONE);
            EXPECT_EQ(result.consumed, stream.size());
        }
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Flate, NothingIsWrittenBehindWhatIsAnswered)
{
    std::string stream = longestMatch();
    for (size_t room = 0; room < 300; room++) {
        DecoderFlate fresh(FlateD_Init(controller));
        std::string out(300, '.');
        int32_t made =
            fresh.toRaw(reinterpret_cast<const uint8_t *>(stream.data()), (int32_t)stream.size(),
                        reinterpret_cast<uint8_t *>(out.data()), (int32_t)room);
        EXPECT_EQ(out.find_first_not_of('x'), (size_t)made);
        EXPECT_EQ(out.find_last_not_of('.'), (size_t)made - 1);
    }
}

TEST_F(Flate, PieceOfAStoredBlockIsAtMostTheWindow)
{
    for (auto [size, piece] : {std::pair{65535, 32768}, {65534, 32767}, {3, 2}, {2, 1}, {1, 1}}) {
        std::string data = sampleNoise((size_t)size, 4), stream = storedStream(data);
        DecoderFlate fresh(FlateD_Init(controller));
        EXPECT_EQ(callDecoder(fresh, stream.data(), stream.size(), 0),
                  (CallResult{0, 7 + piece, 0, DECODER_RUN, ""}))
            << size;
        EXPECT_EQ(fresh.decoder->pending, piece);
    }
}

TEST_F(Flate, LengthsAndDistancesAtTheEdgesOfTheirSymbols)
{
    /* The shortest and the longest of length symbol 284, and length 258 by its own symbol. */
    for (uint32_t extra : {0U, 30U, 31U}) {
        LowBitWriter blocks;
        beginBlock(blocks, LAST, FIXED);
        putLiterals(blocks, "x");
        putFixedSymbol(blocks, 284);
        blocks.put(extra, 5);
        blocks.putCode(0, 5);
        putFixedSymbol(blocks, END_OF_BLOCK);
        std::string data(1 + 227 + extra, 'x'), stream = zlibStream(blocks.bytes, data);
        DecoderFlate fresh(FlateD_Init(controller));
        EXPECT_EQ(callDecoder(fresh, stream.data(), stream.size(), 1000).out, data) << extra;
        EXPECT_EQ(FlateD_isDone(fresh.decoder), 1);
    }
}

} // namespace
