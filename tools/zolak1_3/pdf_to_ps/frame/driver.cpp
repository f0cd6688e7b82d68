/*
 * driver.cpp - one conversion
 *
 * The output is the prolog file, one "/TmpFont" line, the page descriptions and the trailer file.
 * Once the error flag is set each step does nothing, so that a failed run falls through to the
 * clean-up at the end.
 */
#include "tools/zolak1_3/pdf_to_ps/frame/driver.h"

#include <cerrno>
#include <cstring>
#include <new>

#include "tools/zolak1_3/pdf_to_ps/writer/pagetree.h"
#include "tools/zolak1_3/pdf_to_ps/frame/version.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"
#include "zelkov/filespec.h"
#include "zelkov/format.h"

namespace {

constexpr size_t COPY_BYTES = 1024;

/* The options, as the run has them. */
void takeOptions(ConverterInstance *inst)
{
    inst->run.acceptsEncrypted = inst->options.ENCRYPT != 0;
    inst->run.selectedPage = inst->options.PAGE;
    inst->run.decodesContent = inst->options.DECODE;
}

/* The name part of FILE without what would end a PostScript string. */
void deriveBaseName(ConverterInstance *inst)
{
    static_assert(sizeof inst->run.baseName == FPARSE_RESULT_BYTES);
    fparse(inst->run.baseName, inst->options.FILE, "", "NAM");
    char *kept = inst->run.baseName;
    for (const char *c = inst->run.baseName; *c; c++)
        if (!strchr("\\()", *c))
            *kept++ = *c;
    *kept = 0;
}

bool openFiles(ConverterInstance *inst)
{
    inst->run.input = fopenr("", inst->options.FILE, ".pdf", 0);
    if (errno) {
        zolakReport(&inst->run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the PDF file '%s' for reading.",
                    inst->options.FILE);
        return false;
    }
    deriveBaseName(inst);
    inst->run.output = fopenw("", inst->options.OUTSPEC, ".ps", 0);
    if (errno) {
        zolakReport(&inst->run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for writing.", inst->options.OUTSPEC);
        fclosx(inst->run.input);
        return false;
    }
    return true;
}

/* Copies the prolog or the trailer, byte for byte. */
void copyPostScriptFile(ConverterInstance *inst, const char *name)
{
    if (inst->run.errorFlag)
        return;
    ZFile *file = fopenr("", name, "KV_DAT_PS:.ps", 0);
    if (errno) {
        zolakReport(&inst->run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for reading.", name);
        return;
    }
    char block[COPY_BYTES];
    size_t count;
    do {
        count = fgetm(file, block, sizeof block);
        fputm(inst->run.output, block, count);
    } while (count == sizeof block);
    fclosx(file);
}

void writePages(ConverterInstance *inst)
{
    openDocumentIndex(&inst->run);
    checkCatalog(&inst->run);
    PageAttributes attributes = {};
    int64_t pageCounter = 0;
    walkPageTree(&inst->run, attributes, &pageCounter);
    if (!inst->run.errorFlag && !inst->run.pageWritten)
        zolakReport(&inst->run, __LINE__, SEVERITY_WARNING, "NOPAGE", "Page not found.");
}

/* Texts of the standard library throw when there is no memory; all else reports it by itself. */
void writeOutput(ConverterInstance *inst)
{
    copyPostScriptFile(inst, inst->options.PROLOG);
    fputstr_arg(inst->run.output, "/TmpFont (%stmpfont) def", inst->run.baseName);
    checkVersion(&inst->run);
    writePages(inst);
    copyPostScriptFile(inst, inst->options.TRAILER);
}

void reportWriting(ConverterInstance *inst, int line)
{
    zolakReport(&inst->run, line, SEVERITY_ERROR, "BADFWRITE",
                "Error occurred while writing the file %s.", inst->options.OUTSPEC);
}

/* Keeps the output of a good run and removes that of a failed one.  A write that failed is what
 * the user must hear of, whatever was reported because of it. */
void closeFiles(ConverterInstance *inst)
{
    fclosx(inst->run.input);
    if (zfile_writeError(inst->run.output))
        reportWriting(inst, __LINE__);
    if (inst->run.errorFlag)
        fcldelete(inst->run.output);
    else if (fclosx(inst->run.output) != 0)
        reportWriting(inst, __LINE__);
    inst->run.input = inst->run.output = nullptr;
}

} // namespace

void runConversion(ConverterInstance *inst)
{
    resetRun(&inst->run);
    takeOptions(inst);
    if (!openFiles(inst))
        return;
    try {
        writeOutput(inst);
    } catch (const std::bad_alloc &) {
        reportOutOfMemory(&inst->run, __LINE__);
    }
    freeTable(&inst->run);
    closeFiles(inst);
}
