/*
 * cmap.h - the `cmap` table: which glyph a character code draws
 */
#ifndef TRUETYPE_CMAP_H
#define TRUETYPE_CMAP_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Fills the font's encoding, the Unicode flag, and the codes and Unicode values of the glyphs.
 * The glyph table stands, preset, with room for max(glyphCount + 1, 256) glyphs at least.
 *
 * Reports a glyph index above glyphCount (severity 3; that character draws glyph 0), a Microsoft
 * subtable that is neither symbol nor Unicode, and a table without a usable subtable, also a
 * missing one (severity 4; the encoding is all 0). */
void readCmap(ZelkovInstance *instance, TTFont *font, const TTTable &cmap);

#endif
