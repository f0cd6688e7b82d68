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

#include "seam/files.h"
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
    return seam::writeWhole((int)(intptr_t)context, bytes, count);
}

/* ---- the stages */

struct Run {
    PrintRequest request;
    const PrintListener *listener;
    bool isIncomplete = false, hasError = false;

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
bool keepInput(Run &run)
{
    std::string &input = run.request.input;
    if (input != "-")
        return isReadable(input) || run.fail(seam::Message::InputUnreadable);
    input = privateFile("input.pdf");
    bool isKept = !input.empty() && keepStandardInput(input);
    return isKept || run.fail(seam::Message::InputNotKept);
}

/* Puts the prepared document in the place of the input where it needs that. */
bool prepare(Run &run)
{
    PrintRequest &request = run.request;
    std::string plain = privateFile("plain.pdf");
    request.preparation.pages = request.job.pages;
    request.preparation.pageMap = privateFile("pages");
    if (plain.empty())
        return run.fail(seam::Message::NoTemporaryFiles);
    auto hear = [&](const seam::Notice &notice) { run.remark(notice); };
    std::vector<int> pageNumbers;
    switch (prepareDocument(request.preparation, request.input, plain, &pageNumbers, hear)) {
    case Preparation::UNNEEDED: /* then the list is the whole document, as it stands */
        request.job.pages = {};
        return true;
    case Preparation::DONE:
        request.input = plain;
        request.job.pages = {};
        request.job.pageNumbers = std::move(pageNumbers);
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

Printed runStages(Run &run, const std::function<ZFile *()> &openOutput)
{
    const PrintListener &listener = *run.listener;
    if (!keepInput(run))
        return Printed::NOTHING;
    if (run.request.isPrepared && !prepare(run))
        return Printed::NOTHING;
    if (run.isCancelled())
        return Printed::NOTHING;
    job::Callbacks callbacks;
    callbacks.message = [&](const job::Message &message) {
        run.remark(seam::fromConverter((seam::Said)message.severity, message.key, message.page,
                                       message.text));
    };
    callbacks.progress = listener.progress;
    callbacks.cancel = listener.cancel;
    job::Result result = job::writeJob(run.request.input, openOutput, run.request.job, callbacks);
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
        good = got > 0 && seam::writeWhole(file, buffer, (size_t)got) == 0;
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
