/*
 * samples.cpp - data of several kinds, made by a formula
 */
#include "tests/compress/samples.h"

#include <cmath>
#include <vector>

uint64_t Random::next()
{
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state * 0x2545F4914F6CDD1D >> 16;
}

size_t Random::size(size_t low, size_t high)
{
    size_t span = high - low + 1, bits = 1;
    while (span >> bits)
        bits++;
    size_t limit = (size_t)1 << below(bits + 1);
    return low + below(limit < span ? limit : span);
}

namespace {

constexpr size_t WORDS = 6000;

/* Made of syllables, short words first. */
std::vector<std::string> makeWords(Random &random)
{
    static const char *const onsets[] = {"b", "c", "d", "f", "g", "l", "m", "n",  "p",  "r",
                                         "s", "t", "v", "w", "",  "h", "k", "st", "th", "tr"};
    static const char *const rests[] = {"a",  "e",  "i",  "o",  "u",  "an", "en", "in", "on", "er",
                                        "al", "es", "it", "ou", "ar", "is", "at", "ed", "or", "ly"};
    std::vector<std::string> words;
    for (size_t i = 0; i < WORDS; i++) {
        std::string word;
        for (size_t syllables = 1 + (i > 60) + random.below(2 + (i > 800)); syllables; syllables--)
            word.append(onsets[random.below(20)]).append(rests[random.below(20)]);
        words.push_back(word);
    }
    return words;
}

/* The rank of a word, drawn so that rank r comes about as often as 1 / r. */
size_t drawRank(Random &random)
{
    double u = (double)random.below(1 << 20) / (1 << 20);
    return (size_t)std::pow((double)WORDS, u) - 1;
}

/* A coordinate in tenths, a little away from the one before. */
void addNumber(std::string &page, Random &random, int &value)
{
    value += (int)random.below(41) - 20;
    int tenths = value < 0 ? -value : value;
    page.append(std::to_string(tenths / 10)).append(".");
    page.append(std::to_string(tenths % 10)).append(" ");
}

uint8_t noisy(Random &random, double value)
{
    return (uint8_t)((int)value + (int)random.below(3));
}

} // namespace

std::string sampleText(size_t size, uint64_t seed)
{
    Random random(seed);
    std::vector<std::string> words = makeWords(random);
    std::string text;
    size_t line = 0;
    while (text.size() < size) {
        const std::string &word = words[drawRank(random)];
        text += word;
        line += word.size() + 1;
        size_t mark = random.below(60);
        if (mark < 4)
            text += mark ? "," : ".";
        text += line > 70 ? '\n' : ' ';
        if (line > 70)
            line = 0;
    }
    text.resize(size);
    return text;
}

std::string samplePage(size_t size, uint64_t seed)
{
    static const char *const operators[] = {"m\n", "l\n", "l\n", "l\n", "Td\n", "re f\n"};
    Random random(seed);
    std::string page;
    std::string text = sampleText(4000, seed);
    int x = 3000, y = 5000;
    while (page.size() < size) {
        size_t kind = random.below(6);
        addNumber(page, random, x);
        addNumber(page, random, y);
        if (kind == 5)
            page.append(std::to_string(random.below(90))).append(" 12.5 ");
        page += operators[kind];
        if (kind == 4)
            page.append("(").append(text, random.below(text.size() - 40), 30).append(") Tj\n");
    }
    page.resize(size);
    return page;
}

std::string sampleFont(size_t size, uint64_t seed)
{
    Random random(seed);
    std::string font;
    while (font.size() < size) {
        size_t points = 8 + random.below(40);
        for (size_t i = 0; i < points; i++)
            font += "\x01\x37\x27\x33\x35\x07\x17\x11"[random.below(random.below(8) + 1)];
        for (size_t i = 0; i < 2 * points; i++)
            font += (char)(random.below(3) ? random.below(48) : random.below(256));
        for (size_t i = 0; i < 8; i++)
            font += (char)(i % 2 ? random.below(256) : random.below(6));
    }
    font.resize(size);
    return font;
}

std::string sampleImage(size_t size, uint64_t seed)
{
    constexpr size_t WIDTH = 640;
    Random random(seed);
    std::string image;
    for (size_t row = 0; image.size() < size; row++)
        for (size_t x = 0; x < WIDTH && image.size() < size; x++) {
            double wave = 60 * std::sin((double)x / 90) * std::cos((double)row / 70);
            image += (char)noisy(random, 120 + wave);
            image += (char)noisy(random, 100 + wave / 2);
            image += (char)noisy(random, 80 + (double)row / 9);
        }
    image.resize(size);
    return image;
}

std::string sampleRuns(size_t size, uint64_t seed)
{
    Random random(seed);
    std::string runs;
    while (runs.size() < size) {
        size_t length = random.size(1, 5000);
        runs.append(length, (char)random.below(4));
    }
    runs.resize(size);
    return runs;
}

std::string sampleNoise(size_t size, uint64_t seed)
{
    Random random(seed);
    std::string noise(size, '\0');
    for (char &byte : noise)
        byte = (char)random.next();
    return noise;
}

std::string sampleOf(int kind, size_t size, uint64_t seed)
{
    static constexpr std::string (*makers[SAMPLE_KINDS])(size_t, uint64_t) = {
        sampleText, samplePage, sampleFont, sampleImage, sampleRuns, sampleNoise};
    return makers[kind](size, seed);
}

std::string randomSample(int kind, size_t most, Random &random)
{
    size_t size = random.size(0, most);
    return sampleOf(kind, size, random.next());
}

std::string randomNoise(size_t most, Random &random)
{
    size_t size = random.size(1, most);
    return sampleNoise(size, random.next());
}
