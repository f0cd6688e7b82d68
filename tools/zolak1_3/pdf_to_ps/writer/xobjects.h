/*
 * xobjects.h - images and forms
 */
#ifndef PDF_TO_PS_XOBJECTS_H
#define PDF_TO_PS_XOBJECTS_H

#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* Writes every entry of an /XObject resource dictionary, by its /Subtype. */
void DefineXObjectResources(ConversionRun *run, const PdfDict *dict);

/* Write one image or form under its resource name, `key`, with its slash. */
void WriteImageXObject(ConversionRun *run, const char *key, const PdfStream *stream);
void WriteFormXObject(ConversionRun *run, const char *key, const PdfStream *stream);

#endif
