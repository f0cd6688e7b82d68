/*
 * preparation.cpp - pdf_prepare, and two renderers
 */
#include "tests/prepare/preparation.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/picture.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

constexpr int DPI = 100;

std::vector<Picture> renderByGhostscript(const std::string &bytes)
{
    return renderPdf(bytes, DPI, Renderer::GHOSTSCRIPT);
}

void expectSame(const std::vector<Picture> &pages, const std::vector<Picture> &references,
                const std::string &what)
{
    ASSERT_EQ(pages.size(), references.size()) << what;
    for (size_t i = 0; i < pages.size(); i++) {
        PictureDifference difference = comparePictures(pages[i], references[i]);
        EXPECT_TRUE(isRight(difference))
            << what << ", page " << i + 1 << ": " << describe(difference);
        EXPECT_EQ(isBlank(pages[i]), isBlank(references[i])) << what << ", page " << i + 1;
    }
}

/* Like one of two references, but for where edges lie: renderers place the cells of patterns and
 * the steps of shadings by pixels, each in its way. */
void expectLikeOne(const std::vector<Picture> &pages, const std::vector<Picture> &first,
                   const std::vector<Picture> &second, const std::string &what)
{
    constexpr double AREA = 0.01, INK = 0.10;
    ASSERT_EQ(pages.size(), first.size()) << what;
    ASSERT_EQ(pages.size(), second.size()) << what;
    for (size_t i = 0; i < pages.size(); i++) {
        PictureDifference a = compareBesideEdges(pages[i], first[i]);
        PictureDifference b = compareBesideEdges(pages[i], second[i]);
        auto isClose = [](const PictureDifference &difference) {
            return difference.sameSize && difference.area < AREA && difference.ink < INK;
        };
        EXPECT_TRUE(isClose(a) || isClose(b))
            << what << ", page " << i + 1 << ": " << describe(a) << "; " << describe(b);
    }
}

} // namespace

std::string preparePath()
{
    return PDF_PREPARE_PROGRAM;
}

Preparation preparePdf(const std::string &bytes, const std::vector<std::string> &options)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", bytes);
    ProgramOptions settings;
    settings.directory = directory.path;
    std::vector<std::string> command = {preparePath(), "doc.pdf", "out.pdf"};
    command.insert(command.end(), options.begin(), options.end());
    ProgramResult result = runProgram(command, settings);
    Preparation made = {result.status, linesOf(result.err), fileExists(directory / "out.pdf"), ""};
    if (made.hasOutput)
        made.pdf = readFile(directory / "out.pdf");
    EXPECT_EQ(directory.names().size(), made.hasOutput ? 2u : 1u) << "something was left behind";
    return made;
}

int probePdf(const std::string &bytes)
{
    ScratchDirectory directory;
    return runProgram({preparePath(), "--probe", directory.write("doc.pdf", bytes)}).status;
}

void expectSamePages(const std::string &original, const std::string &prepared)
{
    std::vector<Picture> byMupdf = renderPdf(original, DPI);
    std::vector<Picture> byGhostscript = renderByGhostscript(original);
    expectSame(renderPdf(prepared, DPI), byMupdf, "prepared, by MuPDF");
    expectSame(renderByGhostscript(prepared), byGhostscript, "prepared, by Ghostscript");
    Conversion conversion = convertForPrinting(prepared);
    ASSERT_EQ(conversion.status, 0);
    PrintedJob job = printFile(conversion.output, DPI);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    expectSame(job.pages, byMupdf, "PostScript, against MuPDF");
    expectSame(job.pages, byGhostscript, "PostScript, against Ghostscript");
}

std::string expectPrepared(const std::string &bytes)
{
    Preparation made = preparePdf(bytes);
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages, std::vector<std::string>());
    expectSamePages(bytes, made.pdf);
    Preparation again = preparePdf(made.pdf);
    EXPECT_EQ(again.pdf, made.pdf) << "a prepared document needs nothing";
    return made.pdf;
}

void expectAlikePages(const std::string &original, const std::string &prepared)
{
    std::vector<Picture> byMupdf = renderPdf(original, DPI);
    std::vector<Picture> byGhostscript = renderByGhostscript(original);
    expectLikeOne(renderPdf(prepared, DPI), byMupdf, byGhostscript, "prepared");
    PrintedJob job = printFile(convertForPrinting(prepared).output, DPI);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    expectLikeOne(job.pages, byMupdf, byGhostscript, "PostScript");
}

std::string expectAlike(const std::string &bytes)
{
    Preparation made = preparePdf(bytes);
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages, std::vector<std::string>());
    expectAlikePages(bytes, made.pdf);
    EXPECT_EQ(preparePdf(made.pdf).pdf, made.pdf) << "a prepared document needs nothing";
    return made.pdf;
}

void expectPrintedAs(const std::string &bytes, const std::string &expected)
{
    Preparation made = preparePdf(bytes);
    EXPECT_EQ(made.messages, std::vector<std::string>());
    std::vector<Picture> pages = renderPdf(expected, DPI);
    expectLikeOne(renderPdf(made.pdf, DPI), pages, pages, "prepared");
    PrintedJob job = printFile(convertForPrinting(made.pdf).output, DPI);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    expectLikeOne(job.pages, pages, pages, "PostScript");
    EXPECT_EQ(preparePdf(made.pdf).pdf, made.pdf) << "a prepared document needs nothing";
}

std::string inClear(const std::string &pdf)
{
    ScratchDirectory directory;
    ProgramOptions options;
    options.directory = directory.path;
    directory.write("doc.pdf", pdf);
    runProgram({"qpdf", "--qdf", "--static-id", "--object-streams=disable", "doc.pdf", "clear.pdf"},
               options);
    return readFile(directory / "clear.pdf");
}

std::string textOf(const std::string &pdf)
{
    ScratchDirectory directory;
    return runProgram({"pdftotext", directory.write("doc.pdf", pdf), "-"}).out;
}

bool holds(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

size_t countOf(const std::string &text, const std::string &part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1))
        count++;
    return count;
}

SearchPath::SearchPath(const std::string &path) : old(getenv("PATH"))
{
    setenv("PATH", path.c_str(), 1);
}

SearchPath::~SearchPath()
{
    setenv("PATH", old.c_str(), 1);
}

std::string byQpdf(const std::string &pdf, const std::vector<std::string> &options)
{
    ScratchDirectory directory;
    ProgramOptions settings;
    settings.directory = directory.path;
    directory.write("doc.pdf", pdf);
    std::vector<std::string> command = {"qpdf", "doc.pdf", "out.pdf"};
    command.insert(command.end(), options.begin(), options.end());
    EXPECT_EQ(runProgram(command, settings).status, 0);
    return readFile(directory / "out.pdf");
}
