/*
 * main.cpp - the command pdf_print-preview: a document beside its print, as one HTML file
 *
 * pdf_print makes the job, Ghostscript prints it, pdftoppm draws the document, each as a process of
 * its own.  One page after the other is compared and put into a private file, since the summary,
 * which comes first, is known last.
 */
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <new>
#include <string>
#include <vector>

#include <strings.h>
#include <unistd.h>

#include "programs/pdf_print-preview/html.h"
#include "programs/pdf_print-preview/picture.h"
#include "programs/printing/document.h"
#include "programs/printing/process.h"
#include "seam/options.h"
#include "zelkov/file.h"
#include "zelkov/host.h"
#include "zelkov/process.h"

namespace {

enum Status {
    STATUS_DONE = 0,
    STATUS_FAILED = 1, /* nothing was printed, or no page of HTML could be written */
    STATUS_USAGE = 2,
    STATUS_OVER = 3, /* a page differs by more than --fail-over */
};

constexpr seam::Program PROGRAM = seam::PREVIEW;

struct Arguments {
    std::string input, output;
    seam::PageRanges pages;
    std::string dpi = "96";
    double failOver = -1; /* percent; negative: not wanted */
    std::vector<std::string> printOptions;
};

/* ---- the command line */

[[noreturn]] void misuse(const std::string &text)
{
    seam::misuse(PROGRAM, text);
}

double readNumber(const char *text, const char *what, double lowest, double highest)
{
    char *end;
    errno = 0;
    double value = strtod(text, &end);
    if (end == text || *end || errno || !(value >= lowest && value <= highest))
        misuse(std::string(what) + " is a number from " + std::to_string((int)lowest) + " to " +
               std::to_string((int)highest) + ", not: " + text);
    return value;
}

bool readOption(seam::Option option, const char *value, Arguments *arguments)
{
    using seam::Option;
    if (seam::choosePagesBy(PROGRAM, option, value, &arguments->pages))
        return true;
    switch (option) {
    case Option::OUTPUT_PAGE:
        arguments->output = value;
        return true;
    case Option::DPI:
        arguments->dpi = std::to_string((int)readNumber(value, "The resolution", 10, 600));
        return true;
    case Option::FAIL_OVER:
        arguments->failOver = readNumber(value, "The bound", 0, 100);
        return true;
    default:
        return false;
    }
}

/* The name of the output beside an input. */
std::string besides(const std::string &input)
{
    std::string name = input;
    if (name.size() > 4 && strcasecmp(&name[name.size() - 4], ".pdf") == 0)
        name.resize(name.size() - 4);
    return name + ".html";
}

Arguments readArguments(int argc, char **argv)
{
    Arguments arguments;
    int own = (int)(std::find(argv, argv + argc, std::string("--")) - argv);
    for (int i = own + 1; i < argc; i++) {
        arguments.printOptions.push_back(argv[i]);
        if (arguments.printOptions.back().starts_with("--page"))
            misuse("--pages stands before --.");
    }
    seam::CommandLine line =
        seam::readCommandLine(PROGRAM, own, argv, [&](seam::Option option, const char *value) {
            return readOption(option, value, &arguments);
        });
    if (line.operands.size() != 1)
        misuse(line.operands.empty() ? "A file is wanted." : "One file at a time.");
    arguments.input = line.operands[0];
    if (arguments.input.starts_with("-"))
        arguments.input.insert(0, "./");
    if (arguments.output.empty())
        arguments.output = besides(arguments.input);
    line.inputs.push_back(arguments.input);
    line.outputs.push_back(arguments.output);
    seam::refuseOverwriting(PROGRAM, line);
    return arguments;
}

/* ---- the programs */

/* What is known of a document while its pages are gone through. */
struct Preview {
    Arguments arguments;
    std::vector<std::string> messages;                    /* of the whole document */
    std::map<int, std::vector<std::string>> pageMessages; /* by page of the document */
    std::vector<PageView> pages;                          /* without their pictures */
    int mostDifferent = 0;                                /* index of a page */
    bool isIncomplete = false;                            /* so says pdf_print */
    bool isMisused = false;                               /* the same, of its options */
};

/* "pdf_print: FILE: page 3: what happened" goes to its page. */
void recordMessage(Preview &preview, const std::string &line)
{
    std::string name = preview.arguments.input;
    for (char &c : name)
        if ((unsigned char)c < 32 || (unsigned char)c == 127)
            c = '?'; /* as pdf_print tells it */
    std::string text = line;
    for (const std::string &front : {std::string("pdf_print: "), name + ": "})
        if (text.starts_with(front))
            text.erase(0, front.size());
    int page = 0, length = 0;
    if (sscanf(text.c_str(), "page %7d: %n", &page, &length) == 1 && length > 0)
        preview.pageMessages[page].push_back(text.substr((size_t)length));
    else
        preview.messages.push_back(text);
}

/* Makes the job and a file with the numbers of its pages; false when nothing was printed. */
bool print(Preview &preview, const std::string &job, const std::string &pageMap)
{
    const Arguments &arguments = preview.arguments;
    std::vector<std::string> command = {ownProgram("pdf_print")};
    command.insert(command.end(), arguments.printOptions.begin(), arguments.printOptions.end());
    for (const std::string &word : seam::pageWords(arguments.pages))
        command.push_back(word);
    command.insert(command.end(),
                   {"--progress=never", "--page-map=" + pageMap, "--placed-at=" + arguments.output,
                    "--output=" + job, "--", arguments.input});
    ProcessResult result =
        runProcess(command, [&](const std::string &line) { recordMessage(preview, line); });
    if (!result.isStarted)
        preview.messages.push_back(withReason("pdf_print cannot be started"));
    constexpr int MISUSED = 2, INCOMPLETE = 3;
    preview.isMisused = result.isStarted && result.status == MISUSED;
    preview.isIncomplete = result.status == INCOMPLETE;
    return result.isStarted && (result.status == 0 || result.status == INCOMPLETE);
}

/* Prints the job as pictures "NAME1.ppm", "NAME2.ppm", ... */
void drawJob(Preview &preview, const std::string &job, const std::string &name)
{
    std::string pattern = name;
    for (size_t at = 0; (at = pattern.find('%', at)) != std::string::npos; at += 2)
        pattern.insert(at, 1, '%');
    std::string said = privateFile("said"), error;
    ProcessResult result = runProcess(
        {"gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=ppmraw", "-dTextAlphaBits=4",
         "-dGraphicsAlphaBits=4", "-r" + preview.arguments.dpi,
         "-sOutputFile=" + pattern + "%d.ppm", job},
        [&](const std::string &line) { error = error.empty() ? line : error; }, said);
    if (!result.isStarted)
        preview.messages.push_back(withReason("Ghostscript (gs) cannot be started"));
    else if (result.status != 0)
        preview.messages.push_back("Ghostscript did not print the whole job: " + error);
    std::ifstream file(said);
    for (std::string line; std::getline(file, line);)
        if (line.starts_with("%%["))
            preview.messages.push_back("The printer says: " + line);
}

/* Draws a page of the document as "NAME.ppm". */
void drawPage(Preview &preview, int number, const std::string &name)
{
    std::string page = std::to_string(number), error;
    ProcessResult result =
        runProcess({"pdftoppm", "-q", "-cropbox", "-r", preview.arguments.dpi, "-f", page, "-l",
                    page, "-singlefile", preview.arguments.input, name},
                   [&](const std::string &line) { error = line; });
    if (!result.isStarted)
        preview.pageMessages[number].push_back(withReason("pdftoppm cannot be started"));
    else if (result.status != 0)
        preview.pageMessages[number].push_back("pdftoppm did not draw the page: " + error);
}

/* ---- pages */

std::string verdictOf(const Difference &difference, const Picture &print, const Picture &original)
{
    char text[160];
    if (print.rgb.empty() || original.rgb.empty())
        return std::string("there is no picture of the ") +
               (original.rgb.empty() ? "PDF" : "print");
    if (!difference.isSameSize)
        snprintf(text, sizeof text, "the size differs: %d x %d pixels in place of %d x %d",
                 print.width, print.height, original.width, original.height);
    else if (difference.area <= 0)
        return "no difference";
    else if (difference.area < 0.00005)
        return "less than 0.01 % of the page differs";
    else
        snprintf(text, sizeof text, "%.2f %% of the page differs (%.1f %% of what is drawn)",
                 100 * difference.area, 100 * difference.ink);
    return text;
}

/* One page, with its pictures; their files are removed. */
PageView viewPage(Preview &preview, int number, const std::string &printFile)
{
    PageView page = {};
    page.number = number;
    std::string name = privateFile("page");
    drawPage(preview, number, name);
    Picture original, print;
    if (!readPicture(name + ".ppm", &original))
        original = {};
    if (!readPicture(printFile, &print))
        print = {};
    unlink((name + ".ppm").c_str());
    unlink(printFile.c_str());
    Difference difference;
    if (!original.rgb.empty() && !print.rgb.empty())
        difference = comparePictures(print, original);
    page.area = difference.area;
    page.verdict = verdictOf(difference, print, original);
    page.messages = preview.pageMessages[number];
    if (!original.rgb.empty())
        page.original = dataAddress(original);
    if (!print.rgb.empty())
        page.print = dataAddress(print);
    if (difference.isSameSize)
        page.difference = dataAddress(difference.marked);
    return page;
}

/* Writes the parts of all pages into a file. */
bool viewPages(Preview &preview, const std::string &job, const std::string &pageMap,
               const std::string &body)
{
    std::vector<int> numbers;
    if (!seam::readPageMapFile(pageMap, &numbers))
        return false;
    std::string prints = privateFile("print-");
    for (size_t i = 1; i <= numbers.size(); i++)
        privateFile(("print-" + std::to_string(i) + ".ppm").c_str());
    privateFile("page.ppm");
    drawJob(preview, job, prints);
    std::map<int, int> times; /* that a page has come */
    std::ofstream file(body, std::ios::binary);
    for (size_t i = 0; i < numbers.size(); i++) {
        PageView page = viewPage(preview, numbers[i], prints + std::to_string(i + 1) + ".ppm");
        int time = ++times[numbers[i]];
        page.anchor = std::to_string(page.number);
        if (time > 1)
            page.anchor.append("-").append(std::to_string(time));
        file << htmlPage(page);
        page.original = page.print = page.difference = "";
        if (page.area >
            (preview.pages.empty() ? -1 : preview.pages[(size_t)preview.mostDifferent].area))
            preview.mostDifferent = (int)i;
        preview.pages.push_back(std::move(page));
    }
    return file.flush().good();
}

/* ---- the result */

std::string summaryOf(const Preview &preview)
{
    if (preview.pages.empty())
        return "Nothing was printed.";
    const PageView &most = preview.pages[(size_t)preview.mostDifferent];
    size_t count = preview.pages.size(), messages = preview.messages.size();
    for (const PageView &page : preview.pages)
        messages += page.messages.size();
    std::string text = std::to_string(count) + (count == 1 ? " page; " : " pages; ");
    text += most.area <= 0
                ? "no page differs; "
                : "page " + std::to_string(most.number) + " most: " + most.verdict + "; ";
    text += std::to_string(messages) + (messages == 1 ? " message." : " messages.");
    if (preview.isIncomplete)
        text += " Something is missing in the print, or replaced.";
    return text;
}

/* Puts the file together; false, with errno set, when it cannot be written. */
bool writeHtml(const Preview &preview, const std::string &body)
{
    const std::string &input = preview.arguments.input, &name = preview.arguments.output;
    std::string exact = name.find('/') == std::string::npos ? "./" + name : name;
    ZFile *file = fopenw("", exact.c_str(), "", 0);
    if (!file)
        return false;
    std::string begin =
        htmlBeginning(input.substr(input.rfind('/') + 1) + ": the PDF and its print",
                      summaryOf(preview), preview.messages, preview.pages);
    fputm(file, begin.data(), begin.size());
    std::ifstream pages(body, std::ios::binary);
    char buffer[64 * 1024];
    while (pages.read(buffer, sizeof buffer), pages.gcount() > 0)
        fputm(file, buffer, (size_t)pages.gcount());
    std::string end = htmlEnd();
    fputm(file, end.data(), end.size());
    return fclosx(file) == 0;
}

int fail(const std::string &text)
{
    fprintf(stderr, "pdf_print-preview: %s\n", text.c_str());
    return STATUS_FAILED;
}

int previewDocument(Arguments arguments)
{
    Preview preview;
    preview.arguments = std::move(arguments);
    if (access(preview.arguments.input.c_str(), R_OK) != 0)
        return fail(withReason(preview.arguments.input + " cannot be read"));
    std::string job = privateFile("job.ps"), body = privateFile("body.html");
    std::string pageMap = privateFile("pages");
    if (job.empty())
        return fail(withReason("No directory for temporary files"));
    bool isPrinted = print(preview, job, pageMap);
    if (preview.isMisused && !preview.messages.empty()) {
        fail(preview.messages.front());
        return STATUS_USAGE;
    }
    if (isPrinted && !viewPages(preview, job, pageMap, body))
        return fail(withReason("The pages cannot be kept"));
    if (!writeHtml(preview, body))
        return fail(withReason(preview.arguments.output + " cannot be written"));
    if (!isPrinted)
        return fail(preview.messages.empty() ? "Nothing was printed."
                                             : "Nothing was printed: " + preview.messages.back());
    for (const PageView &page : preview.pages)
        if (preview.arguments.failOver >= 0 && 100 * page.area > preview.arguments.failOver) {
            fprintf(stderr, "pdf_print-preview: page %d: %s\n", page.number, page.verdict.c_str());
            return STATUS_OVER;
        }
    return STATUS_DONE;
}

} // namespace

int main(int argc, char **argv)
{
    process_begin();
    host().listener = nullptr; /* the reason stands in our own messages */
    Arguments arguments = readArguments(argc, argv);
    int status;
    try {
        status = previewDocument(std::move(arguments));
    } catch (const std::bad_alloc &) {
        status = fail("There is not enough memory.");
    }
    process_exit(status);
}
