/*
 * serializer.cpp - PDF values as PostScript text
 *
 * A member that cannot be written leaves a gap; the container around it is closed all the same, so
 * that the output stays bracketed.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/strings.h"
#include "zelkov/format.h"
#include "zelkov/text.h"

namespace {

constexpr size_t COPY_BYTES = 256 * 1024;
constexpr int32_t ITEMS_PER_LINE = 8;

int writeBoolean(ConversionRun *run)
{
    int value = readBoolean(run);
    if (value < 0)
        return -1;
    writePiece(run, value ? "true " : "false ");
    return 0;
}

int writeInteger(ConversionRun *run)
{
    int32_t value = readInteger(run);
    if (errno)
        return -1;
    fputstr_arg_noeol(run->output, "%d ", value);
    return 0;
}

int writeReal(ConversionRun *run)
{
    double value = readNumber(run);
    if (errno)
        return -1;
    fputstr_arg_noeol(run->output, "%lf ", value);
    return 0;
}

int writeString(ConversionRun *run)
{
    StringPtr string = readString(run);
    if (run->errorFlag)
        return -1;
    size_t room = 2 * lenstr(string.get()) + 1;
    std::unique_ptr<char[]> escaped(new (std::nothrow) char[room]);
    if (!escaped) {
        reportOutOfMemory(run, __LINE__);
        return -1;
    }
    escapeString(escaped.get(), string.get());
    writePiece(run, "(");
    writePiece(run, escaped.get());
    writePiece(run, ") ");
    return 0;
}

int writeName(ConversionRun *run)
{
    NamePtr name = readName(run);
    if (run->errorFlag)
        return -1;
    char text[NAME_PS_BYTES];
    writePiece(run, nameToPS(text, name.get()));
    writePiece(run, " ");
    return 0;
}

int writeArray(ConversionRun *run)
{
    writePiece(run, "[ ");
    ArrayPtr array = readArray(run);
    if (run->errorFlag)
        return -1;
    for (int32_t i = 0; i < array->count; i++) {
        writeObject(run, array->items[i]);
        if (i != 0 && i % ITEMS_PER_LINE == 0)
            fputstr(run->output, "");
    }
    writePiece(run, "] ");
    return 0;
}

int writeDict(ConversionRun *run)
{
    fputstr(run->output, "<<");
    DictPtr dict = readDict(run);
    if (run->errorFlag)
        return -1;
    for (int32_t i = 0; i < dict->count; i++) {
        writePiece(run, dictKey(dict.get(), i));
        writePiece(run, " ");
        writeObject(run, dict->entries[i].value);
        fputstr(run->output, "");
    }
    fputstr(run->output, ">>");
    return 0;
}

int writeNull(ConversionRun *run)
{
    char keyword[KEYWORD_BYTES];
    readKeyword(run, run->input, keyword);
    if (run->errorFlag)
        return -1;
    writePiece(run, "null ");
    return 0;
}

int writeContainer(ConversionRun *run, PdfType type)
{
    NestingLevel level(run, run->written.writtenDepth);
    if (level.tooDeep)
        return -1;
    return type == PDF_ARRAY ? writeArray(run) : writeDict(run);
}

/* Counts a value of the one that the serializer was handed; false, reported, beyond the limit. */
bool countValue(ConversionRun *run)
{
    WriterLimits &limits = run->written;
    if (limits.writtenDepth == 0)
        limits.valuesWritten = 0;
    if (limits.valuesWritten++ < WRITTEN_VALUES_LIMIT)
        return true;
    zolakReport(run, __LINE__, SEVERITY_ERROR, "BADOBJ", "Object is too large.");
    return false;
}

/* Tells who wants to know that data passes through, for as long as it lives. */
class PassThrough {
  public:
    PassThrough(ConversionRun *passed, ValuePosition start, int32_t count) : run(passed)
    {
        if (count > 0)
            run->sink->passThrough(run, start, (uint32_t)count);
    }
    ~PassThrough()
    {
        run->sink->passThrough(run, 0, 0);
    }
    PassThrough(const PassThrough &) = delete;
    PassThrough &operator=(const PassThrough &) = delete;

  private:
    ConversionRun *run;
};

} // namespace

void writePiece(ConversionRun *run, const char *text)
{
    fputm(run->output, text, strlen(text));
}

void writeLines(ZFile *output, std::initializer_list<const char *> lines)
{
    for (const char *line : lines)
        fputstr(output, line);
}

int writeObject(ConversionRun *run, ValuePosition position)
{
    if (run->errorFlag || !countValue(run))
        return -1;
    fputp(run->input, position);
    PdfType type = peekType(run);
    switch (type) {
    case PDF_BOOLEAN:
        return writeBoolean(run);
    case PDF_INTEGER:
        return writeInteger(run);
    case PDF_REAL:
        return writeReal(run);
    case PDF_STRING:
        return writeString(run);
    case PDF_NAME:
        return writeName(run);
    case PDF_ARRAY:
    case PDF_DICTIONARY:
    case PDF_STREAM:
        return writeContainer(run, type);
    case PDF_NULL:
        return writeNull(run);
    case PDF_NONE:
    case PDF_KEYWORD:
        return -1;
    }
    return -1;
}

void writeArrayElement(ConversionRun *run, const PdfArray *array, int32_t index)
{
    if (index >= 0 && index < array->count)
        writeObject(run, array->items[index]);
}

int writeDictEntry(ConversionRun *run, const PdfDict *dict, const char *key)
{
    int32_t index = findKey(run, dict, key);
    if (index < 0)
        return -1;
    writePiece(run, key);
    writePiece(run, " ");
    writeObject(run, dict->entries[index].value);
    fputstr(run->output, "");
    return index;
}

void writeDictEntries(ConversionRun *run, const PdfDict *dict,
                      std::initializer_list<const char *> keys)
{
    for (const char *key : keys)
        writeDictEntry(run, dict, key);
}

void copyStreamData(ConversionRun *run, ValuePosition start, int32_t count)
{
    char buffer[COPY_BYTES];
    uint32_t before = fgetp(run->input);
    PassThrough passing(run, start, count);
    fputp(run->input, start);
    size_t left = count > 0 ? (size_t)count : 0;
    while (left > 0) {
        size_t got = fgetm(run->input, buffer, std::min(left, sizeof buffer));
        if (got == 0) {
            errno = errno ? errno : ENODATA; /* as reading byte by byte would leave it */
            break;
        }
        fputm(run->output, buffer, got);
        left -= got;
        stopWhenCancelled(run);
        if (run->wasCancelled)
            break;
    }
    fputp(run->input, before);
    fputstr(run->output, "");
}
