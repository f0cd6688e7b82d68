/*
 * xref_test.cpp - "startxref", sections, trailers, the catalog
 */
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"

#include <cerrno>
#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xreftable.h"

namespace {

using Texts = std::vector<std::string>;

const char NO_TABLE[] = "ZOLAK 4 NOXREF: Couldn't create cross-reference table.";
const char NOT_THERE[] =
    "ZOLAK 4 NOXREF: Cross reference table wasn't found at the expected location.";
const char BAD_FORMAT[] = "ZOLAK 4 BADXREF: Unexpected format of cross-reference table.";

Texts openReports(TestInstance &test)
{
    openDocumentIndex(test.run);
    return test.controller.takeTexts();
}

/* A file made of a section with the given text behind "xref\n". */
std::string withSection(const std::string &section)
{
    return "%PDF-1.2\nxref\n" + section + "startxref\n9\n%%EOF\n";
}

std::string entry(size_t offset, int generation, char type)
{
    char text[32];
    snprintf(text, sizeof text, "%010zu %05d %c \n", offset, generation, type);
    return text;
}

} // namespace

TEST(StartXref, IsFoundAsThe19thLineFromTheEndAndNotAsThe20th)
{
    for (int behind : {0, 1, 16, 17, 18, 19, 30}) {
        std::string file = "%PDF-1.2\nstartxref\n";
        /* The line with the offset is one of the lines behind. */
        for (int i = 0; i < behind; i++)
            file += i == 0 ? "4711\n" : "%\n";
        TestInstance test(file);
        int64_t offset = findStartXref(test.run, test.run->input);
        if (behind == 0) {
            EXPECT_EQ(offset, -1) << "without a line behind it there is no offset";
        } else if (behind <= 18) {
            EXPECT_EQ(offset, 4711) << behind;
        } else {
            EXPECT_EQ(offset, -1) << behind;
            EXPECT_EQ(test.controller.takeTexts(), Texts{NO_TABLE});
        }
    }
}

TEST(StartXref, MayHaveTextBehindItOnItsLine)
{
    TestInstance test("%PDF-1.2\nstartxref here\n  12\n%%EOF\n");
    EXPECT_EQ(findStartXref(test.run, test.run->input), 12);
}

TEST(StartXref, AShortFileWithoutItIsAnError)
{
    for (const char *file : {"", "x", "%PDF-1.2\n"}) {
        TestInstance test(file);
        EXPECT_EQ(findStartXref(test.run, test.run->input), -1);
        EXPECT_EQ(test.controller.takeTexts(), Texts{NO_TABLE});
    }
}

TEST(XrefTable, EntriesAreStoredByTheirNumbers)
{
    TestInstance test(withSection("0 2\n" + entry(0, 65535, 'f') + entry(17, 3, 'n') + "4 1\n" +
                                  entry(4294967295U, 0, 'n') +
                                  "trailer\n<< /Size 6 /Root 1 0 R >>\n"));
    readXrefTable(test.run, 9);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(test.run->xrefLoaded, 1);
    EXPECT_EQ(test.run->xrefSize, 6);
    const XrefEntry *table = test.run->xref;
    EXPECT_EQ(table[0].type, 'f');
    EXPECT_EQ(table[0].generation, 65535);
    EXPECT_EQ(table[1].type, 'n');
    EXPECT_EQ(table[1].offset, 17U);
    EXPECT_EQ(table[1].generation, 3);
    EXPECT_EQ(table[2].type, 0) << "no section told of it";
    EXPECT_EQ(table[4].offset, 4294967295U);
}

TEST(XrefTable, EntriesBeyondTheSizeAreNotStored)
{
    /* The entry behind the cut is taken for a header line, of which only the digits count: "first
     * object 17, no entries". */
    TestInstance test(withSection("0 6\n" + entry(0, 65535, 'f') + entry(1, 0, 'n') +
                                  entry(2, 0, 'n') + entry(3, 0, 'n') + entry(17, 0, 'n') +
                                  entry(18, 0, 'n') + "trailer\n<< /Size 4 >>\n"));
    readXrefTable(test.run, 9);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(test.run->xrefCapacity, 4);
    for (uint32_t i = 0; i < 4; i++)
        EXPECT_EQ(test.run->xref[i].offset, i);
}

TEST(XrefTable, NegativeNumbersAreReadAndNotStored)
{
    TestInstance test(
        withSection("-1 2\n" + entry(8, 0, 'n') + entry(9, 0, 'n') + "trailer\n<< /Size 2 >>\n"));
    readXrefTable(test.run, 9);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(test.run->xref[0].offset, 9U);
}

TEST(XrefTable, AHeaderWithoutNumbersCountsAsZeros)
{
    for (const char *header : {"words\n", "7\n", "\n", "3 -5\n"}) {
        TestInstance test(withSection(std::string("0 1\n") + entry(5, 0, 'n') + header +
                                      "trailer\n<< /Size 2 >>\n"));
        readXrefTable(test.run, 9);
        EXPECT_EQ(test.controller.takeTexts(), Texts{}) << header;
        EXPECT_EQ(test.run->xref[0].offset, 5U);
        EXPECT_EQ(test.run->xref[1].type, 0);
    }
}

TEST(XrefTable, AHugeSubsectionEndsAtTheTable)
{
    TestInstance test(
        withSection("1 2147483647\n" + entry(5, 0, 'n') + "trailer\n<< /Size 2 >>\n"));
    readXrefTable(test.run, 9);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(test.run->xref[1].offset, 5U);
}

TEST(XrefTable, AnEntryMustHaveItsTypeAsByte17)
{
    for (const char *bad : {"0000000005 00000 x \n", "0000000005 00000  n\n", "5 0 n\n"}) {
        TestInstance test(withSection(std::string("0 1\n") + bad + "trailer\n<< /Size 2 >>\n"));
        readXrefTable(test.run, 9);
        EXPECT_EQ(test.controller.takeTexts(), Texts{BAD_FORMAT}) << bad;
        EXPECT_EQ(test.run->xrefLoaded, 0);
    }
    /* Whether a blank stands before the line end does not matter. */
    TestInstance test(withSection("0 1\n0000000005 00000 nx\n"
                                  "trailer\n<< /Size 2 >>\n"));
    readXrefTable(test.run, 9);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
}

TEST(XrefTable, AFileCutInsideAnEntryIsRefused)
{
    TestInstance test("trailer\n<< /Size 9 >>\nxref\n0 1\n0000000005 000");
    test.run->xrefSize = 9;
    /* The trailer is found from the start; the section is at 23. */
    readXrefTable(test.run, 0);
    EXPECT_EQ(test.controller.takeTexts(), Texts{NOT_THERE});
}

TEST(XrefTable, WithoutAnXrefLineItIsNotThere)
{
    TestInstance test("%PDF-1.2\n12 0 obj\ntrailer\n<< /Size 2 >>\nstartxref\n9\n%%EOF\n");
    EXPECT_EQ(openReports(test), Texts{NOT_THERE});
}

TEST(XrefTable, ObjectTablesInStreamsAreRefused)
{
    TestInstance test("%PDF-1.5\n12 0 obj << /Type /XRef /Length 0 >>\nstream\n\nendstream endobj\n"
                      "startxref\n9\n%%EOF\n");
    EXPECT_EQ(openReports(test), Texts{"ZOLAK 4 NOTRAILER: Expected trailing section not found."});
}

TEST(XrefTable, TheNewestSectionWins)
{
    PdfBuilder pdf;
    int changed = pdf.add("(old)"), kept = pdf.add("(kept)");
    std::string file = pdf.buildWithUpdate({{changed, "(new)"}, {9, "(added)"}});
    size_t newOffset = file.find("(new)") - 8;
    TestInstance test(file);
    EXPECT_EQ(openReports(test), Texts{});
    EXPECT_EQ(test.run->xrefSize, 10) << "the size of the newest trailer";
    EXPECT_EQ(test.run->xref[changed].offset, newOffset);
    EXPECT_EQ(test.run->xref[kept].offset, pdf.offsetOf(kept));
    EXPECT_EQ(test.run->xref[9].type, 'n');
    EXPECT_EQ(test.run->rootPosition, pdf.offsetOf(1) + 7);
}

TEST(XrefTable, ALoopOfSectionsIsRefused)
{
    std::string section = "xref\n0 1\n" + entry(0, 65535, 'f');
    TestInstance self("%PDF-1.2\n" + section +
                      "trailer\n<< /Size 2 /Prev 9 >>\nstartxref\n9\n%%EOF\n");
    EXPECT_EQ(openReports(self), Texts{BAD_FORMAT});

    std::string first = "%PDF-1.2\n" + section + "trailer\n<< /Size 2 /Prev 00100 >>\n";
    first.resize(100, ' ');
    TestInstance two(first + section + "trailer\n<< /Size 2 /Prev 9 >>\nstartxref\n9\n%%EOF\n");
    EXPECT_EQ(openReports(two), Texts{BAD_FORMAT});
}

TEST(XrefTable, AnImpossibleSizeIsOutOfMemory)
{
    for (const char *size : {"8388609", "-1", "99999999999"}) {
        TestInstance test(withSection(std::string("0 0\ntrailer\n<< /Size ") + size + " >>\n"));
        EXPECT_EQ(openReports(test), Texts{"ZOLAK 4 out of memory: Out of memory"}) << size;
    }
    TestInstance largest(withSection("0 0\ntrailer\n<< /Size 8388608 >>\n"));
    EXPECT_EQ(openReports(largest), Texts{});
}

TEST(XrefTable, ASizeThatALaterTrailerBringsDoesNotGrowTheTable)
{
    std::string older = "xref\n0 3\n" + entry(1, 0, 'n') + entry(2, 0, 'n') + entry(3, 0, 'n') +
                        "trailer\n<< /Size 3 >>\n";
    std::string file = "%PDF-1.2\n" + older;
    size_t newer = file.size();
    file += "xref\n0 0\ntrailer\n<< /Prev 9 >>\nstartxref\n" + std::to_string(newer) + "\n%%EOF\n";
    TestInstance test(file);
    openReports(test);
    EXPECT_EQ(test.run->xrefCapacity, 0);
    EXPECT_EQ(test.run->xrefSize, 3);
}

TEST(Trailer, TheDictionaryMayStandOnTheLineOfTheWord)
{
    for (const char *trailer :
         {"trailer<< /Size 5 >>\n", "trailer << /Size 5 >>\n", "trailer\t<<\n/Size 5 >>\n",
          "trailer \n<< /Size 5 >>\n", "trailer words\n<< /Size 5 >>\n"}) {
        TestInstance test(withSection(std::string("0 0\n") + trailer));
        EXPECT_EQ(openReports(test), Texts{}) << trailer;
        EXPECT_EQ(test.run->xrefSize, 5) << trailer;
    }
}

TEST(Trailer, OneThatIsNoDictionaryStopsTheRun)
{
    TestInstance test(withSection("0 0\ntrailer\n[ /Size 5 ]\n"));
    EXPECT_EQ(openReports(test), (Texts{"ZOLAK 4 BADDICT: Dictionary expected."}));
}

TEST(Trailer, AnEncryptedDocumentIsRefused)
{
    TestInstance test(withSection("0 0\ntrailer\n<< /Size 5 /Encrypt << >> >>\n"));
    EXPECT_EQ(openReports(test),
              Texts{"ZOLAK 4 ENCRYPTED: Cannot process encrypted PDF document."});
}

TEST(Trailer, WithEncryptItIsReadAfterAWarningAtEachReading)
{
    TestInstance test(withSection("0 0\ntrailer\n<< /Size 5 /Encrypt << >> >>\n"));
    test.run->acceptsEncrypted = 1;
    const char warning[] =
        "ZOLAK 2 ENCRYPTED: PDF document is encrypted and might not be readable.";
    EXPECT_EQ(openReports(test), (Texts{warning, warning, warning}));
    EXPECT_EQ(test.run->errorFlag, 0);
}

TEST(Catalog, LeavesTheInputAtThePages)
{
    PdfBuilder pdf;
    TestInstance test(pdf.build());
    EXPECT_EQ(openReports(test), Texts{});
    checkCatalog(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(test.position(), pdf.offsetOf(2) + 7);
}

TEST(Catalog, WithoutPagesThereIsNoTree)
{
    PdfBuilder pdf;
    pdf.set(1, "<< /Type /Catalog >>");
    TestInstance test(pdf.build());
    EXPECT_EQ(openReports(test), Texts{});
    checkCatalog(test.run);
    EXPECT_EQ(test.controller.takeTexts(),
              Texts{"ZOLAK 4 NOTREE: Catalog does not contain pointer to its children."});
}

TEST(Catalog, WithoutARootThereIsNone)
{
    TestInstance test(withSection("0 0\ntrailer\n<< /Size 5 >>\n"));
    EXPECT_EQ(openReports(test), Texts{});
    checkCatalog(test.run);
    EXPECT_EQ(test.controller.takeTexts(),
              (Texts{"ZOLAK 4 BADSPACE: Error occurred during skipping white spaces.",
                     "ZOLAK 4 BADDICT: Dictionary expected."}));
}

namespace {

/* `count` sections, each with the next one inside its trailer; the last /Prev leads back to the
 * section of the document. */
std::string withNestedSections(int count)
{
    PdfBuilder pdf;
    std::string file = pdf.build();
    const char format[] = "xref\ntrailer << /Size 3 /Prev %010zu /Text (\n";
    size_t start = file.size();
    for (int i = 0; i < count; i++) {
        char text[64];
        size_t behind = file.size() + sizeof "xref\ntrailer << /Size 3 /Prev 1234567890 /Text (";
        snprintf(text, sizeof text, format, i == count - 1 ? pdf.xrefOffset() : behind);
        file += text;
    }
    return file + ") /Root 1 0 R >>\nstartxref\n" + std::to_string(start) + "\n%%EOF\n";
}

} // namespace

TEST(Sections, MayBeLongerTogetherThanTheFileOnlyWhenTheyShareBytes)
{
    TestInstance few(withNestedSections(2));
    EXPECT_EQ(openReports(few), Texts{});
    EXPECT_EQ(few.run->xrefLoaded, 1);

    /* Read one by one, these would take hours. */
    TestInstance many(withNestedSections(100000));
    EXPECT_EQ(openReports(many), Texts{BAD_FORMAT});
    EXPECT_EQ(many.run->xrefLoaded, 0);
}

TEST(XrefTable, TheRootIsThatOfTheNewestTrailer)
{
    /* The older trailer names object 1, the newer one object 2. */
    std::string file = "%PDF-1.2\n";
    size_t first = file.size();
    file += "1 0 obj << /Old 1 >>\n";
    size_t second = file.size();
    file += "2 0 obj << /Pages 1 >>\n";
    size_t older = file.size();
    file += "xref\n0 3\n" + entry(0, 65535, 'f') + entry(first, 0, 'n') + entry(second, 0, 'n') +
            "trailer\n<< /Size 30 /Root 1 0 R >>\n";
    size_t newer = file.size();
    file += "xref\n0 0\ntrailer\n<< /Size 3 /Root 2 0 R /Prev " + std::to_string(older) +
            " >>\nstartxref\n" + std::to_string(newer) + "\n%%EOF\n";
    TestInstance test(file);
    EXPECT_EQ(openReports(test), Texts{});
    EXPECT_EQ(test.run->xrefSize, 3) << "and so is the size";
    EXPECT_EQ(test.run->rootPosition, second + 7);
    checkCatalog(test.run);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
}

TEST(XrefTable, OffsetsKeepTheirLow32Bits)
{
    TestInstance test(withSection("0 2\n" + entry(4294967296U + 17, 0, 'n') +
                                  entry(9999999999U, 7, 'n') + "trailer\n<< /Size 2 >>\n"));
    readXrefTable(test.run, 9);
    EXPECT_EQ(test.controller.takeTexts(), Texts{});
    EXPECT_EQ(test.run->xref[0].offset, 17U);
    EXPECT_EQ(test.run->xref[1].offset, 1410065407U);
}

TEST(XrefTable, FewerEntriesThanAnnouncedAreAnUnexpectedFormat)
{
    TestInstance test(
        withSection("0 3\n" + entry(1, 0, 'n') + entry(2, 0, 'n') + "trailer\n<< /Size 3 >>\n"));
    readXrefTable(test.run, 9);
    EXPECT_EQ(test.controller.takeTexts(), Texts{BAD_FORMAT});
    EXPECT_EQ(test.run->xrefLoaded, 0);
    EXPECT_EQ(test.run->xref[1].offset, 2U) << "what was filled before stays";
    EXPECT_EQ(test.run->xref[2].type, 0);
}

TEST(XrefTable, ASectionWithoutItsTrailerStopsTheRun)
{
    TestInstance test("trailer\n<< /Size 3 >>\nxref\n0 1\n" + entry(1, 0, 'n'));
    test.run->xrefSize = 3;
    readXrefTable(test.run, 23);
    EXPECT_EQ(test.controller.takeTexts(),
              Texts{"ZOLAK 4 NOTRAILER: Expected trailing section not found."});
    EXPECT_EQ(test.run->xref, nullptr) << "nothing is allocated before the size is known";
}

TEST(XrefTable, AnObjectOfTheLastNumberIsInTheTable)
{
    PdfBuilder pdf;
    int last = pdf.add("(last)");
    TestInstance test(pdf.build() + "\n" + ref(last) + " " + ref(last + 1) + " ");
    test.openIndex();
    EXPECT_EQ(test.run->xrefCapacity, last + 1);
    test.seek((uint32_t)pdf.build().size() + 1);
    EXPECT_EQ(resolveValue(test.run), pdf.offsetOf(last) + 7);
    EXPECT_EQ(resolveValue(test.run), POSITION_FAILED);
}

TEST(Trailer, OfTwoRootsTheLastCountsAndOfTwoSizesTheFirst)
{
    std::string file = "%PDF-1.2\n";
    size_t first = file.size();
    file += "1 0 obj << >>\n";
    size_t second = file.size();
    file += "2 0 obj << >>\n";
    size_t section = file.size();
    file += "xref\n0 3\n" + entry(0, 65535, 'f') + entry(first, 0, 'n') + entry(second, 0, 'n') +
            "trailer\n<< /Size 3 /Size 9 /Root 1 0 R /Root 2 0 R >>\nstartxref\n" +
            std::to_string(section) + "\n%%EOF\n";
    TestInstance test(file);
    EXPECT_EQ(openReports(test), Texts{});
    EXPECT_EQ(test.run->xrefSize, 3);
    EXPECT_EQ(test.run->rootPosition, second + 7);
}

TEST(Trailer, ARootThatLeadsNowhereIsABadPairInTheLastReading)
{
    /* Before the table is loaded a reference is not followed; after that it has to be good.  A
     * slot that was never filled leads to the start of the file, where no object is. */
    TestInstance test(withSection("0 0\ntrailer\n<< /Size 5 /Root 1 0 R >>\n"));
    EXPECT_EQ(openReports(test), (Texts{"ZOLAK 4 NONUMBER: Couldn't read number from PDF file.",
                                        "ZOLAK 4 BADDICT: Bad dictionary key-value pair."}));
    EXPECT_EQ(test.run->xrefLoaded, 1);
}
