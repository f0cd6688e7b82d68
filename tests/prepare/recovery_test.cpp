/*
 * recovery_test.cpp - documents whose tables lead nowhere are read by their objects
 */
#include <algorithm>

#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"

namespace {

constexpr const char *DAMAGED = "PREPARE-W-DAMAGED: The document is damaged; what can be read is "
                                "used.";

/* A red square on the left, and a blue one on the right by way of a form. */
std::string squaresPdf()
{
    PdfBuilder pdf;
    int form = pdf.addForm("0 0 1 rg 100 0 100 200 re f");
    int content = pdf.addStream("", "1 0 0 rg 0 0 100 200 re f /X Do");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /XObject << /X " + ref(form) + " >> >>");
    return pdf.build();
}

/* Both squares are there, the document is one page, and only damage is said. */
void expectSquares(const std::string &pdf)
{
    Preparation made = preparePdf(pdf);
    ASSERT_EQ(made.status, 0) << (made.messages.empty() ? "" : made.messages[0]);
    EXPECT_EQ(made.messages, std::vector<std::string>{DAMAGED});
    std::vector<Picture> pages = renderPdf(made.pdf, 36);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_TRUE(hasColour(pages[0], 50, 100, {255, 0, 0}, 36));
    EXPECT_TRUE(hasColour(pages[0], 150, 100, {0, 0, 255}, 36));
}

std::string onOneLine(std::string pdf)
{
    size_t begin = pdf.find('\n') + 1;
    std::replace(pdf.begin() + (long)begin, pdf.end(), '\n', ' ');
    for (size_t at = begin; (at = pdf.find(" stream ", at)) != std::string::npos; at++)
        pdf[at + 7] = '\n'; /* the data begins behind the end of a line */
    return pdf;
}

} // namespace

TEST(Recovery, ObjectsOnOneLineAreFound)
{
    std::string pdf = onOneLine(squaresPdf());
    expectSquares(pdf.substr(0, pdf.find(" xref ")) + " trailer << /Root 1 0 R >>");
    expectSquares(pdf.substr(0, pdf.find(" xref ")));
    expectSquares(pdf);
}

TEST(Recovery, TablesThatBeginAtAnotherNumberAreNotBelieved)
{
    std::string pdf = squaresPdf();
    size_t section = pdf.find("xref\n0 ");
    ASSERT_NE(section, std::string::npos);
    pdf.replace(section + 5, 2, "1 ");
    pdf.replace(pdf.find("0000000000 65535 f"), 18, "0000000000 00000 n");
    expectSquares(pdf);
}

TEST(Recovery, ObjectStreamsAreReadWithoutTheirTable)
{
    for (const std::vector<std::string> &method :
         {std::vector<std::string>{"--object-streams=generate"},
          {"--object-streams=generate", "--encrypt", "", "owner", "256", "--"}}) {
        std::string pdf = byQpdf(squaresPdf(), method);
        ASSERT_TRUE(holds(pdf, "/ObjStm"));
        expectSquares(pdf.substr(0, pdf.rfind("startxref")));
        std::string other = pdf;
        other.replace(other.rfind("startxref\n") + 10, 1, "9");
        expectSquares(other);
    }
    std::string pdf = byQpdf(squaresPdf(), {"--object-streams=generate"});
    size_t table = pdf.rfind(" 0 obj");
    expectSquares(pdf.substr(0, pdf.rfind('\n', table))); /* its catalogue is found, too */
}

TEST(Recovery, WhatStandsInStreamsIsNoObject)
{
    PdfBuilder pdf;
    const std::string data =
        "1 0 obj << /Type /Catalog >> endobj\n3 0 obj << /Type /Page >> endobj "
        "trailer << /Root 9 0 R >>\n";
    int content = pdf.addStream("", "0 1 0 rg 0 0 200 200 re f");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content));
    pdf.addStream("", data);
    std::string text = onOneLine(pdf.build());
    Preparation made = preparePdf(text.substr(0, text.find(" xref ")));
    EXPECT_EQ(made.messages, std::vector<std::string>{DAMAGED});
    std::vector<Picture> pages = renderPdf(made.pdf, 36);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_TRUE(hasColour(pages[0], 100, 100, {0, 255, 0}, 36));
}

TEST(Recovery, TheLastObjectOfANumberCounts)
{
    PdfBuilder pdf;
    int content = pdf.addStream("", "1 0 0 rg 0 0 200 200 re f");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content));
    std::string text = pdf.buildWithUpdate(
        {{content, "<< /Length 25 >>\nstream\n0 0 1 rg 0 0 200 200 re f\nendstream"}});
    text = onOneLine(text);
    for (size_t at; (at = text.find("startxref")) != std::string::npos;)
        text.erase(at, 9);
    Preparation made = preparePdf(text);
    std::vector<Picture> pages = renderPdf(made.pdf, 36);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_TRUE(hasColour(pages[0], 100, 100, {0, 0, 255}, 36));
}
