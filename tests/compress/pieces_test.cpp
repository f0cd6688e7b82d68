/*
 * pieces_test.cpp - a decoder may be stopped anywhere
 *
 * Input and output in pieces of any size give the same bytes, and every single call answers what
 * the plainly written decoder answers.
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/compress/driver.h"
#include "tests/compress/encoders.h"
#include "tests/compress/samples.h"
#include "tests/compress/zlib_encoder.h"
#include "tests/support/recording_controller.h"

namespace {

const char *const familyNames[FAMILIES] = {"ASCII85", "ASCIIHex", "LZW", "Flate"};

std::string encode(int family, const std::string &data, Random &random)
{
    switch (family) {
    case FAMILY_ASCII85:
        return encodeASCII85(data);
    case FAMILY_ASCIIHEX:
        return encodeASCIIHex(data);
    case FAMILY_LZW:
        return encodeLZW(data);
    default:
        int level = (int)random.below(10), strategy = (int)random.below(5);
        return encodeFlate(data, level, strategy);
    }
}

/* The least room in which the family's decoder moves at all. */
size_t leastRoom(int family)
{
    return family == FAMILY_ASCII85 ? 4 : 1;
}

/* Decodes with both decoders side by side; every call must look the same. */
void compareWithPlain(int family, const std::string &encoded, Random &random)
{
    size_t inMost = random.size(1, 3000), outMost = random.size(4, 3000);
    RecordingController controller;
    std::unique_ptr<Decoder> decoder = makeDecoder(family, controller);
    std::unique_ptr<PlainDecoder> plain = makePlainDecoder(family);
    size_t at = 0, offered = 0;
    for (int idle = 0, after = 0; idle < 4 && after < 3;) {
        offered = std::min(encoded.size() - at, offered + offered / 4 + random.size(0, inMost));
        size_t room = random.size(0, outMost);
        CallResult result = callDecoder(*decoder, encoded.data() + at, offered, room);
        CallResult expected = callPlain(*plain, encoded.data() + at, offered, room);
        ASSERT_EQ(result.answer, expected.answer) << familyNames[family] << " at " << at;
        ASSERT_EQ(result.consumed, expected.consumed) << familyNames[family] << " at " << at;
        ASSERT_EQ(result.state, expected.state) << familyNames[family] << " at " << at;
        ASSERT_TRUE(result.out == expected.out) << familyNames[family] << " at " << at;
        at += (size_t)result.consumed;
        bool moved = result.consumed || result.produced;
        offered = moved ? 0 : offered;
        if (moved || at + offered < encoded.size())
            idle = 0;
        else if (room >= leastRoom(family))
            idle++;
        after += result.state > DECODER_RUN; /* some calls more, to see what they report */
    }
    std::vector<std::string> reports = controller.takeTexts();
    ASSERT_EQ(reports.size(), plain->reports.size()) << familyNames[family];
    for (size_t i = 0; i < reports.size(); i++)
        ASSERT_EQ(reports[i], "DECODE " + plain->reports[i]);
}

/* A few changes that no encoder makes. */
std::string damage(std::string data, Random &random)
{
    for (size_t changes = 1 + random.below(3); changes > 0 && !data.empty(); changes--) {
        size_t at = random.below(data.size());
        switch (random.below(4)) {
        case 0:
            data[at] = (char)(data[at] ^ 1 << random.below(8));
            break;
        case 1:
            data.erase(at, random.size(1, 8));
            break;
        case 2:
            data.insert(at, randomNoise(8, random));
            break;
        case 3:
            data.resize(at);
            break;
        }
    }
    return data;
}

class Pieces : public ::testing::TestWithParam<int> {};

TEST_P(Pieces, CutAtEveryByteGivesTheSameData)
{
    int family = GetParam();
    RecordingController controller;
    Random random(1);
    for (int kind = 0; kind < SAMPLE_KINDS; kind++) {
        std::string data = sampleOf(kind, 700, 4), encoded = encode(family, data, random);
        for (size_t cut = 0; cut <= encoded.size(); cut++) {
            std::unique_ptr<Decoder> decoder = makeDecoder(family, controller);
            bool first = true;
            auto inSize = [&]() { return std::exchange(first, false) ? cut : encoded.size(); };
            Decoded result = decodeWith(*decoder, encoded, inSize, [&]() { return 4096; });
            ASSERT_TRUE(result.data == data) << kind << " cut at " << cut;
            ASSERT_EQ(result.state, DECODER_DONE) << kind << " cut at " << cut;
        }
    }
    EXPECT_TRUE(controller.reports.empty());
}

TEST_P(Pieces, SingleBytesInAndOutGiveTheSameData)
{
    int family = GetParam();
    RecordingController controller;
    Random random(2);
    for (int kind = 0; kind < SAMPLE_KINDS; kind++)
        for (uint64_t seed = 0; seed < 10; seed++) {
            std::string data = sampleOf(kind, 1500, seed), encoded = encode(family, data, random);
            size_t room = leastRoom(family);
            for (auto [in, out] : {std::pair<size_t, size_t>{1, 2048}, {2048, room}, {1, room}}) {
                std::unique_ptr<Decoder> decoder = makeDecoder(family, controller);
                Decoded result = decodePieces(*decoder, encoded, in, out);
                ASSERT_TRUE(result.data == data) << kind << " " << in << " " << out;
                ASSERT_EQ(result.state, DECODER_DONE) << kind << " " << in << " " << out;
            }
        }
    EXPECT_TRUE(controller.reports.empty());
}

TEST_P(Pieces, EveryRoomFromOneByteUpGivesTheSameData)
{
    int family = GetParam();
    RecordingController controller;
    Random random(3);
    std::string data = sampleRuns(700, 1) + sampleText(700, 1);
    std::string encoded = encode(family, data, random);
    for (size_t room = leastRoom(family); room <= 600; room++) {
        std::unique_ptr<Decoder> decoder = makeDecoder(family, controller);
        Decoded result = decodePieces(*decoder, encoded, encoded.size(), room);
        ASSERT_TRUE(result.data == data) << room;
        ASSERT_EQ(result.state, DECODER_DONE) << room;
    }
}

TEST_P(Pieces, EveryCallAnswersLikeThePlainDecoder)
{
    int family = GetParam();
    Random random(4);
    for (int round = 0; round < 600 && !HasFatalFailure(); round++) {
        std::string data = randomSample(round % SAMPLE_KINDS, 6000, random);
        std::string encoded = encode(family, data, random);
        compareWithPlain(family, encoded, random);
    }
}

TEST_P(Pieces, EveryCallOnDamagedDataAnswersLikeThePlainDecoder)
{
    int family = GetParam();
    Random random(5);
    for (int round = 0; round < 2500 && !HasFatalFailure(); round++) {
        std::string data = randomSample(round % SAMPLE_KINDS, 2500, random);
        std::string encoded = damage(encode(family, data, random), random);
        compareWithPlain(family, encoded, random);
    }
}

TEST_P(Pieces, EveryCallOnNoiseAnswersLikeThePlainDecoder)
{
    int family = GetParam();
    Random random(6);
    for (int round = 0; round < 2500 && !HasFatalFailure(); round++) {
        std::string noise = randomNoise(1000, random);
        if (family == FAMILY_FLATE) /* past the header, in a block of the round's type */
            noise = "\x78\x9C" + std::string(1, (char)(round % 8)) + noise;
        compareWithPlain(family, noise, random);
    }
}

INSTANTIATE_TEST_SUITE_P(Families, Pieces, ::testing::Range(0, (int)FAMILIES),
                         [](const auto &param) { return familyNames[param.param]; });

} // namespace
