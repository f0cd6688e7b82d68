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

/* ---- what is said */

/* Notices after which something of the document is missing on paper, or other than it was. */
constexpr const char *lossKeys[] = {"NOFONT", "NOCMAP",  "IMAGE",      "PATTERN", "LIMIT",
                                    "MASK",   "SHADING", "NORENDERER", "BADFONT", "badobj"};
/* What is of no use to people. */
constexpr const char *silentKeys[] = {"PDFVRSN", "MMTYPE"};
/* What is done and not missed. */
constexpr const char *detailKeys[] = {"REGION"};

template <size_t count> bool isOneOf(const std::string &key, const char *const (&keys)[count])
{
    return std::any_of(keys, keys + count, [&](const char *known) { return key == known; });
}

Weight weightOf(const Notice &notice)
{
    if (isOneOf(notice.key, lossKeys) || (notice.key == "DAMAGED" && notice.page > 0))
        return Weight::LOSS;
    return isOneOf(notice.key, detailKeys) ? Weight::DETAIL : Weight::WARNING;
}

Weight weightOf(const job::Message &message)
{
    if (message.severity == job::Severity::ERROR)
        return Weight::ERROR;
    if (message.severity == job::Severity::INFO || isOneOf(message.key, silentKeys))
        return Weight::DETAIL;
    return isOneOf(message.key, lossKeys) ? Weight::LOSS : Weight::WARNING;
}

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
    bool isIncomplete = false;

    void remark(Weight weight, int page, const std::string &text)
    {
        isIncomplete = isIncomplete || weight == Weight::LOSS;
        listener->remark({weight, page, text});
    }

    bool fail(const std::string &text)
    {
        remark(Weight::ERROR, 0, text);
        return false;
    }

    bool isCancelled() const { return listener->cancel && *listener->cancel; }
};

/* Makes a readable file of the input. */
bool takeInput(Run &run)
{
    std::string &input = run.request.input;
    if (input != "-")
        return isReadable(input) || run.fail(withReason("The file cannot be read"));
    input = privateFile("input.pdf");
    bool isKept = !input.empty() && keepStandardInput(input);
    return isKept || run.fail(withReason("Standard input cannot be kept"));
}

/* Puts the prepared document in the place of the input where it needs that. */
bool prepare(Run &run)
{
    PrintRequest &request = run.request;
    std::string plain = privateFile("plain.pdf");
    request.preparation.pages = request.job.pages;
    request.preparation.pageMap = privateFile("pages");
    if (plain.empty())
        return run.fail(withReason("No directory for temporary files"));
    auto notice = [&](const Notice &what) { run.remark(weightOf(what), what.page, what.text); };
    std::vector<int> pageNumbers;
    switch (prepareDocument(request.preparation, request.input, plain, &pageNumbers, notice)) {
    case Preparation::UNNEEDED: /* then the list is the whole document, as it stands */
        request.job.pages = {};
        return true;
    case Preparation::DONE:
        request.input = plain;
        request.job.pages = {};
        request.job.pageNumbers = std::move(pageNumbers);
        return true;
    case Preparation::MISSING:
        run.listener->missingPreparation();
        return false;
    case Preparation::NO_PAGE_MAP:
        return run.fail(withReason("The page map cannot be read"));
    case Preparation::FAILED:
        return false;
    }
    return false;
}

} // namespace

Printed printDocument(PrintRequest request, const std::function<ZFile *()> &openOutput,
                      const PrintListener &listener)
{
    Run run = {std::move(request), &listener};
    if (!takeInput(run))
        return Printed::NOTHING;
    if (run.request.isPrepared && !prepare(run))
        return Printed::NOTHING;
    if (run.isCancelled())
        return Printed::NOTHING;
    job::Callbacks callbacks;
    callbacks.message = [&](const job::Message &message) {
        run.remark(weightOf(message), message.page, message.text);
    };
    callbacks.progress = listener.progress;
    callbacks.cancel = listener.cancel;
    job::Result result = job::writeJob(run.request.input, openOutput, run.request.job, callbacks);
    if (!result.isWritten || run.isCancelled())
        return Printed::NOTHING;
    if (listener.pageMap)
        listener.pageMap(result.pageNumbers);
    return run.isIncomplete || !result.isWhole ? Printed::INCOMPLETE : Printed::WHOLE;
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

std::string withReason(const std::string &what)
{
    return what + ": " + strerror(errno) + ".";
}
