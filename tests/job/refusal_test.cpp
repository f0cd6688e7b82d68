/*
 * refusal_test.cpp - what of a document comes into a job, and what the verifier keeps out of it
 */
#include <gtest/gtest.h>

#include <regex>

#include "job/verify.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/sample_document.h"

namespace {

using Words = std::vector<std::string>;

/* Prints a document as it stands. */
PrintRun printAsItStands(const std::string &bytes, Words options = {})
{
    options.insert(options.begin(), "--no-prepare");
    return printPdf(bytes, options);
}

std::string repeated(const std::string &text, size_t count)
{
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

std::string formStream(PdfBuilder *pdf, const std::string &content, const std::string &entries = "")
{
    return ref(pdf->addForm(content, "/Type /XObject /Subtype /Form " + entries));
}

void addPage(PdfBuilder *pdf, const std::string &resources, const std::string &content)
{
    pdf->addPage("/MediaBox [0 0 200 200] /Resources << " + resources + " >> /Contents " +
                 ref(pdf->addStream("", content)));
}

/* ---- what is accepted */

void expectAllAccepted(const std::string &job)
{
    job::Account account;
    size_t count = 0;
    for (const Section &section : sectionsOf(job)) {
        if (section.procedure != "PdfPage" && section.procedure != "PdfShared")
            continue;
        job::SectionKind kind =
            section.procedure == "PdfPage" ? job::SectionKind::PAGE : job::SectionKind::SHARED;
        job::Bytes text((const uint8_t *)section.text.data(), section.text.size());
        job::Verdict verdict = job::verify(text, kind, &account);
        EXPECT_TRUE(verdict.isAccepted())
            << section.procedure << " at " << verdict.at << ": " << verdict.cause << "\n"
            << section.text.substr(verdict.at < 300 ? 0 : verdict.at - 300, 400);
        count++;
    }
    EXPECT_GE(count, 2u);
}

TEST(JobRefusal, AllThatIsWrittenOfAPlainDocumentIsAccepted)
{
    for (const Words &options : std::initializer_list<Words>{
             {}, {"--binary"}, {"--no-compress"}, {"--paper=a4", "--fit"}, {"--printer-memory=0"}})
        expectAllAccepted(jobOf(documentOfResources(), options));
}

/* Is what the verifier refuses left out yet? */
bool isRefusing()
{
    return printAsItStands(onePagePdf("{ quit }")).status == 3;
}

/* ---- what is refused */

/* The document's first page is blank, of which a message tells; the second one is there. */
void expectFirstPageRefused(const std::string &pdf, const std::string &hostile)
{
    for (const Words &options : std::initializer_list<Words>{
             {}, {"--binary"}, {"--no-compress", "--binary"}, {"--level=2"}}) {
        PrintRun run = printAsItStands(pdf, options);
        EXPECT_EQ(run.status, 3) << hostile;
        ASSERT_EQ(run.messages.size(), 1u) << hostile;
        EXPECT_TRUE(run.messages[0].find("page 1: ") != std::string::npos) << run.messages[0];
        size_t pages = 0;
        for (const Section &section : sectionsOf(run.output))
            pages += section.procedure == "PdfPage";
        EXPECT_EQ(pages, 1u) << hostile;
        EXPECT_EQ(occurrences(run.output, "\n%%Page: "), 2u);
        EXPECT_EQ(occurrences(run.output, "\nshowpage\n"), 1u);
    }
    PrintRun strict = printAsItStands(pdf, {"--strict"});
    EXPECT_EQ(strict.status, 1);
    EXPECT_FALSE(strict.hasOutput);
}

std::string withSecondPage(PdfBuilder *pdf)
{
    addPage(pdf, "", "0 0 9 9 re f");
    return pdf->build();
}

TEST(JobRefusal, ContentThatIsNoContentLeavesThePageBlank)
{
    if (!isRefusing())
        GTEST_SKIP() << "documents are not canonical yet";
    for (const std::string &content :
         Words{"{ quit }", "//systemdict", "<~9jqo^~> pop", "16#FF w", "\x92\x01 w", "1 w %\fquit",
               "Q Q Q", "q", ">> 1 w", "quit", "/" + std::string(65, 'x') + " gs", "1e400 w",
               "BI /W 1 /H 1 /BPC 8 /CS /G ID x EI", "(" + std::string(65536, 'x') + ") Tj"}) {
        PdfBuilder pdf;
        addPage(&pdf, "", content);
        expectFirstPageRefused(withSecondPage(&pdf), content);
    }
}

TEST(JobRefusal, ResourcesThatAreNoResourcesLeaveThePageBlank)
{
    if (!isRefusing())
        GTEST_SKIP() << "documents are not canonical yet";
    const std::string image = "/Type /XObject /Subtype /Image /Width 2 /Height 2 /BitsPerComponent "
                              "8 /ColorSpace /DeviceGray ";
    for (const std::string &name : Words{"X#20quit", "X#7Bquit#7D", "X#28", "X#2F", "X#0Cquit",
                                         "X#25", std::string(65, 'x')}) {
        PdfBuilder pdf;
        addPage(&pdf, "/XObject << /" + name + " " + ref(pdf.addStream(image, "abcd")) + " >>", "");
        expectFirstPageRefused(withSecondPage(&pdf), name);
    }
    for (const std::string &parameter : Words{"/K#20quit 1", "/CharProcs#20currentdict#20def 1",
                                              "/X#3E#3E#20quit 1", "/Quality 1", "/Columns -1"}) {
        PdfBuilder pdf;
        addPage(
            &pdf,
            "/XObject << /X " +
                ref(pdf.addStream(
                    image + "/Filter /FlateDecode /DecodeParms << " + parameter + " >>", "abcd")) +
                " >>",
            "");
        expectFirstPageRefused(withSecondPage(&pdf), parameter);
    }
    for (const std::string &entries :
         Words{"/Width 0 /Height 2 /BitsPerComponent 8", "/Width 2 /Height 2 /BitsPerComponent 7",
               "/Width 2 /Height 99999999 /BitsPerComponent 8"}) {
        PdfBuilder pdf;
        addPage(
            &pdf,
            "/XObject << /X " +
                ref(pdf.addStream(
                    "/Type /XObject /Subtype /Image /ColorSpace /DeviceGray " + entries, "abcd")) +
                " >>",
            "");
        expectFirstPageRefused(withSecondPage(&pdf), entries);
    }
}

TEST(JobRefusal, AType1ProgramOfADocumentReachesNoPrinter)
{
    if (!isRefusing())
        GTEST_SKIP() << "documents are not canonical yet";
    PdfBuilder pdf;
    std::string program = ref(pdf.addStream("/Length1 5 /Length2 0 /Length3 0", "quit\n"));
    std::string descriptor =
        ref(pdf.add("<< /Type /FontDescriptor /FontName /X /Flags 4 /FontFile " + program + " >>"));
    addPage(&pdf,
            "/Font << /F << /Type /Font /Subtype /Type1 /BaseFont /X /FontDescriptor " +
                descriptor + " >> >>",
            "BT /F 9 Tf (x) Tj ET");
    expectFirstPageRefused(withSecondPage(&pdf), "a program");
}

TEST(JobRefusal, OfASharedPartThatIsRefusedOnlyThatResourceIsMissing)
{
    if (!isRefusing())
        GTEST_SKIP() << "documents are not canonical yet";
    PdfBuilder pdf;
    std::string resources = "/XObject << /Bad " + formStream(&pdf, "{ quit }") + " /Good " +
                            formStream(&pdf, "0 0 9 9 re f") + " >>";
    addPage(&pdf, resources, "/Good Do /Bad Do");
    addPage(&pdf, resources, "/Good Do");
    PrintRun run = printAsItStands(pdf.build());
    EXPECT_EQ(run.status, 3);
    ASSERT_EQ(run.messages.size(), 1u);
    EXPECT_TRUE(run.messages[0].find("page 1: /Bad is left out") != std::string::npos)
        << run.messages[0];
    EXPECT_EQ(pageTextsOf(run.output).size(), 2u);
    EXPECT_TRUE(sharedTextOf(run.output).find("quit") == std::string::npos);
    EXPECT_TRUE(sharedTextOf(run.output).find("0 0 9 9 re f") != std::string::npos);
}

/* ---- what costs too much */

/* Forms that call each other ten times each. */
std::string formTree(PdfBuilder *pdf, int levels)
{
    std::string inner = formStream(pdf, "");
    for (int level = 1; level < levels; level++)
        inner = formStream(pdf, repeated("/X Do ", 10),
                           "/Resources << /XObject << /X " + inner + " >> >>");
    return inner;
}

TEST(JobRefusal, APageThatCostsTooMuchIsBlankAndTheNextOneIsThere)
{
    PdfBuilder pdf;
    addPage(&pdf, "/XObject << /X " + formTree(&pdf, 7) + " >>", "/X Do");
    std::string bytes = withSecondPage(&pdf);
    expectFirstPageRefused(bytes, "forms");
    PrintRun run = printAsItStands(bytes);
    EXPECT_TRUE(run.messages[0].find("200000 calls of forms") != std::string::npos)
        << run.messages[0];
    EXPECT_EQ(printAsItStands(bytes, {"--max-work=10"}).status, 0);
    EXPECT_EQ(printAsItStands(bytes, {"--max-work=2"}).status, 3);
}

/* ---- what stands outside of sections */

TEST(JobRefusal, OutsideOfSectionsStandsNothingButFixedLinesAndChecksOfValues)
{
    const std::regex lines[] = {
        std::regex("%!PS-Adobe-3\\.0( EPSF-3\\.0)?"),
        std::regex("%%(Title|Creator): \\(([ -'*-\\[\\]-~]|\\\\[()\\\\])*\\)"),
        std::regex("%%LanguageLevel: [23]"),
        std::regex("%%DocumentData: (Binary|Clean7Bit)"),
        std::regex("%%Pages: [0-9]+"),
        std::regex("%%PageOrder: Ascend"),
        std::regex("%%(Page)?BoundingBox:( -?[0-9]+){4}"),
        std::regex("%%(DocumentMedia:|\\+) [0-9]+x[0-9]+ [0-9]+ [0-9]+ 0 \\(\\) \\(\\)"),
        std::regex("%%(DocumentNeededResources:|\\+)( font [A-Za-z-]+)+"),
        std::regex("%%DocumentSuppliedResources: procset pdf_to_ps [0-9.]+ 0"),
        std::regex("%%Requirements:( numcopies\\([0-9]+\\))?( collate)?( duplex(\\(tumble\\))?)?"),
        std::regex("%%(EndComments|BeginProlog|EndResource|EndProlog|BeginSetup|EndSetup)"),
        std::regex("%%(BeginPageSetup|EndPageSetup|PageTrailer|Trailer|EOF|EndBinary|EndFeature)"),
        std::regex("%%BeginResource: procset pdf_to_ps [0-9.]+ 0"),
        std::regex("%%BeginBinary: [0-9]+"),
        std::regex("%%Page: \\(([ -'*-\\[\\]-~]|\\\\[()\\\\])*\\) [0-9]+"),
        std::regex("%%PageMedia: [0-9]+x[0-9]+"),
        std::regex("%%BeginFeature: \\*[A-Za-z]+( [A-Za-z]+)?"),
        std::regex("mark \\{ << (/[A-Za-z]+ ([0-9]+|true|false) ?)+>> setpagedevice \\} stopped "
                   "cleartomark"),
        std::regex("[0-9]+ [0-9]+ PdfSize"),
        std::regex("showpage"),
        std::regex("PdfEnd"),
    };
    const std::string hostile = ")\\) quit\n%%EOF\nquit \x1b%-12345X\x80";
    PdfBuilder pdf;
    pdf.catalogEntries =
        "/PageLabels << /Nums [0 << /P (\\)\\\\\\) quit\\n\\r\\fquit) /S /D >>] >>";
    pdf.addPage("/MediaBox [0 0 0 0]");
    addPage(&pdf, "/Font << /F << /Type /Font /Subtype /Type1 /BaseFont /Helvetica >> >>",
            "BT /F 9 Tf (x) Tj ET");
    std::string bytes = pdf.build();
    for (const Words &options : std::initializer_list<Words>{
             {"--title=" + hostile, "--copies=3", "--collate", "--duplex=short"},
             {"--title=" + hostile, "--binary", "--paper=a4"}}) {
        std::string job = jobOf(bytes, options);
        for (const Section &section : sectionsOf(job)) {
            size_t at = job.find(section.data);
            ASSERT_NE(at, std::string::npos);
            job.erase(at, section.data.size());
        }
        for (const std::string &line : linesOf(job)) {
            bool isCall = line.find("Pdf") == std::string::npos
                              ? line.find("currentfile") != std::string::npos || line == "~>"
                              : std::regex_match(line, std::regex("-?[0-9]+ (/FlateDecode|null) "
                                                                  "Pdf(Page|Shared)"));
            bool isKnown = isCall || line.empty();
            for (const std::regex &known : lines)
                isKnown = isKnown || std::regex_match(line, known);
            EXPECT_TRUE(isKnown) << line;
        }
    }
}

} // namespace
