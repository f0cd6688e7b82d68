/*
 * printing.cpp - pdf_print, and its sections
 */
#include "tests/support/printing.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>

#include <zlib.h>

#include "tests/support/conversion.h"
#include "tests/support/scratch_directory.h"

namespace {

std::string ascii85Decoded(const std::string &text)
{
    std::string out;
    uint32_t group = 0;
    int digits = 0;
    auto put = [&](int bytes) {
        for (int i = 0; i < bytes; i++)
            out += (char)(group >> (24 - 8 * i));
    };
    for (char c : text) {
        if (c == 'z' && digits == 0) {
            out.append(4, '\0');
        } else if (c >= '!' && c <= 'u') {
            group = group * 85 + (uint32_t)(c - '!');
            if (++digits == 5) {
                put(4);
                group = 0;
                digits = 0;
            }
        }
    }
    if (digits > 1) {
        int bytes = digits - 1;
        for (; digits < 5; digits++)
            group = group * 85 + 84;
        put(bytes);
    }
    return out;
}

std::string inflated(const std::string &data)
{
    z_stream z = {};
    inflateInit(&z);
    z.next_in = (Bytef *)data.data();
    z.avail_in = (uInt)data.size();
    std::string out;
    int result = Z_OK;
    while (result == Z_OK) {
        char buffer[65536];
        z.next_out = (Bytef *)buffer;
        z.avail_out = sizeof buffer;
        result = inflate(&z, Z_NO_FLUSH);
        out.append(buffer, sizeof buffer - z.avail_out);
    }
    inflateEnd(&z);
    EXPECT_EQ(result, Z_STREAM_END) << "a section does not end";
    return out;
}

std::string lastWord(const std::string &line)
{
    size_t blank = line.rfind(' ');
    return blank == std::string::npos ? line : line.substr(blank + 1);
}

} // namespace

std::string printProgramPath()
{
    return PDF_PRINT_PROGRAM;
}

PrintRun printPdf(const std::string &bytes, const std::vector<std::string> &options,
                  const ProgramOptions &settings)
{
    ScratchDirectory directory, temporary;
    directory.write("doc.pdf", bytes);
    ProgramOptions all = settings;
    all.directory = directory.path;
    all.environment.emplace("KV_TMP", temporary.path);
    std::vector<std::string> command = {printProgramPath()};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {"-o", "doc.ps", "doc.pdf"});
    ProgramResult result = runProgram(command, all);
    PrintRun run = {result.status, linesOf(result.err), fileExists(directory / "doc.ps"), ""};
    if (run.hasOutput)
        run.output = readFile(directory / "doc.ps");
    EXPECT_EQ(directory.names().size(), run.hasOutput ? 2u : 1u) << "something was left behind";
    EXPECT_TRUE(temporary.names().empty()) << "a temporary file was left behind";
    return run;
}

std::string jobOf(const std::string &bytes, const std::vector<std::string> &options)
{
    std::vector<std::string> all = {"--no-prepare"};
    all.insert(all.end(), options.begin(), options.end());
    return preparedJobOf(bytes, all);
}

std::string preparedJobOf(const std::string &bytes, const std::vector<std::string> &options)
{
    std::vector<std::string> all = {"-q"};
    all.insert(all.end(), options.begin(), options.end());
    PrintRun run = printPdf(bytes, all);
    EXPECT_TRUE(run.hasOutput) << (run.messages.empty() ? "" : run.messages.front());
    return run.output;
}

std::vector<Section> sectionsOf(const std::string &job)
{
    std::vector<Section> sections;
    for (size_t at = 0; at < job.size();) {
        size_t end = std::min(job.find('\n', at), job.size());
        std::string line = job.substr(at, end - at);
        at = end + 1;
        std::string procedure = lastWord(line);
        bool isCall = procedure == "PdfPage" || procedure == "PdfCell" ||
                      procedure == "PdfShared" ||
                      (procedure == "exec" && line.find("currentfile") != std::string::npos);
        if (!isCall)
            continue;
        long long count = atoll(line.c_str());
        Section section = {procedure, "", ""};
        if (count < 0) {
            size_t mark = job.find("~>", at);
            section.data = job.substr(at, mark - at);
            section.text = ascii85Decoded(section.data);
            at = mark + 2;
        } else {
            section.text = section.data = job.substr(at, (size_t)count);
            at += (size_t)count;
        }
        if (line.find("/FlateDecode") != std::string::npos)
            section.text = inflated(section.text);
        sections.push_back(section);
    }
    return sections;
}

std::vector<std::string> pageTextsOf(const std::string &job)
{
    std::vector<std::string> texts;
    for (const Section &section : sectionsOf(job))
        if (section.procedure == "PdfPage")
            texts.push_back(section.text);
    return texts;
}

std::string sharedTextOf(const std::string &job)
{
    std::string text;
    for (const Section &section : sectionsOf(job))
        if (section.procedure == "PdfShared")
            text += section.text;
    return text;
}

size_t occurrences(const std::string &text, const std::string &part)
{
    size_t count = 0;
    for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size())
        count++;
    return count;
}

std::vector<std::string> commentsOf(const std::string &job)
{
    std::vector<std::string> comments;
    for (const std::string &line : linesOf(job))
        if (line.starts_with("%%") || line.starts_with("%!"))
            comments.push_back(line);
    return comments;
}
