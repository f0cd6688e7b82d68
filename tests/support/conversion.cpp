/*
 * conversion.cpp - runs the program on a PDF file
 */
#include "tests/support/conversion.h"

#include <sstream>

namespace {

Conversion finish(const ScratchDirectory &directory, const ProgramResult &result)
{
    Conversion c = {};
    c.status = result.status;
    c.messages = linesOf(result.err);
    if (!c.messages.empty() &&
        c.messages.back().ends_with(": pdf_print can convert this document")) {
        c.advice = c.messages.back();
        c.messages.pop_back();
    }
    c.hasOutput = fileExists(directory / "out.ps");
    if (c.hasOutput)
        c.output = readFile(directory / "out.ps");
    return c;
}

ProgramResult run(const ScratchDirectory &directory, const std::string &bytes,
                  const std::vector<std::string> &switches, ProgramOptions options)
{
    directory.write("doc.pdf", bytes);
    options.directory = directory.path;
    options.environment.emplace("KV_TMP", directory.path);
    std::vector<std::string> command = {programPath(), "doc.pdf", "-OUTSPEC=out.ps"};
    command.insert(command.end(), switches.begin(), switches.end());
    return runProgram(command, options);
}

} // namespace

std::string programPath()
{
    return PDF_TO_PS_PROGRAM;
}

Conversion convertPdf(const std::string &bytes, const std::vector<std::string> &switches,
                      const ProgramOptions &options)
{
    const std::string head = "P\n/TmpFont (doctmpfont) def\n", tail = "T\n";
    ScratchDirectory directory;
    directory.write("prolog.ps", "P\n");
    directory.write("trailer.ps", "T\n");
    std::vector<std::string> all = {"-PROLOG=./prolog.ps", "-TRAILER=./trailer.ps"};
    all.insert(all.end(), switches.begin(), switches.end());
    Conversion c = finish(directory, run(directory, bytes, all, options));
    if (c.output.starts_with(head) && c.output.ends_with(tail))
        c.pages = c.output.substr(head.size(), c.output.size() - head.size() - tail.size());
    else
        c.pages = c.hasOutput ? "(not between prolog and trailer)" : "(no output)";
    return c;
}

Conversion convertForPrinting(const std::string &bytes, const std::vector<std::string> &switches)
{
    ScratchDirectory directory;
    return finish(directory, run(directory, bytes, switches, {}));
}

std::vector<std::string> faults(const Conversion &conversion)
{
    std::vector<std::string> kept;
    for (const std::string &message : conversion.messages)
        if (!message.starts_with("ZOLAK-I-INTRO") && !message.starts_with("ZOLAK-I-PAGE") &&
            !message.starts_with("ZOLAK-W-PDFVRSN"))
            kept.push_back(message);
    return kept;
}

std::vector<std::string> linesOf(const std::string &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}
