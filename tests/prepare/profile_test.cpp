/*
 * profile_test.cpp - calibrated colours, read back from the job at points
 */
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"

namespace {

std::string big(uint32_t value, int bytes)
{
    std::string text;
    while (bytes-- > 0)
        text += (char)(value >> (8 * bytes) & 0xff);
    return text;
}

std::string fixed(double value)
{
    return big((uint32_t)(int32_t)std::lround(value * 65536), 4);
}

/* A profile (ICC.1:2010, 7.2) of these tags. */
std::string profileOf(const std::string &kind, const std::map<std::string, std::string> &tags)
{
    std::string table = big((uint32_t)tags.size(), 4), data;
    size_t begin = 128 + 4 + 12 * tags.size();
    for (const auto &[name, bytes] : tags) {
        table += name + big((uint32_t)(begin + data.size()), 4) + big((uint32_t)bytes.size(), 4);
        data += bytes;
    }
    std::string header = big((uint32_t)(begin + data.size()), 4) + big(0, 4) + big(0x02400000, 4) +
                         "mntr" + kind + "XYZ " + std::string(12, '\0') + "acsp";
    header.resize(128, '\0');
    return header + table + data;
}

std::string column(double x, double y, double z)
{
    return "XYZ " + big(0, 4) + fixed(x) + fixed(y) + fixed(z);
}

/* The curve of sRGB as a formula, and as a table of 256. */
const std::string FORMULA = "para" + big(0, 4) + big(3, 2) + big(0, 2) + fixed(2.4) +
                            fixed(1 / 1.055) + fixed(0.055 / 1.055) + fixed(1 / 12.92) +
                            fixed(0.04045);

std::string table()
{
    std::string curve = "curv" + big(0, 4) + big(256, 4);
    for (int i = 0; i < 256; i++) {
        double x = i / 255.0;
        double y = x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
        curve += big((uint32_t)std::lround(y * 65535), 2);
    }
    return curve;
}

std::string gammaCurve(double value)
{
    return "curv" + big(0, 4) + big(1, 4) + big((uint32_t)std::lround(value * 256), 2);
}

/* sRGB, or with red and green in each other's place. */
std::string colourProfile(bool isSwapped, const std::string &curve)
{
    std::string red = column(0.43607, 0.22249, 0.01392), green = column(0.38515, 0.71687, 0.09708);
    return profileOf("RGB ", {{"rTRC", curve},
                              {"gTRC", curve},
                              {"bTRC", curve},
                              {"rXYZ", isSwapped ? green : red},
                              {"gXYZ", isSwapped ? red : green},
                              {"bXYZ", column(0.14307, 0.06061, 0.7141)}});
}

std::string spaceOf(PdfBuilder *pdf, const std::string &profile, int components)
{
    return "[/ICCBased " + ref(pdf->addStream("/N " + std::to_string(components), profile)) + "]";
}

/* The job's first page, of 200 by 200 points. */
Picture printed(PdfBuilder *pdf, const std::string &content, const std::string &resources)
{
    int stream = pdf->addStream("", content);
    pdf->addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) + " /Resources << " +
                 resources + " >>");
    PrintRun run = printPdf(pdf->build());
    EXPECT_EQ(run.status, 0) << testing::PrintToString(run.messages);
    PrintedJob job = printFile(run.output, 72);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>());
    return job.pages.empty() ? Picture() : job.pages[0];
}

constexpr Colour RED = {255, 0, 0}, GREEN = {0, 255, 0};

} // namespace

TEST(Profiles, ThatAreNotNearTheDeviceHaveTheirColours)
{
    for (const std::string &curve : {FORMULA, table()}) {
        PdfBuilder pdf;
        const std::string space = spaceOf(&pdf, colourProfile(true, curve), 3);
        const std::string bytes(3, '\xff');
        auto image = [&](const std::string &entries, const std::string &data) {
            return ref(pdf.addStream("/Type /XObject /Subtype /Image /Width 1 /Height 1 "
                                     "/BitsPerComponent 8 " +
                                         entries,
                                     data));
        };
        const std::string red("\xff\0\0", 3);
        std::string tint = "<< /FunctionType 2 /N 1 /Domain [0 1] /C0 [1 1 1] /C1 [1 0 0] >>";
        std::string resources =
            "/ColorSpace << /CS " + space + " /Sep [/Separation /Spot " + space + " " + tint +
            "] >> /XObject << /Im " + image("/ColorSpace " + space, red) + " /In " +
            image("/ColorSpace [/Indexed " + space + " 1 <000000ff0000>]", "\1") +
            " >> /Shading << /Sh << /ShadingType 2 /ColorSpace " + space +
            " /Coords [0 0 1 0] /Extend [true true] /Function << /FunctionType 2 /N 1 /Domain [0 "
            "1] /C0 [1 0 0] /C1 [1 0 0] >> >> >>";
        Picture page = printed(
            &pdf,
            "/CS cs 1 0 0 sc 0 0 40 40 re f /CS CS 1 0 0 SC 40 w 60 0 m 60 40 l S q 40 0 0 40 80 0 "
            "cm /Im Do Q q 40 0 0 40 120 0 cm /In Do Q /Sep cs 1 scn 160 0 40 40 re f q 0 50 40 40 "
            "re W n /Sh sh Q q 40 0 0 40 40 50 cm BI /W 1 /H 1 /CS /CS /BPC 8 /F /AHx ID ff0000> "
            "EI "
            "Q 1 0 0 rg 80 50 40 40 re f",
            resources);
        for (int x : {20, 60, 100, 140, 180})
            EXPECT_TRUE(hasColour(page, x, 20, GREEN, 72)) << x;
        for (int x : {20, 60})
            EXPECT_TRUE(hasColour(page, x, 70, GREEN, 72)) << x;
        EXPECT_TRUE(hasColour(page, 100, 70, RED, 72)) << "a colour of the device";
    }
}

TEST(Profiles, OfGrayHaveTheirCurve)
{
    for (double exponent : {1.0, 2.2}) {
        PdfBuilder pdf;
        std::string space = spaceOf(&pdf, profileOf("GRAY", {{"kTRC", gammaCurve(exponent)}}), 1);
        int gray = exponent < 2 ? 188 : 128; /* half of the light; near the device's own */
        EXPECT_TRUE(hasColour(
            printed(&pdf, "/CS cs 0.5 sc 0 0 200 200 re f", "/ColorSpace << /CS " + space + " >>"),
            100, 100, {gray, gray, gray}, 72, 4));
    }
}

TEST(Profiles, NearTheDeviceStay)
{
    PdfBuilder pdf;
    std::string space = spaceOf(&pdf, colourProfile(false, FORMULA), 3);
    int stream = pdf.addStream("", "/CS cs 0.2 0.4 0.6 sc 0 0 200 200 re f");
    pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                " /Resources << /ColorSpace << /CS " + space + " >> >>");
    EXPECT_TRUE(holds(inClear(preparePdf(pdf.build()).pdf), "/CS cs 0.2 0.4 0.6 sc"));
}

TEST(Profiles, ThatAreDamagedAreThoseOfTheDevice)
{
    const std::string whole = colourProfile(true, table());
    for (size_t size : {size_t(0), size_t(60), size_t(131), size_t(150), size_t(220)}) {
        PdfBuilder pdf;
        std::string space = spaceOf(&pdf, whole.substr(0, size), 3);
        EXPECT_TRUE(hasColour(printed(&pdf, "/CS cs 1 0 0 sc 0 0 200 200 re f",
                                      "/ColorSpace << /CS " + space + " >>"),
                              100, 100, RED, 72))
            << size;
    }
}

/* X and Z of strong colours lie beyond those of the white. */
TEST(Profiles, LabReachesBeyondTheWhitePoint)
{
    struct Row {
        const char *lab;
        Colour colour;
    };
    for (const Row &row : {Row{"60 90 -60", {242, 49, 252}}, Row{"80 80 80", {255, 117, 44}}}) {
        PdfBuilder pdf;
        EXPECT_TRUE(hasColour(
            printed(&pdf, "/CS cs " + std::string(row.lab) + " sc 0 0 200 200 re f",
                    "/ColorSpace << /CS [/Lab << /WhitePoint [0.9505 1 1.089] /Range [-128 127 "
                    "-128 127] >>] >>"),
            100, 100, row.colour, 72))
            << row.lab;
    }
}

TEST(GraphicsStates, TheSecondTransferFunctionComesFirst)
{
    const std::string turned = "<< /FunctionType 2 /N 1 /Domain [0 1] /C0 [1] /C1 [0] >>";
    struct Row {
        std::string entries;
        int gray;
    };
    for (const Row &row : {Row{"/TR2 " + turned, 204}, Row{"/TR " + turned + " /TR2 /Default", 51},
                           Row{"/TR " + turned + " /TR2 /Identity", 51}}) {
        PdfBuilder pdf;
        EXPECT_TRUE(hasColour(printed(&pdf, "/G gs 0.2 g 0 0 200 200 re f",
                                      "/ExtGState << /G << " + row.entries + " >> >>"),
                              100, 100, {row.gray, row.gray, row.gray}, 72))
            << row.entries;
    }
}
