/*
 * contents_test.cpp - page content passed through, and its filters
 */
#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"

namespace {

using Texts = std::vector<std::string>;

Conversion convertContent(const std::string &entries, const std::string &data,
                          const Texts &switches = {})
{
    PdfBuilder pdf;
    int content = pdf.addStream(entries, data);
    pdf.addPage("/MediaBox [0 0 9 9] /Contents " + ref(content));
    return convertPdf(pdf.build(), switches);
}

/* What stands between "0 rotate" and "EndPageDescription". */
std::string contentOf(const Conversion &c)
{
    const std::string head =
        "BeginPageDescription\n<< /PageSize [ 9 9 ] >> setpagedevice\n0 0 translate\n0 rotate\n";
    const std::string tail = "EndPageDescription\n";
    EXPECT_TRUE(c.pages.starts_with(head) && c.pages.ends_with(tail)) << c.pages;
    return c.pages.substr(head.size(), c.pages.size() - head.size() - tail.size());
}

} // namespace

TEST(Contents, DictionaryThenTheLineThenTheRawBytes)
{
    std::string data = "BT\r\n%\x80\xFF\n(unbalanced";
    data += '\0';
    Conversion c = convertContent("/X [1 2]", data);
    EXPECT_EQ(faults(c), Texts{});
    EXPECT_EQ(contentOf(c), "<<\n/X [ 1 2 ] \n/Length " + std::to_string(data.size()) +
                                " \n>>\nPageContents\n" + data + "\n");
}

TEST(Contents, AStreamWithoutFilterPassesSilently)
{
    Conversion c = convertContent("", "n");
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(faults(c), Texts{});
}

TEST(Contents, FilteredDataIsCopiedUndecoded)
{
    Conversion c = convertContent("/Filter [/ASCII85Decode /FlateDecode] /DecodeParms [null << >>]",
                                  "no ascii85 at all");
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(faults(c), Texts{});
    EXPECT_EQ(contentOf(c), "<<\n/Filter [ /ASCII85Decode /FlateDecode ] \n"
                            "/DecodeParms [ null <<\n>>\n] \n/Length 17 \n>>\nPageContents\n"
                            "no ascii85 at all\n");
    EXPECT_EQ(convertContent("/Filter [/CCITTFaxDecode /DCTDecode]", "x").status, 0)
        << "the output side decodes these";
}

TEST(Contents, UnsupportedFiltersEachGetAMessageAndStopTheRun)
{
    Conversion c = convertContent("/Filter /JBIG2Decode", "x");
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-UNSUPPFILTER: PDF document contains unsupported filter "
                               "(/JBIG2Decode)"});
    EXPECT_FALSE(c.hasOutput);
    c = convertContent("/Filter [/Fl /AHx]", "x");
    EXPECT_EQ(faults(c),
              (Texts{"ZOLAK-E-UNSUPPFILTER: PDF document contains unsupported filter (/Fl)",
                     "ZOLAK-E-UNSUPPFILTER: PDF document contains unsupported filter (/AHx)"}));
}

TEST(Contents, AFilterOfTheWrongTypeStopsTheRun)
{
    Conversion c = convertContent("/Filter 5", "x");
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-FILTER: Wrong filter type in stream."});
}

TEST(Contents, DecodeWritesTheDataInTheirPlace)
{
    EXPECT_EQ(contentOf(convertContent("", "0 0 m\n", {"-DECODE"})), "0 0 m\n");
    EXPECT_EQ(contentOf(convertContent("", "", {"-DECODE"})), "");
    Conversion hex = convertContent("/Filter /ASCIIHexDecode", "30 20\n306D>", {"-DECODE"});
    EXPECT_EQ(contentOf(hex), "0 0m") << "white space before a first ASCII filter is dropped";
    EXPECT_EQ(contentOf(convertContent("/Filter /ASCII85Decode", "87cUR\nDZ~>", {"-DECODE"})),
              "Hello");
}

TEST(Contents, DecodeOfAnUnknownOrPlaceholderFilterStopsTheRun)
{
    Conversion c = convertContent("/Filter /RunLengthDecode", "x", {"-DECODE"});
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), (Texts{"ZOLAK-E-FILTER: Error setting up filter - '/RunLengthDecode'.",
                                "ZOLAK-E-FILTER: Can't create decoding chain."}));
    c = convertContent("/Filter /DCTDecode", "x", {"-DECODE"});
    EXPECT_EQ(faults(c), (Texts{"ZOLAK-E-FILTER: Unknown filter - '/DCTDecode'.",
                                "ZOLAK-E-FILTER: Can't create decoding chain."}));
}

TEST(Contents, StreamsOfAnArrayFollowEachOther)
{
    PdfBuilder pdf;
    int hex = pdf.addStream("/Filter /ASCIIHexDecode", "61 0A>"), plain = pdf.addStream("", "b");
    pdf.addPage("/MediaBox [0 0 9 9] /Contents [" + ref(hex) + " " + ref(plain) + " " + ref(hex) +
                "]");
    EXPECT_EQ(contentOf(convertPdf(pdf.build(), {"-DECODE"})), "a\nba\n")
        << "decoded, with nothing between them";
    const std::string hexText =
        "<<\n/Filter /ASCIIHexDecode \n/Length 6 \n>>\nPageContents\n61 0A>\n";
    EXPECT_EQ(contentOf(convertPdf(pdf.build())),
              hexText + "<<\n/Length 1 \n>>\nPageContents\nb\n" + hexText);
}

TEST(Contents, AFaultInOneStreamKeepsTheOthersFromBeingChecked)
{
    PdfBuilder pdf;
    int first = pdf.addStream("/Filter /Fl", "x"), second = pdf.addStream("/Filter /AHx", "x");
    pdf.addPage("/MediaBox [0 0 9 9] /Contents [" + ref(first) + " " + ref(second) + "]");
    pdf.addPage("/MediaBox [0 0 9 9] /Contents " + ref(second));
    EXPECT_EQ(faults(convertPdf(pdf.build())),
              Texts{"ZOLAK-E-UNSUPPFILTER: PDF document contains unsupported filter (/Fl)"});
}

TEST(Contents, DataWithoutItsEndMarkIsKeptWithAFault)
{
    Conversion c = convertContent("/Filter /ASCIIHexDecode", "6162", {"-DECODE"});
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-F-FILTER: Stream data ended before its end-of-data mark."});
    EXPECT_EQ(contentOf(c), "ab");
}

TEST(Contents, MoreFiltersThanAChainHasStopTheRun)
{
    std::string names;
    for (int i = 0; i < 65; i++)
        names += "/FlateDecode ";
    EXPECT_EQ(convertContent("/Filter [" + names + "]", "x").status, 0)
        << "nothing is set up to pass them on";
    Conversion c = convertContent("/Filter [" + names + "]", "x", {"-DECODE"});
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), (Texts{"ZOLAK-E-FILTER: Error setting up filter - '/FlateDecode'.",
                                "ZOLAK-E-FILTER: Can't create decoding chain."}));
    EXPECT_FALSE(c.hasOutput);
}
