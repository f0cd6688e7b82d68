/*
 * outline.h - the outline of a simple glyph as a PostScript path
 */
#ifndef TRUETYPE_OUTLINE_H
#define TRUETYPE_OUTLINE_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Writes the path of simple glyph `glyph`, in font units, and counts its segments.  `parent` is
 * the glyph whose procedure is being written: the glyph itself or a composite that refers to it.
 *
 * A glyph without data or with components of its own is reported (severity 3) and a comment takes
 * the path's place.  A damaged one, or one of more than 2000 points, is reported (severity 3) and
 * nothing is written.  A font that exceeds the limit of segments is reported, severity 4. */
void writeOutline(ZelkovInstance *instance, TTFont *font, int32_t glyph, int32_t parent);

/* Reports, severity 3, that the glyph's data cannot be used. */
void tt_reportDamagedGlyph(ZelkovInstance *instance, const TTFont &font, int32_t glyph);

#endif
