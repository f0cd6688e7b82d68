/*
 * streamdata.cpp - what follows the dictionary of a stream
 *
 * The data is never searched: /Length says where it ends, and "endstream" must stand there.
 */
#include "tools/zolak1_3/pdf_to_ps/reader/streamdata.h"

#include <cerrno>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "zelkov/text.h"

namespace {

bool expectKeyword(PdfReader *reader, const char *expected, const char *message)
{
    char keyword[KEYWORD_BYTES];
    readKeyword(reader, reader->input, keyword);
    if (cmpstr(keyword, expected) == 0)
        return true;
    zolakReport(reader, __LINE__, SEVERITY_ERROR, "BADSTREAM", "%s", message);
    return false;
}

} // namespace

bool readStreamData(PdfReader *reader, bool hasLength, ValuePosition lengthValue, StreamData *data)
{
    ZFile *input = reader->input;
    if (!expectKeyword(reader, "stream", "Keyword 'stream' is missing."))
        return false;
    char rest[LINE_BYTES];
    fgetstr(input, rest);
    if (errno) {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "READERR", "Reading error.");
        return false;
    }
    data->position = fgetp(input);

    if (hasLength) {
        fputp(input, lengthValue);
        data->length = readInteger(reader);
    } else {
        zolakReport(reader, __LINE__, SEVERITY_ERROR, "NOLENGTH",
                    "Stream object doesn't contain the /Length keyword.");
    }
    if (reader->errorFlag)
        return false;
    fputp(input, data->position + (uint32_t)data->length);
    return expectKeyword(reader, "endstream", "Keyword 'endstream' is missing.");
}
