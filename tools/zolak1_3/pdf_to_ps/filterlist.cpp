/*
 * filterlist.cpp - the filter names of a stream, checked against what the output side decodes
 */
#include "tools/zolak1_3/pdf_to_ps/filterlist.h"

#include <cstdlib>

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

char **newList(ConverterInstance *inst, size_t names)
{
    char **list = static_cast<char **>(calloc(names + 1, sizeof(char *)));
    if (!list)
        reportOutOfMemory(inst, __LINE__);
    return list;
}

int32_t readOneFilter(ConverterInstance *inst, char ***filters)
{
    *filters = newList(inst, 1);
    if (!*filters)
        return 0;
    (*filters)[0] = parseName(inst);
    return 1;
}

int32_t readFilterArray(ConverterInstance *inst, char ***filters)
{
    ArrayPtr array = readArray(inst);
    if (!array)
        return 0;
    *filters = newList(inst, (size_t)array->count);
    if (!*filters)
        return 0;
    for (int32_t i = 0; i < array->count; i++) {
        fputp(inst->input, array->items[i]);
        (*filters)[i] = parseName(inst);
    }
    return array->count;
}

} // namespace

int32_t CreateFilters(ConverterInstance *inst, const PdfDict *dict, char ***filters)
{
    if (inst->errorFlag)
        return 0;
    *filters = nullptr;
    if (findKey(inst, dict, "/Filter") < 0)
        return 0;

    int32_t count = 0;
    switch (peekType(inst)) {
    case PDF_NAME:
        count = readOneFilter(inst, filters);
        break;
    case PDF_ARRAY:
        count = readFilterArray(inst, filters);
        break;
    default:
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "FILTER", "Wrong filter type in stream.");
        return 0;
    }
    for (int32_t i = 0; i < count && (*filters)[i]; i++)
        if (!isKnown((*filters)[i]))
            zolakReport(inst, __LINE__, SEVERITY_ERROR, "UNSUPPFILTER",
                        "PDF document contains unsupported filter (%s)", (*filters)[i]);
    return count;
}

void DestroyFilters(ConverterInstance *inst, char **filters)
{
    if (!filters)
        return;
    for (char **name = filters; *name; name++)
        freeName(inst, *name);
    free(filters);
}
