/*
 * contents.cpp - page content
 *
 * Content is passed through: its dictionary, the line "PageContents", its bytes as they stand in
 * the file.  The PostScript side undoes the filters.
 */
#include "tools/zolak1_3/pdf_to_ps/contents.h"

#include "tools/zolak1_3/pdf_to_ps/filterlist.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "tools/zolak1_3/zolak_filter/filter.h"

void checkStreamFilters(ConverterInstance *inst, const PdfDict *dict)
{
    char **filters = nullptr;
    CreateFilters(inst, dict, &filters);
    DestroyFilters(inst, filters);
}

void writePageContents(ConverterInstance *inst, const PdfStream *stream)
{
    if (inst->errorFlag)
        return;
    if (inst->DECODE) {
        filter(inst, stream, inst->output);
        return;
    }
    checkStreamFilters(inst, stream->dict);
    if (inst->errorFlag)
        return;
    writeObject(inst, stream->dictPosition);
    fputstr(inst->output, "PageContents");
    copyStreamData(inst, stream->dataPosition, stream->length);
}
