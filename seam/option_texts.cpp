/*
 * option_texts.cpp - what is written of the table of options: option_texts FORM PROGRAM
 *
 * FORM is `manual` (the section OPTIONS of the manual page), `bash` or `zsh` (a completion), or
 * `shell` (the help and the reader of a program that is a shell script).
 */
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>
#include <string>

#include "seam/options.h"

namespace {

using namespace seam;

struct Kind {
    bool isWords, isFile, isPrinter;
};

Kind kindOf(const OptionRow &row)
{
    std::string values = row.values;
    bool isFile = values == READS || values == WRITES, isPrinter = values == PRINTERS;
    return {!values.empty() && !isFile && !isPrinter, isFile, isPrinter};
}

/* The options of a program that stand in texts, and their headings. */
std::vector<OptionRow> shownRows(Program program)
{
    std::vector<OptionRow> rows;
    for (const OptionRow &row : optionRows())
        if (row.isOf(program) && row.isShown())
            rows.push_back(row);
    return rows;
}

std::string replaced(std::string text, const std::string &what, const std::string &by)
{
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

std::string small(std::string text)
{
    for (char &c : text)
        c = (char)tolower((unsigned char)c);
    return text;
}

std::string oneLine(const std::string &text)
{
    return replaced(text, "\n", " ");
}

/* ---- manual pages */

std::string roff(const std::string &text)
{
    std::string out = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
    return replaced(replaced(out, "{", "\\fI"), "}", "\\fP");
}

/* Long lines broken at blanks, as style wants them. */
std::string filled(const std::string &text)
{
    constexpr size_t WIDEST = 78;
    std::string out;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        for (size_t at; line.size() > WIDEST && (at = line.rfind(' ', WIDEST)) != std::string::npos;
             line.erase(0, at + 1))
            out.append(line, 0, at).append("\n");
        out.append(line).append("\n");
    }
    return out;
}

/* The help's clause as a sentence. */
std::string sentenceOf(const OptionRow &row)
{
    std::string text = oneLine(row.help);
    text[0] = (char)toupper((unsigned char)text[0]);
    return text + ".";
}

std::string manual(Program program)
{
    std::string text = ".SH OPTIONS\n";
    for (const OptionRow &row : shownRows(program)) {
        if (row.isHeading()) {
            text += std::string(".SS ") + roff(row.help) + "\n";
            continue;
        }
        std::string name = "\\-\\-" + roff(row.name);
        std::string argument = row.argument ? small(row.argument) : "";
        text += ".TP\n";
        if (row.letter)
            text += std::string(".BR \\-") + row.letter + " \", \" " + name +
                    (row.argument ? "= \\fI" + argument + "\\fP\n" : "\n");
        else
            text += row.argument ? ".BI " + name + "= " + argument + "\n" : ".B " + name + "\n";
        text += filled(roff(*row.manual ? row.manual : sentenceOf(row)));
    }
    return text;
}

/* ---- completions */

std::string identifier(Program program)
{
    std::string name = std::string("_") + rowOf(program).name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

/* What a value's words are found by in bash; empty: nothing is offered. */
std::string bashWords(const OptionRow &row)
{
    Kind kind = kindOf(row);
    return kind.isFile      ? "-f"
           : kind.isPrinter ? "-W \"$(lpstat -e 2>/dev/null)\""
           : kind.isWords   ? "-W \"" + std::string(row.values) + "\""
                            : "";
}

std::string bashValues(Program program)
{
    std::string text;
    for (const OptionRow &row : shownRows(program)) {
        if (row.isHeading() || !row.argument)
            continue;
        std::string words = bashWords(row);
        text += "    " + (row.letter ? std::string("-") + row.letter + " | --" : "--") + row.name +
                ")\n";
        if (!words.empty())
            text += "        COMPREPLY=($(compgen " + words + " -- \"$word\"))\n";
        text += "        return\n        ;;\n";
    }
    return text;
}

std::string bash(Program program)
{
    std::string names, name = identifier(program);
    for (const OptionRow &row : shownRows(program))
        if (!row.isHeading())
            names += (names.empty() ? "" : "\n            ") + std::string("--") + row.name +
                     (row.argument ? "=" : "");
    std::string documents =
        program == BATCH ? "" : "$(compgen -f -X '!*.[pP][dD][fF]' -- \"$word\") ";
    return "# " + std::string(rowOf(program).name) +
           ".bash - completion of its command line in bash; scripts/options.sh writes it\n\n" +
           name +
           "() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}\n"
           "    # \"NAME=value\" comes as three words\n"
           "    if [ \"$word\" = \"=\" ]; then\n"
           "        word=\n"
           "    elif [ \"$before\" = \"=\" ]; then\n"
           "        before=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "    fi\n"
           "    case $before in\n" +
           bashValues(program) +
           "    esac\n"
           "    case $word in\n"
           "    -*)\n"
           "        COMPREPLY=($(compgen -W \"" +
           names +
           "\" -- \"$word\"))\n"
           "        [[ ${COMPREPLY-} == *= ]] && compopt -o nospace\n"
           "        ;;\n"
           "    *)\n"
           "        COMPREPLY=(" +
           documents +
           "$(compgen -d -- \"$word\"))\n"
           "        compopt -o filenames\n"
           "        ;;\n"
           "    esac\n"
           "}\n"
           "complete -F " +
           name + " " + rowOf(program).name + "\n";
}

/* The other options of its group, in brackets: they are offered no more. */
std::string othersOf(const OptionRow &row)
{
    std::string others;
    for (const char *group : exclusiveOptions()) {
        std::istringstream names(group);
        std::string found;
        bool isIn = false;
        for (std::string name; names >> name;) {
            isIn = isIn || name == row.name;
            if (name != row.name)
                found += (found.empty() ? "--" : " --") + name;
        }
        if (isIn)
            others = found;
    }
    return others;
}

std::string zshLine(const OptionRow &row)
{
    Kind kind = kindOf(row);
    std::string help = replaced(replaced(oneLine(row.help), "'", "'\\''"), "]", "\\]");
    std::string value, name = std::string("--") + row.name, others = othersOf(row);
    if (row.argument)
        value = ":" + small(row.argument) +
                (kind.isFile      ? ":_files"
                 : kind.isPrinter ? ":($(lpstat -e 2>/dev/null))"
                 : kind.isWords   ? ":(" + std::string(row.values) + ")"
                                  : "");
    std::string equals = row.argument ? "=" : "";
    bool endsAll = row.id == Option::HELP || row.id == Option::VERSION;
    if (row.letter) {
        std::string letter = std::string("-") + row.letter;
        std::string excluded = endsAll ? "- *" : letter + " " + name;
        return "'(" + excluded + ")'{" + letter + (row.argument ? "+" : "") + "," + name + equals +
               "}'[" + help + "]" + value + "'";
    }
    std::string excluded = endsAll ? "- *" : others;
    return "'" + (excluded.empty() ? "" : "(" + excluded + ")") + name + equals + "[" + help + "]" +
           value + "'";
}

std::string zsh(Program program)
{
    std::string name = rowOf(program).name;
    std::string text = "#compdef " + name + "\n# _" + name +
                       " - completion of its command line in zsh; scripts/options.sh writes it\n\n"
                       "_arguments -s \\\n";
    for (const OptionRow &row : shownRows(program))
        if (!row.isHeading())
            text += "    " + zshLine(row) + " \\\n";
    return text + (program == BATCH ? "    '*:directory:_files -/'\n"
                                    : "    '*:PDF document:_files -g \"*.(#i)pdf\"'\n");
}

/* ---- a program that is a shell script */

std::string shell(Program program)
{
    std::string text = "usage() {\n    cat <<'EOF'\n" + helpText(program) +
                       "EOF\n}\n\n"
                       "# know NAME: sets `option` to the long name, `wants` to what it wants.\n"
                       "know() {\n    option='' wants=''\n    case $1 in\n";
    for (const OptionRow &row : optionRows()) {
        if (row.isHeading() || !row.isOf(program))
            continue;
        text += "    " + (row.letter ? std::string("-") + row.letter + " | --" : "--") + row.name +
                ") option='" + row.name + "'" + (row.argument ? " wants=value" : "") + " ;;\n";
    }
    return text + "    esac\n}\n";
}

} // namespace

int main(int argc, char **argv)
{
    std::string form = argc == 3 ? argv[1] : "", name = argc == 3 ? argv[2] : "";
    for (const ProgramRow &program : programRows()) {
        if (name != program.name)
            continue;
        std::string text = form == "manual"  ? manual(program.id)
                           : form == "bash"  ? bash(program.id)
                           : form == "zsh"   ? zsh(program.id)
                           : form == "shell" ? shell(program.id)
                                             : "";
        fputs(text.c_str(), stdout);
        if (!text.empty())
            return 0;
    }
    fputs("Usage: option_texts manual|bash|zsh|shell PROGRAM\n", stderr);
    return STATUS_MISUSE;
}
