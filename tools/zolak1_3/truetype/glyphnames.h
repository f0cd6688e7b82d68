/*
 * glyphnames.h - the glyph names that the program carries
 */
#ifndef TRUETYPE_GLYPHNAMES_H
#define TRUETYPE_GLYPHNAMES_H

#include <cstddef>

/* The Macintosh glyph order, which formats 1.0, 2.0 and 2.5 of `post` refer to.  Four names are
 * the program's own: 2 "CR", 172 "nbspace", 250 "Idot" and 257 "dmacron". */
constexpr size_t STANDARD_NAMES = 258;
extern const char *const tt_standardNames[STANDARD_NAMES];

/* The glyph name of each character code, for fonts whose `post` names no glyphs. */
constexpr size_t CODE_NAMES = 256;
extern const char *const tt_codeNames[CODE_NAMES];

#endif
