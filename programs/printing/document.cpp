/*
 * document.cpp - the stages of a document, one after the other
 */
#include "programs/printing/document.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "zelkov/cleanup.h"
#include "zelkov/file.h"
#include "zelkov/host.h"

namespace {

/* ---- input and output */

/* Is it a file that can be read?  Else errno says why not. */
bool isReadable(const std::string &path)
{
    struct stat info;
    if (stat(path.c_str(), &info) != 0)
        return false;
    if (!S_ISREG(info.st_mode)) {
        errno = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    return access(path.c_str(), R_OK) == 0;
}

int writeToDescriptor(void *context, const uint8_t *bytes, size_t count)
{
    int descriptor = (int)(intptr_t)context;
    while (count > 0) {
        ssize_t done = write(descriptor, bytes, count);
        if (done < 0 && errno != EINTR)
            return errno;
        if (done > 0) {
            bytes += done;
            count -= (size_t)done;
        }
    }
    return 0;
}

/* ---- the stages */

struct Run {
    PrintRequest request;
    const PrintListener *listener;
    bool isIncomplete = false, hasError = false;
    bool isAsItStands = false; /* the preparation has found nothing to do */

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

/* Makes a readable file of the input. */
bool takeInput(Run &run)
{
    std::string &input = run.request.input;
    if (input != "-")
        return isReadable(input) || run.fail(seam::Message::InputUnreadable);
    input = privateFile("input.pdf");
    bool isKept = !input.empty() && keepStandardInput(input);
    return isKept || run.fail(seam::Message::InputNotKept);
}

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
    *isRefused = remarks.isHolding && !remarks.isOfRequest && !result.isWritten &&
                 !run.isCancelled() && isReadable(run.request.input);
    if (!*isRefused)
        remarks.passOn();
    return result;
}

Printed runStages(Run &run, const std::function<ZFile *()> &openOutput)
{
    const PrintListener &listener = *run.listener;
    if (!takeInput(run))
        return Printed::NOTHING;
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

bool keepStandardInput(const std::string &path)
{
    int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    bool good = true;
    char buffer[64 * 1024];
    for (ssize_t got; good && (got = read(STDIN_FILENO, buffer, sizeof buffer)) != 0;) {
        if (got < 0 && errno == EINTR)
            continue;
        good = got > 0;
        for (ssize_t done = 0; good && done < got;) {
            ssize_t written = write(file, buffer + done, (size_t)(got - done));
            good = written > 0;
            done += good ? written : 0;
        }
    }
    int reason = errno;
    good = close(file) == 0 && good;
    errno = reason;
    return good;
}

std::string withReason(seam::Message message)
{
    return sentence(message, {strerror(errno)});
}

std::string withReason(const std::string &what)
{
    return what + ": " + strerror(errno) + ".";
}
