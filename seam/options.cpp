/*
 * options.cpp - command lines, read by one table
 */
#include "seam/options.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include <getopt.h>

#include "seam/files.h"

namespace seam {

namespace {

constexpr OptionRow options[] = {
#define PROGRAM(id, name, usage, closing)
#define SECTION(programs, title) {Option{}, "", 0, nullptr, programs, "", title, ""},
#define OPTION(id, name, letter, argument, programs, values, help, manual)                         \
    {Option::id, name, letter, argument, programs, values, help, manual},
#define EXCLUSIVE(names)
#include "seam/options.def"
};

constexpr ProgramRow programs[] = {
#define PROGRAM(id, name, usage, closing) {id, name, usage, closing},
#define SECTION(programs, title)
#define OPTION(id, name, letter, argument, programs, values, help, manual)
#define EXCLUSIVE(names)
#include "seam/options.def"
};

constexpr const char *exclusive[] = {
#define PROGRAM(id, name, usage, closing)
#define SECTION(programs, title)
#define OPTION(id, name, letter, argument, programs, values, help, manual)
#define EXCLUSIVE(names) names,
#include "seam/options.def"
};

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

[[noreturn]] void pointToHelp(Program program)
{
    fprintf(stderr, "Try '%s --help'.\n", rowOf(program).name);
    exit(STATUS_MISUSE);
}

/* "  -o, --output=FILE" */
std::string headOf(const OptionRow &row)
{
    std::string head = row.letter ? std::string("  -") + row.letter + ", --" : "      --";
    head += row.name;
    return row.argument ? head + "=" + row.argument : head;
}

} // namespace

const std::vector<OptionRow> &optionRows()
{
    static const std::vector<OptionRow> rows(std::begin(options), std::end(options));
    return rows;
}

const std::vector<ProgramRow> &programRows()
{
    static const std::vector<ProgramRow> rows(std::begin(programs), std::end(programs));
    return rows;
}

const std::vector<const char *> &exclusiveOptions()
{
    static const std::vector<const char *> rows(std::begin(exclusive), std::end(exclusive));
    return rows;
}

const ProgramRow &rowOf(Program program)
{
    return *std::find_if(std::begin(programs), std::end(programs),
                         [&](const ProgramRow &row) { return row.id == program; });
}

std::string helpText(Program program)
{
    constexpr size_t COLUMN = 27;
    std::string text = rowOf(program).usage;
    text += "\n";
    for (const OptionRow &row : options) {
        if (!row.isOf(program) || !row.isShown())
            continue;
        if (row.isHeading()) {
            text += (text.ends_with("\n\n") ? "" : "\n") + std::string(row.help) + "\n";
            continue;
        }
        std::string head = headOf(row);
        for (const std::string &line : split(row.help, '\n')) {
            head.resize(std::max(COLUMN, head.size() + 1), ' ');
            text.append(head).append(line).append("\n");
            head.clear();
        }
    }
    return text + "\n" + rowOf(program).closing;
}

void misuse(Program program, const std::string &text)
{
    fprintf(stderr, "%s: %s\n", rowOf(program).name, text.c_str());
    pointToHelp(program);
}

CommandLine readCommandLine(Program program, int argc, char **argv,
                            const std::function<bool(Option, const char *)> &act)
{
    constexpr int FIRST = 256; /* getopt's value of the first row; letters are below */
    std::vector<option> names;
    std::string letters;
    for (size_t i = 0; i < std::size(options); i++) {
        const OptionRow &row = options[i];
        if (row.isHeading() || !row.isOf(program))
            continue;
        names.push_back(
            {row.name, row.argument ? required_argument : no_argument, nullptr, FIRST + (int)i});
        if (row.letter)
            letters.append(1, row.letter).append(row.argument ? ":" : "");
    }
    names.push_back({nullptr, 0, nullptr, 0});
    CommandLine line;
    optind = 0; /* from the beginning: a program may read a second command line */
    for (int found;
         (found = getopt_long(argc, argv, letters.c_str(), names.data(), nullptr)) != -1;) {
        if (found == '?')
            pointToHelp(program);
        const OptionRow &row =
            *std::find_if(std::begin(options), std::end(options), [&](const OptionRow &candidate) {
                return found >= FIRST ? &candidate == &options[found - FIRST]
                                      : candidate.isOf(program) && candidate.letter == found;
            });
        if (row.id == Option::HELP || row.id == Option::VERSION) {
            bool isHelp = row.id == Option::HELP;
            std::string version = std::string(rowOf(program).name) + " " SEAM_VERSION "\n";
            fputs((isHelp ? helpText(program) : version).c_str(), stdout);
            exit(EXIT_SUCCESS);
        }
        if (row.values == std::string(READS))
            line.inputs.push_back(optarg);
        if (row.values == std::string(WRITES))
            line.outputs.push_back(optarg);
        if (!act(row.id, row.argument ? optarg : nullptr))
            misuse(program, std::string("Nothing acts on --") + row.name + ".");
    }
    line.operands.assign(argv + optind, argv + argc);
    return line;
}

void refuseOverwriting(Program program, const CommandLine &files)
{
    std::string fault = overwriteFault(files.inputs, files.outputs);
    if (!fault.empty())
        misuse(program, fault);
}

constexpr int MOST_TIMES = 100; /* of each page */

bool choosePagesBy(Program program, Option option, const char *value, PageRanges *pages)
{
    std::string fault;
    switch (option) {
    case Option::PAGES:
        if (!readPageRanges(value, pages, &fault))
            misuse(program, fault);
        return true;
    case Option::PAGE_SET:
        pages->set =
            readWord(program, option, value, "A set of pages") == 0 ? PageSet::ODD : PageSet::EVEN;
        return true;
    case Option::REVERSE:
        pages->isReversed = true;
        return true;
    case Option::FOLDED:
        pages->isBooklet = true;
        return true;
    case Option::EACH_PAGE:
        pages->times = (int)readNumber(program, value, "The times", 1, MOST_TIMES);
        return true;
    default:
        return false;
    }
}

std::vector<std::string> pageWords(const PageRanges &pages)
{
    std::vector<std::string> words;
    std::string list;
    for (const PageRange &part : pages.parts)
        list.append(list.empty() ? "--pages=" : ",").append(part.text);
    if (!list.empty())
        words.push_back(list);
    if (pages.set != PageSet::ALL)
        words.push_back(pages.set == PageSet::ODD ? "--page-set=odd" : "--page-set=even");
    if (pages.isReversed)
        words.push_back("--reverse");
    if (pages.isBooklet)
        words.push_back("--booklet");
    if (pages.times > 1)
        words.push_back("--each-page=" + std::to_string(pages.times));
    return words;
}

long readNumber(Program program, const char *text, const char *what, long lowest, long highest)
{
    char *end;
    errno = 0;
    long value = strtol(text, &end, 10);
    if (end == text || *end || errno || value < lowest || value > highest)
        misuse(program, std::string(what) + " is a number from " + std::to_string(lowest) + " to " +
                            std::to_string(highest) + ", not: " + text);
    return value;
}

size_t readWord(Program program, Option option, const char *text, const char *what)
{
    const OptionRow &row =
        *std::find_if(std::begin(options), std::end(options), [&](const OptionRow &candidate) {
            return !candidate.isHeading() && candidate.id == option;
        });
    std::vector<std::string> words = split(row.values, ' ');
    size_t place = (size_t)(std::find(words.begin(), words.end(), text) - words.begin());
    if (place < words.size())
        return place;
    std::string all = words[0];
    for (size_t i = 1; i < words.size(); i++)
        all += (i + 1 < words.size() ? ", " : " or ") + words[i];
    misuse(program, std::string(what) + " is " + all + ", not: " + text);
}

} // namespace seam
