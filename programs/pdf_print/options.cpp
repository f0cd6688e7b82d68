/*
 * options.cpp - the command line of pdf_print
 */
#include "programs/pdf_print/options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <strings.h>

#include "programs/pdf_print/arrangement.h"
#include "programs/pdf_print/features.h"
#include "programs/printing/values.h"
#include "seam/options.h"

namespace {

constexpr seam::Program PROGRAM = seam::PRINT;

[[noreturn]] void misuse(const std::string &text)
{
    seam::misuse(PROGRAM, text);
}

int readNumber(const char *text, const char *what, int lowest, int highest)
{
    return (int)seam::readNumber(PROGRAM, text, what, lowest, highest);
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

bool readJobOption(seam::Option option, const char *value, job::Options *job)
{
    using seam::Option;
    constexpr int MOST_COPIES = 9999, MOST_MEGABYTES = 1 << 20, MOST_WORK = 1000000;
    constexpr job::Duplex edges[] = {job::Duplex::LONG_EDGE, job::Duplex::SHORT_EDGE,
                                     job::Duplex::OFF};
    switch (option) {
    case Option::TITLE:
        job->title = value;
        return true;
    case Option::COPIES:
        job->copies = readNumber(value, "Copies", 1, MOST_COPIES);
        return true;
    case Option::COLLATE:
        job->isCollated = true;
        return true;
    case Option::DUPLEX:
        job->duplex = edges[seam::readWord(PROGRAM, option, value, "Duplex")];
        return true;
    case Option::PAPER:
        readPaper(value, &job->paper);
        return true;
    case Option::NO_CENTRE:
    case Option::NO_CENTER:
        job->paper.isCentred = false;
        return true;
    case Option::ASCII:
    case Option::BINARY:
        job->isBinary = option == Option::BINARY;
        return true;
    case Option::NO_COMPRESS:
        job->isCompressed = false;
        return true;
    case Option::EPS:
        job->isEncapsulated = true;
        return true;
    case Option::PRINTER_MEMORY:
        job->printerMemory = (uint64_t)readNumber(value, "Memory", 0, MOST_MEGABYTES) << 20;
        return true;
    case Option::MAX_OUTPUT:
        job->mostOutput = readBytes(value);
        return true;
    case Option::MAX_WORK:
        job->workFactor = (uint64_t)readNumber(value, "Work", 1, MOST_WORK);
        return true;
    default:
        return false;
    }
}

bool readOption(seam::Option option, const char *value, Arguments *arguments)
{
    using seam::Option;
    constexpr Progress times[] = {Progress::AUTO, Progress::ALWAYS, Progress::NEVER};
    if (readArrangement(option, value, arguments) || readFeature(option, value, arguments) ||
        seam::choosePagesBy(PROGRAM, option, value, &arguments->job.pages))
        return true;
    switch (option) {
    case Option::OUTPUT:
        arguments->output = value;
        return true;
    case Option::PRINTER:
        arguments->printer = value;
        return true;
    case Option::PAGE_MAP:
        arguments->pageMap = value;
        return true;
    case Option::PLACED_AT: /* nothing but the rule that no output is an input */
        return true;
    case Option::LEVEL:
        arguments->job.level = readNumber(value, "The level", 2, 3);
        arguments->preparation.level = std::to_string(arguments->job.level);
        return true;
    case Option::ANNOTATIONS:
        seam::readWord(PROGRAM, option, value, "What is printed of annotations");
        arguments->preparation.annotations = value;
        return true;
    case Option::BOX:
        seam::readWord(PROGRAM, option, value, "The box");
        arguments->preparation.box = value;
        return true;
    case Option::RESOLUTION:
        arguments->preparation.resolution =
            std::to_string(readNumber(value, "The resolution", 36, 2400));
        return true;
    case Option::MAX_TIME:
        arguments->preparation.maxTime =
            std::to_string(readNumber(value, "The time", 1, 24 * 60 * 60));
        return true;
    case Option::PASSWORD_FILE:
        arguments->preparation.passwordFile = value;
        return true;
    case Option::NO_PREPARE:
        arguments->prepares = false;
        return true;
    case Option::STRICT:
    case Option::KEEP_GOING:
        arguments->isStrict = option == Option::STRICT;
        return true;
    case Option::QUIET:
        arguments->isQuiet = true;
        return true;
    case Option::VERBOSE:
        arguments->isVerbose = true;
        return true;
    case Option::PROGRESS:
        arguments->progress = times[seam::readWord(PROGRAM, option, value, "Progress")];
        return true;
    default:
        return readJobOption(option, value, &arguments->job);
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
    completeArrangement(arguments);
    if (!arguments->prepares && !seam::isRising(arguments->job.pages))
        misuse("With --no-prepare pages come in the document's order, each once.");
    bool isStandardInput = arguments->input == "-";
    if (arguments->output.empty() && arguments->printer.empty())
        arguments->output =
            isStandardInput
                ? "-"
                : besides(arguments->input, arguments->job.isEncapsulated ? ".eps" : ".ps");
    if (arguments->job.title.empty())
        arguments->job.title = isStandardInput ? "document" : baseName(arguments->input);
}

} // namespace

Arguments readArguments(int argc, char **argv)
{
    Arguments arguments;
    seam::CommandLine line =
        seam::readCommandLine(PROGRAM, argc, argv, [&](seam::Option option, const char *value) {
            return readOption(option, value, &arguments);
        });
    if (line.operands.size() != 1)
        misuse(line.operands.empty() ? "A file is wanted." : "One file at a time.");
    arguments.input = line.operands[0];
    complete(&arguments);
    line.inputs.push_back(arguments.input);
    line.outputs.push_back(arguments.output);
    seam::refuseOverwriting(PROGRAM, line);
    completeFeatures(&arguments);
    return arguments;
}
