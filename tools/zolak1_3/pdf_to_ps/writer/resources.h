/*
 * resources.h - the named resources of a page, a form or a Type 3 font
 */
#ifndef PDF_TO_PS_RESOURCES_H
#define PDF_TO_PS_RESOURCES_H

#include "tools/zolak1_3/pdf_to_ps/writer/entries.h"

/* The kinds of resources, in the order in which they are written. */
struct ResourceKind {
    const char *key; /* in a resource dictionary */
    DefineEntry define;
};
enum { KIND_XOBJECT, KIND_FONT, KIND_EXTGSTATE, KIND_COLORSPACE, RESOURCE_KINDS };
extern const ResourceKind resourceKinds[RESOURCE_KINDS];

/* Writes the definitions of all resources of the dictionary: XObjects, fonts, graphics states and
 * colour spaces, in this order. */
void writeResources(ConversionRun *run, const PdfDict *resources);

#endif
