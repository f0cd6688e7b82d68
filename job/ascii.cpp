/*
 * ascii.cpp - texts of people in the letters that every printer knows
 */
#include "job/ascii.h"

#include <cstdint>

namespace job {

namespace {

constexpr uint32_t NO_CHARACTER = 0xFFFFFFFF;

/* From U+00C0 on, and from U+0100 on; those that become two letters stand in `others`. */
constexpr std::string_view LATIN_1 =
    "AAAAAA?CEEEEIIIIDNOOOOOxOUUUUY??aaaaaa?ceeeeiiiidnooooo/ouuuuy?y";
constexpr std::string_view LATIN_A = "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi??"
                                     "JjKkkLlLlLlLlLlNnNnNnnNnOoOoOo??RrRrRrSsSsSsSs"
                                     "TtTtTtUuUuUuUuUuUuWwYyYZzZzZzs";
static_assert(LATIN_1.size() == 64 && LATIN_A.size() == 128);

struct Replacement {
    uint32_t character;
    const char *text;
};
constexpr Replacement others[] = {
    {0xA0, " "},     {0xAB, "\""},    {0xBB, "\""},   {0xC6, "AE"},   {0xDE, "TH"},   {0xDF, "ss"},
    {0xE6, "ae"},    {0xFE, "th"},    {0x132, "IJ"},  {0x133, "ij"},  {0x152, "OE"},  {0x153, "oe"},
    {0x2010, "-"},   {0x2011, "-"},   {0x2012, "-"},  {0x2013, "-"},  {0x2014, "-"},  {0x2018, "'"},
    {0x2019, "'"},   {0x201A, "'"},   {0x201C, "\""}, {0x201D, "\""}, {0x201E, "\""}, {0x2022, "*"},
    {0x2026, "..."}, {0x20AC, "EUR"}, {0x2212, "-"},
};

/* Takes the next character off the text. */
uint32_t nextCharacter(std::string_view *text)
{
    uint8_t first = (uint8_t)text->front();
    size_t count = first < 0x80       ? 1
                   : first >> 5 == 6  ? 2
                   : first >> 4 == 14 ? 3
                   : first >> 3 == 30 ? 4
                                      : 0;
    uint32_t character = count == 1 ? first : first & (0xFFu >> (count + 1));
    for (size_t i = 1; i < count; i++) {
        if (i >= text->size() || ((uint8_t)(*text)[i] & 0xC0) != 0x80)
            count = 0;
        else
            character = character << 6 | ((uint8_t)(*text)[i] & 0x3F);
    }
    text->remove_prefix(count ? count : 1);
    return count ? character : NO_CHARACTER;
}

std::string inAscii(uint32_t character)
{
    if (character >= ' ' && character <= '~')
        return std::string(1, (char)character);
    for (const Replacement &other : others)
        if (other.character == character)
            return other.text;
    if (character >= 0xC0 && character < 0x100)
        return std::string(1, LATIN_1[character - 0xC0]);
    if (character >= 0x100 && character < 0x180)
        return std::string(1, LATIN_A[character - 0x100]);
    return "?";
}

} // namespace

std::string asAscii(std::string_view text)
{
    std::string out;
    while (!text.empty())
        out += inAscii(nextCharacter(&text));
    return out;
}

} // namespace job
