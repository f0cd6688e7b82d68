/*
 * conversion.h - the conversion of one document, whatever it comes from and goes to
 */
#ifndef PDF_TO_PS_CONVERSION_H
#define PDF_TO_PS_CONVERSION_H

#include <cstddef>
#include <functional>

#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

/* PostScript around the pages: the file of that name, or bytes that are there already. */
struct PostScriptPart {
    const char *name;
    const void *bytes; /* null: the file; else the caller's */
    size_t byteCount;
};

/* Where a document comes from and goes to; all texts are the caller's. */
struct ConversionFiles {
    /* As messages call them; the base name is made from the input's. */
    const char *inputName = "";
    const char *outputName = "";

    PostScriptPart prolog = {};
    PostScriptPart trailer = {};

    /* Open the files.  Failure is told through errno. */
    std::function<ZFile *()> openInput, openOutput;
};

/* Converts a document in a run whose controller and options are set.  The outcome is the run's
 * error flag; when it is set there is no output.  All files are closed. */
void convertDocument(ConversionRun *run, const ConversionFiles &files);

#endif
