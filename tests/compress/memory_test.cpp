/*
 * memory_test.cpp - decoders and chains when there is no memory
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/compress/failing_allocations.h"
#include "tests/support/recording_controller.h"
#include "tools/compress1_0/lzwdecode.h"
#include "tools/compress1_0/runlengthdecode.h"
#include "tools/compress1_1/ascii85decode.h"
#include "tools/compress1_2/asciihexdecode.h"
#include "tools/compress1_2/flatedecode.h"
#include "tools/zolak1_3/zolak_filter/chain.h"

namespace {

using Texts = std::vector<std::string>;

class Memory : public ::testing::Test {
  protected:
    ~Memory() override { successesLeft = ALWAYS; }

    RecordingController controller;
};

TEST_F(Memory, DecodersOfOneBlockAnswerNullWithoutReport)
{
    successesLeft = 0;
    EXPECT_EQ(ASCII85D_Init(controller), nullptr);
    EXPECT_EQ(ASCIIHexD_Init(controller), nullptr);
    EXPECT_EQ(FlateD_Init(controller), nullptr);
    EXPECT_EQ(RLED_Init(32, controller), nullptr);
    successesLeft = ALWAYS;
    EXPECT_EQ(controller.takeTexts(), Texts{});
}

TEST_F(Memory, LZWNamesTheArrayThatCannotBeMade)
{
    const Texts expected[] = {
        {},
        {"DECODE 3 NOMEMALL: Unable to create Val array in LZW decode"},
        {"DECODE 3 NOMEMALL: Unable to create Prev array in LZW decode"},
        {"DECODE 3 NOMEMALL: Unable to create Overflow array in LZW decode"},
    };
    for (int successes = 0; successes < 4; successes++) {
        successesLeft = successes;
        EXPECT_EQ(LZWD_Init(12, controller), nullptr);
        successesLeft = ALWAYS;
        EXPECT_EQ(controller.takeTexts(), expected[successes]) << successes;
    }
    successesLeft = 4;
    LZWDecoder *decoder = LZWD_Init(12, controller);
    successesLeft = ALWAYS;
    EXPECT_NE(decoder, nullptr);
    LZWD_Free(decoder);
}

TEST_F(Memory, ChainThatCannotBeMadeReleasesWhatItHas)
{
    const char *const names[] = {"/ASCIIHexDecode", "/FlateDecode"};
    const std::string setUp = "ZOLAK 4 FILTER: Error setting up filter - ";
    /* the chain, its elements; then for each filter a decoder and two buffers */
    for (int successes = 0; successes < 8; successes++) {
        successesLeft = successes;
        EXPECT_EQ(chainInit(controller, 2, names), nullptr);
        successesLeft = ALWAYS;
        EXPECT_EQ(controller.takeTexts(), successes < 2   ? Texts{}
                                          : successes < 5 ? Texts{setUp + "'/ASCIIHexDecode'."}
                                                          : Texts{setUp + "'/FlateDecode'."});
    }
    successesLeft = 8;
    DecodingChain *chain = chainInit(controller, 2, names);
    successesLeft = ALWAYS;
    EXPECT_NE(chain, nullptr);
    chainFree(chain);
}

} // namespace
