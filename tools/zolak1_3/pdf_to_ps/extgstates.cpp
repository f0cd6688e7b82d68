/*
 * extgstates.cpp - extended graphics states
 *
 * Only what matters to a PostScript device is carried.  Functions become resources first, under
 * names made from the state's own, and the dictionary then holds those names.
 */
#include "tools/zolak1_3/pdf_to_ps/extgstates.h"

#include <string>

#include "tools/zolak1_3/pdf_to_ps/functions.h"
#include "tools/zolak1_3/pdf_to_ps/halftones.h"
#include "tools/zolak1_3/pdf_to_ps/resources.h"
#include "tools/zolak1_3/pdf_to_ps/serializer.h"
#include "zelkov/format.h"

namespace {

/* Source lines of reports, by which users look them up. */
constexpr int BAD_STATE_LINE = 2849;
constexpr int BAD_TRANSFER_LINE = 2864;

std::string transferSuffix(int32_t index)
{
    return "TR" + std::to_string(index);
}

void defineFunction(ConverterInstance *inst, const PdfDict *state, const char *name,
                    const char *key)
{
    if (findKey(inst, state, key) >= 0)
        DefineFunctionResource(inst, name, key + 1, 1);
}

/* Reads the array of transfer functions at the input's position; null, reported, on failure. */
ArrayPtr readTransferArray(ConverterInstance *inst)
{
    ArrayPtr array = readArray(inst);
    if (!array)
        reportOutOfMemory(inst, BAD_TRANSFER_LINE);
    return array;
}

/* Defines the transfer functions; false when they could not be read. */
bool defineTransfer(ConverterInstance *inst, const PdfDict *state, const char *name)
{
    if (findKey(inst, state, "/TR") < 0)
        return true;
    if (peekType(inst) != PDF_ARRAY) {
        DefineFunctionResource(inst, name, "TR", 1);
        return true;
    }
    ArrayPtr array = readTransferArray(inst);
    if (!array)
        return false;
    for (int32_t i = 0; i < array->count; i++) {
        fputp(inst->input, array->items[i]);
        DefineFunctionResource(inst, name, transferSuffix(i).c_str(), 1);
    }
    return true;
}

/* Writes a function entry: a name as it stands, any other as the name of its resource. */
void writeFunction(ConverterInstance *inst, const PdfDict *state, const char *name, const char *key)
{
    if (findKey(inst, state, key) < 0)
        return;
    if (peekType(inst) == PDF_NAME)
        writeDictEntry(inst, state, key);
    else
        fputstr_arg(inst->output, "%s %s%s", key, name, key + 1);
}

bool writeTransferArray(ConverterInstance *inst, const char *name)
{
    writePiece(inst, "/TR [ ");
    ArrayPtr array = readTransferArray(inst);
    if (!array)
        return false;
    for (int32_t i = 0; i < array->count; i++) {
        fputp(inst->input, array->items[i]);
        if (peekType(inst) == PDF_NAME)
            writeArrayElement(inst, array.get(), i);
        else
            fputstr_arg_noeol(inst->output, "%s%s ", name, transferSuffix(i).c_str());
    }
    fputstr(inst->output, "]");
    return true;
}

/* Writes the /TR entry; false when its array could not be read. */
bool writeTransfer(ConverterInstance *inst, const PdfDict *state, const char *name)
{
    if (findKey(inst, state, "/TR") >= 0 && peekType(inst) == PDF_ARRAY)
        return writeTransferArray(inst, name);
    writeFunction(inst, state, name, "/TR");
    return true;
}

/* Writes one state; false when the walk has to end. */
bool writeState(ConverterInstance *inst, const char *name)
{
    DictPtr dict = readDict(inst);
    if (!dict) {
        reportOutOfMemory(inst, BAD_STATE_LINE);
        return false;
    }
    const PdfDict *state = dict.get();
    defineFunction(inst, state, name, "/BG");
    defineFunction(inst, state, name, "/UCR");
    if (!defineTransfer(inst, state, name))
        return false;

    fputstr_arg(inst->output, "%s <<", name);
    writeDictEntry(inst, state, "/SA");
    writeDictEntry(inst, state, "/OP");
    writeFunction(inst, state, name, "/BG");
    writeFunction(inst, state, name, "/UCR");
    if (!writeTransfer(inst, state, name))
        return false;
    if (findKey(inst, state, "/HT") >= 0) {
        writePiece(inst, "/HT ");
        WriteHalftone(inst, name);
    }
    writeDictEntry(inst, state, "/HTP");
    fputstr(inst->output, ">> /ExtGState defineRes pop");
    return true;
}

} // namespace

void DefineExtGStateResources(ConverterInstance *inst, const PdfDict *dict)
{
    for (int32_t i = 0; i < dict->count && countResourceEntry(inst); i++) {
        fputp(inst->input, dict->entries[i].value);
        if (!writeState(inst, dictKey(dict, i)))
            return;
    }
}
