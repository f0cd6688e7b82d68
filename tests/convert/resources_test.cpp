/*
 * resources_test.cpp - the walk over a resource dictionary
 */
#include "tools/zolak1_3/pdf_to_ps/writer/resources.h"

#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"

namespace {

using Texts = std::vector<std::string>;

const std::string PAGE_HEAD = "BeginPageDescription\n";
const std::string PAGE_TAIL =
    "<< /PageSize [ 9 9 ] >> setpagedevice\n0 0 translate\n0 rotate\nEndPageDescription\n";

Conversion convertResources(const std::string &resources, const Texts &objects = {})
{
    PdfBuilder pdf;
    for (const std::string &object : objects)
        pdf.add(object);
    pdf.addPage("/MediaBox [0 0 9 9] /Resources " + resources);
    return convertPdf(pdf.build());
}

} // namespace

TEST(Resources, WhatIsNotWrittenIsSilent)
{
    for (const char *resources :
         {"<< >>", "<< /ProcSet [/PDF /Text] >>", "<< /Shading << /S 1 >> /Properties << >> >>",
          "<< /XObject << >> /Font << >> /ExtGState << >> /ColorSpace << >> >>"}) {
        Conversion c = convertResources(resources);
        EXPECT_EQ(c.status, 0);
        EXPECT_EQ(faults(c), Texts{}) << resources;
        EXPECT_EQ(c.pages, PAGE_HEAD + PAGE_TAIL);
    }
}

TEST(Resources, KindsComeInTheirFixedOrder)
{
    Conversion c =
        convertResources("<< /ColorSpace << /C /DeviceRGB >> /ExtGState << /G << >> >> "
                         "/Font << /F << /Subtype /Type1 >> >> /XObject << /X 3 0 R >> >>",
                         {"<< /Subtype /Form /Length 0 >>\nstream\n\nendstream"});
    EXPECT_EQ(c.pages, PAGE_HEAD +
                           "0 /docX ReadCount\n\n/X\n<<\n/ExternName (docX)\n>>\nCallForm\n"
                           "<<\n/Name /F\n >> AdjFont\n"
                           "/G <<\n>> /ExtGState defineRes pop\n"
                           "/C\n/DeviceRGB /ColorSpace findRes\n/ColorSpace defineRes pop\n" +
                           PAGE_TAIL);
}

TEST(Resources, PatternsStopTheRunEvenUnused)
{
    Conversion c = convertResources("<< /Pattern << >> >>");
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADXOBJ: Patterns not supported"});
    EXPECT_FALSE(c.hasOutput);
}

TEST(Resources, WhatStandsBeforeThePatternsIsStillWritten)
{
    TestInstance test("<< /Pattern (not read) /ColorSpace << /C /DeviceRGB >> "
                      "/ExtGState << /G << /OP true >> >> /Font << /F << /Subtype /Type1 >> >> "
                      "/XObject << /X << /Subtype /Form /Length 0 >>\nstream\n\nendstream >> "
                      ">> endobj ");
    DictPtr resources = readDict(test.run);
    writeResources(test.run, resources.get());
    EXPECT_EQ(test.controller.takeTexts(), Texts{"ZOLAK 4 BADXOBJ: Patterns not supported"});
    EXPECT_EQ(test.written(), "0 /X ReadCount\n\n/X\n<<\n/ExternName (X)\n>>\nCallForm\n"
                              "<<\n/Name /F\n >> AdjFont\n"
                              "/G <<\n/OP true \n>> /ExtGState defineRes pop\n"
                              "/C\n/DeviceRGB /ColorSpace findRes\n/ColorSpace defineRes pop\n");
}

TEST(Resources, AKindThatIsNoDictionaryStopsTheRun)
{
    Conversion c = convertResources("<< /Font 5 >>");
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADDICT: Dictionary expected."});
}

TEST(Resources, AKindThatCannotBeReadLeavesOutTheKindsBehindIt)
{
    TestInstance test("<< /Pattern << >> /ExtGState << /G << >> >> /Font 5 /XObject << >> >> "
                      "endobj ");
    DictPtr resources = readDict(test.run);
    writeResources(test.run, resources.get());
    EXPECT_EQ(test.controller.takeTexts(),
              (Texts{"ZOLAK 4 BADDICT: Dictionary expected.",
                     "ZOLAK 2 memwarn: Not enough memory to run properly. PDF reader will "
                     "continue, though."}));
    EXPECT_EQ(test.written(), "");
}

TEST(Resources, 256LevelsOfFormsAndTheirFontsAreWrittenAndTheNextIsNot)
{
    for (int levels : {256, 257}) {
        /* Object 2 + n has the resources of level n; forms and Type 3 fonts count together. */
        Texts objects;
        for (int level = 2; level <= levels; level++) {
            std::string resources;
            if (level < levels)
                resources = "/Resources << " + std::string(level % 2 ? "/XObject" : "/Font") +
                            " << /N " + ref(level + 2) + " >> >>";
            else
                resources = "/Resources << /ExtGState << /Last << >> >> >>";
            objects.push_back(level % 2 ? "<< /Subtype /Type3 " + resources + " >>"
                                        : "<< /Subtype /Form " + resources +
                                              " /Length 0 >>\nstream\n\nendstream");
        }
        Conversion c = convertResources("<< /XObject << /N 3 0 R >> >>", objects);
        EXPECT_EQ(c.status, levels == 256 ? 0 : 1);
        EXPECT_EQ(faults(c), levels == 256
                                 ? Texts{}
                                 : Texts{"ZOLAK-E-BADOBJ: Objects are nested too deeply."});
        if (levels == 256) {
            EXPECT_TRUE(c.pages.starts_with(PAGE_HEAD + "/Last <<\n>> /ExtGState defineRes pop\n"));
        }
    }
}

TEST(Resources, AFormThatNamesItselfEndsWithAMessage)
{
    Conversion c = convertResources(
        "<< /XObject << /X 3 0 R >> >>",
        {"<< /Subtype /Form /Resources << /XObject << /X 3 0 R /Y 3 0 R >> >> /Length 0 >>\n"
         "stream\n\nendstream"});
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADOBJ: Objects are nested too deeply."});
}

TEST(Resources, FormsThatShareResourcesDoNotMultiplyWithoutEnd)
{
    Texts forms;
    for (int i = 3; i < 23; i++)
        forms.push_back("<< /Subtype /Form /Resources << /XObject << /A " + ref(i + 1) + " /B " +
                        ref(i + 1) + " >> >> /Length 0 >>\nstream\n\nendstream");
    forms.push_back("<< /Subtype /Form /Length 0 >>\nstream\n\nendstream");
    Conversion c = convertResources("<< /XObject << /X 3 0 R >> >>", forms);
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADXOBJ: Too many nested resources."});
}

TEST(Resources, EveryPageMayHaveAsManyEntriesAsTheLimit)
{
    std::string states;
    for (int i = 0; i < 65536; i++)
        states += "/G" + std::to_string(i) + " 3 0 R ";
    PdfBuilder pdf;
    pdf.add("<< >>");
    pdf.rootEntries = "/MediaBox [0 0 9 9] /Resources << /ExtGState << " + states + " >> >>";
    pdf.addPage("");
    pdf.addPage("/Resources << /ExtGState << /Another << >> >> >>");
    Conversion c = convertPdf(pdf.build());
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(faults(c), Texts{}) << "the second page begins anew";
    c = convertResources("<< /ExtGState << " + states + " /More 3 0 R >> >>", {"<< >>"});
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(faults(c), Texts{"ZOLAK-E-BADXOBJ: Too many nested resources."});
}
