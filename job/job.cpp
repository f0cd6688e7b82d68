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
#include "seam/messages.h"
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
    bool hasError = false; /* an error of the document has been told */
    Message kept = {};     /* an error that may turn out to be the document's */
    bool hasKept = false;
};

void tell(Hearer &hearer, const Message &message)
{
    hearer.hasError |= message.severity == Severity::ERROR && message.page == 0;
    if (hearer.callbacks->message)
        hearer.callbacks->message(message);
}

/* An error of the job's own, by its row in the table of messages. */
void reportOwn(ConversionRun *run, int line, seam::Message message,
               std::initializer_list<std::string_view> values = {})
{
    zolakReport(run, line, SEVERITY_ERROR, seam::rowOf(message).key, "%s",
                seam::sentence(message, values).c_str());
}

void reportOwn(ConversionRun *run, int line, const seam::Notice &notice)
{
    bool isError = notice.severity == seam::Severity::ERROR;
    zolakReport(run, line, isError ? SEVERITY_ERROR : SEVERITY_WARNING, notice.key.c_str(), "%s",
                notice.text.c_str());
}

/* Are messages with this key of the files, and of no page? */
bool isOfFiles(const std::string &key)
{
    using enum seam::Message;
    for (seam::Message message : {InputUnreadable, OutputNotOpened, OutputFailed, OutputTooLarge})
        if (key == seam::rowOf(message).key)
            return true;
    return key == "BADFOPEN" || key == "BADFREAD" || key == "BADFWRITE";
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
    Hearer &hearer = *static_cast<Hearer *>(context);
    if (hearer.run->wasCancelled || message.key == "PAGE")
        return;
    int page = 0;
    if (hearer.writer && hearer.writer->written > 0 && !isOfFiles(message.key))
        page = hearer.plan->pages[hearer.writer->written - 1].number;
    Message heard = {(Severity)message.severity, message.key, message.text, page};
    bool isOfPage = hearer.run->currentPage > 0;
    if (isOfPage && !hearer.plan) {
        if (heard.severity == Severity::ERROR && !hearer.hasKept)
            hearer.kept = heard;
        hearer.hasKept |= heard.severity == Severity::ERROR;
        return;
    }
    if (hearer.writer && hearer.writer->part)
        heard.page = originalNames(*hearer.writer->part, &heard.text);
    tell(hearer, heard);
    if (heard.severity == Severity::ERROR) {
        hearer.kept = {heard.severity, heard.key, heard.text, 0};
        hearer.hasKept = true;
    }
}

/* Nothing has been written: is it known why?  When no error of the document has said so, one that
 * was met while planning, or the last one of a page, has been the reason. */
void explainFailure(Hearer &hearer)
{
    if (hearer.hasError || hearer.run->wasCancelled)
        return;
    if (hearer.hasKept)
        tell(hearer, hearer.kept);
    else
        tell(hearer, {Severity::ERROR, seam::rowOf(seam::Message::Unexplained).key,
                      seam::sentence(seam::Message::Unexplained, {"the job"}), 0});
}

struct WatchedJob {
    ConversionRun *run;
    const Options *options;
};

void reportTrouble(void *context, FileTrouble trouble)
{
    ConversionRun *run = static_cast<const WatchedJob *>(context)->run;
    if (trouble == FileTrouble::LIMIT)
        reportOwn(run, __LINE__, seam::Message::OutputTooLarge);
    else
        reportOwn(run, __LINE__, seam::Message::OutputFailed, {strerror(errno)});
}

uint64_t mostOutput(const ConversionRun *run, const Options &options)
{
    if (options.mostOutput > 0)
        return options.mostOutput;
    return OUTPUT_ALWAYS + OUTPUT_PER_INPUT_BYTE * fgeteof(run->input);
}

/* ---- the runtime */

void writeRuntime(ZFile *job, const Encoding &encoding, const Plan &plan)
{
    std::set<std::string> calls = plan.calls;
    if (encoding.level == 2)
        calls.insert("KeptStates");
    fputstr(job, "%%BeginProlog");
    fputstr(job, "%%BeginResource: procset pdf_to_ps " PDF_PRINT_VERSION " 0");
    if (!encoding.isCompressed) {
        std::string runtime = runtimeFor(calls);
        fputm(job, runtime.data(), runtime.size());
    } else {
        /* The same words read a section that is PostScript: they are all there is yet. */
        Spool text;
        encodeSection(job, encoding, LOADER, AcceptedText::ofRuntime(calls, &text));
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
    const Options &options = *writer->options;
    if (options.hasPjl)
        writePjlBegin(writer->job, options);
    writeHeader(writer->job, options, *writer->plan);
    writeRuntime(writer->job, writer->encoding, *writer->plan);
    writeSetup(writer);
    writePages(writer);
    fputstr(writer->job, "%%Trailer");
    fputstr(writer->job, "PdfEnd");
    fputstr(writer->job, "%%EOF");
    if (options.hasPjl)
        writePjlEnd(writer->job, options);
}

/* ---- one job */

bool openInput(ConversionRun *run, const std::string &path)
{
    std::string exact = path.find('/') == std::string::npos ? "./" + path : path;
    run->input = fopenr("", exact.c_str(), "", 0);
    if (run->input)
        return true;
    reportOwn(run, __LINE__, seam::Message::InputUnreadable, {strerror(errno)});
    return false;
}

bool hasPages(ConversionRun *run, const Options &options, const Plan &plan)
{
    if (run->errorFlag)
        return false;
    for (const seam::Notice &warning : plan.warnings)
        reportOwn(run, __LINE__, warning);
    if (plan.fault)
        reportOwn(run, __LINE__, *plan.fault);
    else if (plan.pages.empty())
        reportOwn(run, __LINE__, seam::Message::NoPages);
    else if (options.isEncapsulated && plan.pages.size() != 1)
        reportOwn(run, __LINE__, seam::Message::NotOnePage);
    else
        return true;
    return false;
}

/* Writes the output of a plan; false when there is none in the end. */
bool writeOutput(ConversionRun *run, const std::function<ZFile *()> &openOutput, PageWriter *writer,
                 Result *result)
{
    WatchedJob watched = {run, writer->options};
    ZFile *job = openOutput();
    if (!job) {
        reportOwn(run, __LINE__, seam::Message::OutputNotOpened, {strerror(errno)});
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
    PageWriter writer = {run,     &options, hearer->callbacks,          &plan,
                         nullptr, {},       Account(options.workFactor)};
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
    if (!openInput(run, path)) {
        explainFailure(hearer);
        return result;
    }
    checkVersion(run);
    openDocumentIndex(run);
    try {
        if (!run->errorFlag)
            runJob(run, &hearer, openOutput, options, &result);
    } catch (const std::bad_alloc &) {
        reportOutOfMemory(run, __LINE__);
    }
    if (!result.isWritten)
        explainFailure(hearer);
    freeTable(run);
    fclosx(run->input);
    run->input = nullptr;
    return result;
}

} // namespace job
