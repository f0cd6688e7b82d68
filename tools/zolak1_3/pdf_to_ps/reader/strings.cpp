/*
 * strings.cpp - string tokens
 */
#include "tools/zolak1_3/pdf_to_ps/reader/strings.h"

#include <cerrno>
#include <cstdlib>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "zelkov/text.h"

namespace {

void reportReading(PdfReader *reader, int line)
{
    zolakReport(reader, line, SEVERITY_ERROR, "READERR", "Reading error.");
}

constexpr size_t STRING_BYTES = 2048;

/* A growing text on the heap; add answers false when there is no memory. */
struct TextBuffer {
    char *bytes = nullptr;
    size_t length = 0;
    size_t room = 0;

    ~TextBuffer() { free(bytes); }

    bool add(int byte)
    {
        if (length + 1 >= room) {
            size_t wanted = room ? room * 2 : STRING_BYTES;
            char *larger = static_cast<char *>(realloc(bytes, wanted));
            if (!larger)
                return false;
            bytes = larger;
            room = wanted;
        }
        bytes[length++] = (char)byte;
        bytes[length] = 0;
        return true;
    }

    char *release()
    {
        char *released = bytes;
        bytes = nullptr;
        return released;
    }
};

/* Is the byte part of the string, or does it end it?  A ')' directly behind a backslash does not,
 * whatever stands before the backslash; parentheses are not counted. */
bool endsString(bool hexadecimal, int byte, const TextBuffer &text)
{
    if (hexadecimal)
        return byte == '>';
    return byte == ')' && (text.length == 0 || text.bytes[text.length - 1] != '\\');
}

/* Collects the raw bytes between the delimiters. */
bool collectString(PdfReader *reader, bool hexadecimal, TextBuffer *text)
{
    for (;;) {
        int byte = fgetb(reader->input);
        if (errno) {
            reportReading(reader, __LINE__);
            return false;
        }
        if (endsString(hexadecimal, byte, *text))
            return true;
        if (hexadecimal && isSpaceByte(byte))
            continue;
        if (!text->add(byte)) {
            reportOutOfMemory(reader, __LINE__);
            return false;
        }
    }
}

/* Two characters to a byte, in place; a last single one is paired with "0". */
void decodeHexadecimal(TextBuffer *text)
{
    size_t out = 0;
    for (size_t in = 0; in < text->length; in += 2) {
        char pair[3] = {text->bytes[in], in + 1 < text->length ? text->bytes[in + 1] : '0', 0};
        text->bytes[out++] = (char)atox(pair);
    }
    text->bytes[out] = 0;
}

/* The byte that a letter behind a backslash stands for, or -1. */
int escapedByte(char letter)
{
    switch (letter) {
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case '(':
    case ')':
    case '\\':
        return letter;
    default:
        return -1;
    }
}

/* Reads up to three digits as an octal escape: an 8 or 9 ends the value but is passed over all
 * the same.  Without a digit the value is 0. */
const char *readOctal(const char *in, char *out)
{
    int value = 0;
    bool ended = false;
    for (int digits = 0; digits < 3 && isDigitByte(*in); digits++, in++) {
        ended |= *in > '7';
        if (!ended)
            value = value * 8 + (*in - '0');
    }
    *out = (char)value;
    return in;
}

/* Decodes the escapes of a literal string in place. */
void unescapeString(char *text)
{
    const char *in = text;
    char *out = text;
    while (*in) {
        if (*in != '\\') {
            *out++ = *in++;
            continue;
        }
        in++;
        if (int byte = escapedByte(*in); byte >= 0) {
            *out++ = (char)byte;
            in++;
        } else if (*in == '\n' || *in == '\r') {
            char partner = *in == '\n' ? '\r' : '\n';
            in += in[1] == partner ? 2 : 1;
        } else {
            /* Any other byte is an octal escape without digits: a zero byte, which ends the
             * string, and the byte itself behind it. */
            in = readOctal(in, out++);
        }
    }
    *out = 0;
}

} // namespace

char *parseString(PdfReader *reader)
{
    skipWhite(reader, reader->input);
    if (reader->errorFlag)
        return nullptr;
    int opening = fgetb(reader->input);
    if (errno || (opening != '(' && opening != '<')) {
        reportReading(reader, __LINE__);
        return nullptr;
    }

    bool hexadecimal = opening == '<';
    TextBuffer text;
    if (!text.add(0)) {
        reportOutOfMemory(reader, __LINE__);
        return nullptr;
    }
    text.length = 0;
    uint32_t start = fgetp(reader->input);
    if (!collectString(reader, hexadecimal, &text))
        return nullptr;
    countScanned(reader, fgetp(reader->input) - start);
    if (hexadecimal)
        decodeHexadecimal(&text);
    else
        unescapeString(text.bytes);
    reader->liveStrings++;
    return text.release();
}

void freeString(PdfReader *reader, char *string)
{
    if (!string)
        return;
    reader->liveStrings--;
    free(string);
}

void escapeString(char *destination, const char *source)
{
    for (; *source; source++) {
        if (*source == '(' || *source == ')' || *source == '\\')
            *destination++ = '\\';
        *destination++ = *source;
    }
    *destination = 0;
}

StringPtr readString(PdfReader *reader)
{
    return StringPtr(parseString(reader), {reader});
}
