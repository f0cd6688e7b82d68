/*
 * options.cpp - the command line of pdf_print
 */
#include "programs/pdf_print/options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <getopt.h>
#include <strings.h>

#include "programs/printing/values.h"
#include "seam/files.h"
#include "seam/pages.h"

namespace {

constexpr char HELP[] =
    "Usage: pdf_print [options] FILE.pdf        (- for standard input)\n"
    "Prints a PDF document: writes FILE.ps, or hands the job to a printer.\n"
    "\n"
    "Where it goes\n"
    "  -o, --output=FILE        write FILE; - for standard output\n"
    "  -d, --printer=PRINTER    hand the job to the print system (lp -d PRINTER)\n"
    "      --title=TEXT         the job's title; the file's name when not given\n"
    "\n"
    "What is printed\n"
    "      --pages=LIST         only these pages, such as 2-5,9,12-\n"
    "      --copies=N           so many copies\n"
    "      --collate            copies one after the other, not page by page\n"
    "      --duplex=EDGE        both sides, turned on the long or short edge; off: one side\n"
    "      --annotations=WHICH  print (default), screen or none\n"
    "\n"
    "Paper\n"
    "      --paper=PAPER        match: each page's own size (default); a name (a4, letter);\n"
    "                           or width and height, as in 210x297mm, 8.5x11in, 612x792pt\n"
    "      --fit                pages as large as fits on the paper\n"
    "      --shrink             smaller only where a page is larger than the paper (default)\n"
    "      --actual             pages in their own size\n"
    "      --no-centre          in the lower left corner instead of the middle\n"
    "\n"
    "The job\n"
    "      --ascii              no byte that a channel could act on (default)\n"
    "      --binary             bytes of eight bits: a quarter smaller, for clean channels\n"
    "      --no-compress        page descriptions as they are\n"
    "      --level=2|3          language level of the printer (default 3)\n"
    "      --eps                one page, to be placed in another document\n"
    "      --resolution=DPI     of what has to become pixels (default 300)\n"
    "      --printer-memory=MB  memory for what pages share (default 16)\n"
    "      --max-output=SIZE    stop at so many bytes, such as 500M (default: 64M and\n"
    "                           200 times the input)\n"
    "\n"
    "The document\n"
    "      --password-file=FILE the document's password is the first line of FILE\n"
    "      --no-prepare         take the document as it stands: old-style PDF only\n"
    "      --strict             print nothing when something would be missing\n"
    "      --keep-going         print what can be printed (default)\n"
    "\n"
    "  -q, --quiet              no messages but errors\n"
    "  -v, --verbose            say what is done, too\n"
    "      --progress=WHEN      auto (default: on a terminal), always or never\n"
    "      --help, --version\n"
    "\n"
    "Status: 0 everything printed, 3 printed but something is missing or replaced, 1 nothing\n"
    "printed, 2 wrong use.\n";

/* Options without a letter. */
enum {
    OPTION_TITLE = 256,
    OPTION_PAGES,
    OPTION_PAGE_MAP,
    OPTION_PLACED_AT,
    OPTION_COPIES,
    OPTION_COLLATE,
    OPTION_DUPLEX,
    OPTION_ANNOTATIONS,
    OPTION_PAPER,
    OPTION_FIT,
    OPTION_SHRINK,
    OPTION_ACTUAL,
    OPTION_NO_CENTRE,
    OPTION_ASCII,
    OPTION_BINARY,
    OPTION_NO_COMPRESS,
    OPTION_LEVEL,
    OPTION_EPS,
    OPTION_RESOLUTION,
    OPTION_PRINTER_MEMORY,
    OPTION_MAX_OUTPUT,
    OPTION_PASSWORD_FILE,
    OPTION_NO_PREPARE,
    OPTION_STRICT,
    OPTION_KEEP_GOING,
    OPTION_PROGRESS,
    OPTION_HELP,
    OPTION_VERSION,
};

constexpr option options[] = {
    {"output", required_argument, nullptr, 'o'},
    {"printer", required_argument, nullptr, 'd'},
    {"title", required_argument, nullptr, OPTION_TITLE},
    {"pages", required_argument, nullptr, OPTION_PAGES},
    {"page-map", required_argument, nullptr, OPTION_PAGE_MAP},
    {"placed-at", required_argument, nullptr, OPTION_PLACED_AT},
    {"copies", required_argument, nullptr, OPTION_COPIES},
    {"collate", no_argument, nullptr, OPTION_COLLATE},
    {"duplex", required_argument, nullptr, OPTION_DUPLEX},
    {"annotations", required_argument, nullptr, OPTION_ANNOTATIONS},
    {"paper", required_argument, nullptr, OPTION_PAPER},
    {"fit", no_argument, nullptr, OPTION_FIT},
    {"shrink", no_argument, nullptr, OPTION_SHRINK},
    {"actual", no_argument, nullptr, OPTION_ACTUAL},
    {"no-centre", no_argument, nullptr, OPTION_NO_CENTRE},
    {"no-center", no_argument, nullptr, OPTION_NO_CENTRE},
    {"ascii", no_argument, nullptr, OPTION_ASCII},
    {"binary", no_argument, nullptr, OPTION_BINARY},
    {"no-compress", no_argument, nullptr, OPTION_NO_COMPRESS},
    {"level", required_argument, nullptr, OPTION_LEVEL},
    {"eps", no_argument, nullptr, OPTION_EPS},
    {"resolution", required_argument, nullptr, OPTION_RESOLUTION},
    {"printer-memory", required_argument, nullptr, OPTION_PRINTER_MEMORY},
    {"max-output", required_argument, nullptr, OPTION_MAX_OUTPUT},
    {"password-file", required_argument, nullptr, OPTION_PASSWORD_FILE},
    {"no-prepare", no_argument, nullptr, OPTION_NO_PREPARE},
    {"strict", no_argument, nullptr, OPTION_STRICT},
    {"keep-going", no_argument, nullptr, OPTION_KEEP_GOING},
    {"quiet", no_argument, nullptr, 'q'},
    {"verbose", no_argument, nullptr, 'v'},
    {"progress", required_argument, nullptr, OPTION_PROGRESS},
    {"help", no_argument, nullptr, OPTION_HELP},
    {"version", no_argument, nullptr, OPTION_VERSION},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void misuse(const std::string &text)
{
    fprintf(stderr, "pdf_print: %s\nTry 'pdf_print --help'.\n", text.c_str());
    exit(STATUS_USAGE);
}

/* A whole number of that range. */
long readNumber(const char *text, const char *what, long lowest, long highest)
{
    char *end;
    errno = 0;
    long value = strtol(text, &end, 10);
    if (end == text || *end || errno || value < lowest || value > highest)
        misuse(std::string(what) + " is a number from " + std::to_string(lowest) + " to " +
               std::to_string(highest) + ", not: " + text);
    return value;
}

job::Duplex readDuplex(const std::string &edge)
{
    if (edge == "long")
        return job::Duplex::LONG_EDGE;
    if (edge == "short")
        return job::Duplex::SHORT_EDGE;
    if (edge == "off")
        return job::Duplex::OFF;
    misuse("Duplex is long, short or off, not: " + edge);
}

void readPaper(const std::string &name, job::Paper *paper)
{
    if (name == "match") {
        paper->width = paper->height = 0;
        return;
    }
    if (!readPaperSize(name, "mm", &paper->width, &paper->height))
        misuse("Paper is match, a name such as a4 or letter, or a size such as 210x297mm, not: " +
               name);
}

/* "500M" */
uint64_t readBytes(const char *text)
{
    char *end;
    errno = 0;
    unsigned long long value = strtoull(text, &end, 10);
    int shift = 0;
    if (strcasecmp(end, "k") == 0)
        shift = 10;
    else if (strcasecmp(end, "m") == 0)
        shift = 20;
    else if (strcasecmp(end, "g") == 0)
        shift = 30;
    else if (*end)
        shift = -1;
    if (end == text || *text == '-' || errno || shift < 0 || value == 0 ||
        value > UINT64_MAX >> shift)
        misuse(std::string("A size is a number of bytes, or with K, M or G, not: ") + text);
    return value << shift;
}

Progress readProgress(const std::string &when)
{
    if (when == "auto")
        return Progress::AUTO;
    if (when == "always")
        return Progress::ALWAYS;
    if (when == "never")
        return Progress::NEVER;
    misuse("Progress is auto, always or never, not: " + when);
}

void readJobOption(int option, job::Options *job)
{
    constexpr long MOST_COPIES = 9999, MOST_MEGABYTES = 1 << 20;
    switch (option) {
    case OPTION_TITLE:
        job->title = optarg;
        return;
    case OPTION_COPIES:
        job->copies = (int)readNumber(optarg, "Copies", 1, MOST_COPIES);
        return;
    case OPTION_COLLATE:
        job->isCollated = true;
        return;
    case OPTION_DUPLEX:
        job->duplex = readDuplex(optarg);
        return;
    case OPTION_PAPER:
        readPaper(optarg, &job->paper);
        return;
    case OPTION_FIT:
        job->paper.scaling = job::Scaling::FIT;
        return;
    case OPTION_SHRINK:
        job->paper.scaling = job::Scaling::SHRINK;
        return;
    case OPTION_ACTUAL:
        job->paper.scaling = job::Scaling::ACTUAL;
        return;
    case OPTION_NO_CENTRE:
        job->paper.isCentred = false;
        return;
    case OPTION_ASCII:
        job->isBinary = false;
        return;
    case OPTION_BINARY:
        job->isBinary = true;
        return;
    case OPTION_NO_COMPRESS:
        job->isCompressed = false;
        return;
    case OPTION_EPS:
        job->isEncapsulated = true;
        return;
    case OPTION_PRINTER_MEMORY:
        job->printerMemory = (uint64_t)readNumber(optarg, "Memory", 0, MOST_MEGABYTES) << 20;
        return;
    case OPTION_MAX_OUTPUT:
        job->mostOutput = readBytes(optarg);
        return;
    default:
        return;
    }
}

void readOption(int option, Arguments *arguments)
{
    switch (option) {
    case 'o':
        arguments->output = optarg;
        return;
    case 'd':
        arguments->printer = optarg;
        return;
    case OPTION_PAGES:
        arguments->preparation.pageList = optarg;
        if (std::string fault; !seam::readPageRanges(optarg, &arguments->job.pages, &fault))
            misuse(fault);
        return;
    case OPTION_PAGE_MAP:
        arguments->pageMap = optarg;
        return;
    case OPTION_PLACED_AT:
        arguments->placedAt = optarg;
        return;
    case OPTION_LEVEL:
        arguments->job.level = (int)readNumber(optarg, "The level", 2, 3);
        arguments->preparation.level = std::to_string(arguments->job.level);
        return;
    case OPTION_ANNOTATIONS:
        arguments->preparation.annotations = optarg;
        if (arguments->preparation.annotations != "print" &&
            arguments->preparation.annotations != "screen" &&
            arguments->preparation.annotations != "none")
            misuse("Annotations are print, screen or none, not: " +
                   arguments->preparation.annotations);
        return;
    case OPTION_RESOLUTION:
        arguments->preparation.resolution =
            std::to_string(readNumber(optarg, "The resolution", 36, 2400));
        return;
    case OPTION_PASSWORD_FILE:
        arguments->preparation.passwordFile = optarg;
        return;
    case OPTION_NO_PREPARE:
        arguments->prepares = false;
        return;
    case OPTION_STRICT:
    case OPTION_KEEP_GOING:
        arguments->isStrict = option == OPTION_STRICT;
        return;
    case 'q':
        arguments->isQuiet = true;
        return;
    case 'v':
        arguments->isVerbose = true;
        return;
    case OPTION_PROGRESS:
        arguments->progress = readProgress(optarg);
        return;
    case OPTION_HELP:
        fputs(HELP, stdout);
        exit(STATUS_DONE);
    case OPTION_VERSION:
        puts("pdf_print " PDF_PRINT_VERSION);
        exit(STATUS_DONE);
    case '?':
        fputs("Try 'pdf_print --help'.\n", stderr);
        exit(STATUS_USAGE);
    default:
        readJobOption(option, &arguments->job);
    }
}

/* The name of the output beside an input. */
std::string besides(const std::string &input, const char *extension)
{
    std::string name = input;
    if (name.size() > 4 && strcasecmp(name.c_str() + name.size() - 4, ".pdf") == 0)
        name.resize(name.size() - 4);
    return name + extension;
}

std::string baseName(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

void complete(Arguments *arguments)
{
    if (!arguments->output.empty() && !arguments->printer.empty())
        misuse("The job goes to a file or to a printer, not to both.");
    if (arguments->printer.size() > 0 && arguments->printer[0] == '-')
        misuse("Not a printer: " + arguments->printer);
    if (!arguments->prepares && !seam::isRising(arguments->job.pages))
        misuse("With --no-prepare pages come in the document's order, each once, not: " +
               arguments->preparation.pageList);
    bool isStandardInput = arguments->input == "-";
    if (arguments->output.empty() && arguments->printer.empty())
        arguments->output =
            isStandardInput
                ? "-"
                : besides(arguments->input, arguments->job.isEncapsulated ? ".eps" : ".ps");
    std::string fault =
        seam::overwriteFault({arguments->input, arguments->preparation.passwordFile},
                             {arguments->output, arguments->placedAt, arguments->pageMap});
    if (!fault.empty())
        misuse(fault);
    if (arguments->job.title.empty())
        arguments->job.title = isStandardInput ? "document" : baseName(arguments->input);
}

} // namespace

Arguments readArguments(int argc, char **argv)
{
    Arguments arguments;
    for (int option; (option = getopt_long(argc, argv, "o:d:qv", options, nullptr)) != -1;)
        readOption(option, &arguments);
    if (argc - optind != 1)
        misuse(argc == optind ? "A file is wanted." : "One file at a time.");
    arguments.input = argv[optind];
    complete(&arguments);
    return arguments;
}
