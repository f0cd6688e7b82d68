/*
 * contents.cpp - page content
 *
 * Content is passed through: its dictionary, the line "PageContents", its bytes as they stand in
 * the file.  The PostScript side undoes the filters.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/contents.h"

#include "tools/zolak1_3/pdf_to_ps/reader/filterlist.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "tools/zolak1_3/zolak_filter/filter.h"

void checkStreamFilters(ConversionRun *run, const PdfDict *dict)
{
    char **filters = nullptr;
    CreateFilters(run, dict, &filters);
    DestroyFilters(run, filters);
}

void writePageContents(ConversionRun *run, const PdfStream *stream)
{
    if (run->errorFlag)
        return;
    if (run->decodesContent) {
        filter(run, stream, run->output);
        return;
    }
    checkStreamFilters(run, stream->dict);
    if (run->errorFlag)
        return;
    writeObject(run, stream->dictPosition);
    fputstr(run->output, "PageContents");
    copyStreamData(run, stream->dataPosition, stream->length);
}
