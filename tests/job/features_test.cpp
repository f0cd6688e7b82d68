/*
 * features_test.cpp - what is asked of the printer: its trays, its own features, names around the
 * job
 */
#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/pdf_builder.h"
#include "tests/support/printing.h"
#include "tests/support/scratch_directory.h"

namespace {

using Lines = std::vector<std::string>;

constexpr char DESCRIPTION[] =
    "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n"
    "*LanguageVersion: English\n*LanguageEncoding: ISOLatin1\n*PCFileName: \"TEST.PPD\"\n"
    "*Product: \"(Test)\"\n*Manufacturer: \"Test\"\n*ModelName: \"Test\"\n"
    "*ShortNickName: \"Test\"\n*NickName: \"Test\"\n*PSVersion: \"(3010.000) 0\"\n"
    "*LanguageLevel: \"3\"\n*ColorDevice: True\n*DefaultColorSpace: RGB\n"
    "*OpenUI *PageSize: PickOne\n*OrderDependency: 10 AnySetup *PageSize\n*DefaultPageSize: A4\n"
    "*PageSize A4: \"<</PageSize[595 842]>>setpagedevice\"\n*CloseUI: *PageSize\n"
    "*OpenUI *PageRegion: PickOne\n*OrderDependency: 10 AnySetup *PageRegion\n"
    "*DefaultPageRegion: A4\n*PageRegion A4: \"<</PageSize[595 842]>>setpagedevice\"\n"
    "*CloseUI: *PageRegion\n*DefaultImageableArea: A4\n*ImageableArea A4: \"0 0 595 842\"\n"
    "*DefaultPaperDimension: A4\n*PaperDimension A4: \"595 842\"\n"
    "*OpenUI *InputSlot/Paper Source: PickOne\n*OrderDependency: 20 AnySetup *InputSlot\n"
    "*DefaultInputSlot: Upper\n*InputSlot Upper/Upper Tray: \"<</MediaPosition 0>>setpagedevice\"\n"
    "*InputSlot Lower/Lower Tray: \"<</MediaPosition 1>>setpagedevice\"\n*CloseUI: *InputSlot\n"
    "*OpenUI *StapleLocation/Staple: PickOne\n*OrderDependency: 15 AnySetup *StapleLocation\n"
    "*DefaultStapleLocation: None\n*StapleLocation None: \"\"\n"
    "*StapleLocation Left/Upper Left: \"<</Staple 2>>setpagedevice\"\n*CloseUI: *StapleLocation\n"
    "*OpenUI *Toner/Toner Saving: Boolean\n*OrderDependency: 5 AnySetup *Toner\n"
    "*DefaultToner: False\n*Toner True: \"1 (x) pop pop\"\n*Toner False: \"\"\n*CloseUI: *Toner\n"
    "*UIConstraints: *Toner True *StapleLocation Left\n"
    "*UIConstraints: *StapleLocation Left *Toner True\n"
    "*DefaultFont: Courier\n*Font Courier: Standard \"(1)\" Standard ROM\n";

struct Described {
    Described() { path = directory.write("printer.ppd", DESCRIPTION); }

    PrintRun print(Lines options)
    {
        options.push_back("--ppd=" + path);
        return printPdf(onePagePdf("0 0 9 9 re f"), options);
    }

    ScratchDirectory directory;
    std::string path;
};

/* What stands between the comments of features, and in which order. */
Lines featuresOf(const std::string &job)
{
    Lines features;
    for (size_t at = 0; (at = job.find("%%BeginFeature: *", at)) != std::string::npos; at++) {
        size_t begin = at + strlen("%%BeginFeature: *"), end = job.find("\n%%EndFeature", at);
        features.push_back(job.substr(begin, end - begin));
    }
    return features;
}

TEST(PrinterFeatures, StandInTheJobAsTheDescriptionHasThem)
{
    if (!fileExists(PPD_READER))
        GTEST_SKIP() << "pdf_print-ppd is not built";
    Described printer;
    PrintRun run = printer.print({"--tray=Lower", "--staple=upper left"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(featuresOf(run.output), (Lines{"StapleLocation Left\n<</Staple 2>>setpagedevice",
                                             "InputSlot Lower\n<</MediaPosition 1>>setpagedevice"}))
        << "in the description's order, and nothing that nobody asked for";
    run = printer.print({"--option=toner saving=true", "--copies=2"});
    EXPECT_EQ(featuresOf(run.output).back(), "Toner True\n1 (x) pop pop");
}

TEST(PrinterFeatures, ThatThePrinterLacksAreWrongUse)
{
    if (!fileExists(PPD_READER))
        GTEST_SKIP() << "pdf_print-ppd is not built";
    struct Case {
        Lines options;
        std::string said;
    };
    const Case cases[] = {
        {{"--tray=Middle"}, "The printer's InputSlot is one of Upper, Lower, not: Middle"},
        {{"--output-bin=Top"},
         "The printer has no option OutputBin; it has PageSize, PageRegion, InputSlot, "
         "StapleLocation, Toner"},
        {{"--option=Toner"}, "A printer's option is NAME=VALUE, not: Toner"},
        {{"--option=Toner=True", "--staple=Left"},
         "The printer cannot have these together: Toner=True, StapleLocation=Left"},
        {{"--eps", "--tray=Lower"},
         "A page that is placed elsewhere (--eps) asks nothing of a printer."},
    };
    Described printer;
    for (const Case &c : cases) {
        PrintRun run = printer.print(c.options);
        EXPECT_EQ(run.status, 2) << c.said;
        EXPECT_FALSE(run.hasOutput) << c.said;
        EXPECT_EQ(run.messages.at(0), "pdf_print: " + c.said);
    }
    printer.path = printer.directory.write("none.ppd", "nothing of the kind\n");
    PrintRun run = printer.print({"--tray=Lower"});
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.messages.at(0).starts_with("pdf_print: The printer's description " +
                                               printer.path + " cannot be read: "))
        << run.messages[0];
}

TEST(PrinterFeatures, WithoutADescriptionAreAskedForInTheLanguagesOwnWay)
{
    std::string job = preparedJobOf(onePagePdf(""), {"--tray=2", "--media-type=Thick (white)\\",
                                                     "--output-bin=Upper", "--staple=any"});
    EXPECT_EQ(featuresOf(job),
              (Lines{"InputSlot\nmark { << /ManualFeed false /MediaPosition 2 >> setpagedevice } "
                     "stopped cleartomark",
                     "MediaType\nmark { << /MediaType (Thick \\050white\\051\\134) >> "
                     "setpagedevice } stopped cleartomark",
                     "OutputBin\nmark { << /OutputType (Upper) >> setpagedevice } stopped "
                     "cleartomark",
                     "Staple\nmark { << /Staple 2 >> setpagedevice } stopped cleartomark"}));
    job = preparedJobOf(onePagePdf(""), {"--tray=manual"});
    EXPECT_NE(job.find("/ManualFeed true"), std::string::npos);
    for (const char *option : {"--option=A=B", "--tray=Lower", "--tray=-1"})
        EXPECT_EQ(printPdf(onePagePdf(""), {option}).status, 2) << option;
}

TEST(JobNames, StandInCommentsAndInPjl)
{
    std::string job =
        preparedJobOf(onePagePdf(""), {"--user=Änne \"B\"", "--title=Übersicht\n@PJL"});
    EXPECT_NE(job.find("\n%%Title: (Ubersicht?@PJL)\n%%For: (Anne \"B\")\n"), std::string::npos);
    EXPECT_TRUE(job.starts_with("%!PS-Adobe-3.0\n"));
    EXPECT_EQ(job.find('\033'), std::string::npos);

    job = preparedJobOf(onePagePdf(""), {"--user=Änne \"B\"", "--title=Übersicht\n@PJL", "--pjl"});
    const std::string begin = "\033%-12345X@PJL JOB NAME = \"Ubersicht?@PJL\"\r\n"
                              "@PJL SET JOBNAME = \"Ubersicht?@PJL\"\r\n"
                              "@PJL SET USERNAME = \"Anne 'B'\"\r\n"
                              "@PJL ENTER LANGUAGE = POSTSCRIPT\r\n%!PS-Adobe-3.0\n";
    const std::string end = "%%EOF\n\033%-12345X@PJL EOJ NAME = \"Ubersicht?@PJL\"\r\n"
                            "\033%-12345X";
    EXPECT_EQ(job.substr(0, begin.size()), begin);
    EXPECT_TRUE(job.ends_with(end));
}

} // namespace
