/*
 * regions_test.cpp - boxes of a page that are drawn by another program and painted over its end
 */
#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/stat.h>

#include "prepare/content/evaluate.h"
#include "prepare/document/load.h"
#include "prepare/document/program.h"
#include "prepare/document/write.h"
#include "prepare/fonts/store.h"
#include "prepare/page/annotations.h"
#include "prepare/page/boxes.h"
#include "prepare/page/layers.h"
#include "prepare/page/resources.h"
#include "prepare/page/structure.h"
#include "prepare/paint/region.h"
#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

using namespace prepare;

/* Shapes all over the page, none like another, and text. */
const char CONTENT[] =
    "0.8 0.2 0.1 rg 20 30 60 50 re f 0.1 0.5 0.2 rg 110 40 m 180 60 l 120 110 l f "
    "0 0 0.7 RG 4 w 30 120 m 90 180 l S 0 g BT /F1 20 Tf 100 140 Td (Text) Tj ET";
const char FONTS[] = "/Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >>";

std::string shapesPdf(const std::string &entries = "", const std::string &content = CONTENT)
{
    return onePagePdf(content, entries + " /Resources << " + std::string(FONTS) + " >>");
}

struct Drawn {
    std::string pdf;
    seam::Notices notices;
};

/* The first page with these boxes as regions, and no other pass. */
Drawn withRegions(const std::string &pdf, const std::vector<Box> &boxes,
                  const Options &options = {})
{
    ScratchDirectory directory;
    Drawn drawn;
    Document document;
    document.options = options;
    document.diagnostics.notices = &drawn.notices;
    if (!loadDocument(&document, directory.write("doc.pdf", pdf)))
        return drawn;
    loadLayers(&document);
    Page &page = document.pages[0];
    repairPage(&document, &page);
    drawAnnotations(&document, &page);
    if (boxesNeedWork(page))
        normaliseBoxes(&document, &page);
    evaluatePage(&document, &page, {});
    for (const Box &box : boxes)
        addRegion(&document, &page, box, "a test");
    paintRegions(&document, &page);
    normaliseBoxes(&document, &page);
    dropUnused(&document, &page);
    writeDocument(&document, directory / "out.pdf");
    drawn.pdf = readFile(directory / "out.pdf");
    return drawn;
}

const Box MIDDLE = {45.3, 52.7, 130.9, 160.2};

} // namespace

TEST(Regions, LieWhereTheyWereOnPagesOfAnyKind)
{
    for (const char *entries :
         {"", "/Rotate 90", "/Rotate 180", "/Rotate 270", "/CropBox [10 20 170 190]",
          "/MediaBox [-30 15 190 200] /CropBox [10 20 170 190] /Rotate 90",
          "/MediaBox [0.4 -0.4 199.7 199.9]"}) {
        SCOPED_TRACE(entries);
        Drawn drawn = withRegions(shapesPdf(entries), {MIDDLE});
        EXPECT_EQ(countOf(drawn.pdf, "/Subtype /Image"), 1u);
        expectSamePages(shapesPdf(entries), drawn.pdf);
    }
}

TEST(Regions, AreInPointsOnPagesWithAUnit)
{
    std::string pdf = shapesPdf("/MediaBox [0 0 190 200] /UserUnit 1.5");
    Drawn drawn = withRegions(pdf, {{60, 80, 200, 240}});
    std::string clear = inClear(drawn.pdf);
    EXPECT_TRUE(holds(clear, "/Width 588")) << "140 points and two halves, at 300 an inch";
    expectSamePages(pdf, drawn.pdf);
}

TEST(Regions, CoverWhateverStateThePageLeavesOpen)
{
    for (const char *left :
         {" 0.5 0 0 0.5 30 30 cm", " q q 3 0 0 3 0 0 cm 10 10 5 5 re W n", " Q Q",
          " BT 2 Tr /F1 9 Tf", " /Span BMC 0 0 10 10 re W n", " BT 7 Tr /F1 9 Tf (x) Tj"}) {
        SCOPED_TRACE(left);
        std::string pdf = shapesPdf("", CONTENT + std::string(left));
        expectSamePages(shapesPdf(), withRegions(pdf, {MIDDLE}).pdf);
    }
}

TEST(Regions, TextBeneathStaysText)
{
    Drawn drawn = withRegions(shapesPdf(), {{0, 0, 200, 200}});
    EXPECT_TRUE(holds(textOf(drawn.pdf), "Text"));
    ASSERT_EQ(drawn.notices.size(), 1u);
    EXPECT_EQ(drawn.notices[0].key, "REGION");
    EXPECT_EQ(drawn.notices[0].page, 1);
    EXPECT_EQ(drawn.notices[0].text, "100 % of the page become pixels: a test.");
}

TEST(Regions, WithoutColoursAreGray)
{
    Drawn gray = withRegions(shapesPdf(), {{100, 135, 150, 160}});
    EXPECT_TRUE(holds(gray.pdf, "/DeviceGray"));
    EXPECT_FALSE(holds(gray.pdf, "/DeviceRGB"));
    EXPECT_TRUE(holds(withRegions(shapesPdf(), {MIDDLE}).pdf, "/DeviceRGB"));
}

TEST(Regions, AreMergedWhereTheyMeetAndWhereTheyAreMany)
{
    Drawn two =
        withRegions(shapesPdf(), {{10, 10, 40, 40}, {20, 10, 50, 40}, {150, 150, 160, 160}});
    EXPECT_EQ(countOf(two.pdf, "/Subtype /Image"), 2u);
    std::vector<Box> many;
    for (int i = 0; i < 400; i++)
        many.push_back({i % 20 * 10.0, i / 20 * 10.0, i % 20 * 10.0 + 3, i / 20 * 10.0 + 3});
    Drawn merged = withRegions(shapesPdf(), many);
    EXPECT_LE(countOf(merged.pdf, "/Subtype /Image"), MAX_REGIONS);
    expectSamePages(shapesPdf(), merged.pdf);
}

TEST(Regions, OverMostOfThePageAreThePage)
{
    Drawn drawn = withRegions(shapesPdf(), {{0, 0, 199, 100}, {0, 110, 199, 150}});
    EXPECT_EQ(countOf(drawn.pdf, "/Subtype /Image"), 1u);
    EXPECT_TRUE(holds(drawn.notices[0].text, "100 %"));
}

TEST(Regions, OutsideThePageOrEmptyAreNone)
{
    Drawn drawn = withRegions(shapesPdf(), {{300, 300, 400, 400}, {50, 50, 40, 60}, Box()});
    EXPECT_FALSE(holds(drawn.pdf, "/Image"));
    EXPECT_TRUE(drawn.notices.empty());
}

TEST(Regions, ResolutionIsAskedFor)
{
    Options options;
    options.resolution = 72;
    Drawn drawn = withRegions(shapesPdf(), {{50, 50, 149, 99}}, options);
    EXPECT_TRUE(holds(drawn.pdf, "/Width 100"));
    EXPECT_TRUE(holds(drawn.pdf, "/Height 50"));
}

TEST(Regions, OfHugePagesAreDrawnCoarser)
{
    std::string pdf =
        onePagePdf("0.8 0.2 0.1 rg 2000 3000 6000 5000 re f", "/MediaBox [0 0 14400 14400]");
    Drawn drawn = withRegions(pdf, {{0, 0, 14400, 14400}});
    EXPECT_EQ(drawn.notices[0].key, "REGION");
    EXPECT_TRUE(holds(drawn.pdf, "/Width 578")) << "about the root of 32 million";
}

TEST(Regions, OfEncryptedDocumentsAreDrawnToo)
{
    ScratchDirectory directory;
    ProgramOptions settings;
    settings.directory = directory.path;
    directory.write("doc.pdf", shapesPdf());
    ASSERT_EQ(
        runProgram({"qpdf", "--encrypt", "secret", "owner", "256", "--", "doc.pdf", "locked.pdf"},
                   settings)
            .status,
        0);
    Options options;
    options.password = "secret";
    Drawn drawn = withRegions(readFile(directory / "locked.pdf"), {MIDDLE}, options);
    expectSamePages(shapesPdf(), drawn.pdf);
}

TEST(Regions, ShowAnnotationsThatArePrintedAndNoOthers)
{
    PdfBuilder pdf;
    int printed = pdf.add("<< /Type /Annot /Subtype /Square /F 4 /Rect [60 60 90 90] /C [0 0 1] "
                          "/IC [1 1 0] >>");
    int screen = pdf.add("<< /Type /Annot /Subtype /Square /F 0 /Rect [100 60 125 90] /C [0 0 1] "
                         "/IC [0 1 1] >>");
    int content = pdf.addStream("", CONTENT);
    std::string page = "/MediaBox [0 0 200 200] /Contents " + ref(content) + " /Resources << " +
                       std::string(FONTS) + " >> /Annots [" + ref(printed);
    pdf.addPage(page + " " + ref(screen) + "]");
    Drawn drawn = withRegions(pdf.build(), {MIDDLE});
    /* The same without pixels. */
    expectSamePages(preparePdf(pdf.build()).pdf, drawn.pdf);
}

TEST(Regions, WithoutTheRendererThePageIsAsItWouldBe)
{
    SearchPath nowhere("/nonexistent");
    Drawn drawn = withRegions(shapesPdf(), {MIDDLE});
    EXPECT_FALSE(holds(drawn.pdf, "/Image"));
    ASSERT_EQ(drawn.notices.size(), 1u);
    EXPECT_EQ(drawn.notices[0].key, "NORENDERER");
    EXPECT_EQ(drawn.notices[0].text,
              "It is not drawn exactly without the program pdftoppm: a test.");
}

TEST(Regions, ARendererThatFailsOrAnswersNonsenseIsNotBelieved)
{
    for (const char *script : {"exit 99", "echo P6 9999 1 255", "echo P6 5 5 255; echo abc",
                               "head -c 100000 /dev/zero", "kill -9 $$"}) {
        SCOPED_TRACE(script);
        ScratchDirectory programs;
        std::string path = programs.write("pdftoppm", "#!/bin/sh\n" + std::string(script) + "\n");
        ASSERT_EQ(runProgram({"chmod", "755", path}).status, 0);
        SearchPath stand(programs.path + ":" + getenv("PATH"));
        Drawn drawn = withRegions(shapesPdf(), {MIDDLE});
        EXPECT_FALSE(holds(drawn.pdf, "/Image"));
        ASSERT_EQ(drawn.notices.size(), 1u);
        EXPECT_EQ(drawn.notices[0].key, "NODRAWING");
    }
}

namespace {

/* A directory with a program pdftoppm that is this script. */
struct Stand {
    explicit Stand(const std::string &script)
    {
        std::string path = programs.write("pdftoppm", "#!/bin/sh\n" + script + "\n");
        EXPECT_EQ(chmod(path.c_str(), 0755), 0);
    }
    std::string searchPath() const { return programs.path + ":" + getenv("PATH"); }

    ScratchDirectory programs;
};

/* Pages whose shapes with a blend mode become pixels: the same content on each, but as it is said. */
std::string blendedPdf(int count, bool isSame)
{
    PdfBuilder pdf;
    for (int i = 0; i < count; i++) {
        std::string shift = isSame ? "0" : std::to_string(i);
        pdf.addPage("/MediaBox [0 0 99 99] /Resources << /ExtGState << /G << /BM /Difference /ca 0.5 "
                    ">> >> >> /Contents " +
                    ref(pdf.addStream("", "1 0 0 rg " + shift + " 0 60 60 re f 30 30 m 90 40 l 60 90 l "
                                          "0 1 0 rg f /G gs 0 0 1 rg 20 20 50 50 re f")));
    }
    return pdf.build();
}

size_t runsFor(const std::string &pdf)
{
    ScratchDirectory directory;
    std::string count = directory / "count";
    Stand stand("echo run >> " + count + "; exec /usr/bin/pdftoppm \"$@\"");
    SearchPath path(stand.searchPath());
    EXPECT_EQ(preparePdf(pdf).status, 0);
    return countOf(readFile(count), "run\n");
}

} // namespace

TEST(Regions, WhatIsTheSameIsRenderedOnce)
{
    EXPECT_EQ(runsFor(blendedPdf(3, true)), 1u);
    EXPECT_EQ(runsFor(blendedPdf(3, false)), 3u);
}

TEST(Regions, ARendererThatHangsTakesNoMoreThanItsShareOfTheTime)
{
    Stand stand("sleep 600");
    SearchPath path(stand.searchPath());
    Preparation made = preparePdf(blendedPdf(5, false), {"--max-time=2"});
    EXPECT_EQ(made.status, 0);
    EXPECT_EQ(made.messages.size(), 5u); /* each page says that something is not drawn exactly */
}

namespace {

ProgramOutcome runScript(const std::string &script, ProgramCall call = {})
{
    call.command = {"/bin/sh", "-c", script, "sh", "{0}", "{1}"};
    if (call.inputs.empty())
        call.inputs = {"first", "second"};
    return runLimited(call, "");
}

} // namespace

TEST(Programs, GetTheirDataInFilesAndNothingElse)
{
    setenv("PREPARE_SECRET", "1", 1);
    ProgramOutcome outcome = runScript("cat \"$1\" \"$2\"; echo; cat; ls /proc/self/fd | wc -l; "
                                       "echo ${PREPARE_SECRET-unset}; stat -c %a .");
    EXPECT_EQ(outcome.status, ProgramStatus::DONE);
    /* 0, 1, 2 and the one that ls reads the directory with */
    EXPECT_EQ(outcome.output, "firstsecond\n4\nunset\n700\n");
}

TEST(Programs, LeaveNothingBehind)
{
    ScratchDirectory directory;
    setenv("TMPDIR", directory.path.c_str(), 1);
    EXPECT_EQ(runScript("pwd").output.find(directory.path), 0u);
    ProgramCall call;
    call.command = {"true"};
    EXPECT_EQ(runLimited(call, directory / "named").status, ProgramStatus::DONE);
    EXPECT_TRUE(directory.names().empty());
    unsetenv("TMPDIR");
}

TEST(Programs, SayWhenTheyAreMissing)
{
    ProgramCall call;
    call.command = {"no-such-program-here"};
    EXPECT_EQ(runLimited(call, "").status, ProgramStatus::MISSING);
}

TEST(Programs, ThatHangAreEndedWithAllTheyStarted)
{
    ProgramCall call;
    call.seconds = 1;
    ScratchDirectory directory;
    std::string group = directory / "group";
    ProgramOutcome outcome =
        runScript("sleep 600 & echo $$ > " + group + "; echo begun; sleep 600", call);
    EXPECT_EQ(outcome.status, ProgramStatus::STOPPED);
    EXPECT_EQ(outcome.output, "begun\n");
    EXPECT_TRUE(hasGroupEnded(std::stoi(readFile(group))));
}

TEST(Programs, ThatHangAreNotTriedAgainAndAgain)
{
    seam::Notices notices;
    Document document;
    document.diagnostics.notices = &notices;
    ScratchDirectory directory;
    ProgramCall call;
    call.seconds = 1;
    call.command = {"/bin/sh", "-c", "echo run >> " + (directory / "count") + "; sleep 600"};
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(runFor(&document, call).status, ProgramStatus::STOPPED);
    EXPECT_EQ(readFile(directory / "count"), "run\nrun\n");
}

TEST(Programs, CannotWriteOrAllocateWithoutBounds)
{
    ProgramCall call;
    call.outputBytes = 1000;
    EXPECT_LE(runScript("head -c 5000 /dev/zero", call).output.size(), 1000u);
    ProgramCall small;
    small.memoryBytes = 64u << 20;
    EXPECT_EQ(runScript("x=$(head -c 200000000 /dev/zero | tr '\\0' x); echo ${#x}", small)
                  .output.find("200000000"),
              std::string::npos);
}
