/*
 * entries.h - the entries of a resource dictionary, one after the other
 */
#ifndef PDF_TO_PS_ENTRIES_H
#define PDF_TO_PS_ENTRIES_H

#include "tools/zolak1_3/pdf_to_ps/reader/records.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes the definition of the resource at the input's position under its name, with the slash;
 * false when the walk over the dictionary has to end. */
using DefineEntry = bool (*)(ConversionRun *run, const char *name);

/* Writes every entry, until one ends the walk. */
inline void defineEntries(ConversionRun *run, const PdfDict *dict, DefineEntry define)
{
    for (int32_t i = 0; i < dict->count && countResourceEntry(run); i++) {
        fputp(run->input, dict->entries[i].value);
        if (!define(run, dictKey(dict, i)))
            return;
    }
}

#endif
