/*
 * runlength_test.cpp - the RunLength family, which keeps a place and decodes nothing
 */
#include <gtest/gtest.h>

#include "tests/support/recording_controller.h"
#include "tools/compress1_0/runlengthdecode.h"

namespace {

TEST(RunLength, StateIsMadeForTheParameter32Only)
{
    RecordingController controller;
    for (int32_t parameter : {-1, 0, 8, 31, 33, 64})
        EXPECT_EQ(RLED_Init(parameter, controller), nullptr) << parameter;
    RunLengthDecoder *decoder = RLED_Init(32, controller);
    ASSERT_NE(decoder, nullptr);
    EXPECT_EQ(decoder->controller, (ZelkovController *)controller);
    EXPECT_EQ(decoder->parameter, 32);
    RLED_Free(decoder);
    EXPECT_TRUE(controller.reports.empty());
}

TEST(RunLength, CallsTakeAndMakeNothingAndNeverLeaveBegin)
{
    RecordingController controller;
    RunLengthDecoder *decoder = RLED_Init(32, controller);
    const uint8_t in[] = {2, 'a', 'b', 'c', 128};
    uint8_t out[8];
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(RLED_ToRaw(decoder, in, sizeof in, out, sizeof out), 0);
        EXPECT_EQ(RLED_Consumed(decoder), 0);
        EXPECT_EQ(RLED_Produced(decoder), 0);
        EXPECT_EQ(RLED_isBegin(decoder), 1);
        EXPECT_EQ(RLED_isBeginRun(decoder), 1);
        EXPECT_EQ(RLED_isRun(decoder), 0);
        EXPECT_EQ(RLED_isDone(decoder), 0);
        EXPECT_EQ(RLED_isError(decoder), 0);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    RLED_Free(decoder);
}

TEST(RunLength, PredicatesReadTheTwoLowBits)
{
    for (uint32_t other : {0U, 4U, 0xFFFFFFFCU})
        for (uint32_t state = 0; state < 4; state++) {
            RunLengthDecoder decoder = {nullptr, 32, other | state, 0, 0, 0};
            EXPECT_EQ(RLED_isBegin(&decoder), state == 0);
            EXPECT_EQ(RLED_isRun(&decoder), state == 1);
            EXPECT_EQ(RLED_isBeginRun(&decoder), state < 2);
            EXPECT_EQ(RLED_isDone(&decoder), state == 2);
            EXPECT_EQ(RLED_isError(&decoder), state == 3);
        }
}

TEST(RunLength, AnotherParameterIsSaidToBeNotImplemented)
{
    RunLengthDecoder decoder = {nullptr, 8, 0, 0, 0, 0};
    testing::internal::CaptureStderr();
    EXPECT_EQ(RLED_ToRaw(&decoder, nullptr, 0, nullptr, 0), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Not implemented yet (RLED_ToRaw) !\n");
}

TEST(RunLength, NullIsAccepted)
{
    EXPECT_EQ(RLED_Consumed(nullptr), 0);
    EXPECT_EQ(RLED_Produced(nullptr), 0);
    RLED_Free(nullptr);
}

} // namespace
