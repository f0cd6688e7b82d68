/*
 * driver.cpp - one conversion
 *
 * The output is the prolog file, one "/TmpFont" line, the page descriptions and the trailer file.
 * Once the error flag is set each step does nothing, so that a failed run falls through to the
 * clean-up at the end.
 */
#include "tools/zolak1_3/pdf_to_ps/driver.h"

#include <cerrno>
#include <cstring>
#include <new>

#include "tools/zolak1_3/pdf_to_ps/objects.h"
#include "tools/zolak1_3/pdf_to_ps/pages.h"
#include "tools/zolak1_3/pdf_to_ps/version.h"
#include "tools/zolak1_3/pdf_to_ps/xref.h"
#include "zelkov/filespec.h"
#include "zelkov/format.h"

namespace {

constexpr size_t COPY_BYTES = 1024;

void resetRun(ConverterInstance *inst)
{
    inst->xref = nullptr;
    inst->xrefCapacity = 0;
    inst->xrefLoaded = 0;
    inst->rootPosition = POSITION_FAILED;
    inst->xrefSize = 0;
    inst->pageWritten = 0;
    inst->liveStrings = inst->liveNames = inst->liveArrays = inst->liveDicts = 0;
    inst->liveStreams = 0;
    inst->baseName[0] = 0;
    inst->limits = {};
    forgetContainers(inst);
}

/* The name part of FILE without what would end a PostScript string. */
void deriveBaseName(ConverterInstance *inst)
{
    static_assert(sizeof inst->baseName == FPARSE_RESULT_BYTES);
    fparse(inst->baseName, inst->FILE, "", "NAM");
    char *kept = inst->baseName;
    for (const char *c = inst->baseName; *c; c++)
        if (!strchr("\\()", *c))
            *kept++ = *c;
    *kept = 0;
}

bool openFiles(ConverterInstance *inst)
{
    inst->input = fopenr("", inst->FILE, ".pdf", 0);
    if (errno) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the PDF file '%s' for reading.", inst->FILE);
        return false;
    }
    deriveBaseName(inst);
    inst->output = fopenw("", inst->OUTSPEC, ".ps", 0);
    if (errno) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for writing.", inst->OUTSPEC);
        fclosx(inst->input);
        return false;
    }
    return true;
}

/* Copies the prolog or the trailer, byte for byte. */
void copyPostScriptFile(ConverterInstance *inst, const char *name)
{
    if (inst->errorFlag)
        return;
    ZFile *file = fopenr("", name, "KV_DAT_PS:.ps", 0);
    if (errno) {
        zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for reading.", name);
        return;
    }
    char block[COPY_BYTES];
    size_t count;
    do {
        count = fgetm(file, block, sizeof block);
        fputm(inst->output, block, count);
    } while (count == sizeof block);
    fclosx(file);
}

void writePages(ConverterInstance *inst)
{
    openDocumentIndex(inst);
    checkCatalog(inst);
    PageAttributes attributes = {};
    int64_t pageCounter = 0;
    walkPageTree(inst, attributes, &pageCounter);
    if (!inst->errorFlag && !inst->pageWritten)
        zolakReport(inst, __LINE__, SEVERITY_WARNING, "NOPAGE", "Page not found.");
}

/* Texts of the standard library throw when there is no memory; all else reports it by itself. */
void writeOutput(ConverterInstance *inst)
{
    copyPostScriptFile(inst, inst->PROLOG);
    fputstr_arg(inst->output, "/TmpFont (%stmpfont) def", inst->baseName);
    checkVersion(inst);
    writePages(inst);
    copyPostScriptFile(inst, inst->TRAILER);
}

void reportWriting(ConverterInstance *inst, int line)
{
    zolakReport(inst, line, SEVERITY_ERROR, "BADFWRITE",
                "Error occurred while writing the file %s.", inst->OUTSPEC);
}

/* Keeps the output of a good run and removes that of a failed one.  A write that failed is what
 * the user must hear of, whatever was reported because of it. */
void closeFiles(ConverterInstance *inst)
{
    fclosx(inst->input);
    if (zfile_writeError(inst->output))
        reportWriting(inst, __LINE__);
    if (inst->errorFlag)
        fcldelete(inst->output);
    else if (fclosx(inst->output) != 0)
        reportWriting(inst, __LINE__);
    inst->input = inst->output = nullptr;
}

} // namespace

void runConversion(ConverterInstance *inst)
{
    resetRun(inst);
    if (!openFiles(inst))
        return;
    try {
        writeOutput(inst);
    } catch (const std::bad_alloc &) {
        reportOutOfMemory(inst, __LINE__);
    }
    freeDocumentIndex(inst);
    closeFiles(inst);
}
