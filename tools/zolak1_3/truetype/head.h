/*
 * head.h - the `head` table
 */
#ifndef TRUETYPE_HEAD_H
#define TRUETYPE_HEAD_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Fills font->head.  A location format other than 0 and 1, and units per em of 0, are reported,
 * severity 4. */
void readHead(ZelkovInstance *instance, TTFont *font, const TTTable &table);

#endif
