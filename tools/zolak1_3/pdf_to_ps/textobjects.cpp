/*
 * textobjects.cpp - strings and names
 *
 * Both are kept as terminated texts without a length: a string that holds a zero byte ends there
 * for every later use.
 */
#include "tools/zolak1_3/pdf_to_ps/textobjects.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/objects.h"
#include "zelkov/text.h"

namespace {

void reportReading(ConverterInstance *inst, int line)
{
    zolakReport(inst, line, SEVERITY_ERROR, "READERR", "Reading error.");
}

/* ---- strings */

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
bool collectString(ConverterInstance *inst, bool hexadecimal, TextBuffer *text)
{
    for (;;) {
        int byte = fgetb(inst->input);
        if (errno) {
            reportReading(inst, __LINE__);
            return false;
        }
        if (endsString(hexadecimal, byte, *text))
            return true;
        if (hexadecimal && isSpaceByte(byte))
            continue;
        if (!text->add(byte)) {
            reportOutOfMemory(inst, __LINE__);
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

/* ---- names */

/* The byte that the two characters behind a '#' stand for.  The usual rules of strtol hold, for
 * white space and signs too. */
int readHexEscape(ConverterInstance *inst)
{
    char pair[3] = {};
    for (int i = 0; i < 2; i++)
        pair[i] = (char)fgetb(inst->input);
    int saved = errno;
    long value = strtol(pair, nullptr, 16);
    errno = saved;
    return (int)(value & 0xFF);
}

} // namespace

char *parseString(ConverterInstance *inst)
{
    skipWhite(inst, inst->input);
    if (inst->errorFlag)
        return nullptr;
    int opening = fgetb(inst->input);
    if (errno || (opening != '(' && opening != '<')) {
        reportReading(inst, __LINE__);
        return nullptr;
    }

    bool hexadecimal = opening == '<';
    TextBuffer text;
    if (!text.add(0)) {
        reportOutOfMemory(inst, __LINE__);
        return nullptr;
    }
    text.length = 0;
    uint32_t start = fgetp(inst->input);
    if (!collectString(inst, hexadecimal, &text))
        return nullptr;
    countScanned(inst, fgetp(inst->input) - start);
    if (hexadecimal)
        decodeHexadecimal(&text);
    else
        unescapeString(text.bytes);
    inst->liveStrings++;
    return text.release();
}

void freeString(ConverterInstance *inst, char *string)
{
    if (!string)
        return;
    inst->liveStrings--;
    free(string);
}

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

bool scanName(ConverterInstance *inst, char *name)
{
    ZFile *input = inst->input;
    skipWhite(inst, input);
    if (inst->errorFlag)
        return false;
    int byte = fgetb(input);
    if (errno || byte != '/') {
        reportReading(inst, __LINE__);
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
            byte = readHexEscape(inst);
        } else if (!isRegularChar(byte)) {
            input->position--;
            break;
        }
        if (length < NAME_BYTES - 1)
            name[length++] = (char)byte;
    }
    name[length] = 0;
    countScanned(inst, fgetp(input) - start);
    if (errno) {
        reportReading(inst, __LINE__);
        return false;
    }
    return true;
}

char *parseName(ConverterInstance *inst)
{
    char name[NAME_BYTES];
    if (!scanName(inst, name))
        return nullptr;
    char *copy = strdup(name);
    if (!copy) {
        reportOutOfMemory(inst, __LINE__);
        return nullptr;
    }
    inst->liveNames++;
    return copy;
}

void freeName(ConverterInstance *inst, char *name)
{
    inst->liveNames--;
    free(name);
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

StringPtr readString(ConverterInstance *inst)
{
    return StringPtr(parseString(inst), {inst});
}

NamePtr readName(ConverterInstance *inst)
{
    return NamePtr(parseName(inst), {inst});
}
