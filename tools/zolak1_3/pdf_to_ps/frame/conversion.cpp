/*
 * conversion.cpp - the conversion of one document
 *
 * The output is the prolog, one "/TmpFont" line, the page descriptions and the trailer.  Once the
 * error flag is set each step does nothing, so that a failed run falls through to the clean-up at
 * the end.
 */
#include "tools/zolak1_3/pdf_to_ps/frame/conversion.h"

#include <cerrno>
#include <cstring>
#include <new>

#include "tools/zolak1_3/pdf_to_ps/frame/version.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"
#include "tools/zolak1_3/pdf_to_ps/writer/pagetree.h"
#include "zelkov/filespec.h"
#include "zelkov/format.h"

namespace {

constexpr size_t COPY_BYTES = 1024;

/* The name part of the input's name without what would end a PostScript string. */
void deriveBaseName(ConversionRun *run, const char *name)
{
    static_assert(sizeof run->baseName == FPARSE_RESULT_BYTES);
    fparse(run->baseName, name, "", "NAM");
    char *kept = run->baseName;
    for (const char *c = run->baseName; *c; c++)
        if (!strchr("\\()", *c))
            *kept++ = *c;
    *kept = 0;
}

bool openFiles(ConversionRun *run, const ConversionFiles &files)
{
    run->input = files.openInput();
    if (errno) {
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the PDF file '%s' for reading.", files.inputName);
        return false;
    }
    deriveBaseName(run, files.inputName);
    run->output = files.openOutput();
    if (errno) {
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for writing.", files.outputName);
        fclosx(run->input);
        run->input = nullptr;
        return false;
    }
    return true;
}

/* Copies the prolog or the trailer, byte for byte. */
void copyPart(ConversionRun *run, const PostScriptPart &part)
{
    if (run->errorFlag)
        return;
    if (part.bytes) {
        fputm(run->output, part.bytes, part.byteCount);
        return;
    }
    ZFile *file = fopenr("", part.name, "KV_DAT_PS:.ps", 0);
    if (errno) {
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for reading.", part.name);
        return;
    }
    char block[COPY_BYTES];
    size_t count;
    do {
        count = fgetm(file, block, sizeof block);
        fputm(run->output, block, count);
    } while (count == sizeof block);
    fclosx(file);
}

void writePages(ConversionRun *run)
{
    openDocumentIndex(run);
    checkCatalog(run);
    PageAttributes attributes = {};
    int64_t pageCounter = 0;
    walkPageTree(run, attributes, &pageCounter);
    if (!run->errorFlag && !run->pageWritten)
        zolakReport(run, __LINE__, SEVERITY_WARNING, "NOPAGE", "Page not found.");
}

/* Texts of the standard library throw when there is no memory; all else reports it by itself. */
void writeOutput(ConversionRun *run, const ConversionFiles &files)
{
    copyPart(run, files.prolog);
    fputstr_arg(run->output, "/TmpFont (%stmpfont) def", run->baseName);
    checkVersion(run);
    writePages(run);
    copyPart(run, files.trailer);
}

void reportWriting(ConversionRun *run, const ConversionFiles &files, int line)
{
    zolakReport(run, line, SEVERITY_ERROR, "BADFWRITE", "Error occurred while writing the file %s.",
                files.outputName);
}

/* Keeps the output of a good run and removes that of a failed one.  A write that failed is what
 * the user must hear of, whatever was reported because of it. */
void closeFiles(ConversionRun *run, const ConversionFiles &files)
{
    fclosx(run->input);
    run->bytesWritten = zfile_written(run->output);
    stopWhenCancelled(run);
    if (zfile_writeError(run->output))
        reportWriting(run, files, __LINE__);
    if (run->errorFlag)
        fcldelete(run->output);
    else if (fclosx(run->output) != 0)
        reportWriting(run, files, __LINE__);
    run->input = run->output = nullptr;
}

} // namespace

void convertDocument(ConversionRun *run, const ConversionFiles &files)
{
    resetRun(run);
    if (!openFiles(run, files))
        return;
    try {
        writeOutput(run, files);
    } catch (const std::bad_alloc &) {
        reportOutOfMemory(run, __LINE__);
    }
    freeTable(run);
    closeFiles(run, files);
}
