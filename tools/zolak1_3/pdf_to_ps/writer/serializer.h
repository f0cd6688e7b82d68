/*
 * serializer.h - PDF values as PostScript text
 *
 * References inside arrays and dictionaries are written inline, as deep copies.  The input's
 * position is not kept, except where said.
 */
#ifndef PDF_TO_PS_SERIALIZER_H
#define PDF_TO_PS_SERIALIZER_H

#include <initializer_list>

#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Values that one value may come to when it is written; shared references multiply. */
constexpr uint32_t WRITTEN_VALUES_LIMIT = 1048576;

/* Writes the value at the position, every scalar with a blank behind it; of a stream, only the
 * dictionary.  0, or -1 when it is no value that can be written. */
int writeObject(ConversionRun *run, ValuePosition position);

/* Writes an item; nothing when there is none of that index. */
void writeArrayElement(ConversionRun *run, const PdfArray *array, int32_t index);

/* Writes the key, a blank, the value and a line end; -1, and nothing, when the key is absent. */
int writeDictEntry(ConversionRun *run, const PdfDict *dict, const char *key);

/* The same for several keys, in the order given. */
void writeDictEntries(ConversionRun *run, const PdfDict *dict,
                      std::initializer_list<const char *> keys);

/* Writes `count` bytes of the input from `start` on, as they are, and a line end; a negative
 * count is none.  The input's position is kept. */
void copyStreamData(ConversionRun *run, ValuePosition start, int32_t count);

/* Writes a text without a line end. */
void writePiece(ConversionRun *run, const char *text);

/* Writes lines as they stand, percent signs and all. */
void writeLines(ZFile *output, std::initializer_list<const char *> lines);

#endif
