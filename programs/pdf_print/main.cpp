/*
 * main.cpp - the command pdf_print: a document through its stages, to a file or a printer
 *
 * Called by its other name it is the command pdf_prepare.
 */
#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <new>
#include <set>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include "programs/pdf_print/options.h"
#if defined(HAS_PREPARATION)
#include "programs/preparing/command.h"
#endif
#include "programs/printing/document.h"
#include "programs/printing/process.h"
#include "seam/pages.h"
#include "zelkov/file.h"
#include "zelkov/host.h"
#include "zelkov/process.h"

namespace {

using seam::Message;

/* ---- what is said */

struct Teller {
    const Arguments *arguments;
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

    void remark(const seam::Notice &notice)
    {
        using seam::Severity;
        if (notice.severity == Severity::LOSS)
            isStopped = arguments->isStrict;
        bool isSaid =
            notice.severity == Severity::ERROR ||
            (notice.severity == Severity::DETAIL ? arguments->isVerbose : !arguments->isQuiet);
        if (isSaid)
            say(notice.page, notice.text);
    }

    /* Says why nothing is printed. */
    int fail(Message message, std::initializer_list<std::string_view> values = {})
    {
        say(0, sentence(message, values));
        return STATUS_FAILED;
    }
};

/* ---- output */

ZFile *openOutput(const std::string &output)
{
    if (output == "-")
        return openStandardOutput();
    std::string exact = output.find('/') == std::string::npos ? "./" + output : output;
    return fopenw("", exact.c_str(), "", 0);
}

/* Hands a finished job to the print system. */
int sendToPrinter(Teller &teller, const std::string &path)
{
    const Arguments &arguments = *teller.arguments;
    std::string said, answer = privateFile("request");
    ProcessResult result = runProcess(
        {"lp", "-d", arguments.printer, "-t", arguments.job.title, "--", path},
        [&](const std::string &line) { said = line; }, answer);
    if (!result.isStarted)
        return teller.fail(Message::PrintSystemMissing, {strerror(errno)});
    if (result.status != 0)
        return teller.fail(Message::PrintSystemRefused, {said.empty() ? "lp failed." : said});
    if (!arguments.isQuiet)
        std::cout << std::ifstream(answer).rdbuf() << std::flush; /* "request id is ..." */
    return STATUS_DONE;
}

/* Where the job went, and how large it is. */
void tellResult(Teller &teller, const std::string &output, size_t pages)
{
    const Arguments &arguments = *teller.arguments;
    struct stat info;
    std::string size;
    if (output != "-" && stat(output.c_str(), &info) == 0)
        size = ", " + std::to_string(info.st_size) + " bytes";
    std::string where = !arguments.printer.empty() ? "the printer " + arguments.printer
                        : output == "-"            ? "standard output"
                                                   : output;
    teller.say(0, std::to_string(pages) + (pages == 1 ? " page" : " pages") + size + ": " + where);
}

/* ---- one document */

int printOne(Teller &teller)
{
    const Arguments &arguments = *teller.arguments;
    std::string output = arguments.output;
    if (!arguments.printer.empty()) {
        output = privateFile("job.ps");
        if (output.empty())
            return teller.fail(Message::NoTemporaryFiles, {strerror(errno)});
    }
    PrintListener listener;
    listener.remark = [&](const seam::Notice &notice) { teller.remark(notice); };
    listener.progress = [&](int page, int count) { teller.progress(page, count); };
    std::vector<int> pageNumbers;
    listener.pageMap = [&](const std::vector<int> &numbers) { pageNumbers = numbers; };
    listener.cancel = &teller.isStopped;
    Printed printed = printDocument(
        {arguments.input, arguments.job, arguments.preparation, arguments.prepares},
        [&] { return openOutput(output); }, listener);
    teller.clearLine();
    if (teller.isStopped)
        return teller.fail(Message::Strict);
    if (printed == Printed::NOTHING)
        return STATUS_FAILED;
    if (!arguments.pageMap.empty() && !seam::writePageMapFile(arguments.pageMap, pageNumbers))
        return teller.fail(Message::OutputFailed, {strerror(errno)});
    if (!arguments.printer.empty())
        if (int status = sendToPrinter(teller, output))
            return status;
    if (arguments.isVerbose)
        tellResult(teller, output, pageNumbers.size());
    return printed == Printed::INCOMPLETE ? STATUS_INCOMPLETE : STATUS_DONE;
}

[[maybe_unused]] bool isCalled(const char *name, const char *path)
{
    const char *slash = strrchr(path, '/');
    return strcmp(slash ? slash + 1 : path, name) == 0;
}

} // namespace

int main(int argc, char **argv)
{
#if defined(HAS_PREPARATION)
    if (argc > 0 && isCalled("pdf_prepare", argv[0]))
        return prepareCommand(argc, argv);
#endif
    process_begin();
    host().listener = nullptr; /* the reason stands in our own messages */
    Arguments arguments = readArguments(argc, argv);
#if defined(HAS_PREPARATION)
    arguments.preparation.own = makePreparation;
#endif
    Teller teller;
    teller.arguments = &arguments;
    int status;
    try {
        status = printOne(teller);
    } catch (const std::bad_alloc &) {
        status = teller.fail(Message::OutOfMemory);
    }
    process_exit(status);
}
