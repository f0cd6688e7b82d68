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
#include "zelkov/host.h"

namespace {

constexpr size_t COPY_BYTES = 1024;
constexpr char PART_DEFAULTS[] = "KV_DAT_PS:.ps";

/* What a run may write unless it is told otherwise.  Documents whose parts are shared from many
 * places multiply; honest ones stay far below. */
constexpr uint64_t OUTPUT_ALWAYS = (uint64_t)1 << 30;
constexpr uint64_t OUTPUT_PER_INPUT_BYTE = 200;

/* One file of the run, as messages call it. */
struct WatchedFile {
    ConversionRun *run;
    const char *name;
};

/* Tells of a failure where it happens, before all that follows from it. */
void reportTrouble(void *context, FileTrouble trouble)
{
    const WatchedFile *file = static_cast<const WatchedFile *>(context);
    if (trouble == FileTrouble::LIMIT)
        zolakReport(file->run, __LINE__, SEVERITY_ERROR, "BADFWRITE", "Output is too large.");
    else if (errno == ENOMEM)
        reportOutOfMemory(file->run, __LINE__);
    else if (trouble == FileTrouble::READ)
        zolakReport(file->run, __LINE__, SEVERITY_ERROR, "BADFREAD",
                    "Error occurred while reading the file %s.", file->name);
    else
        zolakReport(file->run, __LINE__, SEVERITY_ERROR, "BADFWRITE",
                    "Error occurred while writing the file %s.", file->name);
}

void watch(ZFile *handle, WatchedFile *file, uint64_t mostWritten)
{
    zfile_watch(handle, {reportTrouble, file, mostWritten});
}

uint64_t mostOutput(const ConversionRun *run)
{
    if (uint64_t told = host().mostOutput)
        return told;
    return OUTPUT_ALWAYS + OUTPUT_PER_INPUT_BYTE * fgeteof(run->input);
}

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

struct WatchedFiles {
    WatchedFile input, output;
};

bool openFiles(ConversionRun *run, const ConversionFiles &files, WatchedFiles *watched)
{
    run->input = files.openInput();
    if (errno) {
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the PDF file '%s' for reading.", files.inputName);
        return false;
    }
    deriveBaseName(run, files.inputName);
    for (const PostScriptPart &part : {files.prolog, files.trailer})
        if (!part.bytes)
            zfile_protect("", part.name, PART_DEFAULTS);
    errno = 0;
    run->output = files.openOutput();
    if (errno) {
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for writing.", files.outputName);
        fclosx(run->input);
        run->input = nullptr;
        return false;
    }
    *watched = {{run, files.inputName}, {run, files.outputName}};
    watch(run->input, &watched->input, UINT64_MAX);
    watch(run->output, &watched->output, mostOutput(run));
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
    ZFile *file = fopenr("", part.name, PART_DEFAULTS, 0);
    if (errno) {
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN",
                    "Error occurred while opening the file %s for reading.", part.name);
        return;
    }
    WatchedFile watched = {run, part.name};
    watch(file, &watched, UINT64_MAX);
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

/* Keeps the output of a good run and throws that of a failed one away. */
void closeFiles(ConversionRun *run)
{
    fclosx(run->input);
    run->bytesWritten = zfile_written(run->output);
    stopWhenCancelled(run);
    if (run->errorFlag)
        fcldelete(run->output);
    else
        fclosx(run->output);
    run->input = run->output = nullptr;
}

} // namespace

void convertDocument(ConversionRun *run, const ConversionFiles &files)
{
    resetRun(run);
    WatchedFiles watched;
    try {
        if (openFiles(run, files, &watched))
            writeOutput(run, files);
    } catch (const std::bad_alloc &) {
        reportOutOfMemory(run, __LINE__);
    }
    zfile_unprotectAll();
    freeTable(run);
    if (run->output)
        closeFiles(run);
}
