/*
 * zlib_test.cpp - Flate against the zlib library, on good and on damaged data
 */
#include <gtest/gtest.h>

#include <string>
#include <zlib.h>

#include "tests/compress/driver.h"
#include "tests/compress/samples.h"
#include "tests/support/recording_controller.h"

namespace {

struct Settings {
    int level, strategy, memory, windowBits;
};

/* Compresses, with a flush of some kind now and then. */
std::string compressWith(const std::string &data, const Settings &settings, Random &random)
{
    z_stream stream = {};
    EXPECT_EQ(deflateInit2(&stream, settings.level, Z_DEFLATED, settings.windowBits,
                           settings.memory, settings.strategy),
              Z_OK);
    std::string encoded(2 * data.size() + 10000, '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.data()));
    stream.next_out = reinterpret_cast<Bytef *>(encoded.data());
    stream.avail_out = (uInt)encoded.size();
    for (size_t left = data.size(), flushes = random.below(3); flushes > 0; flushes--) {
        size_t piece = random.below(left + 1);
        stream.avail_in = (uInt)piece;
        deflate(&stream, (int)random.below(2) ? Z_SYNC_FLUSH : Z_FULL_FLUSH);
        left -= piece;
    }
    stream.avail_in = (uInt)(data.size() - stream.total_in);
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    encoded.resize(stream.total_out);
    deflateEnd(&stream);
    return encoded;
}

struct Inflated {
    bool accepted, badChecksum;
    std::string data;
};

Inflated inflateWhole(const std::string &encoded, size_t capacity)
{
    Inflated result = {false, false, std::string(capacity, '\0')};
    z_stream stream = {};
    inflateInit(&stream);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(encoded.data()));
    stream.avail_in = (uInt)encoded.size();
    stream.next_out = reinterpret_cast<Bytef *>(result.data.data());
    stream.avail_out = (uInt)capacity;
    int verdict = inflate(&stream, Z_FINISH);
    result.accepted = verdict == Z_STREAM_END;
    result.badChecksum = stream.msg && std::string(stream.msg) == "incorrect data check";
    result.data.resize(stream.total_out);
    inflateEnd(&stream);
    return result;
}

Decoded decodeRandomly(const std::string &encoded, ZelkovController *controller, Random &random,
                       size_t capacity = SIZE_MAX)
{
    DecoderFlate decoder(FlateD_Init(controller));
    size_t inMost = random.size(1, 5000), outMost = random.size(1, 5000);
    return decodeWith(
        decoder, encoded, [&]() { return random.size(0, inMost); },
        [&]() { return random.size(1, outMost); }, capacity);
}

TEST(Zlib, WhatItCompressesComesBack)
{
    RecordingController controller;
    Random random(11);
    int streams = 0;
    for (int level = 0; level <= 9; level++)
        for (int strategy : {Z_DEFAULT_STRATEGY, Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE, Z_FIXED})
            for (int round = 0; round < 60; round++, streams++) {
                Settings settings = {level, strategy, 1 + (int)random.below(9),
                                     9 + (int)random.below(7)};
                std::string data = randomSample(round % SAMPLE_KINDS, 20000, random);
                std::string encoded = compressWith(data, settings, random);
                Decoded result = decodeRandomly(encoded, controller, random);
                ASSERT_TRUE(result.data == data) << level << " " << strategy << " " << round;
                ASSERT_EQ(result.state, DECODER_DONE);
                ASSERT_EQ(result.consumed, encoded.size());
            }
    EXPECT_EQ(streams, 3000);
    EXPECT_TRUE(controller.reports.empty());
}

TEST(Zlib, LongDataComesBack)
{
    RecordingController controller;
    Random random(12);
    for (int kind = 0; kind < SAMPLE_KINDS; kind++)
        for (int level : {0, 1, 6, 9}) {
            std::string data = sampleOf(kind, 400000, 7);
            std::string encoded = compressWith(data, {level, Z_DEFAULT_STRATEGY, 8, 15}, random);
            for (size_t room : std::initializer_list<size_t>{2048, 1000000}) {
                DecoderFlate decoder(FlateD_Init(controller));
                Decoded result = decodePieces(decoder, encoded, 2048, room);
                ASSERT_TRUE(result.data == data) << kind << " " << level;
                ASSERT_EQ(result.state, DECODER_DONE);
            }
        }
}

/* zlib looks more closely than this decoder does (at complements, distances before the beginning,
 * incomplete codes), so what it accepts must be accepted, with the same bytes; data that differs
 * in nothing but the checksum must be refused by both. */
TEST(Zlib, DamagedDataIsAcceptedOnlyAsTheSameBytes)
{
    RecordingController controller;
    Random random(13);
    int accepted = 0, badChecksums = 0, refused = 0;
    for (int round = 0; round < 6000; round++) {
        Settings settings = {(int)random.below(10), (int)random.below(5), 8, 15};
        std::string data = randomSample(round % SAMPLE_KINDS, 4000, random);
        std::string encoded = compressWith(data, settings, random);
        /* now and then behind the first block's header only, or in the checksum only */
        size_t from = round % 5 == 0 ? encoded.size() - 4 : round % 3 == 0 ? 3 : 0;
        size_t at = from + random.below(encoded.size() - from);
        switch (random.below(4)) {
        case 0:
        case 1:
            encoded[at] = (char)(encoded[at] ^ 1 << random.below(8));
            break;
        case 2:
            encoded.erase(at, random.size(1, 5));
            break;
        case 3:
            encoded.insert(at, randomNoise(5, random));
            break;
        }
        constexpr size_t CAPACITY = 250000; /* damage may make much of little */
        Inflated theirs = inflateWhole(encoded, CAPACITY);
        Decoded ours = decodeRandomly(encoded, controller, random, CAPACITY);
        std::vector<RecordedReport> reports = controller.take();
        if (theirs.accepted) {
            accepted++;
            ASSERT_EQ(ours.state, DECODER_DONE) << round;
            ASSERT_TRUE(ours.data == theirs.data) << round;
        } else if (theirs.badChecksum) {
            badChecksums++;
            ASSERT_EQ(ours.state, DECODER_ERROR) << round;
            ASSERT_EQ(reports.size(), 1U);
            ASSERT_EQ(reports[0].text, "Incorrect checksum");
        } else {
            refused += ours.state != DECODER_DONE;
        }
    }
    /* all of the cases were met */
    EXPECT_GT(accepted, 50);
    EXPECT_GT(badChecksums, 1000);
    EXPECT_GT(refused, 1000);
}

} // namespace
