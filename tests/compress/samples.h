/*
 * samples.h - data of several kinds to encode and decode, made by a formula
 *
 * The same call gives the same bytes.
 */
#ifndef TESTS_COMPRESS_SAMPLES_H
#define TESTS_COMPRESS_SAMPLES_H

#include <cstddef>
#include <cstdint>
#include <string>

/* A small generator of random numbers (xorshift), the same everywhere. */
class Random {
  public:
    explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15 + 0xD1B54A32D192ED03) {}

    uint64_t next();

    /* 0 to limit - 1; limit is at least 1. */
    size_t below(size_t limit) { return (size_t)(next() % limit); }

    /* A size from `low` to `high`, small ones as likely as large ones. */
    size_t size(size_t low, size_t high);

  private:
    uint64_t state;
};

/* Sentences of words that are drawn as unevenly as in a language. */
std::string sampleText(size_t size, uint64_t seed);

/* Page content: operators, and numbers that change little by little. */
std::string samplePage(size_t size, uint64_t seed);

/* Glyph outlines as in a TrueType font: flags, and coordinates as small differences. */
std::string sampleFont(size_t size, uint64_t seed);

/* Rows of an RGB image: slopes with a little noise. */
std::string sampleImage(size_t size, uint64_t seed);

/* Runs of one byte, of all lengths. */
std::string sampleRuns(size_t size, uint64_t seed);

/* Bytes that do not compress. */
std::string sampleNoise(size_t size, uint64_t seed);

constexpr int SAMPLE_KINDS = 6;

/* The kind of that number, in the order above. */
std::string sampleOf(int kind, size_t size, uint64_t seed);

/* A sample of the kind of any size up to `most`; noise of any size from 1 to `most`.  For use where
 * the order of two draws would be the compiler's. */
std::string randomSample(int kind, size_t most, Random &random);
std::string randomNoise(size_t most, Random &random);

#endif
