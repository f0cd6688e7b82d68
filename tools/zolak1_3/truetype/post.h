/*
 * post.h - the `post` table: italic angle, underline, glyph names
 */
#ifndef TRUETYPE_POST_H
#define TRUETYPE_POST_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Fills font->post and the glyph names, or sets font->namesFromCodes when the table has no names
 * (format 3.0, and a font without the table).  Another format than 1.0, 2.0, 2.5 and 3.0 is
 * reported, severity 4, and so is a lack of memory. */
void readPost(ZelkovInstance *instance, TTFont *font, const TTTable &table);

#endif
