/*
 * asciihex_test.cpp - the ASCIIHex decoder
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/compress/driver.h"
#include "tests/support/recording_controller.h"

namespace {

using Texts = std::vector<std::string>;

const char *const WRONG_CHARACTER = "DECODE 3 CORDATA: Wrong character in hex stream";
const char *const RESTART = "DECODE 4 BADENCODE: Cannot restart encoding.";

class ASCIIHex : public ::testing::Test {
  protected:
    /* One call with all of the data. */
    CallResult call(const std::string &data, size_t outMax = 100)
    {
        return callDecoder(decoder, data.data(), data.size(), outMax);
    }

    RecordingController controller;
    DecoderASCIIHex decoder{ASCIIHexD_Init(controller)};
};

TEST_F(ASCIIHex, NewDecoderHasSeenNothing)
{
    EXPECT_EQ(decoder.decoder->controller, (ZelkovController *)controller);
    EXPECT_EQ(ASCIIHexD_Consumed(decoder.decoder), 0);
    EXPECT_EQ(ASCIIHexD_Produced(decoder.decoder), 0);
    EXPECT_EQ(ASCIIHexD_isBegin(decoder.decoder), 1);
    EXPECT_EQ(ASCIIHexD_isBeginRun(decoder.decoder), 1);
    EXPECT_EQ(ASCIIHexD_isRun(decoder.decoder), 0);
    EXPECT_EQ(ASCIIHexD_isDone(decoder.decoder), 0);
    EXPECT_EQ(ASCIIHexD_isError(decoder.decoder), 0);
}

TEST_F(ASCIIHex, PairsBecomeBytesAndMarkEndsTheData)
{
    EXPECT_EQ(call("48656C6C6F>"), (CallResult{5, 11, 5, DECODER_DONE, "Hello"}));
    EXPECT_EQ(ASCIIHexD_isDone(decoder.decoder), 1);
    EXPECT_EQ(ASCIIHexD_isBeginRun(decoder.decoder), 0);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(ASCIIHex, DigitsOfBothCasesAreRead)
{
    EXPECT_EQ(call("0123456789abcdefABCDEF>").out, "\x01\x23\x45\x67\x89\xab\xcd\xef\xAB\xCD\xEF");
}

TEST_F(ASCIIHex, WholePairsBeforeTheMark)
{
    EXPECT_EQ(call("4865>"), (CallResult{2, 5, 2, DECODER_DONE, "He"}));
}

TEST_F(ASCIIHex, OddLastDigitIsFilledUpWithZero)
{
    EXPECT_EQ(call("486>"), (CallResult{2, 4, 2, DECODER_DONE, "\x48\x60"}));
}

TEST_F(ASCIIHex, DigitsBehindAMarkInsideAPairAreDecodedInTheSameCall)
{
    EXPECT_EQ(call("6>4142"), (CallResult{3, 6, 3, DECODER_DONE, "\x60\x41\x42"}));
}

TEST_F(ASCIIHex, DigitsBehindAMarkBetweenPairsAreLeft)
{
    EXPECT_EQ(call("41>42>"), (CallResult{1, 3, 1, DECODER_DONE, "A"}));
}

TEST_F(ASCIIHex, WhiteSpaceIsAFault)
{
    EXPECT_EQ(call("48 65>"), (CallResult{-1, 4, 1, DECODER_ERROR, "H"}));
    EXPECT_EQ(ASCIIHexD_isError(decoder.decoder), 1);
    EXPECT_EQ(controller.takeTexts(), Texts{WRONG_CHARACTER});
}

TEST_F(ASCIIHex, EveryOtherByteIsAFaultInBothHalvesOfAPair)
{
    for (int byte = 0; byte < 256; byte++) {
        bool digit = isxdigit(byte);
        for (bool second : {false, true}) {
            if (byte == '>')
                continue;
            DecoderASCIIHex fresh(ASCIIHexD_Init(controller));
            char pair[2] = {second ? '1' : (char)byte, second ? (char)byte : '1'};
            EXPECT_EQ(callDecoder(fresh, pair, 2, 1).answer, digit ? 1 : -1) << byte << second;
            EXPECT_EQ(controller.take().size(), digit ? 0U : 1U);
        }
    }
}

TEST_F(ASCIIHex, FaultBeforeAMarkIsReportedOnce)
{
    EXPECT_EQ(call("g>"), (CallResult{-1, 2, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTexts(), Texts{WRONG_CHARACTER});
}

TEST_F(ASCIIHex, ReportsNameTheirSource)
{
    call("x1");
    std::vector<RecordedReport> reports = controller.take();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].module, "DECODE");
    EXPECT_EQ(reports[0].source, "tools/compress1_2/asciihexdecode");
}

TEST_F(ASCIIHex, LoneLastByteIsLeftForTheNextCall)
{
    EXPECT_EQ(call("48656"), (CallResult{2, 4, 2, DECODER_RUN, "He"}));
    EXPECT_EQ(call("6"), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("6C>"), (CallResult{1, 3, 1, DECODER_DONE, "l"}));
}

TEST_F(ASCIIHex, LoneMarkIsTaken)
{
    EXPECT_EQ(call(">"), (CallResult{0, 1, 0, DECODER_DONE, ""}));
}

TEST_F(ASCIIHex, NothingIsTakenWithoutRoom)
{
    EXPECT_EQ(call("4865>", 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(">", 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
}

TEST_F(ASCIIHex, FirstCallWithoutInputBeginsTheRun)
{
    EXPECT_EQ(call(""), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(ASCIIHexD_isRun(decoder.decoder), 1);
    EXPECT_EQ(ASCIIHexD_isBeginRun(decoder.decoder), 1);
}

TEST_F(ASCIIHex, MarkWaitsUntilThereIsRoom)
{
    EXPECT_EQ(call("41>", 1), (CallResult{1, 2, 1, DECODER_RUN, "A"}));
    EXPECT_EQ(call(">", 1), (CallResult{0, 1, 0, DECODER_DONE, ""}));
}

TEST_F(ASCIIHex, CallAfterTheEndIsAnError)
{
    call("41>");
    EXPECT_EQ(call("42>"), (CallResult{0, 0, 0, DECODER_DONE, ""}));
    EXPECT_EQ(controller.takeTexts(), Texts{RESTART});
}

TEST_F(ASCIIHex, CallAfterAFaultIsAnError)
{
    call("4?");
    controller.take();
    EXPECT_EQ(call("42>"), (CallResult{0, 0, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTexts(), Texts{RESTART});
}

TEST(ASCIIHexFree, AcceptsNull)
{
    ASCIIHexD_Free(nullptr);
}

TEST_F(ASCIIHex, AMarkInTheSecondHalfOfAPairWaitsForNoMoreRoom)
{
    EXPECT_EQ(call("41424>", 2), (CallResult{2, 4, 2, DECODER_RUN, "AB"}));
    EXPECT_EQ(call("4>", 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("4>", 1), (CallResult{1, 2, 1, DECODER_DONE, "@"}));
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(ASCIIHex, BytesBeforeAFaultCountAsProduced)
{
    EXPECT_EQ(call("4142x3"), (CallResult{-1, 6, 2, DECODER_ERROR, "AB"}));
    EXPECT_EQ(controller.takeTexts(), Texts{WRONG_CHARACTER});
}

} // namespace
