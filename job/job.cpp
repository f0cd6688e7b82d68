/*
 * job.cpp - the order of a job: plan, header, runtime, settings, shared parts, pages, trailer
 */
#include "job/job.h"

#include <cerrno>
#include <cstring>

#include <zlib.h>

#include "job/comments.h"
#include "job/runtime.h"
#include "job/writer.h"
#include "tools/zolak1_3/pdf_to_ps/frame/framework.h"
#include "tools/zolak1_3/pdf_to_ps/frame/version.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"
#include "zelkov/format.h"
#include "zelkov/host.h"

namespace job {

namespace {

constexpr uint64_t OUTPUT_ALWAYS = 64u << 20;
constexpr uint64_t OUTPUT_PER_INPUT_BYTE = 200;

/* The base name of data in a section; nothing outside of it sees these names. */
constexpr char BASE_NAME[] = "d";

struct Hearer {
    const Callbacks *callbacks;
    ConversionRun *run = nullptr;
    const Plan *plan = nullptr; /* null while planning: what is wrong is told when it is written */
    const PageWriter *writer = nullptr;
};

void tell(const Callbacks &callbacks, Severity severity, const std::string &key,
          const std::string &text, int page)
{
    if (callbacks.message)
        callbacks.message({severity, key, text, page});
}

/* A shared part is told of as the page knows it that has it first; answers that page. */
int originalNames(const PlannedResource &part, std::string *text)
{
    std::string name = "/S" + std::to_string(part.shared);
    for (size_t at = 0; (at = text->find(name, at)) != std::string::npos; at += part.name.size())
        text->replace(at, name.size(), part.name);
    return part.firstPage;
}

void hearMessage(void *context, const ControlMessage &message)
{
    const Hearer &hearer = *static_cast<const Hearer *>(context);
    if (hearer.run->wasCancelled || message.key == "PAGE")
        return;
    int page = 0;
    bool isOfFiles =
        message.key == "BADFOPEN" || message.key == "BADFREAD" || message.key == "BADFWRITE";
    if (hearer.writer && hearer.writer->written > 0 && !isOfFiles)
        page = hearer.plan->pages[hearer.writer->written - 1].number;
    bool isOfPage = hearer.run->currentPage > 0;
    if (isOfPage && !hearer.plan)
        return;
    std::string text = message.text;
    if (hearer.writer && hearer.writer->part)
        page = originalNames(*hearer.writer->part, &text);
    tell(*hearer.callbacks, (Severity)message.severity, message.key, text, page);
}

struct WatchedJob {
    ConversionRun *run;
    const Options *options;
};

void reportTrouble(void *context, FileTrouble trouble)
{
    ConversionRun *run = static_cast<const WatchedJob *>(context)->run;
    if (trouble == FileTrouble::LIMIT)
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFWRITE",
                    "Output is too large; --max-output sets another bound.");
    else
        zolakReport(run, __LINE__, SEVERITY_ERROR,
                    trouble == FileTrouble::READ ? "BADFREAD" : "BADFWRITE",
                    trouble == FileTrouble::READ ? "Error occurred while reading the file: %s."
                                                 : "Error occurred while writing the output: %s.",
                    strerror(errno));
}

uint64_t mostOutput(const ConversionRun *run, const Options &options)
{
    if (options.mostOutput > 0)
        return options.mostOutput;
    return OUTPUT_ALWAYS + OUTPUT_PER_INPUT_BYTE * fgeteof(run->input);
}

/* ---- the runtime */

void writeRuntime(ZFile *job, const Encoding &encoding)
{
    fputstr(job, "%%BeginProlog");
    fputstr(job, "%%BeginResource: procset pdf_to_ps " PDF_PRINT_VERSION " 0");
    if (!encoding.isCompressed) {
        fputm(job, builtinRuntime.bytes, builtinRuntime.count);
    } else {
        /* The same words read a section that is PostScript: they are all there is yet. */
        bool isDeflated = encoding.level >= 3;
        const RuntimeFile &runtime = isDeflated ? deflatedRuntime : builtinRuntime;
        SectionWriter section(job, encoding, LOADER, isDeflated);
        fputm(section.file(), runtime.bytes, runtime.count);
        section.finish();
    }
    fputstr(job, "%%EndResource");
    fputstr(job, "%%EndProlog");
}

void writeSetup(PageWriter *writer)
{
    ZFile *job = writer->job;
    fputstr(job, "%%BeginSetup");
    writeDeviceSettings(job, *writer->options);
    writeShared(writer);
    fputstr(job, "%%EndSetup");
}

void writeDocument(PageWriter *writer)
{
    writeHeader(writer->job, *writer->options, *writer->plan);
    writeRuntime(writer->job, writer->encoding);
    writeSetup(writer);
    writePages(writer);
    fputstr(writer->job, "%%Trailer");
    fputstr(writer->job, "PdfEnd");
    fputstr(writer->job, "%%EOF");
}

/* ---- one job */

bool openInput(ConversionRun *run, const std::string &path)
{
    std::string exact = path.find('/') == std::string::npos ? "./" + path : path;
    run->input = fopenr("", exact.c_str(), "", 0);
    if (run->input)
        return true;
    zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN", "The file cannot be opened: %s.",
                strerror(errno));
    return false;
}

bool hasPages(ConversionRun *run, const Options &options, const Plan &plan)
{
    if (run->errorFlag)
        return false;
    for (const std::string &warning : plan.warnings)
        zolakReport(run, __LINE__, SEVERITY_WARNING, "NOPAGE", "%s", warning.c_str());
    const char *fault = nullptr;
    if (!plan.fault.empty())
        fault = plan.fault.c_str();
    else if (plan.pages.empty())
        fault = "The document has no pages.";
    else if (options.isEncapsulated && plan.pages.size() != 1)
        fault = "An encapsulated file holds one page; --pages chooses it.";
    if (fault)
        zolakReport(run, __LINE__, SEVERITY_ERROR, "NOPAGE", "%s", fault);
    return !fault;
}

/* Writes the output of a plan; false when there is none in the end. */
bool writeOutput(ConversionRun *run, const std::function<ZFile *()> &openOutput, PageWriter *writer,
                 Result *result)
{
    WatchedJob watched = {run, writer->options};
    ZFile *job = openOutput();
    if (!job) {
        zolakReport(run, __LINE__, SEVERITY_ERROR, "BADFOPEN", "The output cannot be opened: %s.",
                    strerror(errno));
        return false;
    }
    zfile_watch(job, {reportTrouble, &watched, mostOutput(run, *writer->options)});
    writer->job = run->output = job;
    try {
        writeDocument(writer);
    } catch (const std::bad_alloc &) {
        reportOutOfMemory(run, __LINE__);
    }
    stopWhenCancelled(run);
    result->byteCount = zfile_written(job);
    run->output = nullptr;
    if (run->errorFlag) {
        fcldelete(job);
        return false;
    }
    return fclosx(job) == 0;
}

void runJob(ConversionRun *run, Hearer *hearer, const std::function<ZFile *()> &openOutput,
            const Options &options, Result *result)
{
    Plan plan;
    makePlan(run, options, &plan);
    run->currentPage = 0;
    if (!hasPages(run, options, plan))
        return;
    PageWriter writer = {run, &options, hearer->callbacks, &plan, nullptr, {}};
    writer.encoding = {options.isBinary, options.isCompressed, options.level};
    hearer->plan = &plan;
    hearer->writer = &writer;
    result->isWritten = writeOutput(run, openOutput, &writer, result);
    result->isWhole = writer.isWhole;
    result->pageCount = (int)writer.written;
    for (size_t i = 0; i < writer.written; i++)
        result->pageNumbers.push_back(plan.pages[i].number);
    hearer->writer = nullptr;
}

} // namespace

Result writeJob(const std::string &path, const std::function<ZFile *()> &openOutput,
                const Options &options, const Callbacks &callbacks)
{
    Result result;
    Hearer hearer = {&callbacks};
    Framework framework;
    if (!framework.create())
        throw std::bad_alloc();
    ConversionRun *run = framework.begin(hearMessage, &hearer);
    hearer.run = run;
    run->cancel = callbacks.cancel;
    resetRun(run);
    memcpy(run->baseName, BASE_NAME, sizeof BASE_NAME);
    if (!openInput(run, path))
        return result;
    checkVersion(run);
    openDocumentIndex(run);
    try {
        if (!run->errorFlag)
            runJob(run, &hearer, openOutput, options, &result);
    } catch (const std::bad_alloc &) {
        reportOutOfMemory(run, __LINE__);
    }
    freeTable(run);
    fclosx(run->input);
    run->input = nullptr;
    return result;
}

} // namespace job
