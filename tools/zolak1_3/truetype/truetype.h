/*
 * truetype.h - a TrueType font program becomes a PostScript Type 3 font
 */
#ifndef TRUETYPE_TRUETYPE_H
#define TRUETYPE_TRUETYPE_H

#include "zelkov/file.h"
#include "zelkov/instance.h"

/* Reads the TrueType font program that `input`, positioned at its start, holds, and writes it to
 * `output` as a complete Type 3 font.  The text ends in `definefont pop`: the caller has written
 * the font's name before.  Both handles stay open and the caller's.
 *
 * Failures are reported to the instance's controller and seen in the instance's having been told to
 * stop; nothing is done when it was told already.  Answers what zdelete answers. */
int insert_ttfont(ZelkovInstance *instance, ZFile *input, ZFile *output);

#endif
