/*
 * resources.h - the named resources of a page, a form or a Type 3 font
 */
#ifndef PDF_TO_PS_RESOURCES_H
#define PDF_TO_PS_RESOURCES_H

#include "tools/zolak1_3/pdf_to_ps/objects.h"

/* Resource entries that one page description may come to, nested ones included: forms that share
 * their resources multiply. */
constexpr uint32_t RESOURCE_ENTRIES_LIMIT = 65536;

/* Writes the definitions of all resources of the dictionary: XObjects, fonts, graphics states and
 * colour spaces, in this order. */
void writeResources(ConverterInstance *inst, const PdfDict *resources);

/* Counts an entry of a resource dictionary before it is written; false, reported, beyond the
 * limit and when the error flag is set. */
bool countResourceEntry(ConverterInstance *inst);

#endif
