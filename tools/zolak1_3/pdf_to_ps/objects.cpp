/*
 * objects.cpp - classifying, resolving and passing over values
 */
#include "tools/zolak1_3/pdf_to_ps/objects.h"

#include <cerrno>

#include "tools/zolak1_3/pdf_to_ps/containers.h"
#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/streams.h"
#include "tools/zolak1_3/pdf_to_ps/xref.h"
#include "tools/zolak1_3/pdf_to_ps/textobjects.h"
#include "zelkov/text.h"

namespace {

/* Scans the run of digits and points at the position; false when a read fails. */
bool scanDigits(ConverterInstance *inst, DigitRun *run)
{
    ZFile *input = inst->input;
    *run = {fgetp(input), 0, 0};
    for (;;) {
        int byte = fgetb(input);
        if (errno)
            return false;
        if (byte == '.') {
            run->pointEnd = fgetp(input);
        } else if (!isDigitByte(byte)) {
            run->end = fgetp(input) - 1;
            countScanned(inst, run->end - run->start);
            return true;
        }
    }
}

/* Integer or real: a point anywhere in the run of digits and points decides.  The sign, digit or
 * point that it begins with has been read. */
PdfType classifyNumber(ConverterInstance *inst, int first)
{
    uint32_t start = fgetp(inst->input);
    DigitRun &known = inst->memo.digits;
    if (start < known.start || start >= known.end) {
        DigitRun run;
        if (!scanDigits(inst, &run))
            return PDF_NONE;
        known = run;
    }
    return first == '.' || known.pointEnd > start ? PDF_REAL : PDF_INTEGER;
}

PdfType classifyKeyword(ConverterInstance *inst)
{
    char keyword[KEYWORD_BYTES];
    inst->input->position--;
    readKeyword(inst, inst->input, keyword);
    if (cmpstr(keyword, "true") == 0 || cmpstr(keyword, "false") == 0)
        return PDF_BOOLEAN;
    return cmpstr(keyword, "null") == 0 ? PDF_NULL : PDF_KEYWORD;
}

/* Dictionary, stream or hexadecimal string; the '<' at `start` has been read. */
PdfType classifyAngle(ConverterInstance *inst, uint32_t start)
{
    int byte = fgetb(inst->input);
    if (errno)
        return PDF_NONE;
    if (byte != '<')
        return PDF_STRING;
    fputp(inst->input, start);
    return classifyDict(inst);
}

/* The type of the value that begins at `start`; the input may be left anywhere. */
PdfType classify(ConverterInstance *inst, uint32_t start)
{
    int byte = fgetb(inst->input);
    if (errno)
        return PDF_NONE;
    switch (byte) {
    case '[':
        return PDF_ARRAY;
    case '(':
        return PDF_STRING;
    case '/':
        return PDF_NAME;
    case '<':
        return classifyAngle(inst, start);
    case '+':
    case '-':
    case '.':
        return classifyNumber(inst, byte);
    default:
        if (isDigitByte(byte))
            return classifyNumber(inst, byte);
        return isLetterByte(byte) ? classifyKeyword(inst) : PDF_NONE;
    }
}

/* Reads "N G R" and answers N, or -1 when the next value is no reference. */
int64_t readReference(ConverterInstance *inst)
{
    if (peekType(inst) != PDF_INTEGER)
        return -1;
    int32_t number = readInteger(inst);
    if (peekType(inst) != PDF_INTEGER)
        return -1;
    readInteger(inst);
    if (peekType(inst) != PDF_KEYWORD)
        return -1;
    char keyword[KEYWORD_BYTES];
    readKeyword(inst, inst->input, keyword);
    if (cmpstr(keyword, "R") != 0)
        return -1;
    /* A negative number is outside every table, like the largest one. */
    return number < 0 ? (int64_t)UINT32_MAX : number;
}

/* Where the body of object `number` begins: behind its header "N G obj", which must agree with
 * the table. */
ValuePosition findObject(ConverterInstance *inst, int64_t number)
{
    if (number >= inst->xrefCapacity)
        return POSITION_FAILED;
    XrefEntry &entry = inst->xref[number];
    if (entry.isBody)
        return entry.offset;
    fputp(inst->input, entry.offset);
    int32_t headerNumber = readInteger(inst);
    int32_t headerGeneration = readInteger(inst);
    char keyword[KEYWORD_BYTES];
    readKeyword(inst, inst->input, keyword);
    if (cmpstr(keyword, "obj") != 0 || headerGeneration != entry.generation ||
        headerNumber != number)
        return POSITION_FAILED;
    entry.offset = fgetp(inst->input);
    entry.isBody = true;
    return entry.offset;
}

} // namespace

PdfType peekType(ConverterInstance *inst)
{
    skipWhite(inst, inst->input);
    if (inst->errorFlag)
        return PDF_NONE;
    uint32_t start = fgetp(inst->input);
    PdfType type = classify(inst, start);
    if (type != PDF_NONE)
        fputp(inst->input, start);
    return type;
}

ValuePosition resolveValue(ConverterInstance *inst)
{
    uint32_t start = fgetp(inst->input);
    int64_t number = readReference(inst);
    if (number < 0) {
        fputp(inst->input, start);
        return start;
    }
    if (!inst->xrefLoaded)
        return POSITION_NONE;

    uint32_t behind = fgetp(inst->input);
    ValuePosition body = findObject(inst, number);
    if (body != POSITION_FAILED)
        fputp(inst->input, behind);
    return body;
}

void skipObject(ConverterInstance *inst)
{
    if (inst->errorFlag)
        return;
    char text[KEYWORD_BYTES];
    static_assert(sizeof text >= NAME_BYTES, "names and keywords are passed over through it");
    switch (peekType(inst)) {
    case PDF_NONE:
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADOBJ", "PDF object expected.");
        break;
    case PDF_BOOLEAN:
        readBoolean(inst);
        break;
    case PDF_INTEGER:
    case PDF_REAL:
        readNumber(inst);
        break;
    case PDF_STRING:
        readString(inst);
        break;
    case PDF_NAME:
        scanName(inst, text);
        break;
    case PDF_ARRAY:
        skipArray(inst);
        break;
    case PDF_DICTIONARY:
        skipDict(inst);
        break;
    case PDF_STREAM:
        skipStream(inst);
        break;
    case PDF_NULL:
        readKeyword(inst, inst->input, text);
        break;
    case PDF_KEYWORD:
        break;
    }
}
