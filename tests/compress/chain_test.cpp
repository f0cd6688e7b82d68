/*
 * chain_test.cpp - the dispatch by decoder id, and the decoding chain
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/compress/encoders.h"
#include "tests/compress/samples.h"
#include "tests/compress/zlib_encoder.h"
#include "tests/support/recording_controller.h"
#include "tools/compress1_0/decoderstate.h"
#include "tools/zolak1_3/zolak_filter/chain.h"

namespace {

using Texts = std::vector<std::string>;
using Names = std::vector<const char *>;

constexpr int32_t BUFFER = FILTER_BUFFER_BYTES;

class Chain : public ::testing::Test {
  protected:
    ~Chain() override { chainFree(chain); }

    void open(const Names &names)
    {
        chainFree(chain);
        chain = chainInit(controller, (int32_t)names.size(), names.data());
    }

    /* One call; what it wrote. */
    std::string call(const std::string &data, int32_t outMax = BUFFER)
    {
        std::string out((size_t)outMax, '\0');
        answer = chain_ToRaw(chain, reinterpret_cast<const uint8_t *>(data.data()),
                             (int32_t)data.size(), reinterpret_cast<uint8_t *>(out.data()), outMax);
        out.resize((size_t)std::max(answer, 0));
        return out;
    }

    /* Calls until the chain is no longer in Begin or Run, or nothing has moved twice. */
    std::string run(const std::string &data, Random &random, size_t inMost, size_t outLeast)
    {
        std::string all;
        size_t at = 0;
        for (int idle = 0; idle < 2 && chain_isBeginRun(chain);) {
            std::string piece = data.substr(at, random.size(1, inMost));
            all += call(piece, (int32_t)random.size(outLeast, BUFFER));
            if (answer < 0)
                break;
            at += (size_t)chainConsumed(chain);
            idle = chain->moved ? 0 : idle + 1;
        }
        return all;
    }

    RecordingController controller;
    DecodingChain *chain = nullptr;
    int32_t answer = 0;
};

/* ---- dispatch */

TEST(FilterNames, TellTheDecoderIds)
{
    const std::vector<std::pair<std::string, int32_t>> expected = {
        {"/ASCII85Decode", 0}, {"/ASCIIHexDecode", 1},  {"/LZWDecode", 2},
        {"/FlateDecode", 3},   {"/RunLengthDecode", 4},
    };
    for (size_t i = 0; i < expected.size(); i++) {
        EXPECT_EQ(filterNames[i].name, expected[i].first);
        EXPECT_EQ(filterNames[i].id, expected[i].second);
    }
    EXPECT_EQ(filterNames[expected.size()].name, nullptr);
}

TEST(Dispatch, EachIdReachesItsFamily)
{
    RecordingController controller;
    const std::string encoded[] = {encodeASCII85("Hello"), encodeASCIIHex("Hello"),
                                   encodeLZW("Hello"), storedStream("Hello")};
    for (int32_t id = 0; id < 4; id++) {
        ChainElement element = {id, filterInit(id, controller), nullptr, 0, nullptr, 0};
        ASSERT_NE(element.state, nullptr) << id;
        EXPECT_EQ(filterIsDone(element), 0);
        uint8_t out[16];
        int32_t made = filterToRaw(element, reinterpret_cast<const uint8_t *>(encoded[id].data()),
                                   (int32_t)encoded[id].size(), out, sizeof out);
        EXPECT_EQ(std::string(out, out + std::max(made, 0)), "Hello") << id;
        EXPECT_GT(filterConsumed(element), 0);
        EXPECT_EQ(filterIsDone(element), 1) << id;
        filterFree(element);
    }
    EXPECT_TRUE(controller.reports.empty());
}

TEST(Dispatch, RunLengthCannotBeSetUp)
{
    RecordingController controller;
    EXPECT_EQ(filterInit(4, controller), nullptr);
    EXPECT_TRUE(controller.reports.empty());
}

TEST(Dispatch, OtherIdsHaveNoFamily)
{
    RecordingController controller;
    for (int32_t id : {-2, -1, 5, 1000}) {
        EXPECT_EQ(filterInit(id, controller), nullptr);
        ChainElement element = {id, nullptr, nullptr, 0, nullptr, 0};
        uint8_t byte = 0;
        EXPECT_EQ(filterIsDone(element), 0);
        EXPECT_EQ(filterConsumed(element), -1);
        EXPECT_EQ(filterToRaw(element, &byte, 1, &byte, 1), -1);
        filterFree(element);
    }
}

TEST(Dispatch, LZWCodesHaveUpToTwelveBits)
{
    RecordingController controller;
    std::string data = sampleNoise(20000, 1), encoded = encodeLZW(data, true, 12);
    ChainElement element = {2, filterInit(2, controller), nullptr, 0, nullptr, 0};
    std::string out(data.size(), '\0');
    EXPECT_EQ(filterToRaw(element, reinterpret_cast<const uint8_t *>(encoded.data()),
                          (int32_t)encoded.size(), reinterpret_cast<uint8_t *>(out.data()),
                          (int32_t)out.size()),
              (int32_t)out.size());
    EXPECT_TRUE(out == data);
    filterFree(element);
}

/* ---- setting up */

TEST_F(Chain, NewChainIsInBegin)
{
    open({"/ASCII85Decode", "/FlateDecode"});
    ASSERT_NE(chain, nullptr);
    EXPECT_EQ(chain->controller, (ZelkovController *)controller);
    EXPECT_EQ(chain->consumed, 0);
    EXPECT_EQ(chain->produced, 0);
    EXPECT_EQ(chain->state, 0);
    EXPECT_EQ(chain->count, 2);
    EXPECT_EQ(chain->elements[0].id, 0);
    EXPECT_EQ(chain->elements[1].id, 3);
    for (int i = 0; i < 2; i++) {
        EXPECT_NE(chain->elements[i].state, nullptr);
        EXPECT_EQ(chain->elements[i].inputFill, 0);
        EXPECT_EQ(chain->elements[i].outputFill, 0);
    }
    EXPECT_EQ(chain_isBeginRun(chain), 1);
    EXPECT_EQ(chainConsumed(chain), 0);
}

TEST_F(Chain, UnknownNamesAreReported)
{
    for (const char *name : {"/Fl", "/AHx", "/flatedecode", "FlateDecode", "/FlateDecode ", ""}) {
        open({name});
        EXPECT_EQ(chain, nullptr) << name;
        EXPECT_EQ(controller.takeTextsWithLines(),
                  Texts{"ZOLAK:111 4 FILTER: Unknown filter - '" + std::string(name) + "'."});
    }
}

TEST_F(Chain, RunLengthFailsToSetUp)
{
    open({"/RunLengthDecode"});
    EXPECT_EQ(chain, nullptr);
    ASSERT_EQ(controller.reports.size(), 1U);
    EXPECT_EQ(controller.reports[0].source, "tools/zolak1_3/zolak_filter");
    EXPECT_EQ(controller.takeTextsWithLines(),
              Texts{"ZOLAK:100 4 FILTER: Error setting up filter - '/RunLengthDecode'."});
}

TEST_F(Chain, FirstNameThatFailsIsTheOneReported)
{
    open({"/FlateDecode", "/LZWDecode", "/DCTDecode", "/RunLengthDecode"});
    EXPECT_EQ(chain, nullptr);
    EXPECT_EQ(controller.takeTexts(), Texts{"ZOLAK 4 FILTER: Unknown filter - '/DCTDecode'."});
    open({"/FlateDecode", "/RunLengthDecode", "/DCTDecode"});
    EXPECT_EQ(chain, nullptr);
    EXPECT_EQ(controller.takeTexts(),
              Texts{"ZOLAK 4 FILTER: Error setting up filter - '/RunLengthDecode'."});
}

TEST_F(Chain, WithoutFiltersMovesNothing)
{
    for (int32_t count : {0, -1}) {
        chainFree(chain);
        chain = chainInit(controller, count, nullptr);
        ASSERT_NE(chain, nullptr);
        EXPECT_EQ(chain->state, 0);
        EXPECT_EQ(call("abc"), "");
        EXPECT_EQ(answer, 0);
        EXPECT_EQ(chainConsumed(chain), 0);
    }
}

TEST_F(Chain, FreeAcceptsNull)
{
    chainFree(nullptr);
}

/* ---- moving bytes */

TEST_F(Chain, OneFilterAnswersInTheSameCallAndIsDoneInTheNext)
{
    open({"/ASCIIHexDecode"});
    EXPECT_EQ(call("48656C6C6F>"), "Hello");
    EXPECT_EQ(chainConsumed(chain), 11);
    EXPECT_EQ(chain->produced, 5);
    EXPECT_EQ(chain->state, DECODER_RUN);
    EXPECT_EQ(chain_isBeginRun(chain), 1);
    EXPECT_EQ(call(""), "");
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(chain->state, DECODER_DONE);
    EXPECT_EQ(chain_isBeginRun(chain), 0);
    EXPECT_TRUE(controller.reports.empty());
}

TEST_F(Chain, CallAfterTheEndFails)
{
    open({"/ASCIIHexDecode"});
    call("41>");
    call("");
    EXPECT_EQ(call("42>"), "");
    EXPECT_EQ(answer, -1);
    EXPECT_EQ(chain->state, DECODER_ERROR);
    EXPECT_EQ(chainConsumed(chain), 0);
    EXPECT_EQ(chain->produced, 0);
    EXPECT_EQ(chain_isBeginRun(chain), 0);
    call("");
    EXPECT_EQ(answer, -1);
}

TEST_F(Chain, DecoderFaultFailsAndStays)
{
    open({"/ASCIIHexDecode"});
    call("41?!");
    EXPECT_EQ(answer, -1);
    EXPECT_EQ(chain->state, DECODER_ERROR);
    EXPECT_EQ(chain->produced, 0);
    call("41");
    EXPECT_EQ(answer, -1);
    EXPECT_EQ(controller.takeTexts(), Texts{"DECODE 3 CORDATA: Wrong character in hex stream"});
}

TEST_F(Chain, FaultOfALaterFilterFailsTheChain)
{
    open({"/ASCIIHexDecode", "/FlateDecode"});
    call("0000>");
    EXPECT_EQ(answer, -1);
    EXPECT_EQ(controller.takeTexts(), Texts{"DECODE 3 BADFLATE: Unknown compression method"});
}

TEST_F(Chain, BytesReachTheNextFilterInTheSameCall)
{
    open({"/ASCIIHexDecode", "/ASCII85Decode"});
    EXPECT_EQ(call(encodeASCIIHex(encodeASCII85("Hello"))), "Hello");
    EXPECT_EQ(chain->elements[0].inputFill, 0);
    /* the ">" behind the "~" is not taken by a decoder that is Done */
    EXPECT_EQ(chain->elements[1].inputFill, 1);
    EXPECT_EQ(call(""), "");
    EXPECT_EQ(chain->state, DECODER_DONE);
}

TEST_F(Chain, InputBufferTakesWhatItHasRoomFor)
{
    open({"/ASCIIHexDecode"});
    std::string digits(5000, '4');
    EXPECT_EQ(call(digits).size(), 1024U);
    EXPECT_EQ(chainConsumed(chain), 2048);
}

TEST_F(Chain, InputIsTakenUpToAFullBufferAndWaits)
{
    open({"/ASCII85Decode"});
    std::string zeros(4000, 'z');
    EXPECT_EQ(call(zeros).size(), 2048U); /* 512 groups */
    EXPECT_EQ(chainConsumed(chain), 2048);
    EXPECT_EQ(chain->elements[0].inputFill, 2048 - 512);
    call(zeros);
    EXPECT_EQ(chainConsumed(chain), 512);
}

TEST_F(Chain, OutputWaitsForRoom)
{
    open({"/ASCIIHexDecode"});
    EXPECT_EQ(call("48656C6C6F>", 2), "He");
    EXPECT_EQ(chain->elements[0].outputFill, 3);
    EXPECT_EQ(call("", 2), "ll"); /* a decoder that is Done hands on what it has */
    EXPECT_EQ(chain->state, DECODER_DONE);
    EXPECT_EQ(chain->elements[0].outputFill, 1);
}

TEST_F(Chain, ChainIsDoneOnlyWhenAllFiltersAre)
{
    /* The inner stream ends long before the outer one. */
    open({"/ASCIIHexDecode", "/ASCII85Decode"});
    EXPECT_EQ(call(encodeASCIIHex("z~>").substr(0, 6)), std::string(4, '\0'));
    EXPECT_EQ(call("4141"), "");
    EXPECT_EQ(chain->state, DECODER_RUN);
    EXPECT_EQ(call(">"), "");
    EXPECT_EQ(chain->state, DECODER_RUN);
    EXPECT_EQ(call(""), "");
    EXPECT_EQ(chain->state, DECODER_DONE);
}

TEST_F(Chain, TellsWhetherAnythingMoved)
{
    open({"/ASCIIHexDecode", "/FlateDecode"});
    call("7");
    EXPECT_TRUE(chain->moved); /* taken from the caller */
    call("");
    EXPECT_FALSE(chain->moved);
    call("8");
    EXPECT_TRUE(chain->moved);
    call("");
    EXPECT_FALSE(chain->moved);
}

TEST_F(Chain, NegativeSizesCountAsNothing)
{
    open({"/ASCIIHexDecode"});
    uint8_t byte = 'x';
    EXPECT_EQ(chain_ToRaw(chain, &byte, -5, &byte, -5), 0);
    EXPECT_EQ(chainConsumed(chain), 0);
    EXPECT_EQ(byte, 'x');
}

TEST_F(Chain, ChainsOfTwoAndThreeFiltersInPiecesOfAnySize)
{
    struct Link {
        const char *name;
        std::string (*encode)(const std::string &);
    };
    const Link links[] = {
        {"/ASCII85Decode", encodeASCII85},
        {"/ASCIIHexDecode", encodeASCIIHex},
        {"/LZWDecode", [](const std::string &data) { return encodeLZW(data); }},
        {"/FlateDecode", [](const std::string &data) { return encodeFlate(data); }},
    };
    Random random(21);
    for (int round = 0; round < 400; round++) {
        std::string data = randomSample(round % SAMPLE_KINDS, 30000, random);
        std::string encoded = data;
        Names names;
        for (size_t count = 1 + random.below(3); count > 0; count--) {
            const Link &link = links[random.below(4)];
            encoded = link.encode(encoded);
            names.insert(names.begin(), link.name);
        }
        open(names);
        std::string decoded = run(encoded, random, random.size(1, 4000), BUFFER);
        ASSERT_TRUE(decoded == data) << round;
        ASSERT_EQ(chain->state, DECODER_DONE) << round;

        /* With less room the chain may be Done before the last bytes are out. */
        open(names);
        decoded = run(encoded, random, random.size(1, 4000), 1);
        ASSERT_TRUE(data.starts_with(decoded)) << round;
        ASSERT_GE(decoded.size() + BUFFER, data.size()) << round;
        ASSERT_EQ(chain->state, DECODER_DONE) << round;
        ASSERT_TRUE(controller.reports.empty());
    }
}

TEST_F(Chain, SixtyFourFiltersAreSetUpAndTheNextIsNot)
{
    Names names(64, "/ASCIIHexDecode");
    open(names);
    ASSERT_NE(chain, nullptr);
    EXPECT_EQ(chain->count, 64);
    EXPECT_EQ(controller.takeTexts(), Texts{});
    names.push_back("/FlateDecode");
    open(names);
    EXPECT_EQ(chain, nullptr);
    EXPECT_EQ(controller.takeTextsWithLines(),
              Texts{"ZOLAK:100 4 FILTER: Error setting up filter - '/FlateDecode'."});
    names.back() = "/Fl";
    open(names);
    EXPECT_EQ(controller.takeTextsWithLines(),
              Texts{"ZOLAK:111 4 FILTER: Unknown filter - '/Fl'."});
}

TEST_F(Chain, ManyFiltersDecodeLikeFew)
{
    std::string encoded = "data";
    Names names;
    for (int i = 0; i < 8; i++) {
        encoded = i % 2 ? encodeASCIIHex(encoded) : encodeFlate(encoded);
        names.insert(names.begin(), i % 2 ? "/ASCIIHexDecode" : "/FlateDecode");
    }
    open(names);
    Random random(5);
    EXPECT_EQ(run(encoded, random, 2048, BUFFER), "data");
    EXPECT_EQ(chain->state, DECODER_DONE);
}

} // namespace
