/*
 * main.cpp - the filter pdf_to_ps-cups: a document of the print system's, as a PostScript job
 *
 *     pdf_to_ps-cups JOB USER TITLE COPIES OPTIONS [FILE]
 *
 * The job goes to standard output.  Lines on standard error are for the print system, which
 * knows them by their first word.  A job that is cancelled ends by SIGTERM.
 */
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <new>
#include <set>
#include <string>

#include <unistd.h>

#include "programs/pdf_to_ps-cups/options.h"
#include "programs/printing/input.h"
#include "programs/printing/process.h"
#include "seam/files.h"
#include "zelkov/host.h"
#include "zelkov/process.h"

namespace {

constexpr int STATUS_PRINTED = 0, STATUS_FAILED = 1;

constexpr size_t HEAD_BYTES = 2048, DESCRIPTION_BYTES = 4 << 20;

/* A reason in the printer's state while a program that we need is not there. */
constexpr char MISSING_FILTER[] = "cups-missing-filter-warning";

std::string environment(const char *name)
{
    const char *value = getenv(name);
    return value ? value : "";
}

/* As many bytes of a file as are read of it: none when it cannot be read. */
std::string beginningOf(const std::string &path, size_t most)
{
    std::ifstream file(path, std::ios::binary);
    std::string bytes(most, '\0');
    file.read(bytes.data(), (std::streamsize)most);
    bytes.resize((size_t)file.gcount());
    return bytes;
}

/* ---- what is said */

/* One line, which nothing from a document can break. */
void tell(const char *kind, std::string text)
{
    for (char &c : text)
        if ((unsigned char)c < 32 || (unsigned char)c == 127)
            c = '?';
    fprintf(stderr, "%s: %s\n", kind, text.c_str());
}

struct Teller {
    int copies = 1;
    int begun = 0; /* page of the job that is being written */
    std::set<std::string> told;

    void remark(const seam::Notice &notice)
    {
        using seam::Severity;
        const char *kind = notice.severity == Severity::ERROR    ? "ERROR"
                           : notice.severity == Severity::DETAIL ? "DEBUG"
                                                                 : "WARNING";
        std::string text = notice.text;
        if (notice.page > 0)
            text = "Page " + std::to_string(notice.page) + ": " + text;
        if (told.insert(text).second)
            tell(kind, text);
    }

    /* A page counts when it has been written. */
    void countPage()
    {
        if (begun > 0)
            tell("PAGE", std::to_string(begun) + " " + std::to_string(copies));
    }

    void progress(int page, int count)
    {
        countPage();
        begun = page;
        tell("INFO", "Page " + std::to_string(page) + " of " + std::to_string(count));
    }
};

int fail(const std::string &text)
{
    tell("ERROR", text);
    return STATUS_FAILED;
}

int fail(seam::Message message)
{
    return fail(sentence(message));
}

/* ---- layout, which is the filter pdftopdf's work */

/* Our own arguments, in the print system's order. */
struct Invocation {
    std::string job, user, title, copies, options, file; /* no file: standard input */
};

std::string layoutFilter()
{
    std::string directory = environment("CUPS_SERVERBIN");
    return (directory.empty() ? CUPS_SERVERBIN_USUAL : directory) + "/filter/pdftopdf";
}

enum class Layout { DONE, MISSING, FAILED };

Layout layOut(const Invocation &invocation, const std::string &input, const std::string &output)
{
    auto pass = [](const std::string &line) { fprintf(stderr, "%s\n", line.c_str()); };
    ProcessResult result =
        runProcess({layoutFilter(), invocation.job, invocation.user, invocation.title,
                    invocation.copies, invocation.options, input},
                   pass, output);
    if (!result.isStarted)
        return Layout::MISSING;
    return result.status == 0 ? Layout::DONE : Layout::FAILED;
}

/* ---- one job */

/* Puts what lays the pages out in front of us, where the job asks for that and no filter before us
 * has done it. */
bool applyLayout(const Invocation &invocation, const JobOptions &options, std::string *input,
                 EarlierFilters *earlier)
{
    if (earlier->isLaidOut || !asksForLayout(options))
        return true;
    std::string laidOut = privateFile("layout.pdf");
    switch (laidOut.empty() ? Layout::FAILED : layOut(invocation, *input, laidOut)) {
    case Layout::DONE:
        *input = laidOut;
        *earlier = readEarlierFilters(beginningOf(laidOut, HEAD_BYTES), LAID_OUT_TYPE);
        return true;
    case Layout::MISSING:
        tell("STATE", std::string("+") + MISSING_FILTER);
        tell("WARNING", sentence(seam::Message::LayoutMissing));
        return true;
    case Layout::FAILED:
        fail(seam::Message::LayoutFailed);
        return false;
    }
    return false;
}

/* Makes a file of standard input, which may be empty: then there is nothing to print. */
bool keepDocument(const Invocation &invocation, std::string *input)
{
    *input = invocation.file;
    if (!input->empty())
        return true;
    *input = privateFile("input.pdf");
    if (!input->empty() && keepInput(STDIN_FILENO, *input))
        return true;
    fail(withReason(seam::Message::InputNotKept));
    return false;
}

int print(const Invocation &invocation)
{
    int copies = readCount(invocation.copies, MOST_COPIES);
    if (copies == 0)
        return fail("Not a number of copies: " + invocation.copies);

    PrintRequest request;
    std::string overwritten = seam::overwriteFault({invocation.file}, {"-"});
    if (!overwritten.empty())
        return fail(overwritten);
    if (!keepDocument(invocation, &request.input))
        return STATUS_FAILED;
    JobOptions options = readJobOptions(invocation.options);
    /* A filter that is given a file is the first one. */
    std::string head = invocation.file.empty() ? beginningOf(request.input, HEAD_BYTES) : "";
    EarlierFilters earlier = readEarlierFilters(head, environment("CONTENT_TYPE"));
    if (!applyLayout(invocation, options, &request.input, &earlier))
        return STATUS_FAILED;

    request.job.title = invocation.title;
    std::string fault;
    std::string description = beginningOf(environment("PPD"), DESCRIPTION_BYTES);
    if (!applyOptions(options, readPrinterDescription(description), earlier, copies, &request,
                      &fault))
        return fail(fault);

    Teller teller;
    teller.copies = request.job.copies;
    PrintListener listener;
    listener.remark = [&](const seam::Notice &notice) { teller.remark(notice); };
    listener.progress = [&](int page, int count) { teller.progress(page, count); };
    listener.missingPreparation = [] { tell("STATE", std::string("+") + MISSING_FILTER); };
    if (printDocument(request, openStandardOutput, listener) == Printed::NOTHING)
        return STATUS_FAILED; /* and an error has been told */
    teller.countPage();
    return STATUS_PRINTED;
}

} // namespace

int main(int argc, char **argv)
{
    process_begin();
    host().listener = nullptr; /* the reason stands in our own messages */
    setvbuf(stderr, nullptr, _IOLBF, BUFSIZ);
    constexpr int WITHOUT_FILE = 6;
    if (argc != WITHOUT_FILE && argc != WITHOUT_FILE + 1)
        process_exit(fail("Usage: pdf_to_ps-cups job user title copies options [file]"));
    int status;
    try {
        status = print({argv[1], argv[2], argv[3], argv[4], argv[5],
                        argc > WITHOUT_FILE ? argv[WITHOUT_FILE] : ""});
    } catch (const std::bad_alloc &) {
        status = fail(seam::Message::OutOfMemory);
    }
    process_exit(status);
}
