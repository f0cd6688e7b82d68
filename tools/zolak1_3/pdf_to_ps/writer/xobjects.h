/*
 * xobjects.h - images and forms
 */
#ifndef PDF_TO_PS_XOBJECTS_H
#define PDF_TO_PS_XOBJECTS_H

#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes the XObject at the input's position by its /Subtype, under its resource name, `key`, with
 * its slash; false when the walk over the dictionary has to end. */
bool DefineXObject(ConversionRun *run, const char *key);

/* The same for every entry of an /XObject resource dictionary. */
void DefineXObjectResources(ConversionRun *run, const PdfDict *dict);

/* Write one image or form under its resource name, `key`, with its slash. */
void WriteImageXObject(ConversionRun *run, const char *key, const PdfStream *stream);
void WriteFormXObject(ConversionRun *run, const char *key, const PdfStream *stream);

#endif
