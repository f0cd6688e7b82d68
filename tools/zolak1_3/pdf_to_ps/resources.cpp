/*
 * resources.cpp - the walk over a resource dictionary
 *
 * The order is fixed: XObjects come before the colour spaces of the same dictionary.
 */
#include "tools/zolak1_3/pdf_to_ps/resources.h"

#include "tools/zolak1_3/pdf_to_ps/colorspaces.h"
#include "tools/zolak1_3/pdf_to_ps/extgstates.h"
#include "tools/zolak1_3/pdf_to_ps/fonts.h"
#include "tools/zolak1_3/pdf_to_ps/xobjects.h"

namespace {

struct ResourceKind {
    const char *key;
    void (*define)(ConverterInstance *, const PdfDict *);
};

constexpr ResourceKind resourceKinds[] = {
    {"/XObject", DefineXObjectResources},
    {"/Font", DefineFontResources},
    {"/ExtGState", DefineExtGStateResources},
    {"/ColorSpace", DefineColorSpaceResources},
};

/* Writes the resources of one kind; false when they could not be read. */
bool writeKind(ConverterInstance *inst, const PdfDict *resources, const ResourceKind &kind)
{
    if (findKey(inst, resources, kind.key) < 0)
        return true;
    DictPtr entries = readDict(inst);
    if (!entries) {
        zolakReport(inst, __LINE__, SEVERITY_WARNING, "memwarn",
                    "Not enough memory to run properly. PDF reader will continue, though.");
        return false;
    }
    kind.define(inst, entries.get());
    return true;
}

} // namespace

void writeResources(ConverterInstance *inst, const PdfDict *resources)
{
    if (inst->errorFlag)
        return;
    NestingLevel level(inst, &ReaderLimits::resourceDepth);
    if (level.tooDeep)
        return;
    for (const ResourceKind &kind : resourceKinds)
        if (!writeKind(inst, resources, kind))
            return;
    if (findKey(inst, resources, "/Pattern") >= 0)
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADXOBJ", "Patterns not supported");
}

bool countResourceEntry(ConverterInstance *inst)
{
    if (inst->errorFlag)
        return false;
    if (++inst->limits.resourceEntries <= RESOURCE_ENTRIES_LIMIT)
        return true;
    zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADXOBJ", "Too many nested resources.");
    return false;
}
