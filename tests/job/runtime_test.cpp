/*
 * runtime_test.cpp - what a job's runtime does with content: it is executed as it stands, and an
 * error costs one operator
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>

#include "job/runtime.h"
#include "tests/postscript/print_job.h"
#include "tests/postscript/prolog_parts.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

namespace {

using Lines = std::vector<std::string>;

const Lines MODES[] = {{},
                       {"--binary"},
                       {"--no-compress"},
                       {"--binary", "--no-compress"},
                       {"--level=2"},
                       {"--binary", "--level=2"}};

constexpr char HELVETICA[] = "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>";

std::string fontResources()
{
    return "/Resources << /Font << /F " + std::string(HELVETICA) + " >> >>";
}

std::string onePage(const std::string &content, const std::string &entries = fontResources())
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 200 200] " + entries + " /Contents " +
                ref(pdf.addStream("", content)));
    return pdf.build();
}

Picture pageOf(const std::string &document, const Lines &options = {}, const Lines &faults = {})
{
    PrintedJob printed = printFile(jobOf(document, options), 72);
    EXPECT_EQ(printed.status, 0);
    EXPECT_EQ(faultsOf(printed), faults) << testing::PrintToString(options);
    EXPECT_EQ(printed.pages.size(), 1U);
    return printed.pages.empty() ? Picture{} : printed.pages[0];
}

Lines faultCount(int count)
{
    return {"%%[ pdf_to_ps: " + std::to_string(count) +
            " errors in page content, 0 fonts replaced ]%%"};
}

/* The page looks as the exact form has it, and shows something. */
void expectAsExact(const std::string &document, const std::string &what)
{
    PrintedJob exact = printFile(convertForPrinting(document).output, 72);
    PrintedJob job = printFile(jobOf(document, {"--binary"}), 72);
    EXPECT_EQ(faultsOf(job), Lines{}) << what;
    ASSERT_EQ(exact.pages.size(), 1U) << what;
    ASSERT_EQ(job.pages.size(), 1U) << what;
    EXPECT_FALSE(isBlank(exact.pages[0])) << what;
    EXPECT_TRUE(job.pages[0].rgb == exact.pages[0].rgb) << what;
}

/* ---- errors */

constexpr char BEFORE[] = "0 0 1 rg 10 10 50 50 re f ";
constexpr char BEHIND[] = " 1 0 0 rg 100 10 50 50 re f BT /F 20 Tf 20 100 Td (behind) Tj ET";

TEST(JobContent, GoesOnBehindAnOperatorThatFails)
{
    Picture right = pageOf(onePage(std::string(BEFORE) + BEHIND));
    for (const char *error : {"10 10 l", "1 2 3 4 5 6 c", "/None Do", "/None gs",
                              "BT /F 0 Tf ET 5 5 l", "h 5 5 l", "q 5 5 l Q", "[-1] 0 d 5 5 l"})
        for (const Lines &mode : MODES) {
            Picture page =
                pageOf(onePage(std::string(BEFORE) + error + BEHIND), mode, faultCount(1));
            EXPECT_TRUE(page.rgb == right.rgb) << error << testing::PrintToString(mode);
        }
}

TEST(JobContent, EachErrorCountsOnce)
{
    std::string content = BEFORE;
    for (int i = 0; i < 500; i++)
        content += "5 5 l ";
    EXPECT_TRUE(pageOf(onePage(content + BEHIND), {}, faultCount(500)).rgb ==
                pageOf(onePage(std::string(BEFORE) + BEHIND)).rgb);
}

TEST(JobContent, AnErrorInAFormCostsTheFormOneOperator)
{
    auto document = [](const std::string &error) {
        PdfBuilder pdf;
        std::string resources = "/Resources << /Font << /F " + std::string(HELVETICA) + " >> >>";
        int form = pdf.addForm(BEFORE + error + BEHIND, resources);
        std::string entries = "/MediaBox [0 0 200 200] /Resources << /XObject << /M " + ref(form) +
                              " >> >> /Contents ";
        std::string content = ref(pdf.addStream("", "/M Do 0 1 0 rg 10 150 50 20 re f"));
        pdf.addPage(entries + content);
        return pdf.build();
    };
    Picture right = pageOf(document(""));
    for (const Lines &mode : MODES)
        EXPECT_TRUE(pageOf(document("q q 5 5 l Q Q"), mode, faultCount(1)).rgb == right.rgb);
}

TEST(JobContent, AnErrorInAGlyphCostsThatGlyphItsRest)
{
    auto document = [](const std::string &first) {
        PdfBuilder pdf;
        int a = pdf.addStream("", "1000 0 d0 0 0 400 400 re f " + first);
        int b = pdf.addStream("", "1000 0 0 0 900 900 d1 100 100 700 700 re f");
        int font = pdf.add("<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix "
                           "[0.001 0 0 0.001 0 0] /FirstChar 65 /LastChar 66 /Widths [1000 1000] "
                           "/Encoding << /Differences [65 /a /b] >> /CharProcs << /a " +
                           ref(a) + " /b " + ref(b) + " >> /Resources << >> >>");
        pdf.addPage("/MediaBox [0 0 200 200] /Resources << /Font << /F " + ref(font) +
                    " >> >> /Contents " +
                    ref(pdf.addStream("", "BT /F 50 Tf 10 100 Td (ABAB) Tj ET 5 5 90 30 re f")));
        return pdf.build();
    };
    Picture right = pageOf(document(""));
    for (const Lines &mode : MODES)
        EXPECT_TRUE(pageOf(document("q 5 5 l 500 500 400 400 re f Q"), mode, faultCount(2)).rgb ==
                    right.rgb);
}

/* Content and forms that several pages have stand in front of the pages. */
TEST(JobContent, SharedContentGoesOnBehindErrorsOnEachPage)
{
    PdfBuilder pdf;
    int form = pdf.addForm("0 1 0 rg 5 5 l 20 150 100 30 re f");
    int content = pdf.addStream("", std::string(BEFORE) + "/M Do 6 6 l" + BEHIND);
    for (int i = 0; i < 3; i++)
        pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /M " + ref(form) +
                    " >> /Font << /F " + HELVETICA + " >> >> /Contents " + ref(content));
    Picture right = pageOf(onePage(std::string(BEFORE) + "0 1 0 rg 20 150 100 30 re f" + BEHIND));
    for (const Lines &mode : MODES) {
        std::string job = jobOf(pdf.build(), mode);
        EXPECT_NE(job.find("PdfShared"), std::string::npos);
        PrintedJob printed = printFile(job, 72);
        EXPECT_EQ(faultsOf(printed), faultCount(6));
        ASSERT_EQ(printed.pages.size(), 3U);
        for (const Picture &page : printed.pages)
            EXPECT_TRUE(page.rgb == right.rgb) << testing::PrintToString(mode);
    }
}

/* ---- stacks */

TEST(JobContent, NothingLiesOnAStackBehindAPage)
{
    PdfBuilder pdf;
    for (const char *content : {"q q q 1 2 3", "q 5 5 l q", "Q Q Q", "BT /F 9 Tf (x) Tj",
                                "[1 2 3] (x) /Name true << /A 1 >>", "0 0 m 5 5 l W"})
        pdf.addPage("/MediaBox [0 0 50 50] " + fontResources() + " /Contents " +
                    ref(pdf.addStream("", content)));
    PrintOptions options;
    options.dpi = 36;
    for (const Lines &mode : MODES) {
        std::string job = jobOf(pdf.build(), mode);
        const std::string measure = "\n(STACKS ) print count =only ( ) print countdictstack "
                                    "=only ( ) print vmstatus pop pop =";
        for (size_t at = 0; (at = job.find("\n%%PageTrailer\n", at)) != std::string::npos;
             at += measure.size() + 1)
            job.insert(at, measure);
        PrintedJob printed = printText(job, options);
        EXPECT_EQ(std::count(printed.lines.begin(), printed.lines.end(), "STACKS 0 3 1"), 6)
            << testing::PrintToString(mode) << testing::PrintToString(printed.lines);
    }
}

TEST(JobContent, IsTheSameUnderASaveOfAPageTool)
{
    std::string document = onePage(std::string(BEFORE) + "5 5 l" + BEHIND);
    Picture right = pageOf(document, {}, faultCount(1));
    PrintOptions options;
    options.dpi = 72;
    for (const Lines &mode : MODES) {
        std::string job = jobOf(document, mode);
        size_t setup = job.find("%%EndPageSetup"), trailer = job.find("\n%%PageTrailer");
        ASSERT_NE(setup, std::string::npos);
        job.insert(trailer, "\nPageTool restore");
        job.insert(setup, "userdict /PageTool save put\n");
        PrintedJob printed = printText(job, options);
        EXPECT_EQ(faultsOf(printed), faultCount(1));
        ASSERT_EQ(printed.pages.size(), 1U);
        EXPECT_TRUE(printed.pages[0].rgb == right.rgb) << testing::PrintToString(mode);
    }
}

TEST(JobContent, ComesThroughAPipe)
{
    std::string document = onePage(std::string(BEFORE) + "5 5 l" + BEHIND);
    Picture right = pageOf(document, {}, faultCount(1));
    PrintOptions options;
    options.dpi = 72;
    options.pipe = true;
    for (const Lines &mode : MODES) {
        PrintedJob printed = printText(jobOf(document, mode), options);
        EXPECT_EQ(faultsOf(printed), faultCount(1));
        ASSERT_EQ(printed.pages.size(), 1U);
        EXPECT_TRUE(printed.pages[0].rgb == right.rgb) << testing::PrintToString(mode);
    }
}

/* The streams of a page are one content: an operand may stand in one and its operator in the next,
 * and two of them never become one token. */
TEST(JobContent, StreamsOfAPageAreJoined)
{
    PdfBuilder pdf;
    std::string parts;
    for (const char *part :
         {"0 0 1 rg 10 10", "50 50 re", "f q 1 0 0 rg", "100 10 50 50 re f", "Q"})
        parts += ref(pdf.addStream("", part)) + " ";
    pdf.addPage("/MediaBox [0 0 200 200] /Contents [ " + parts + "]");
    std::string job = jobOf(pdf.build(), {"--no-compress", "--binary"});
    EXPECT_EQ(job.find("PageContents\n0 0 1 rg"), job.rfind("PageContents\n"));
    EXPECT_TRUE(pageOf(pdf.build()).rgb ==
                pageOf(onePage("0 0 1 rg 10 10 50 50 re f 1 0 0 rg 100 10 50 50 re f")).rgb);
}

/* ---- forms and their limits */

std::string nestedForms(int depth)
{
    PdfBuilder pdf;
    int form = pdf.addForm("0 0 1 rg 10 10 100 100 re f");
    for (int i = 1; i < depth; i++)
        form = pdf.addForm("q 1 0 0 rg 0 0 5 5 re f /M Do Q 0 1 0 rg 150 150 20 20 re f",
                           "/Matrix [1 0 0 1 2 2] /Resources << /XObject << /M " + ref(form) +
                               " >> >>");
    pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /M " + ref(form) +
                " >> >> /Contents " + ref(pdf.addStream("", "q /M Do Q")));
    return pdf.build();
}

TEST(JobContent, FormsInFormsAreDrawn)
{
    for (int depth : {2, 12, 20})
        expectAsExact(nestedForms(depth), std::to_string(depth));
}

/* The figures of scripts/limits.sh, each with its limit; see there. */
void expectWithinLimits(const std::string &job)
{
    ScratchDirectory directory;
    ProgramResult result = runProgram(
        {PDF_TO_PS_DATA_SOURCE "/../../scripts/limits.sh", directory.write("job.ps", job)});
    EXPECT_EQ(result.status, 0) << result.err;
    int figures = 0;
    for (const std::string &line : linesOf(result.out)) {
        std::istringstream words(line);
        std::string name, of;
        long most = 0, limit = 0;
        words >> name >> most >> of >> limit;
        EXPECT_LE(most, limit) << line;
        figures += most > 0;
    }
    EXPECT_GE(figures, 6) << result.out;
}

TEST(JobContent, TwelveFormsInEachOtherStayWithinTheLimitsOfLevelTwo)
{
    expectWithinLimits(jobOf(nestedForms(12), {"--level=2"}));
}

/* ---- text */

TEST(JobText, EachOperatorMovesAndShowsAsInTheExactForm)
{
    for (const char *text :
         {"/F 20 Tf 20 100 Td (plain) Tj",
          "/F 20 Tf 1 0 0 1 20 100 Tm (matrix) Tj",
          "/F 1 Tf 20 0 5 20 20 100 Tm (slanted) Tj",
          "/F 20 Tf 0.7 0.7 -0.7 0.7 60 60 Tm (turned) Tj",
          "/F 20 Tf 0.7 0.7 -0.7 0.7 60 60 Tm [(tu) -200 (rned) 300 (x)] TJ",
          "/F 20 Tf 20 100 Td [(a) -500 (b) 200 (c)] TJ (d) Tj",
          "/F 20 Tf 20 100 Td 3 Tc (spread) Tj",
          "/F 20 Tf 20 100 Td 9 Tw (two words) Tj",
          "/F 20 Tf 20 100 Td 2 Tc 5 Tw (both of them) Tj [(a b) 100 (c d)] TJ",
          "/F 20 Tf 20 100 Td 60 Tz 3 Tc (narrow) Tj 150 Tz (wide) Tj",
          "/F 20 Tf 22 TL 20 150 Td (one) Tj T* (two) Tj (three) '",
          "/F 20 Tf 22 TL 20 150 Td (one) Tj 4 2 (two w) \" (three w) '",
          "/F 20 Tf 20 150 TD (one) Tj 10 -30 TD (two) Tj T* (three) Tj",
          "/F 20 Tf 20 100 Td 8 Ts (up) Tj -8 Ts (down) Tj 0 Ts (level) Tj",
          "/F 20 Tf 0.7 0.7 -0.7 0.7 60 60 Tm 8 Ts [(up) -300 (up)] TJ 0 Ts (x) Tj",
          "/F 40 Tf 20 100 Td 1 Tr (line) Tj",
          "/F 40 Tf 20 100 Td 1 0 0 RG 2 Tr (both) Tj",
          "/F 20 Tf 20 100 Td 3 Tr (none) Tj 0 Tr (some) Tj",
          "/F 40 Tf 20 100 Td 7 Tr (clip) Tj ET 0 0 1 rg 0 110 200 15 re f BT",
          "/F 40 Tf 20 100 Td 5 Tr (cl) Tj 4 Tr (ip) Tj ET 0 0 1 rg 0 110 200 15 re f BT",
          "/F 20 Tf 20 100 Td () Tj (x) Tj [] TJ (y) Tj",
          "/F -20 Tf 150 100 Td (minus) Tj",
          "/F 20 Tf 20 100 Td (one) Tj 1 0 0 rg (red) Tj 0 0 1 RG (still) Tj"})
        expectAsExact(onePage("0 0 0 rg BT " + std::string(text) + " ET 5 5 10 10 re f"), text);
}

TEST(JobText, StateIsSavedAndRestored)
{
    for (const char *content :
         {"BT /F 20 Tf ET q BT /F 40 Tf 5 150 Td (big) Tj ET Q BT 5 100 Td (small) Tj ET",
          "BT /F 20 Tf 5 150 Td (a) Tj ET q 5 Tc 50 Tz 9 Ts 1 Tr BT 5 100 Td (in q) Tj ET Q "
          "BT 5 50 Td (behind) Tj ET",
          "BT /F 20 Tf 2 Tc ET q 0 Tc 1 0 0 rg BT 5 100 Td (red) Tj ET Q BT 5 50 Td (black) Tj ET",
          "q 1 0 0 rg BT /F 20 Tf 5 150 Td (x) Tj ET Q q 0 0 1 RG 10 10 m 100 10 l S Q "
          "BT /F 20 Tf 5 60 Td (y) Tj ET",
          "BT /F 20 Tf 5 100 Td (a) Tj 1 0 0 rg 0 1 0 RG ET 0 0 30 30 re B"})
        expectAsExact(onePage(content), content);
}

/* ---- parts of the runtime */

std::vector<uint32_t> closures()
{
    std::vector<uint32_t> all;
    for (size_t i = 0; i < job::runtimePartCount; i++) {
        uint32_t closure = (uint32_t)1 << i | 0xFU;
        for (size_t k = i + 1; k-- > 0;)
            if (closure >> k & 1)
                closure |= job::runtimeParts[k].needs;
        all.push_back(closure);
    }
    return all;
}

TEST(RuntimeParts, FindWhatTheyNeedInThePartsThatComeWithThem)
{
    std::vector<PrologPart> sources = jobParts();
    ASSERT_EQ(sources.size(), job::runtimePartCount);
    std::vector<uint32_t> all = closures();
    Words defined;
    for (const PrologPart &source : sources)
        defined.insert(source.defines.begin(), source.defines.end());
    for (size_t i = 0; i < sources.size(); i++)
        for (const std::string &name : sources[i].needs) {
            bool isThere = !defined.contains(name); /* a variable */
            for (size_t k = 0; k < i; k++)
                isThere |= (all[i] >> k & 1) && sources[k].defines.contains(name);
            EXPECT_TRUE(isThere) << sources[i].file << ": " << name;
        }
}

TEST(RuntimeParts, EachLoadsByItself)
{
    for (const PrologPart &source : jobParts()) {
        if (source.defines.empty())
            continue;
        std::string name = *source.defines.rbegin();
        PrintOptions options;
        options.dpi = 36;
        PrintedJob printed = printText(
            job::runtimeFor({name}) + "\n(DEPTH ) print countdictstack = PdfEnd\n", options);
        ASSERT_FALSE(printed.lines.empty()) << source.file;
        EXPECT_EQ(printed.lines.front(), "DEPTH 3") << source.file;
    }
}

size_t runtimeBytes(const std::string &document)
{
    std::string job = jobOf(document, {"--binary"});
    size_t begin = job.find("%%BeginProlog"), end = job.find("%%EndProlog");
    return end - begin;
}

TEST(RuntimeParts, AJobHasThoseThatItCalls)
{
    std::string paths = onePage("10 10 50 50 re f", "/Resources << >>");
    std::string text = onePage("BT /F 30 Tf 10 10 Td (text) Tj ET");
    expectAsExact(paths, "paths alone");
    expectAsExact(text, "text");
    EXPECT_LT(runtimeBytes(paths), 5000U);
    EXPECT_LT(runtimeBytes(paths) + 2000, runtimeBytes(text));
    EXPECT_LT(runtimeBytes(text), 10000U);
}

TEST(RuntimeParts, WhatIsShownWithoutAFontIsNothing)
{
    Picture page =
        pageOf(onePage("BT /F 30 Tf 10 10 Td (text) Tj ET 10 10 50 50 re f", "/Resources << >>"));
    EXPECT_TRUE(page.rgb == pageOf(onePage("10 10 50 50 re f", "/Resources << >>")).rgb);
}

/* ---- pictures */

size_t coloursOf(const Picture &page)
{
    std::set<uint8_t> colours;
    for (size_t i = 0; i < page.rgb.size(); i += 3)
        colours.insert(page.rgb[i]);
    return colours.size();
}

TEST(JobPictures, AreInterpolatedWhereTheirSamplesAreCoarse)
{
    auto page = [](int size) {
        PdfBuilder pdf;
        std::string samples;
        for (int i = 0; i < size * size; i++)
            samples += (char)((i + i / size) % 2 ? 255 : 0);
        std::string image =
            ref(pdf.addStream("/Type /XObject /Subtype /Image /BitsPerComponent 8 /ColorSpace "
                              "/DeviceGray /Interpolate true /Width " +
                                  std::to_string(size) + " /Height " + std::to_string(size),
                              samples));
        pdf.addPage("/MediaBox [0 0 200 200] /Resources << /XObject << /I " + image +
                    " >> >> /Contents " + ref(pdf.addStream("", "200 0 0 200 0 0 cm /I Do")));
        PrintedJob printed = printFile(preparedJobOf(pdf.build()), 72);
        EXPECT_EQ(printed.pages.size(), 1u);
        return printed.pages.empty() ? 0 : coloursOf(printed.pages[0]);
    };
    EXPECT_GT(page(4), 10u);
    EXPECT_EQ(page(200), 2u);
}

} // namespace
