/*
 * extgstates.cpp - extended graphics states
 *
 * Only what matters to a PostScript device is carried.  Functions become resources first, under
 * names made from the state's own, and the dictionary then holds those names.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/extgstates.h"

#include <string>

#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/entries.h"
#include "tools/zolak1_3/pdf_to_ps/writer/functions.h"
#include "tools/zolak1_3/pdf_to_ps/writer/halftones.h"
#include "tools/zolak1_3/pdf_to_ps/writer/reportlines.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "zelkov/format.h"

namespace {

std::string transferSuffix(int32_t index)
{
    return "TR" + std::to_string(index);
}

void defineFunction(ConversionRun *run, const PdfDict *state, const char *name, const char *key)
{
    if (findKey(run, state, key) >= 0)
        DefineFunctionResource(run, name, key + 1, 1);
}

/* Reads the array of transfer functions at the input's position; null, reported, on failure. */
ArrayPtr readTransferArray(ConversionRun *run)
{
    ArrayPtr array = readArray(run);
    if (!array)
        reportOutOfMemory(run, LINE_BAD_TRANSFER);
    return array;
}

/* Defines the transfer functions; false when they could not be read. */
bool defineTransfer(ConversionRun *run, const PdfDict *state, const char *name)
{
    if (findKey(run, state, "/TR") < 0)
        return true;
    if (peekType(run) != PDF_ARRAY) {
        DefineFunctionResource(run, name, "TR", 1);
        return true;
    }
    ArrayPtr array = readTransferArray(run);
    if (!array)
        return false;
    for (int32_t i = 0; i < array->count; i++) {
        fputp(run->input, array->items[i]);
        DefineFunctionResource(run, name, transferSuffix(i).c_str(), 1);
    }
    return true;
}

/* Writes a function entry: a name as it stands, any other as the name of its resource. */
void writeFunction(ConversionRun *run, const PdfDict *state, const char *name, const char *key)
{
    if (findKey(run, state, key) < 0)
        return;
    if (peekType(run) == PDF_NAME)
        writeDictEntry(run, state, key);
    else
        fputstr_arg(run->output, "%s %s%s", key, name, key + 1);
}

bool writeTransferArray(ConversionRun *run, const char *name)
{
    writePiece(run, "/TR [ ");
    ArrayPtr array = readTransferArray(run);
    if (!array)
        return false;
    for (int32_t i = 0; i < array->count; i++) {
        fputp(run->input, array->items[i]);
        if (peekType(run) == PDF_NAME)
            writeArrayElement(run, array.get(), i);
        else
            fputstr_arg_noeol(run->output, "%s%s ", name, transferSuffix(i).c_str());
    }
    fputstr(run->output, "]");
    return true;
}

/* Writes the /TR entry; false when its array could not be read. */
bool writeTransfer(ConversionRun *run, const PdfDict *state, const char *name)
{
    if (findKey(run, state, "/TR") >= 0 && peekType(run) == PDF_ARRAY)
        return writeTransferArray(run, name);
    writeFunction(run, state, name, "/TR");
    return true;
}

} // namespace

bool DefineExtGState(ConversionRun *run, const char *name)
{
    DictPtr dict = readDict(run);
    if (!dict) {
        reportOutOfMemory(run, LINE_BAD_STATE);
        return false;
    }
    const PdfDict *state = dict.get();
    defineFunction(run, state, name, "/BG");
    defineFunction(run, state, name, "/UCR");
    if (!defineTransfer(run, state, name))
        return false;

    fputstr_arg(run->output, "%s <<", name);
    writeDictEntry(run, state, "/SA");
    writeDictEntry(run, state, "/OP");
    writeFunction(run, state, name, "/BG");
    writeFunction(run, state, name, "/UCR");
    if (!writeTransfer(run, state, name))
        return false;
    if (findKey(run, state, "/HT") >= 0) {
        writePiece(run, "/HT ");
        WriteHalftone(run, name);
    }
    writeDictEntry(run, state, "/HTP");
    fputstr(run->output, ">> /ExtGState defineRes pop");
    return true;
}

void DefineExtGStateResources(ConversionRun *run, const PdfDict *dict)
{
    defineEntries(run, dict, DefineExtGState);
}
