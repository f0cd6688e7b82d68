/*
 * metrics.h - the `hmtx` table: advance widths and side bearings
 */
#ifndef TRUETYPE_METRICS_H
#define TRUETYPE_METRICS_H

#include "tools/zolak1_3/truetype/fontrecord.h"

/* Fills the widths and bearings of the font's glyphs. */
void readMetrics(TTFont *font, const TTTable &hmtx, const TTTable &hhea);

#endif
