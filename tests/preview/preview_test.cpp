/*
 * preview_test.cpp - pdf_print-preview: what its page shows and says, and when it fails
 */
#include <gtest/gtest.h>

#include <unistd.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/scratch_directory.h"

namespace {

using Lines = std::vector<std::string>;

const std::string BAR = "0 0.4 0 rg 20 20 100 30 re f";

/* At 72 dpi the edges of what these documents draw are edges of pixels. */
ProgramResult preview(const ScratchDirectory &directory, Lines arguments)
{
    ProgramOptions options;
    options.directory = directory.path;
    arguments.insert(arguments.begin(), {PDF_PRINT_PREVIEW_PROGRAM, "--dpi=72"});
    return runProgram(arguments, options);
}

/* Pages with a bar, the second one with a red annotation over a quarter of it. */
std::string annotatedPdf()
{
    PdfBuilder pdf;
    int content = pdf.addStream("", BAR);
    int red = pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 100 100]",
                            "1 0 0 rg 0 0 100 100 re f");
    int note = pdf.add("<< /Type /Annot /Subtype /Stamp /Rect [100 100 200 200] /F 4 /AP << /N " +
                       ref(red) + " >> >>");
    std::string page = "/MediaBox [0 0 200 200] /Contents " + ref(content);
    pdf.addPage(page);
    pdf.addPage(page + " /Annots [" + ref(note) + "]");
    pdf.addPage(page);
    return pdf.build();
}

/* The texts between two marks, in order. */
Lines between(const std::string &text, const std::string &begin, const std::string &end)
{
    Lines found;
    for (size_t at = 0; (at = text.find(begin, at)) != std::string::npos;) {
        at += begin.size();
        found.push_back(text.substr(at, text.find(end, at) - at));
    }
    return found;
}

TEST(Preview, ShowsEachPageAndItsPrint)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", annotatedPdf());
    ProgramResult result = preview(directory, {"doc.pdf"});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(directory.names(), (Lines{"doc.html", "doc.pdf"}));
    std::string html = readFile(directory / "doc.html");
    EXPECT_EQ(between(html, "<h2>", "</h2>"), (Lines{"Page 1", "Page 2", "Page 3"}));
    EXPECT_EQ(between(html, "alt=\"", "\""),
              (Lines{"The PDF, page 1", "The print, page 1", "What differs, in red, page 1",
                     "The PDF, page 2", "The print, page 2", "What differs, in red, page 2",
                     "The PDF, page 3", "The print, page 3", "What differs, in red, page 3"}));
    EXPECT_EQ(between(html, "<strong>", "</strong>"),
              Lines{"3 pages; no page differs; 0 messages."});
}

TEST(Preview, ThePageHoldsAllThatItShows)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", annotatedPdf());
    EXPECT_EQ(preview(directory, {"doc.pdf", "-o", "x.html"}).status, 0);
    std::string html = readFile(directory / "x.html");
    EXPECT_EQ(occurrences(html, "://"), 0u);
    EXPECT_EQ(occurrences(html, "<script"), 0u);
    EXPECT_EQ(occurrences(html, "url("), 0u);
    EXPECT_EQ(between(html, "src=\"", ",").size(), 9u);
    for (const std::string &source : between(html, "src=\"", ","))
        EXPECT_EQ(source, "data:image/png;base64");
    EXPECT_EQ(between(html, "href=\"", "\""), (Lines{"#page-1", "#page-2", "#page-3"}));
    for (const std::string &target : between(html, "href=\"#", "\""))
        EXPECT_EQ(occurrences(html, "id=\"" + target + "\""), 1u);
}

/* What is printed without an annotation lacks a quarter of its page. */
TEST(Preview, ADifferenceIsAFigure)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", annotatedPdf());
    ProgramResult result = preview(directory, {"doc.pdf", "--", "--annotations", "none"});
    EXPECT_EQ(result.status, 0) << result.err;
    std::string html = readFile(directory / "doc.html");
    Lines verdicts = between(html, "</h2>\n<p>", "</p>");
    ASSERT_EQ(verdicts.size(), 3u);
    EXPECT_EQ(verdicts[0], "no difference");
    EXPECT_EQ(verdicts[2], "no difference");
    double area = 0;
    ASSERT_EQ(sscanf(verdicts[1].c_str(), "%lf %% of the page differs (", &area), 1) << verdicts[1];
    EXPECT_NEAR(area, 25, 1);
    EXPECT_EQ(between(html, "<strong>3 pages; page 2 most: ", " %").size(), 1u);
}

TEST(Preview, FailOverIsAStatus)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", annotatedPdf());
    EXPECT_EQ(preview(directory, {"--fail-over=0", "doc.pdf"}).status, 0);
    Lines arguments = {"--fail-over", "20", "doc.pdf", "--", "--annotations=none"};
    ProgramResult result = preview(directory, arguments);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(occurrences(result.err, "pdf_print-preview: page 2: 2"), 1u) << result.err;
    EXPECT_TRUE(fileExists(directory / "doc.html"));
    arguments[1] = "30";
    EXPECT_EQ(preview(directory, arguments).status, 0);
    EXPECT_EQ(preview(directory,
                      {"--pages=1,3-", "--fail-over=20", "doc.pdf", "--", "--annotations=none"})
                  .status,
              0);
}

TEST(Preview, PagesKeepTheirNumbers)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", annotatedPdf());
    EXPECT_EQ(preview(directory, {"--pages", "3,2-", "--fail-over=1", "doc.pdf"}).status, 0);
    std::string html = readFile(directory / "doc.html");
    EXPECT_EQ(between(html, "<h2>", "</h2>"), (Lines{"Page 3", "Page 2", "Page 3"}));
    EXPECT_EQ(between(html, "<section id=\"", "\""), (Lines{"page-3", "page-2", "page-3-2"}));
    EXPECT_EQ(between(html, "<a href=\"#", "\""), (Lines{"page-3", "page-2", "page-3-2"}));
}

TEST(Preview, MessagesStandBesideTheirPage)
{
    ScratchDirectory directory;
    PdfBuilder pdf;
    int content = pdf.addStream("", BAR);
    int broken = pdf.addStream("/Filter /FlateDecode", "no compressed data");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content));
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(broken));
    directory.write("doc.pdf", pdf.build());
    ProgramResult printed =
        runProgram({printProgramPath(), "-o", directory / "x.ps", directory / "doc.pdf"});
    Lines messages = between(printed.err, ": page 2: ", "\n");
    EXPECT_EQ(preview(directory, {"doc.pdf"}).status, 0);
    std::string html = readFile(directory / "doc.html");
    std::string second = html.substr(html.find("<section id=\"page-2\">"));
    EXPECT_EQ(messages, Lines{"Part of the page's content cannot be decoded."});
    EXPECT_EQ(between(second, "<li>", "</li>"),
              Lines{"Part of the page&#39;s content cannot be decoded."});
    std::string first = html.substr(html.find("<section id=\"page-1\">"));
    EXPECT_EQ(occurrences(first.substr(0, first.find("</section>")), "<li>"), 0u);
}

TEST(Preview, NothingOfADocumentIsMarkup)
{
    ScratchDirectory directory;
    const std::string name = "<b onload='x'>&\"\n\x01\xff.pdf";
    directory.write(name, onePagePdf(BAR));
    EXPECT_EQ(preview(directory, {"-o", "x.html", name}).status, 0);
    std::string html = readFile(directory / "x.html");
    EXPECT_EQ(between(html, "<title>", ":"),
              Lines{"&lt;b onload=&#39;x&#39;&gt;&amp;&quot;\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"
                    ".pdf"});
    EXPECT_EQ(occurrences(html, "<b "), 0u);
}

TEST(Preview, WhatCannotBePrintedIsTold)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", "this is a letter");
    ProgramResult result = preview(directory, {"doc.pdf"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.err.starts_with("pdf_print-preview: Nothing was printed: ")) << result.err;
    std::string html = readFile(directory / "doc.html");
    EXPECT_EQ(between(html, "<strong>", "</strong>"), Lines{"Nothing was printed."});
    EXPECT_EQ(between(html, "<li>", "</li>").size(), 1u);
    EXPECT_EQ(preview(directory, {"none.pdf"}).status, 1);
    EXPECT_EQ(preview(directory, {"doc.pdf", "-o", "no/place.html"}).status, 1);
}

TEST(Preview, WrongUseIsStatusTwo)
{
    ScratchDirectory directory;
    directory.write("a.pdf", onePagePdf(BAR));
    for (const Lines &arguments :
         {Lines{}, Lines{"a.pdf", "a.pdf"}, Lines{"--dpi=5", "a.pdf"}, Lines{"--dpi=x", "a.pdf"},
          Lines{"--fail-over=-1", "a.pdf"}, Lines{"--fail-over=nan", "a.pdf"},
          Lines{"--pages=3;1", "a.pdf"}, Lines{"--unknown", "a.pdf"},
          Lines{"a.pdf", "--", "--pages=1"}}) {
        ProgramResult result = preview(directory, arguments);
        EXPECT_EQ(result.status, 2) << result.err;
        EXPECT_EQ(occurrences(result.err, "Try 'pdf_print-preview --help'."), 1u) << result.err;
    }
    EXPECT_EQ(directory.names(), Lines{"a.pdf"});
}

TEST(Preview, TheOutputIsNeverAFileThatIsRead)
{
    ScratchDirectory directory;
    const std::string pdf = onePagePdf(BAR);
    directory.write("d.pdf", pdf);
    directory.write("word", "secret\n");
    ASSERT_EQ(symlink("d.pdf", (directory / "soft.html").c_str()), 0);
    ASSERT_EQ(link((directory / "d.pdf").c_str(), (directory / "hard.html").c_str()), 0);
    Lines before = directory.names();
    for (const Lines &arguments : std::initializer_list<Lines>{
             {"-o", "d.pdf", "d.pdf"},
             {"-o", "./d.pdf", "d.pdf"},
             {"-o", "soft.html", "d.pdf"},
             {"-o", "hard.html", "d.pdf"},
             {"-o", "d.pdf", "soft.html"},
             {"-o", "word", "d.pdf", "--", "--password-file=word"},
             {"-o", "./word", "d.pdf", "--", "--pass", "word"},
         }) {
        ProgramResult result = preview(directory, arguments);
        EXPECT_EQ(result.status, 2) << arguments[1];
        EXPECT_TRUE(
            result.err.starts_with("pdf_print-preview: The output would overwrite what is read: "))
            << result.err;
        EXPECT_EQ(readFile(directory / "d.pdf"), pdf);
        EXPECT_EQ(readFile(directory / "word"), "secret\n");
        EXPECT_EQ(directory.names(), before);
    }
}

TEST(Preview, IsShownByABrowser)
{
    if (!haveProgram("chromium"))
        GTEST_SKIP() << "chromium is not installed";
    ScratchDirectory directory;
    directory.write("doc.pdf", annotatedPdf());
    EXPECT_EQ(preview(directory, {"doc.pdf"}).status, 0);
    ProgramOptions options;
    options.environment = {{"HOME", directory.path}};
    ProgramResult shown =
        runProgram({"chromium", "--headless", "--no-sandbox", "--disable-gpu",
                    "--screenshot=" + (directory / "shown.png"), "--window-size=1000,1600",
                    "file://" + (directory / "doc.html")},
                   options);
    EXPECT_EQ(shown.status, 0) << shown.err;
    ASSERT_TRUE(fileExists(directory / "shown.png")) << shown.err;
    EXPECT_TRUE(readFile(directory / "shown.png").starts_with("\x89PNG"));
}

} // namespace
