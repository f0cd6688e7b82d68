/*
 * glyphproc.h - one glyph as a procedure of the Type 3 font
 */
#ifndef TRUETYPE_GLYPHPROC_H
#define TRUETYPE_GLYPHPROC_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Writes the whole procedure of glyph `glyph`.  Damaged components are reported (severity 3) and
 * leave the procedure without a path. */
void writeGlyphProcedure(ZelkovInstance *instance, TTFont *font, int32_t glyph);

#endif
