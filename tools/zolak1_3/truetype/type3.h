/*
 * type3.h - the Type 3 font resource
 */
#ifndef TRUETYPE_TYPE3_H
#define TRUETYPE_TYPE3_H

#include "tools/zolak1_3/truetype/fontrecord.h"
#include "zelkov/instance.h"

/* Writes the font that has been read as a complete Type 3 font, and leaves what was written when
 * a report stops the instance. */
void writeType3Font(ZelkovInstance *instance, TTFont *font);

#endif
