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

/* Puts the prepared document in the place of the input. */
bool prepare(Run &run)
{
    PrintRequest &request = run.request;
    std::string plain = privateFile("plain.pdf");
    request.preparation.pageMap = privateFile("pages");
    if (plain.empty())
        return run.fail(seam::Message::NoTemporaryFiles);
    auto hear = [&](const seam::Notice &notice) { run.remark(notice); };
    std::vector<int> pageNumbers;
    switch (prepareDocument(request.preparation, request.input, plain, &pageNumbers, hear)) {
    case Preparation::DONE:
        request.input = plain;
        request.job.pages = {};
        request.job.pageNumbers = std::move(pageNumbers);
        run.isRewritten = true;
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

job::Result writeJob(Run &run, const std::function<ZFile *()> &openOutput)
{
    job::Callbacks callbacks;
    callbacks.message = [&](const job::Message &message) {
        if (run.isRewritten && message.key == "PDFVRSN") /* which is the prepared document's */
            return;
        run.remark(seam::fromConverter((seam::Said)message.severity, message.key, message.page,
                                       message.text));
    };
    callbacks.progress = run.listener->progress;
    callbacks.cancel = run.listener->cancel;
    return job::writeJob(run.request.input, openOutput, run.request.job, callbacks);
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
    job::Result result = writeJob(run, openOutput);
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
