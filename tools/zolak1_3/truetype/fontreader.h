/*
 * fontreader.h - fills the font record from the font file
 */
#ifndef TRUETYPE_FONTREADER_H
#define TRUETYPE_FONTREADER_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Reads every table of font->data.  Failures are reported and seen in the instance's stop. */
void readFont(ZelkovInstance *instance, TTFont *font);

/* Makes the glyph table of a font of `glyphCount` glyphs (0 to 65535), every record preset.  A
 * lack of memory is reported, severity 4. */
void makeGlyphTable(ZelkovInstance *instance, TTFont *font, int32_t glyphCount);

#endif
