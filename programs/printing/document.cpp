/*
 * document.cpp - the stages of a document, one after the other
 */
#include "programs/printing/document.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

#include "programs/printing/input.h"
#include "seam/files.h"
#include "zelkov/cleanup.h"
#include "zelkov/file.h"
#include "zelkov/host.h"

namespace {

/* ---- input and output */

int writeToDescriptor(void *context, const uint8_t *bytes, size_t count)
{
    return seam::writeWhole((int)(intptr_t)context, bytes, count);
}

/* ---- the stages */

struct Run {
    PrintRequest request;
    const PrintListener *listener;
    bool isIncomplete = false, hasError = false;
    bool isAsItStands = false; /* the preparation has found nothing to do */
    bool isRewritten = false;  /* the input of the job is a prepared document */

    void remark(const seam::Notice &notice)
    {
        isIncomplete = isIncomplete || notice.severity == seam::Severity::LOSS;
        hasError = hasError || notice.severity == seam::Severity::ERROR;
        listener->remark(notice);
    }

    /* Says that nothing is printed, with errno's reason. */
    bool fail(seam::Message message)
    {
        remark(notice(message, 0, {strerror(errno)}));
        return false;
    }

    bool isCancelled() const { return listener->cancel && *listener->cancel; }
};

/* Puts the prepared document in the place of the input where it needs that, or always. */
bool prepare(Run &run, bool always = false)
{
    PrintRequest &request = run.request;
    std::string plain = privateFile("plain.pdf");
    request.preparation.rewrites = always;
    request.preparation.pageMap = privateFile(always ? "pages-again" : "pages");
    if (plain.empty())
        return run.fail(seam::Message::NoTemporaryFiles);
    auto hear = [&](const seam::Notice &notice) { run.remark(notice); };
    std::vector<int> pageNumbers;
    switch (prepareDocument(request.preparation, request.input, plain, &pageNumbers, hear)) {
    case Preparation::UNNEEDED: /* then the list is the whole document, as it stands */
        request.job.pages = {};
        run.isAsItStands = true;
        return true;
    case Preparation::DONE:
        request.input = plain;
        request.job.pages = {};
        request.job.pageNumbers = std::move(pageNumbers);
        run.isRewritten = true;
        run.isAsItStands = false;
        return true;
    case Preparation::MISSING:
        if (run.listener->missingPreparation)
            run.listener->missingPreparation();
        return false;
    case Preparation::FAILED:
        return false;
    }
    return false;
}

/* What is said of a job until it has an output.  Then it is passed on. */
struct HeldRemarks {
    explicit HeldRemarks(Run &of) : run(of) {}

    void hear(seam::Notice notice)
    {
        isOfRequest |= notice.key == rowOf(seam::Message::NotOnePage).key;
        if (isHolding)
            held.push_back(std::move(notice));
        else
            run.remark(notice);
    }

    void passOn()
    {
        isHolding = false;
        for (const seam::Notice &notice : held)
            run.remark(notice);
        held.clear();
    }

    Run &run;
    bool isHolding = false;
    bool isOfRequest = false; /* another document would be refused, too */
    std::vector<seam::Notice> held = {};
};

/* Writes the job.  True in `*isRefused`: the converter could not take a document that was left as
 * it stands; no output has been opened, and nothing said. */
job::Result writeJob(Run &run, const std::function<ZFile *()> &openOutput, bool *isRefused)
{
    HeldRemarks remarks(run);
    remarks.isHolding = run.isAsItStands;
    job::Callbacks callbacks;
    callbacks.message = [&](const job::Message &message) {
        if (run.isRewritten && message.key == "PDFVRSN") /* which is the prepared document's */
            return;
        remarks.hear(seam::fromConverter((seam::Said)message.severity, message.key, message.page,
                                         message.text));
    };
    callbacks.progress = run.listener->progress;
    callbacks.cancel = run.listener->cancel;
    auto open = [&] {
        remarks.passOn();
        return openOutput();
    };
    job::Result result = job::writeJob(run.request.input, open, run.request.job, callbacks);
    /* A file that has become unreadable since is not the document's fault. */
    bool isReadable = access(run.request.input.c_str(), R_OK) == 0;
    *isRefused = remarks.isHolding && !remarks.isOfRequest && !result.isWritten &&
                 !run.isCancelled() && isReadable;
    if (!*isRefused)
        remarks.passOn();
    return result;
}

Printed runStages(Run &run, const std::function<ZFile *()> &openOutput)
{
    const PrintListener &listener = *run.listener;
    if (std::optional<seam::Notice> fault = openInput(&run.request.input)) {
        run.remark(*fault);
        return Printed::NOTHING;
    }
    run.request.preparation.pages = run.request.job.pages;
    if (run.request.isPrepared && !prepare(run))
        return Printed::NOTHING;
    if (run.isCancelled())
        return Printed::NOTHING;
    bool isRefused = false;
    job::Result result = writeJob(run, openOutput, &isRefused);
    if (isRefused) { /* what looked plain was not: prepared, it is another document */
        if (!prepare(run, true) || run.isCancelled())
            return Printed::NOTHING;
        result = writeJob(run, openOutput, &isRefused);
    }
    if (!result.isWritten || run.isCancelled())
        return Printed::NOTHING;
    if (listener.pageMap)
        listener.pageMap(result.pageNumbers);
    if (!result.isWhole && !run.isIncomplete)
        run.remark(notice(seam::Message::PageCut, 0, {"it is not known why."}));
    return run.isIncomplete ? Printed::INCOMPLETE : Printed::WHOLE;
}

} // namespace

Printed printDocument(PrintRequest request, const std::function<ZFile *()> &openOutput,
                      const PrintListener &listener)
{
    Run run = {std::move(request), &listener};
    Printed printed = runStages(run, openOutput);
    if (printed == Printed::NOTHING && !run.hasError && !run.isCancelled())
        run.remark(notice(seam::Message::Unexplained, 0, {"the job"}));
    return printed;
}

ZFile *openStandardOutput()
{
    return fopensink({writeToDescriptor, (void *)(intptr_t)STDOUT_FILENO});
}

std::string privateFile(const char *name)
{
    const std::string &directory = host_privateDirectory();
    if (directory.empty())
        return "";
    std::string path = directory + name;
    cleanup_add(path);
    return path;
}

std::string withReason(seam::Message message)
{
    return sentence(message, {strerror(errno)});
}

std::string withReason(const std::string &what)
{
    return what + ": " + strerror(errno) + ".";
}
