/*
 * filterlist.cpp - the filter names of a stream, checked against what the output side decodes
 */
#include "tools/zolak1_3/pdf_to_ps/reader/filterlist.h"

#include <cstdlib>

#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "zelkov/text.h"

namespace {

/* The filters of the PostScript side.  The short names of inline images are not among them. */
constexpr const char *knownFilters[] = {
    "/ASCIIHexDecode", "/ASCII85Decode", "/CCITTFaxDecode",  "/DCTDecode",
    "/LZWDecode",      "/FlateDecode",   "/RunLengthDecode",
};

bool isKnown(const char *name)
{
    for (const char *known : knownFilters)
        if (cmpstr(known, name) == 0)
            return true;
    return false;
}

char **newList(PdfReader *reader, size_t names)
{
    char **list = static_cast<char **>(calloc(names + 1, sizeof(char *)));
    if (!list)
        reportOutOfMemory(reader, __LINE__);
    return list;
}

int32_t readOneFilter(PdfReader *reader, char ***filters)
{
    *filters = newList(reader, 1);
    if (!*filters)
        return 0;
    (*filters)[0] = parseName(reader);
    return 1;
}

int32_t readFilterArray(PdfReader *reader, char ***filters)
{
    ArrayPtr array = readArray(reader);
    if (!array)
        return 0;
    *filters = newList(reader, (size_t)array->count);
    if (!*filters)
        return 0;
    for (int32_t i = 0; i < array->count; i++) {
        fputp(reader->input, array->items[i]);
        (*filters)[i] = parseName(reader);
    }
    return array->count;
}

} // namespace

int32_t CreateFilters(PdfReader *reader, const PdfDict *dict, char ***filters)
{
    if (reader->errorFlag)
        return 0;
    *filters = nullptr;
    if (findKey(reader, dict, "/Filter") < 0)
        return 0;

    int32_t count = 0;
    switch (peekType(reader)) {
    case PDF_NAME:
        count = readOneFilter(reader, filters);
        break;
    case PDF_ARRAY:
        count = readFilterArray(reader, filters);
        break;
    default:
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "FILTER", "Wrong filter type in stream.");
        return 0;
    }
    for (int32_t i = 0; i < count && (*filters)[i]; i++)
        if (!isKnown((*filters)[i]))
            zolakReport(reader, __LINE__, SEVERITY_ERROR, "UNSUPPFILTER",
                        "PDF document contains unsupported filter (%s)", (*filters)[i]);
    return count;
}

void DestroyFilters(PdfReader *reader, char **filters)
{
    if (!filters)
        return;
    for (char **name = filters; *name; name++)
        freeName(reader, *name);
    free(filters);
}
