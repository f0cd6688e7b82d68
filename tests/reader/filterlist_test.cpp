/*
 * filterlist_test.cpp - which filters of a stream are decoded here, and which are left to the printer
 */
#include "tools/zolak1_3/pdf_to_ps/reader/filterlist.h"

#include <gtest/gtest.h>

#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"

namespace {

using Texts = std::vector<std::string>;

/* The names that CreateFilters answers for a dictionary, and its reports. */
struct Filters {
    int32_t count;
    Texts names, reports;
};

Filters filtersOf(const std::string &dictionary)
{
    TestInstance test(dictionary + " ");
    DictPtr dict = readDict(test.run);
    char **list = nullptr;
    Filters found;
    found.count = CreateFilters(test.run, dict.get(), &list);
    for (char **name = list; list && *name; name++)
        found.names.push_back(*name);
    DestroyFilters(test.run, list);
    EXPECT_EQ(test.run->liveNames, 0);
    found.reports = test.controller.takeTexts();
    return found;
}

} // namespace

TEST(FilterList, WithoutAFilterThereIsNone)
{
    Filters f = filtersOf("<< /Length 5 >>");
    EXPECT_EQ(f.count, 0);
    EXPECT_EQ(f.reports, Texts{});
}

TEST(FilterList, ANameIsAListOfOne)
{
    Filters f = filtersOf("<< /Filter /FlateDecode >>");
    EXPECT_EQ(f.count, 1);
    EXPECT_EQ(f.names, Texts{"/FlateDecode"});
    EXPECT_EQ(f.reports, Texts{});
}

TEST(FilterList, AnArrayKeepsItsOrder)
{
    Filters f = filtersOf("<< /Filter [/ASCII85Decode /FlateDecode] >>");
    EXPECT_EQ(f.count, 2);
    EXPECT_EQ(f.names, (Texts{"/ASCII85Decode", "/FlateDecode"}));
    EXPECT_EQ(f.reports, Texts{});
    EXPECT_EQ(filtersOf("<< /Filter [] >>").count, 0);
}

TEST(FilterList, AllSevenFiltersOfTheOutputSideAreKnown)
{
    Filters f = filtersOf("<< /Filter [/ASCIIHexDecode /ASCII85Decode /CCITTFaxDecode /DCTDecode "
                          "/LZWDecode /FlateDecode /RunLengthDecode] >>");
    EXPECT_EQ(f.count, 7);
    EXPECT_EQ(f.reports, Texts{});
}

TEST(FilterList, EveryUnknownFilterGetsItsMessage)
{
    EXPECT_EQ(filtersOf("<< /Filter /JBIG2Decode >>").reports,
              Texts{"ZOLAK 4 UNSUPPFILTER: PDF document contains unsupported filter "
                    "(/JBIG2Decode)"});
    EXPECT_EQ(filtersOf("<< /Filter [/Fl /FlateDecode /AHx] >>").reports,
              (Texts{"ZOLAK 4 UNSUPPFILTER: PDF document contains unsupported filter (/Fl)",
                     "ZOLAK 4 UNSUPPFILTER: PDF document contains unsupported filter (/AHx)"}));
    EXPECT_EQ(filtersOf("<< /Filter /flatedecode >>").reports.size(), 1U) << "case counts";
}

TEST(FilterList, AnythingElseIsAWrongType)
{
    Filters f = filtersOf("<< /Filter 5 >>");
    EXPECT_EQ(f.count, 0);
    EXPECT_EQ(f.reports, Texts{"ZOLAK 4 FILTER: Wrong filter type in stream."});
}

TEST(FilterList, NothingIsDoneOnceTheErrorFlagIsSet)
{
    TestInstance test("<< /Filter /FlateDecode >> ");
    DictPtr dict = readDict(test.run);
    test.run->errorFlag = 1;
    char *name = nullptr;
    char **list = &name;
    EXPECT_EQ(CreateFilters(test.run, dict.get(), &list), 0);
    EXPECT_EQ(list, &name) << "left untouched";
    DestroyFilters(test.run, nullptr);
}

TEST(FilterList, NullCountsAsAbsentOnlyWhenItIsDirect)
{
    EXPECT_EQ(filtersOf("<< /Filter null >>").reports, Texts{});
    PdfBuilder pdf;
    int null = pdf.add("null");
    std::string bytes = pdf.build();
    TestInstance test(bytes + "\n<< /Filter " + ref(null) + " >> ");
    test.openIndex();
    test.seek((uint32_t)bytes.size());
    DictPtr dict = readDict(test.run);
    char **list = nullptr;
    EXPECT_EQ(CreateFilters(test.run, dict.get(), &list), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 FILTER: Wrong filter type in stream."});
}

TEST(FilterList, AnElementThatIsNoNameIsAReadingErrorAndTheRestIsStillChecked)
{
    Filters f = filtersOf("<< /Filter [/Fl (x) /AHx] >>");
    EXPECT_EQ(f.reports[0], "ZOLAK 4 READERR: Reading error.");
    EXPECT_EQ(filtersOf("<< /Filter << >> >>").reports,
              Texts{"ZOLAK 4 FILTER: Wrong filter type in stream."});
    EXPECT_EQ(filtersOf("<< /Filter (/FlateDecode) >>").reports,
              Texts{"ZOLAK 4 FILTER: Wrong filter type in stream."});
}
