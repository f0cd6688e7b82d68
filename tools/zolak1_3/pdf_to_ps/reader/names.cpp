/*
 * names.cpp - name tokens
 */
#include "tools/zolak1_3/pdf_to_ps/reader/names.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"

namespace {

void reportReading(PdfReader *reader, int line)
{
    zolakReport(reader, line, SEVERITY_ERROR, "READERR", "Reading error.");
}

/* The byte that the two characters behind a '#' stand for.  The usual rules of strtol hold, for
 * white space and signs too. */
int readHexEscape(PdfReader *reader)
{
    char pair[3] = {};
    for (int i = 0; i < 2; i++)
        pair[i] = (char)fgetb(reader->input);
    int saved = errno;
    long value = strtol(pair, nullptr, 16);
    errno = saved;
    return (int)(value & 0xFF);
}

} // namespace

int isRegularChar(int byte)
{
    switch (byte) {
    case '%':
    case '(':
    case ')':
    case '<':
    case '>':
    case '[':
    case ']':
    case '{':
    case '}':
    case '/':
    case '#':
        return 0;
    default:
        return byte >= 33 && byte <= 126;
    }
}

bool scanName(PdfReader *reader, char *name)
{
    ZFile *input = reader->input;
    skipWhite(reader, input);
    if (reader->errorFlag)
        return false;
    int byte = fgetb(input);
    if (errno || byte != '/') {
        reportReading(reader, __LINE__);
        return false;
    }

    uint32_t start = fgetp(input);
    size_t length = 0;
    name[length++] = '/';
    for (;;) {
        byte = fgetb(input);
        if (errno)
            break;
        if (byte == '#') {
            byte = readHexEscape(reader);
        } else if (!isRegularChar(byte)) {
            input->position--;
            break;
        }
        if (length < NAME_BYTES - 1)
            name[length++] = (char)byte;
    }
    name[length] = 0;
    countScanned(reader, fgetp(input) - start);
    if (errno) {
        reportReading(reader, __LINE__);
        return false;
    }
    return true;
}

char *parseName(PdfReader *reader)
{
    char name[NAME_BYTES];
    if (!scanName(reader, name))
        return nullptr;
    char *copy = strdup(name);
    if (!copy) {
        reportOutOfMemory(reader, __LINE__);
        return nullptr;
    }
    reader->liveNames++;
    return copy;
}

void freeName(PdfReader *reader, char *name)
{
    reader->liveNames--;
    free(name);
}

char *nameToPS(char *destination, const char *name)
{
    constexpr char HEX[] = "0123456789abcdef";
    char *out = destination;
    if (*name)
        *out++ = *name++;
    for (; *name; name++) {
        unsigned char byte = (unsigned char)*name;
        if (isRegularChar(byte)) {
            *out++ = *name;
        } else {
            *out++ = '#';
            *out++ = HEX[byte >> 4];
            *out++ = HEX[byte & 15];
        }
    }
    *out = 0;
    return destination;
}

NamePtr readName(PdfReader *reader)
{
    return NamePtr(parseName(reader), {reader});
}
