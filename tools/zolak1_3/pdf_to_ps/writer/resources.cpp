/*
 * resources.cpp - the walk over a resource dictionary
 *
 * The order is fixed: XObjects come before the colour spaces of the same dictionary.
 */
#include "tools/zolak1_3/pdf_to_ps/writer/resources.h"

#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/writer/colorspaces.h"
#include "tools/zolak1_3/pdf_to_ps/writer/extgstates.h"
#include "tools/zolak1_3/pdf_to_ps/writer/fonts.h"
#include "tools/zolak1_3/pdf_to_ps/writer/xobjects.h"

namespace {

/* Writes the resources of one kind; false when they could not be read. */
bool writeKind(ConversionRun *run, const PdfDict *resources, const ResourceKind &kind)
{
    if (findKey(run, resources, kind.key) < 0)
        return true;
    DictPtr entries = readDict(run);
    if (!entries) {
        zolakReport(run, __LINE__, SEVERITY_WARNING, "memwarn",
                    "Not enough memory to run properly. PDF reader will continue, though.");
        return false;
    }
    defineEntries(run, entries.get(), kind.define);
    return true;
}

} // namespace

const ResourceKind resourceKinds[RESOURCE_KINDS] = {
    {"/XObject", DefineXObject},
    {"/Font", DefineFont},
    {"/ExtGState", DefineExtGState},
    {"/ColorSpace", DefineColorSpace},
};

void writeResources(ConversionRun *run, const PdfDict *resources)
{
    if (run->errorFlag)
        return;
    NestingLevel level(run, run->written.resourceDepth);
    if (level.tooDeep)
        return;
    for (const ResourceKind &kind : resourceKinds)
        if (!writeKind(run, resources, kind))
            return;
    if (findKey(run, resources, "/Pattern") >= 0)
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADXOBJ", "Patterns not supported");
}
