/*
 * encoding.h - the encodings of simple fonts, and what glyph names mean
 */
#ifndef PREPARE_FONTS_ENCODING_H
#define PREPARE_FONTS_ENCODING_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "prepare/model/qpdf.h"
#include "prepare/fonts/program.h"

namespace prepare {

using Encoding = std::array<std::string, 256>; /* names without slash; empty: none */

/* Of /StandardEncoding, /MacRomanEncoding, /WinAnsiEncoding; null for another name. */
const Encoding *namedEncoding(const std::string &name);

/* The code of a name in MacRomanEncoding, or -1. */
int macRomanCode(const std::string &name);

/* What a font dictionary's /Encoding says. */
struct FontEncoding {
    Encoding names;
    bool hasBase = false; /* a base encoding is named */
    std::array<bool, 256> differs{};
};

/* Without a base encoding in the dictionary, names come from `base` (which may be null). */
FontEncoding readEncoding(QPDFObjectHandle font, const Encoding *base);

/* The characters that glyph names stand for (0: none), by the list that everybody uses. */
std::vector<uint32_t> unicodesOfNames(const FontLibrary &library,
                                      const std::vector<std::string> &names);

/* The name, in a standard Latin font, of the glyph for a character; empty: it has none. */
std::string latinGlyphName(const FontLibrary &library, uint32_t unicode);

/* A name for a glyph that stands for this character: "A", "f_i" is never made; "uniXXXX". */
std::string unicodeGlyphName(uint32_t unicode);

/* The same of several, "uniXXXXXXXX"; empty: they have none. */
std::string unicodeGlyphName(const std::vector<uint32_t> &text);

/* A plain name of at most 100 bytes: one that can stand in a font program and in a job. */
bool isPlainName(const std::string &name);

} // namespace prepare

#endif
