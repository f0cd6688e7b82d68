/*
 * options.h - command lines, read by one table (options.def)
 *
 * To add an option: a row of options.def, and a case where its program acts on it.
 */
#ifndef SEAM_OPTIONS_H
#define SEAM_OPTIONS_H

#include <functional>
#include <string>
#include <vector>

#include "seam/pages.h"

namespace seam {

constexpr int STATUS_MISUSE = 2; /* of every program: wrong use */

/* Bits, since rows of the table name several. */
enum Program : unsigned { PRINT = 1, PREPARE = 2, PREVIEW = 4, BATCH = 8 };

enum class Option {
#define PROGRAM(id, name, usage, closing)
#define SECTION(programs, title)
#define OPTION(id, name, letter, argument, programs, values, help, manual) id,
#define EXCLUSIVE(names)
#include "seam/options.def"
};

/* What an option's value names, when it is no list of words. */
constexpr char READS[] = "<", WRITES[] = ">", PRINTERS[] = "@";

/* A row of the table; see there.  One without a name is a heading, which stands in `help`. */
struct OptionRow {
    Option id;
    const char *name;
    char letter;
    const char *argument;
    unsigned programs;
    const char *values, *help, *manual;

    bool isHeading() const { return !*name; }
    bool isShown() const { return *help; }
    bool isOf(Program program) const { return programs & program; }
};

struct ProgramRow {
    Program id;
    const char *name, *usage, *closing;
};

/* The tables, in their order. */
const std::vector<OptionRow> &optionRows();
const std::vector<ProgramRow> &programRows();
const std::vector<const char *> &exclusiveOptions();
const ProgramRow &rowOf(Program program);

std::string helpText(Program program);

/* Prints "NAME: text" and where to find help, and ends the process with STATUS_MISUSE. */
[[noreturn]] void misuse(Program program, const std::string &text);

struct CommandLine {
    std::vector<std::string> operands;
    std::vector<std::string> inputs, outputs; /* files that options name */
};

/* Reads a command line: calls `act` for each option with its value (null: it has none); false:
 * nothing acts on it.  Ends the process after --help and --version, and, as misuse does, where an
 * option is not known or not acted on. */
CommandLine readCommandLine(Program program, int argc, char **argv,
                            const std::function<bool(Option, const char *)> &act);

/* Ends the process, as misuse does, where one of the outputs is one of the inputs. */
void refuseOverwriting(Program program, const CommandLine &files);

/* Acts on the options that choose pages; false: it is another one. */
bool choosePagesBy(Program program, Option option, const char *value, PageRanges *pages);

/* The same choice as words of another program's command line. */
std::vector<std::string> pageWords(const PageRanges &pages);

/* A whole number of that range, or the end of the process, as misuse does. */
long readNumber(Program program, const char *text, const char *what, long lowest, long highest);

/* One of the option's words; its place among them.  Ends the process, as misuse does, where it is
 * none: "What is long, short or off, not: text". */
size_t readWord(Program program, Option option, const char *text, const char *what);

} // namespace seam

#endif
