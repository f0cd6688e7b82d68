/*
 * backread.h - reading a file from its end, line by line
 */
#ifndef PDF_TO_PS_BACKREAD_H
#define PDF_TO_PS_BACKREAD_H

#include "zelkov/file.h"

/* Reads the line that ends at the position and moves to its start.  The line's last 255 bytes are
 * kept in `buffer` (256 bytes), terminated; the answer is the number of all of them.  LF, CR,
 * CR LF and LF CR each end a line.  The start of the file is a read failure, told by errno. */
int readLineBackward(ZFile *file, char *buffer);

#endif
