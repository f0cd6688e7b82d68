/*
 * main.cpp - the command pdf_print: a document through its stages, to a file or a printer
 */
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "job/job.h"
#include "programs/pdf_print/options.h"
#include "programs/pdf_print/preparation.h"
#include "programs/pdf_print/process.h"
#include "zelkov/cleanup.h"
#include "zelkov/file.h"
#include "zelkov/host.h"
#include "zelkov/process.h"

namespace {

/* ---- what is said */

/* Notices after which something of the document is missing on paper, or other than it was. */
constexpr const char *lossKeys[] = {"NOFONT", "NOCMAP",  "IMAGE",      "PATTERN", "LIMIT",
                                    "MASK",   "SHADING", "NORENDERER", "BADFONT", "badobj"};
/* What is of no use to people. */
constexpr const char *silentKeys[] = {"PDFVRSN", "MMTYPE"};
/* What is done and not missed. */
constexpr const char *verboseKeys[] = {"REGION"};

template <size_t count> bool isOneOf(const std::string &key, const char *const (&keys)[count])
{
    for (const char *known : keys)
        if (key == known)
            return true;
    return false;
}

struct Teller {
    const Arguments *arguments;
    bool isIncomplete = false;
    bool hasProgressLine = false;
    std::atomic<bool> isStopped = false; /* by --strict */
    std::set<std::string> told;

    /* Takes the progress line away. */
    void clearLine()
    {
        if (hasProgressLine)
            fputs("\r\033[K", stderr);
        hasProgressLine = false;
    }

    void progress(int page, int count)
    {
        bool isTerminal = isatty(STDERR_FILENO);
        bool shown = arguments->progress == Progress::ALWAYS ||
                     (arguments->progress == Progress::AUTO && isTerminal && !arguments->isQuiet);
        if (!shown)
            return;
        fprintf(stderr, isTerminal ? "\rpage %d of %d\033[K" : "page %d of %d\n", page, count);
        fflush(stderr);
        hasProgressLine = isTerminal;
    }

    /* One line: the file, the page, what happened. */
    void say(int page, const std::string &text)
    {
        std::string line = arguments->input == "-" ? "(standard input)" : arguments->input;
        if (page > 0)
            line += ": page " + std::to_string(page);
        line += ": " + text;
        for (char &c : line)
            if ((unsigned char)c < 32 || (unsigned char)c == 127)
                c = '?'; /* what comes from a document does not drive the terminal */
        if (!told.insert(line).second)
            return;
        clearLine();
        fprintf(stderr, "pdf_print: %s\n", line.c_str());
    }

    void lose()
    {
        isIncomplete = true;
        isStopped = arguments->isStrict;
    }

    void notice(const Notice &notice)
    {
        bool isLoss = isOneOf(notice.key, lossKeys) || (notice.key == "DAMAGED" && notice.page > 0);
        if (isLoss)
            lose();
        bool isVerbose = isOneOf(notice.key, verboseKeys);
        if (!arguments->isQuiet && (!isVerbose || arguments->isVerbose))
            say(notice.page, notice.text);
    }

    void message(const job::Message &message)
    {
        bool isError = message.severity == job::Severity::ERROR;
        if (!isError &&
            (message.severity == job::Severity::INFO || isOneOf(message.key, silentKeys))) {
            if (arguments->isVerbose)
                say(message.page, message.text);
            return;
        }
        if (isError || isOneOf(message.key, lossKeys))
            lose();
        if (isError || !arguments->isQuiet)
            say(message.page, message.text);
    }

    int fail(const std::string &text)
    {
        say(0, text);
        return STATUS_FAILED;
    }
};

/* ---- input */

/* Copies standard input into a file; false, with errno set, on failure. */
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

/* A file in the private directory, which goes when the process ends. */
std::string privateFile(const char *name)
{
    const std::string &directory = host_privateDirectory();
    if (directory.empty())
        return "";
    std::string path = directory + name;
    cleanup_add(path);
    return path;
}

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

/* ---- output */

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

ZFile *openOutput(const std::string &output)
{
    if (output == "-")
        return fopensink({writeToDescriptor, (void *)(intptr_t)STDOUT_FILENO});
    std::string exact = output.find('/') == std::string::npos ? "./" + output : output;
    return fopenw("", exact.c_str(), "", 0);
}

/* Hands a finished job to the print system. */
int sendToPrinter(Teller &teller, const std::string &path)
{
    const Arguments &arguments = *teller.arguments;
    std::string said;
    ProcessResult result =
        runProcess({"lp", "-d", arguments.printer, "-t", arguments.job.title, "--", path},
                   [&](const std::string &line) { said = line; });
    if (!result.isStarted)
        return teller.fail(std::string("The print system's lp cannot be started: ") +
                           strerror(errno) + ".");
    if (result.status != 0)
        return teller.fail("The print system did not take the job: " +
                           (said.empty() ? "lp failed." : said));
    return STATUS_DONE;
}

/* ---- one document */

/* The numbers that the pages of a prepared document have in the original: the first ones of the
 * list, each once. */
std::function<int(int)> originalNumbers(const std::vector<std::pair<int, int>> &pages)
{
    if (pages.empty())
        return nullptr;
    return [pages](int ordinal) {
        int number = 0;
        for (int found = 0; found < ordinal; found++) {
            int next = INT32_MAX;
            for (auto [first, last] : pages)
                if (last > number)
                    next = std::min(next, std::max(first, number + 1));
            number = next;
        }
        return number;
    };
}

int runStages(Teller &teller)
{
    Arguments arguments = *teller.arguments;
    std::string input = arguments.input;
    if (input == "-") {
        input = privateFile("input.pdf");
        if (input.empty() || !keepStandardInput(input))
            return teller.fail(std::string("Standard input cannot be kept: ") + strerror(errno) +
                               ".");
    } else if (!isReadable(input)) {
        return teller.fail(std::string("The file cannot be read: ") + strerror(errno) + ".");
    }

    if (arguments.prepares) {
        std::string plain = privateFile("plain.pdf");
        if (plain.empty())
            return teller.fail(std::string("No directory for temporary files: ") + strerror(errno) +
                               ".");
        auto notice = [&](const Notice &what) { teller.notice(what); };
        switch (prepareDocument(arguments, input, plain, notice)) {
        case Preparation::UNNEEDED:
            break;
        case Preparation::DONE:
            input = plain;
            arguments.job.pageNumber = originalNumbers(arguments.job.pages);
            arguments.job.pages.clear();
            break;
        case Preparation::MISSING:
            return teller.fail("The program pdf_prepare is not installed; --no-prepare takes the "
                               "document as it stands.");
        case Preparation::FAILED:
            return STATUS_FAILED;
        }
        if (teller.isStopped)
            return teller.fail("Nothing is printed, as --strict says.");
    }

    std::string output = arguments.output;
    if (!arguments.printer.empty()) {
        output = privateFile("job.ps");
        if (output.empty())
            return teller.fail(std::string("No directory for temporary files: ") + strerror(errno) +
                               ".");
    }
    job::Callbacks callbacks;
    callbacks.message = [&](const job::Message &message) { teller.message(message); };
    callbacks.progress = [&](int page, int count) { teller.progress(page, count); };
    callbacks.cancel = &teller.isStopped;
    job::Result result = job::writeJob(
        input, [&] { return openOutput(output); }, arguments.job, callbacks);
    teller.clearLine();
    if (teller.isStopped)
        return teller.fail("Nothing is printed, as --strict says.");
    if (!result.isWritten)
        return STATUS_FAILED;
    if (!arguments.printer.empty())
        if (int status = sendToPrinter(teller, output))
            return status;
    return teller.isIncomplete || !result.isWhole ? STATUS_INCOMPLETE : STATUS_DONE;
}

} // namespace

int main(int argc, char **argv)
{
    process_begin();
    host().listener = nullptr; /* the reason stands in our own messages */
    Arguments arguments = readArguments(argc, argv);
    Teller teller;
    teller.arguments = &arguments;
    int status;
    try {
        status = runStages(teller);
    } catch (const std::bad_alloc &) {
        status = teller.fail("There is not enough memory.");
    }
    process_exit(status);
}
