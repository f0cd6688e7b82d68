/*
 * xobjects_test.cpp - images and forms, byte for byte
 */
#include "tools/zolak1_3/pdf_to_ps/writer/xobjects.h"

#include <cstring>
#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"

namespace {

using Texts = std::vector<std::string>;

struct Written {
    std::string text;
    Texts reports;
};

Written defineXObjects(const std::string &dictionary, const char *baseName = "doc")
{
    TestInstance test(dictionary + " endobj ");
    strcpy(test.run->baseName, baseName);
    DictPtr dict = readDict(test.run);
    DefineXObjectResources(test.run, dict.get());
    return {test.written(), test.controller.takeTextsWithLines()};
}

std::string stream(const std::string &entries, const std::string &data)
{
    return "<< " + entries + " /Length " + std::to_string(data.size()) + " >>\nstream\n" + data +
           "\nendstream";
}

void expectXObjects(const std::string &dictionary, const std::string &text)
{
    Written w = defineXObjects(dictionary);
    EXPECT_EQ(w.reports, Texts{});
    EXPECT_EQ(w.text, text);
}

} // namespace

TEST(Image, EveryKeyInItsOrderAndNoneOfTheOthers)
{
    expectXObjects(
        "<< /Im0 " +
            stream("/Decode [1 0] /ColorSpace /DeviceGray /DecodeParms << /K -1 >> "
                   "/Filter /CCITTFaxDecode /Intent /Perceptual /ImageMask false /Interpolate true "
                   "/BitsPerComponent 1 /Height 3 /Width 2 /Subtype /Image /Type /XObject "
                   "/SMask null /Mask [0 1] /Name /Im0 /Alternates [] /OPI << >>",
                   "\x01>\n") +
            " >>",
        "3 /docIm0 ReadCount\n\x01>\n\n"
        "/Im0\n<<\n/ExternName (docIm0)\n"
        "/Width 2 \n/Height 3 \n/BitsPerComponent 1 \n/Interpolate true \n/ImageMask false \n"
        "/Intent /Perceptual \n"
        "/Filter /CCITTFaxDecode \n/DecodeParms <<\n/K -1 \n>>\n\n"
        "/ColorSpace /DeviceGray /ColorSpace findRes\n"
        "/Decode [ 1 0 ] \n"
        ">>\nCallImage\n");
}

TEST(Image, WithoutAColorSpaceNoneIsWritten)
{
    expectXObjects("<< /M " + stream("/Subtype /Image /Width 8 /Height 1 /ImageMask true", "x") +
                       " >>",
                   "1 /docM ReadCount\nx\n/M\n<<\n/ExternName (docM)\n/Width 8 \n/Height 1 \n"
                   "/ImageMask true \n>>\nCallImage\n");
}

TEST(Image, AnUnknownColorSpaceLeavesItsKeyAlone)
{
    expectXObjects(
        "<< /I " + stream("/Subtype /Image /ColorSpace [/ICCBased 5] /Decode [0 1]", "") + " >>",
        "0 /docI ReadCount\n\n/I\n<<\n/ExternName (docI)\n/ColorSpace /Decode [ 0 1 ] "
        "\n>>\nCallImage\n");
}

TEST(Image, AnUnsupportedFilterIsReportedInTheMiddle)
{
    Written w = defineXObjects("<< /I " +
                               stream("/Subtype /Image /Width 1 /Filter /JPXDecode", "") + " >>");
    ASSERT_EQ(w.reports.size(), 1U);
    EXPECT_TRUE(w.reports[0].ends_with("4 UNSUPPFILTER: PDF document contains unsupported filter "
                                       "(/JPXDecode)"));
    EXPECT_TRUE(
        w.text.starts_with("0 /docI ReadCount\n\n/I\n<<\n/ExternName (docI)\n/Width 1 \n/Filter "));
}

TEST(Form, EveryKeyInItsOrder)
{
    expectXObjects("<< /Fm1 " +
                       stream("/Subtype /Form /FormType 1 /DecodeParms [null] "
                              "/Filter [/JBIG2Decode] /XUID [1 2] /Matrix [1 0 0 1 0 0] "
                              "/BBox [0 0 9 9] /Group << >> /Name /X",
                              "0 0 m") +
                       " >>",
                   "5 /docFm1 ReadCount\n0 0 m\n/Fm1\n<<\n/ExternName (docFm1)\n"
                   "/BBox [ 0 0 9 9 ] \n/Matrix [ 1 0 0 1 0 0 ] \n/XUID [ 1 2 ] \n"
                   "/Filter [ /JBIG2Decode ] \n/DecodeParms [ null ] \n/FormType 1 \n"
                   ">>\nCallForm\n");
}

TEST(Form, ItsResourcesComeBeforeIt)
{
    std::string inner = stream("/Subtype /Form", "in");
    expectXObjects("<< /Out " +
                       stream("/Subtype /Form /Resources << /XObject << /In " + inner +
                                  " >> /ColorSpace << /C /DeviceGray >> >>",
                              "out") +
                       " >>",
                   "2 /docIn ReadCount\nin\n/In\n<<\n/ExternName (docIn)\n>>\nCallForm\n"
                   "/C\n/DeviceGray /ColorSpace findRes\n/ColorSpace defineRes pop\n"
                   "3 /docOut ReadCount\nout\n/Out\n<<\n/ExternName (docOut)\n>>\nCallForm\n");
}

TEST(XObject, AnUnknownSubtypeIsReportedAndTheOthersAreWritten)
{
    Written w = defineXObjects("<< /P " + stream("/Subtype /PS", "x") + " /Q " +
                               stream("/Subtype /image", "x") + " /F " +
                               stream("/Subtype /Form", "f") + " >>");
    EXPECT_EQ(w.reports, (Texts{"ZOLAK:2014 2 badobj: Unknown XObject type",
                                "ZOLAK:2014 2 badobj: Unknown XObject type"}));
    EXPECT_EQ(w.text, "1 /docF ReadCount\nf\n/F\n<<\n/ExternName (docF)\n>>\nCallForm\n");
}

TEST(XObject, WithoutASubtypeItIsSkippedSilently)
{
    expectXObjects("<< /X " + stream("/Type /XObject", "x") + " >>", "");
    expectXObjects("<< >>", "");
}

TEST(XObject, AStreamThatCannotBeReadEndsTheWalk)
{
    Written w = defineXObjects("<< /A " + stream("/Subtype /Form", "a") + " /B << >> /C " +
                               stream("/Subtype /Form", "c") + " >>");
    EXPECT_EQ(w.text, "1 /docA ReadCount\na\n/A\n<<\n/ExternName (docA)\n>>\nCallForm\n");
    EXPECT_EQ(w.reports.size(), 1U);
}

TEST(XObject, TheExternalNameIsBaseNameAndKeyOfAnyLength)
{
    std::string key = std::string(139, 'k');
    Written w = defineXObjects("<< /" + key + " " + stream("/Subtype /Form", "a") + " >>",
                               "abcdefghijklmnopqrstuvwxyz01234");
    EXPECT_EQ(w.text, "1 /abcdefghijklmnopqrstuvwxyz01234" + key + " ReadCount\na\n/" + key +
                          "\n<<\n/ExternName (abcdefghijklmnopqrstuvwxyz01234" + key +
                          ")\n>>\nCallForm\n");
}

TEST(XObject, TheSameKeyOnTwoPagesGetsTheSameExternalName)
{
    PdfBuilder pdf;
    for (const char *data : {"one", "two"})
        pdf.addPage("/MediaBox [0 0 9 9] /Resources << /XObject << /X " +
                    ref(pdf.addStream("/Subtype /Form", data)) + " >> >>");
    auto page = [](const std::string &data) {
        return "BeginPageDescription\n3 /docX ReadCount\n" + data +
               "\n/X\n<<\n/ExternName (docX)\n>>\nCallForm\n"
               "<< /PageSize [ 9 9 ] >> setpagedevice\n0 0 translate\n0 rotate\n"
               "EndPageDescription\n";
    };
    EXPECT_EQ(convertPdf(pdf.build()).pages, page("one") + page("two"));
}

TEST(XObject, TheExternalNameHasNoParenthesesOfTheFileName)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 9 9] /Resources << /XObject << /Im#280 " +
                ref(pdf.addStream("/Subtype /Form", "f")) + " >> >>");
    ScratchDirectory directory;
    std::string file = directory.write("a(b)\\ c.pdf", pdf.build());
    std::string empty = directory.write("empty.ps", "");
    ProgramResult result = runProgram({programPath(), file, "-OUTSPEC=" + (directory / "out.ps"),
                                       "-PROLOG=" + empty, "-TRAILER=" + empty});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(readFile(directory / "out.ps")
                    .starts_with("/TmpFont (ab_ctmpfont) def\nBeginPageDescription\n"
                                 "1 /ab_cIm(0 ReadCount\nf\n/Im(0\n<<\n/ExternName (ab_cIm(0)\n"))
        << "the key stands as it is stored";
}

TEST(XObject, DataThatEndsWithTheFileIsNotCopiedBeyondIt)
{
    /* The stream is whole when it is parsed, so its length is good; nothing is added to it. */
    std::string data(70000, 'd');
    Written w = defineXObjects("<< /X " + stream("/Subtype /Form", data) + " >>");
    EXPECT_TRUE(w.text.starts_with("70000 /docX ReadCount\n" + data + "\n/X\n"));
    w = defineXObjects("<< /X " + stream("/Subtype /Image", "") + " >>");
    EXPECT_EQ(w.text, "0 /docX ReadCount\n\n/X\n<<\n/ExternName (docX)\n>>\nCallImage\n");
}
