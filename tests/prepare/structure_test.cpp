/*
 * structure_test.cpp - the form of documents: tables, encryption, damage, boxes, resources
 */
#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/picture.h"
#include "tests/support/run_program.h"
#include "tests/support/sample_document.h"
#include "tests/support/scratch_directory.h"

namespace {

const char CONTENT[] = "0.2 0.4 0.8 rg 20 30 100 60 re f BT /F1 24 Tf 20 120 Td (Text) Tj ET";
const char FONTS[] = "/Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >>";

std::string plainPdf(const std::string &entries = "", const std::string &resources = "")
{
    return onePagePdf(CONTENT,
                      entries + " /Resources << " + std::string(FONTS) + " " + resources + " >>");
}

/* The page's media box as it is written, once it stands alone. */
bool hasBox(const std::string &pdf, const std::string &box)
{
    return holds(pdf, "/MediaBox [ " + box + " ]");
}

} // namespace

TEST(Structure, DocumentThatNeedsNothingIsCopied)
{
    for (const std::string &pdf : {plainPdf(), plainPdf("/CropBox [10 10 150 150]")}) {
        EXPECT_EQ(probePdf(pdf), 0);
        Preparation made = preparePdf(pdf);
        EXPECT_EQ(made.status, 0);
        EXPECT_EQ(made.pdf, pdf);
    }
}

TEST(Structure, ObjectStreamsAreTakenApart)
{
    std::string pdf = byQpdf(plainPdf(), {"--object-streams=generate"});
    EXPECT_EQ(probePdf(pdf), 3);
    std::string prepared = expectPrepared(pdf);
    EXPECT_FALSE(holds(prepared, "/ObjStm"));
    EXPECT_FALSE(holds(prepared, "/XRef"));
    EXPECT_EQ(prepared.substr(0, 9), "%PDF-1.2\n");
}

TEST(Structure, EncryptionWithTheEmptyPasswordIsUndone)
{
    for (const std::vector<std::string> &method :
         {std::vector<std::string>{"--allow-weak-crypto", "--encrypt", "", "owner", "40", "--"},
          {"--allow-weak-crypto", "--encrypt", "", "owner", "128", "--use-aes=y", "--"},
          {"--encrypt", "", "owner", "256", "--"}}) {
        std::string pdf = byQpdf(plainPdf(), method);
        EXPECT_EQ(probePdf(pdf), 3);
        EXPECT_FALSE(holds(expectPrepared(pdf), "/Encrypt"));
    }
}

TEST(Structure, PasswordIsAskedForAndTakenFromAFile)
{
    std::string pdf = byQpdf(plainPdf(), {"--encrypt", "secret", "owner", "256", "--"});
    Preparation without = preparePdf(pdf);
    EXPECT_EQ(without.status, 1);
    EXPECT_FALSE(without.hasOutput);
    EXPECT_EQ(without.messages,
              std::vector<std::string>{
                  "PREPARE-E-ENCRYPTED: The document needs a password: --password-file."});
    ScratchDirectory directory;
    Preparation with =
        preparePdf(pdf, {"--password-file=" + directory.write("password", "secret\nmore\n")});
    EXPECT_EQ(with.status, 0);
    expectSamePages(plainPdf(), with.pdf);
}

TEST(Structure, DamagedTableIsRepairedWithANotice)
{
    std::string pdf = plainPdf();
    pdf.replace(pdf.find("startxref\n") + 10, 3, "999");
    Preparation made = preparePdf(pdf);
    EXPECT_EQ(made.messages,
              std::vector<std::string>{
                  "PREPARE-W-DAMAGED: The document is damaged; what can be read is used."});
    expectSamePages(plainPdf(), made.pdf);
}

TEST(Structure, ContentThatBreaksOffKeepsItsBeginning)
{
    PdfBuilder pdf;
    std::string packed = byQpdf(plainPdf(), {"--compress-streams=y"});
    size_t begin = packed.find("stream\n") + 7, end = packed.find("\nendstream");
    std::string data = packed.substr(begin, end - begin);
    int content = pdf.addStream("/Filter /FlateDecode", data.substr(0, 60) + "\xff\xff\xff\xff");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) + " /Resources << " +
                std::string(FONTS) + " >>");
    Preparation made = preparePdf(pdf.build());
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages.size(), 1u);
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
    EXPECT_TRUE(holds(inClear(made.pdf), "0.2 0.4 0.8 rg"));
}

TEST(Structure, WhatIsNoResourceIsDropped)
{
    PdfBuilder pdf;
    int content = pdf.addStream("", CONTENT);
    pdf.addPage("/MediaBox [0 0 200 200] /Contents [" + ref(content) + " 99 0 R] /Resources << " +
                std::string(FONTS) +
                " /XObject << /X1 98 0 R /X2 << >> /X3 5 >> /ExtGState << /G 97 0 R >> >>");
    std::string prepared = expectPrepared(pdf.build());
    EXPECT_FALSE(holds(prepared, "/X2"));
}

TEST(Structure, UnusedPatternsNoLongerStopTheConverter)
{
    std::string pdf = plainPdf("", "/Pattern << /P1 << /PatternType 2 >> >>");
    EXPECT_NE(convertForPrinting(pdf).status, 0);
    EXPECT_FALSE(holds(expectPrepared(pdf), "/Pattern"));
}

TEST(Structure, TablesWithZeroBytesBecomeStreams)
{
    PdfBuilder pdf;
    int image = pdf.addStream("/Type /XObject /Subtype /Image /Width 1 /Height 1 "
                              "/BitsPerComponent 8 /ColorSpace [/Indexed /DeviceRGB 2 "
                              "<00FF00FF00000000FF>]",
                              "\2");
    int content = pdf.addStream("", "200 0 0 200 0 0 cm /I Do");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /XObject << /I " + ref(image) + " >> >>");
    expectPrepared(pdf.build());
}

TEST(Structure, ProfilesBecomeDeviceSpaces)
{
    PdfBuilder pdf;
    int profile = pdf.addStream("/N 4 /Alternate /DeviceCMYK", "no profile at all");
    int content = pdf.addStream("", "/C cs 0 1 1 0 sc 20 20 100 100 re f");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /ColorSpace << /C [/ICCBased " + ref(profile) + "] >> >>");
    Preparation made = preparePdf(pdf.build());
    EXPECT_TRUE(holds(made.pdf, "/C /DeviceCMYK"));
    EXPECT_FALSE(holds(made.pdf, "/ICCBased"));
}

TEST(Structure, FiltersInShortAreSpelledOut)
{
    PdfBuilder pdf;
    int content = pdf.addStream("/Filter [/AHx /A85]", "3765364D663E7E3E>");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content));
    Preparation made = preparePdf(pdf.build());
    EXPECT_TRUE(holds(made.pdf, "/Filter [ /ASCIIHexDecode /ASCII85Decode ]"));
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

TEST(Structure, TintFunctionsBecomeTables)
{
    PdfBuilder pdf;
    int content = pdf.addStream("", "/S cs 1 scn 20 20 60 150 re f 0.4 scn 110 20 60 150 re f");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /ColorSpace << /S [/Separation /Spot /DeviceRGB << /FunctionType "
                "2 /Domain [0 1] /C0 [1 1 1] /C1 [0 0.8 0.3] /N 1 >>] >> >>");
    expectPrepared(pdf.build());
}

TEST(Structure, FormsThatPaintThemselvesEnd)
{
    PdfBuilder pdf;
    int form = pdf.reserve();
    pdf.set(form, "<< /Type /XObject /Subtype /Form /BBox [0 0 200 200] /Resources << /XObject << "
                  "/X " +
                      ref(form) +
                      " >> >> /Length 38 >>\nstream\n1 0 0 rg 20 20 50 50 re f /X Do      \n"
                      "endstream");
    int content = pdf.addStream("", "/X Do");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /XObject << /X " + ref(form) + " >> >>");
    Preparation made = preparePdf(pdf.build());
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

TEST(Boxes, MissingAndEmptyOnesBecomeLetter)
{
    for (const char *box : {"/MediaBox [5 5 5 5]", "/MediaBox [/A 0 100]", "/MediaBox 7"})
        EXPECT_TRUE(hasBox(preparePdf(plainPdf(box)).pdf, "0 0 612 792")) << box;
}

TEST(Boxes, UnitScalesThePage)
{
    std::string prepared = expectPrepared(plainPdf("/MediaBox [0 0 150 160] /UserUnit 1.5"));
    EXPECT_TRUE(hasBox(prepared, "0 0 225 240"));
}

TEST(Boxes, CropBoxBeyondTheMediaBoxCountsForNothing)
{
    EXPECT_TRUE(
        hasBox(preparePdf(plainPdf("/MediaBox [0 0 200 200] /CropBox [300 300 400 400]")).pdf,
               "0 0 200 200"));
}

TEST(Boxes, RotationIsByQuarterTurns)
{
    Preparation made = preparePdf(plainPdf("/Rotate -271"));
    EXPECT_TRUE(holds(made.pdf, "/Rotate 90"));
    expectSamePages(plainPdf("/Rotate 90"), made.pdf);
}

TEST(Boxes, FractionsAreRounded)
{
    std::string pdf = byQpdf(plainPdf("/MediaBox [0.4 -0.4 180.7 190.6] /CropBox [10.2 10.2 150.9 "
                                      "160.1]"),
                             {"--object-streams=generate"});
    EXPECT_TRUE(hasBox(expectPrepared(pdf), "10 10 151 160"));
}

TEST(Structure, SampleDocumentPrintsTheSame)
{
    Preparation made = preparePdf(sampleDocument());
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(convertForPrinting(made.pdf).status, 0);
}

TEST(Structure, UnusedResourcesAreDroppedWhereSomethingElseIsMended)
{
    PdfBuilder pdf;
    int image = pdf.addStream("/Type /XObject /Subtype /Image /Width 1 /Height 1 /ColorSpace "
                              "/DeviceGray /BitsPerComponent 8 /Filter /JPXDecode",
                              "x");
    int content = pdf.addStream("", CONTENT);
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) + " /Resources << " +
                std::string(FONTS) + " /XObject << /Unused " + ref(image) + " >> >>");
    EXPECT_FALSE(holds(expectPrepared(pdf.build()), "/JPXDecode"));
}

TEST(Structure, FileWithoutAnyTrailerIsRead)
{
    std::string pdf = plainPdf();
    Preparation made = preparePdf(pdf.substr(0, pdf.find("xref")));
    EXPECT_EQ(made.status, 0);
    expectSamePages(pdf, made.pdf);
}

TEST(Structure, TheBoxThatIsChosenIsThePage)
{
    const std::string boxes =
        "/MediaBox [0 0 200 200] /CropBox [10 10 150 150] /TrimBox [20 20 120 "
        "130] /BleedBox [15 15 180 140] /ArtBox [40 40 90 80]";
    struct Row {
        const char *box;
        int width, height;
    };
    for (const Row &row : {Row{"crop", 140, 140}, Row{"media", 200, 200}, Row{"trim", 100, 110},
                           Row{"bleed", 165, 125}, Row{"art", 50, 40}}) {
        Preparation made = preparePdf(plainPdf(boxes), {"--box=" + std::string(row.box)});
        EXPECT_EQ(made.status, 0);
        Picture page = renderPdf(made.pdf, 72).at(0);
        EXPECT_EQ(page.width, row.width) << row.box;
        EXPECT_EQ(page.height, row.height) << row.box;
    }
    Preparation made =
        preparePdf(plainPdf("/MediaBox [0 0 200 200] /CropBox [10 10 150 150]"), {"--box=trim"});
    EXPECT_EQ(renderPdf(made.pdf, 72).at(0).width, 140) << "it has none";
    PrintRun run = printPdf(plainPdf(boxes), {"--box", "art"});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(holds(run.output, "%%PageBoundingBox: 0 0 50 40")) << run.output.substr(0, 1000);
}

TEST(Structure, ResourcesWithOddNamesGetPlainOnes)
{
    PdfBuilder pdf;
    int square =
        pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 50 50]", "1 0 0 rg 0 0 50 50 re f");
    int inner = pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 200 200] /Resources << "
                              "/XObject << /A#20B " +
                                  ref(square) + " >> >>",
                              "q 1 0 0 1 120 20 cm /A#20B Do Q");
    /* Names with a blank, with delimiters, and with words that mean something. */
    int content = pdf.addStream(
        "", "/CS#28x#29 cs 0.5 scn 10 10 40 20 re f q 1 0 0 1 20 60 cm /A#20B Do Q /F#2F1 Do "
            "BT /#20quit#20 24 Tf 20 140 Td (Text) Tj ET /G#5B gs 10 120 180 4 re f");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(content) +
                " /Resources << /XObject << /A#20B " + ref(square) + " /F#2F1 " + ref(inner) +
                " >> /ColorSpace << /CS#28x#29 /DeviceGray >> /ExtGState << /G#5B << /SA true >> "
                ">> /Font << /#20quit#20 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> "
                ">> >>");
    std::string original = pdf.build();
    EXPECT_EQ(probePdf(original), 3);
    std::string prepared = expectPrepared(original);
    std::string clear = inClear(prepared);
    for (const char *odd : {"#20", "#28", "#2f", "#2F", "#5b", "#5B"})
        EXPECT_FALSE(holds(clear, odd)) << odd;
    EXPECT_EQ(probePdf(prepared), 0) << "and that is all there was to do";
}
