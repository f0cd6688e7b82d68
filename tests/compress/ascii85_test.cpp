/*
 * ascii85_test.cpp - the ASCII85 decoder
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/compress/driver.h"
#include "tests/support/recording_controller.h"

namespace {

using Texts = std::vector<std::string>;
using namespace std::string_literals;

class ASCII85 : public ::testing::Test {
  protected:
    /* One call with all of the data. */
    CallResult call(const std::string &data, size_t outMax = 100)
    {
        return callDecoder(decoder, data.data(), data.size(), outMax);
    }

    RecordingController controller;
    DecoderASCII85 decoder{ASCII85D_Init(controller)};
};

TEST_F(ASCII85, NewDecoderHasSeenNothing)
{
    EXPECT_EQ(decoder.decoder->controller, (ZelkovController *)controller);
    EXPECT_EQ(decoder.decoder->digitCount, 0);
    EXPECT_EQ(decoder.decoder->outputIndex, -1);
    EXPECT_EQ(ASCII85D_Consumed(decoder.decoder), 0);
    EXPECT_EQ(ASCII85D_Produced(decoder.decoder), 0);
    EXPECT_EQ(ASCII85D_isBegin(decoder.decoder), 1);
    EXPECT_EQ(ASCII85D_isBeginRun(decoder.decoder), 1);
    EXPECT_EQ(ASCII85D_isRun(decoder.decoder), 0);
    EXPECT_EQ(ASCII85D_isDone(decoder.decoder), 0);
    EXPECT_EQ(ASCII85D_isError(decoder.decoder), 0);
}

TEST_F(ASCII85, LastGroupOfTwoDigitsIsOneByte)
{
    EXPECT_EQ(call("87cURDZ~>"), (CallResult{5, 8, 5, DECODER_DONE, "Hello"}));
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(ASCII85, LastGroupOfThreeDigitsIsTwoBytes)
{
    EXPECT_EQ(call("88/~>"), (CallResult{2, 4, 2, DECODER_DONE, "Hi"}));
}

TEST_F(ASCII85, LastGroupOfFourDigitsIsThreeBytes)
{
    EXPECT_EQ(call("9jqo~>"), (CallResult{3, 5, 3, DECODER_DONE, "Man"}));
}

TEST_F(ASCII85, WholeGroupBeforeTheMark)
{
    EXPECT_EQ(call("9jqo^~>"), (CallResult{4, 6, 4, DECODER_DONE, "Man "}));
}

TEST_F(ASCII85, GreaterSignBehindTheMarkIsNotTaken)
{
    EXPECT_EQ(call("~>"), (CallResult{0, 1, 0, DECODER_DONE, ""}));
}

TEST_F(ASCII85, GreaterSignIsADigit)
{
    /* its value is 29; 29 * (85^4 + 85^3 + 85^2 + 85 + 1) is 0x5B4E0519 */
    EXPECT_EQ(call(">>>>>~>"), (CallResult{4, 6, 4, DECODER_DONE, "\x5B\x4E\x05\x19"}));
}

TEST_F(ASCII85, ZIsFourZeroBytes)
{
    EXPECT_EQ(call("z~>"), (CallResult{4, 2, 4, DECODER_DONE, "\0\0\0\0"s}));
}

TEST_F(ASCII85, ZInsideAGroupIsDroppedAndEndsTheCall)
{
    std::string data = "!!z!!!~>";
    EXPECT_EQ(call(data), (CallResult{0, 3, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(data.substr(3)), (CallResult{4, 4, 4, DECODER_DONE, "\0\0\0\0"s}));
}

TEST_F(ASCII85, GroupsBeforeADroppedZAreHandedOut)
{
    EXPECT_EQ(call("9jqo^!z"), (CallResult{4, 7, 4, DECODER_RUN, "Man "}));
}

TEST_F(ASCII85, EveryByteThatIsNoDigitIsDropped)
{
    std::string noise;
    for (int byte = 0; byte < 256; byte++)
        if ((byte < '!' || byte > 'u') && byte != 'z' && byte != '~')
            noise += (char)byte;
    std::string data = noise + "9" + noise + "jq" + noise + "o^" + noise + "~>";
    int32_t all = (int32_t)data.size() - 1;
    EXPECT_EQ(call(data), (CallResult{4, all, 4, DECODER_DONE, "Man "}));
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(ASCII85, GroupIsKeptAcrossCalls)
{
    EXPECT_EQ(call("9j"), (CallResult{0, 2, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call(""), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("qo"), (CallResult{0, 2, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("^9jqo^"), (CallResult{8, 6, 8, DECODER_RUN, "Man Man "}));
}

TEST_F(ASCII85, NothingIsTakenWithoutRoomForAGroup)
{
    EXPECT_EQ(call("87cURDZ~>", 3), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("87cURDZ~>", 0), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("87cURDZ~>", 4), (CallResult{4, 5, 4, DECODER_RUN, "Hell"}));
    EXPECT_EQ(call("DZ~>", 4), (CallResult{1, 3, 1, DECODER_DONE, "o"}));
}

TEST_F(ASCII85, GroupIsNeverSplit)
{
    EXPECT_EQ(call("9jqo^9jqo^~>", 7), (CallResult{4, 5, 4, DECODER_RUN, "Man "}));
}

TEST_F(ASCII85, LargestGroupIsAccepted)
{
    EXPECT_EQ(call("s8W-!~>"), (CallResult{4, 6, 4, DECODER_DONE, "\xFF\xFF\xFF\xFF"}));
}

TEST_F(ASCII85, GroupAboveTheLargestIsAFaultWithoutReport)
{
    EXPECT_EQ(call("s8W.!~>"), (CallResult{-1, 5, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(ASCII85D_isError(decoder.decoder), 1);
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(ASCII85, EachDigitAboveThoseOfTheLargestGroupIsAFault)
{
    for (const char *group : {"s8W-\"", "s8W.!", "s8X!!", "s9!!!", "t!!!!", "uuuuu"}) {
        DecoderASCII85 fresh(ASCII85D_Init(controller));
        EXPECT_EQ(callDecoder(fresh, group, 5, 4).answer, -1) << group;
    }
    for (const char *group : {"s8V~u", "s7uuu", "ruuuu"}) {
        DecoderASCII85 fresh(ASCII85D_Init(controller));
        EXPECT_GE(callDecoder(fresh, group, 5, 4).answer, 0) << group;
    }
}

TEST_F(ASCII85, ShortLastGroupIsCheckedAfterItIsFilledUp)
{
    /* s8W-u is above s8W-! */
    EXPECT_EQ(call("s8W-~>"), (CallResult{-1, 5, 0, DECODER_ERROR, ""}));
}

TEST_F(ASCII85, LastGroupOfOneDigitIsAFaultWithoutReport)
{
    EXPECT_EQ(call("!~>"), (CallResult{-1, 2, 0, DECODER_ERROR, ""}));
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(ASCII85, BytesBeforeAFaultAreWritten)
{
    EXPECT_EQ(call("9jqo^!~>"), (CallResult{-1, 7, 4, DECODER_ERROR, "Man "}));
}

TEST_F(ASCII85, CallAfterTheEndAnswersNothingQuietly)
{
    call("z~>");
    EXPECT_EQ(call(">zz"), (CallResult{0, 0, 0, DECODER_DONE, ""}));
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(ASCII85, CallAfterAFaultIsAnError)
{
    call("!~>");
    EXPECT_EQ(call("zz"), (CallResult{0, 0, 0, DECODER_ERROR, ""}));
    std::vector<RecordedReport> reports = controller.take();
    ASSERT_EQ(reports.size(), 1U);
    EXPECT_EQ(reports[0].module, "DECODE");
    EXPECT_EQ(reports[0].source, "tools/compress1_1/ascii85decode");
    EXPECT_EQ(reports[0].severity, 4);
    EXPECT_EQ(reports[0].key, "BADENCODE");
    EXPECT_EQ(reports[0].text, "Cannot restart encoding.");
}

TEST_F(ASCII85, DeclaredEndDropsTheDigitsHeld)
{
    EXPECT_EQ(call("9jq"), (CallResult{0, 3, 0, DECODER_RUN, ""}));
    ASCII85D_setEODInput(decoder.decoder);
    EXPECT_EQ(ASCII85D_isDone(decoder.decoder), 1);
    EXPECT_EQ(call("o^"), (CallResult{0, 0, 0, DECODER_DONE, ""}));
}

TEST(ASCII85Free, AcceptsNull)
{
    ASCII85D_Free(nullptr);
}

TEST_F(ASCII85, TheMarkWaitsForRoomToo)
{
    EXPECT_EQ(call("9jqo^~>", 4), (CallResult{4, 5, 4, DECODER_RUN, "Man "}));
    EXPECT_EQ(call("~>", 3), (CallResult{0, 0, 0, DECODER_RUN, ""}));
    EXPECT_EQ(call("~>", 4), (CallResult{0, 1, 0, DECODER_DONE, ""}));
}

TEST_F(ASCII85, ZsFillTheRoomInWholeGroups)
{
    EXPECT_EQ(call("zzz~>", 11), (CallResult{8, 2, 8, DECODER_RUN, std::string(8, '\0')}));
    EXPECT_EQ(call("z~>", 12), (CallResult{4, 2, 4, DECODER_DONE, std::string(4, '\0')}));
}

} // namespace
