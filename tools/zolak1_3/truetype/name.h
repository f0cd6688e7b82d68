/*
 * name.h - the `name` table: the font's own names
 */
#ifndef TRUETYPE_NAME_H
#define TRUETYPE_NAME_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Fills the font's name strings, ready to stand inside a PostScript string.  English or
 * language-neutral records are taken: those of the Microsoft platform, or of the Macintosh one
 * when there is none of the former.  A font that has neither platform is reported, severity 4. */
void readNames(ZelkovInstance *instance, TTFont *font, const TTTable &table);

#endif
