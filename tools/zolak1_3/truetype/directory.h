/*
 * directory.h - the table directory of a font file
 */
#ifndef TRUETYPE_DIRECTORY_H
#define TRUETYPE_DIRECTORY_H

#include "tools/zolak1_3/truetype/fontdata.h"
#include "zelkov/instance.h"

/* Where the tables start; a table that the font does not have is missing (null data). */
struct TTDirectory {
    TTTable name, head, hhea, post, glyf, cmap, maxp, hmtx, loca;
};

/* Reads the directory of the font file `data`.  A table that no font can do without and that is
 * missing is reported, severity 4. */
void readDirectory(ZelkovInstance *instance, TTDirectory *directory, const TTTable &data);

#endif
