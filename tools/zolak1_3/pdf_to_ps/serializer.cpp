/*
 * serializer.cpp - PDF values as PostScript text
 *
 * A member that cannot be written leaves a gap; the container around it is closed all the same, so
 * that the output stays bracketed.
 */
#include "tools/zolak1_3/pdf_to_ps/serializer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

constexpr size_t COPY_BYTES = 256 * 1024;
constexpr int32_t ITEMS_PER_LINE = 8;

int writeBoolean(ConverterInstance *inst)
{
    int value = readBoolean(inst);
    if (value < 0)
        return -1;
    writePiece(inst, value ? "true " : "false ");
    return 0;
}

int writeInteger(ConverterInstance *inst)
{
    int32_t value = readInteger(inst);
    if (errno)
        return -1;
    fputstr_arg_noeol(inst->output, "%d ", value);
    return 0;
}

int writeReal(ConverterInstance *inst)
{
    double value = readNumber(inst);
    if (errno)
        return -1;
    fputstr_arg_noeol(inst->output, "%lf ", value);
    return 0;
}

int writeString(ConverterInstance *inst)
{
    StringPtr string = readString(inst);
    if (inst->errorFlag)
        return -1;
    size_t room = 2 * lenstr(string.get()) + 1;
    std::unique_ptr<char[]> escaped(new (std::nothrow) char[room]);
    if (!escaped) {
        reportOutOfMemory(inst, __LINE__);
        return -1;
    }
    escapeString(escaped.get(), string.get());
    writePiece(inst, "(");
    writePiece(inst, escaped.get());
    writePiece(inst, ") ");
    return 0;
}

int writeName(ConverterInstance *inst)
{
    NamePtr name = readName(inst);
    if (inst->errorFlag)
        return -1;
    char text[NAME_PS_BYTES];
    writePiece(inst, nameToPS(text, name.get()));
    writePiece(inst, " ");
    return 0;
}

int writeArray(ConverterInstance *inst)
{
    writePiece(inst, "[ ");
    ArrayPtr array = readArray(inst);
    if (inst->errorFlag)
        return -1;
    for (int32_t i = 0; i < array->count; i++) {
        writeObject(inst, array->items[i]);
        if (i != 0 && i % ITEMS_PER_LINE == 0)
            fputstr(inst->output, "");
    }
    writePiece(inst, "] ");
    return 0;
}

int writeDict(ConverterInstance *inst)
{
    fputstr(inst->output, "<<");
    DictPtr dict = readDict(inst);
    if (inst->errorFlag)
        return -1;
    for (int32_t i = 0; i < dict->count; i++) {
        writePiece(inst, dictKey(dict.get(), i));
        writePiece(inst, " ");
        writeObject(inst, dict->entries[i].value);
        fputstr(inst->output, "");
    }
    fputstr(inst->output, ">>");
    return 0;
}

int writeNull(ConverterInstance *inst)
{
    char keyword[KEYWORD_BYTES];
    readKeyword(inst, inst->input, keyword);
    if (inst->errorFlag)
        return -1;
    writePiece(inst, "null ");
    return 0;
}

int writeContainer(ConverterInstance *inst, PdfType type)
{
    NestingLevel level(inst, &ReaderLimits::writtenDepth);
    if (level.tooDeep)
        return -1;
    return type == PDF_ARRAY ? writeArray(inst) : writeDict(inst);
}

/* Counts a value of the one that the serializer was handed; false, reported, beyond the limit. */
bool countValue(ConverterInstance *inst)
{
    ReaderLimits &limits = inst->limits;
    if (limits.writtenDepth == 0)
        limits.valuesWritten = 0;
    if (limits.valuesWritten++ < WRITTEN_VALUES_LIMIT)
        return true;
    zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADOBJ", "Object is too large.");
    return false;
}

} // namespace

void writePiece(ConverterInstance *inst, const char *text)
{
    fputm(inst->output, text, strlen(text));
}

void writeLines(ZFile *output, std::initializer_list<const char *> lines)
{
    for (const char *line : lines)
        fputstr(output, line);
}

int writeObject(ConverterInstance *inst, ValuePosition position)
{
    if (inst->errorFlag || !countValue(inst))
        return -1;
    fputp(inst->input, position);
    PdfType type = peekType(inst);
    switch (type) {
    case PDF_BOOLEAN:
        return writeBoolean(inst);
    case PDF_INTEGER:
        return writeInteger(inst);
    case PDF_REAL:
        return writeReal(inst);
    case PDF_STRING:
        return writeString(inst);
    case PDF_NAME:
        return writeName(inst);
    case PDF_ARRAY:
    case PDF_DICTIONARY:
    case PDF_STREAM:
        return writeContainer(inst, type);
    case PDF_NULL:
        return writeNull(inst);
    case PDF_NONE:
    case PDF_KEYWORD:
        return -1;
    }
    return -1;
}

void writeArrayElement(ConverterInstance *inst, const PdfArray *array, int32_t index)
{
    if (index >= 0 && index < array->count)
        writeObject(inst, array->items[index]);
}

int writeDictEntry(ConverterInstance *inst, const PdfDict *dict, const char *key)
{
    int32_t index = findKey(inst, dict, key);
    if (index < 0)
        return -1;
    writePiece(inst, key);
    writePiece(inst, " ");
    writeObject(inst, dict->entries[index].value);
    fputstr(inst->output, "");
    return index;
}

void writeDictEntries(ConverterInstance *inst, const PdfDict *dict,
                      std::initializer_list<const char *> keys)
{
    for (const char *key : keys)
        writeDictEntry(inst, dict, key);
}

void copyStreamData(ConverterInstance *inst, ValuePosition start, int32_t count)
{
    char buffer[COPY_BYTES];
    uint32_t before = fgetp(inst->input);
    fputp(inst->input, start);
    size_t left = count > 0 ? (size_t)count : 0;
    while (left > 0) {
        size_t got = fgetm(inst->input, buffer, std::min(left, sizeof buffer));
        if (got == 0) {
            errno = errno ? errno : ENODATA; /* as reading byte by byte would leave it */
            break;
        }
        fputm(inst->output, buffer, got);
        left -= got;
    }
    fputp(inst->input, before);
    fputstr(inst->output, "");
}
