/*
 * shadings_test.cpp - shadings of all types: the same page without them
 */
#include <gtest/gtest.h>

#include "prepare/paint/mesh.h"
#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"

namespace {

const char RED_TO_BLUE[] = "/Function << /FunctionType 2 /Domain [0 1] /C0 [1 0 0] /C1 [0 0 1] "
                           "/N 1 >>";
const char HELVETICA[] = "/Font << /F1 << /Type /Font /Subtype /Type1 /BaseFont /Helvetica-Bold "
                         ">> >>";

std::string axial(const std::string &coords, const std::string &extend = "false false")
{
    return "<< /ShadingType 2 /ColorSpace /DeviceRGB /Coords [" + coords + "] /Extend [" + extend +
           "] " + RED_TO_BLUE + " >>";
}

std::string radial(const std::string &coords, const std::string &extend = "false false")
{
    return "<< /ShadingType 3 /ColorSpace /DeviceRGB /Coords [" + coords + "] /Extend [" + extend +
           "] " + RED_TO_BLUE + " >>";
}

/* A page whose resources have the shading as /S, and as the pattern /P with these entries. */
struct Shaded {
    PdfBuilder pdf;

    std::string build(const std::string &content, const std::string &shading,
                      const std::string &patternEntries = "", const std::string &resources = "")
    {
        int stream = pdf.addStream("", content);
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                    " /Resources << /Shading << /S " + shading +
                    " >> /Pattern << /P << "
                    "/PatternType 2 /Shading " +
                    shading + " " + patternEntries + " >> >> " + HELVETICA + " " + resources +
                    " >>");
        return pdf.build();
    }
};

const char FILL[] = "/Pattern cs /P scn 20 30 m 180 30 l 180 120 l 100 180 l 20 120 l h f";

void expectExpressed(const std::string &pdf)
{
    std::string clear = inClear(expectAlike(pdf));
    EXPECT_FALSE(holds(clear, "/Shading"));
    EXPECT_FALSE(holds(clear, "/Pattern"));
}

void expectBothWays(const std::string &shading, const std::string &patternEntries = "")
{
    expectExpressed(Shaded().build("q 10 10 180 180 re W n /S sh Q", shading));
    expectExpressed(Shaded().build(FILL, shading, patternEntries));
}

/* Values of so many bits, high bit first. */
struct Bits {
    std::string bytes;
    int free = 0; /* bits left in the last byte */

    Bits &put(unsigned value, int width)
    {
        for (int i = width - 1; i >= 0; i--) {
            if (free == 0) {
                bytes.push_back(0);
                free = 8;
            }
            free--;
            bytes.back() = (char)((uint8_t)bytes.back() | (value >> i & 1) << free);
        }
        return *this;
    }

    /* A point in units of the page, and a colour. */
    Bits &point(unsigned x, unsigned y) { return put(x, 8).put(y, 8); }
    Bits &colour(unsigned rgb) { return put(rgb, 24); }
};

const char MESH[] = "/ColorSpace /DeviceRGB /BitsPerCoordinate 8 /BitsPerComponent 8 /BitsPerFlag "
                    "8 /Decode [0 255 0 255 0 1 0 1 0 1] /ShadingType ";

constexpr unsigned RED = 0xFF0000, GREEN = 0x00FF00, BLUE = 0x0000FF, YELLOW = 0xFFFF00;

/* A patch from 30 to 170 with bent sides. */
Bits bentPatch(bool isTensor)
{
    Bits bits;
    bits.put(0, 8);
    bits.point(30, 30).point(10, 80).point(50, 120).point(30, 170);
    bits.point(80, 190).point(120, 150).point(170, 170);
    bits.point(190, 120).point(150, 80).point(170, 30);
    bits.point(120, 10).point(80, 50);
    if (isTensor)
        bits.point(80, 80).point(80, 120).point(120, 120).point(120, 80);
    return bits.colour(RED).colour(GREEN).colour(BLUE).colour(YELLOW);
}

void expectBounded(const std::string &pdf)
{
    Preparation made = preparePdf(pdf);
    EXPECT_EQ(made.status, 0);
    EXPECT_TRUE(made.hasOutput);
}

prepare::MeshFormat grayFormat(int type)
{
    prepare::MeshFormat format;
    format.type = type;
    format.decode = {0, 255, 0, 255, 0, 1};
    format.colour = [](std::span<const double> values) {
        return prepare::MeshColour{(float)values[0]};
    };
    return format;
}

} // namespace

TEST(Shadings, AlongAnAxis)
{
    expectBothWays(axial("50 50 150 120"));
    expectBothWays(axial("50 50 150 120", "true true"));
    expectBothWays(axial("50 100 150 100", "true false"));
    expectBothWays(axial("100 150 100 50", "false true"));
}

TEST(Shadings, AlongAnAxisFarOutsideThePage)
{
    expectBothWays(axial("-3000 100 3000 150", "true true"));
}

TEST(Shadings, BetweenCircles)
{
    expectBothWays(radial("100 100 0 100 100 80"));
    expectBothWays(radial("100 100 20 110 90 70"));
    expectBothWays(radial("100 100 20 110 90 70", "true true"));
    expectBothWays(radial("110 90 70 100 100 20", "false true"));
    expectBothWays(radial("110 90 70 100 100 20", "true false"));
}

TEST(Shadings, BetweenCirclesThatLieApart)
{
    expectBothWays(radial("60 100 20 140 100 40"));
    expectBothWays(radial("60 100 30 140 110 30"));
    expectBothWays(radial("60 60 10 130 130 30", "true true"));
    expectBothWays(radial("130 130 30 60 60 10", "true true"));
}

TEST(Shadings, ByAFunctionOfTwoInputs)
{
    Shaded page;
    std::string function = ref(page.pdf.addStream(
        "/FunctionType 4 /Domain [0 1 0 1] /Range [0 1 0 1 0 1]", "{ 2 copy mul 3 1 roll exch }"));
    std::string shading = "<< /ShadingType 1 /ColorSpace /DeviceRGB /Matrix [140 30 -20 130 40 20] "
                          "/Function " +
                          function + " >>";
    expectExpressed(page.build("/S sh", shading));
}

TEST(Shadings, ByFunctionsOfEveryKind)
{
    PdfBuilder pdf;
    std::string ramp = "<< /FunctionType 2 /Domain [0 1] /C0 [0] /C1 [1] /N 2 >>";
    std::string zero = "<< /FunctionType 2 /Domain [0 1] /C0 [0] /C1 [0] /N 1 >>";
    for (const std::string &function :
         {"[" + ramp + " " + zero + " " + ramp + "]",
          std::string("<< /FunctionType 3 /Domain [0 1] /Bounds [0.3 0.6] /Encode [0 1 0 1 1 0] "
                      "/Functions [<< /FunctionType 2 /Domain [0 1] /C0 [1 0 0] /C1 [1 1 0] /N 1 "
                      ">> << /FunctionType 2 /Domain [0 1] /C0 [0 1 0] /C1 [0 1 0] /N 1 >> << "
                      "/FunctionType 2 /Domain [0 1] /C0 [0 0 0] /C1 [0 0 1] /N 1 >>] >>")}) {
        SCOPED_TRACE(function);
        expectExpressed(Shaded().build("/S sh", "<< /ShadingType 2 /ColorSpace /DeviceRGB /Coords "
                                                "[20 20 180 60] /Function " +
                                                    function + " >>"));
    }
    Shaded page;
    std::string samples = ref(page.pdf.addStream("/FunctionType 0 /Domain [0 1] /Range [0 1 0 1 0 "
                                                 "1] /Size [3] /BitsPerSample 8",
                                                 std::string("\xFF\0\0\0\xFF\0\0\0\xFF", 9)));
    expectExpressed(page.build("/S sh", "<< /ShadingType 2 /ColorSpace /DeviceRGB /Coords [20 20 "
                                        "180 60] /Domain [0.1 0.9] /Function " +
                                            samples + " >>"));
}

TEST(Shadings, InAnySpace)
{
    for (const char *space :
         {"/DeviceGray /Function << /FunctionType 2 /Domain [0 1] /C0 [1] /C1 [0.2] /N 1 >>",
          "[/Separation /Spot /DeviceRGB << /FunctionType 2 /Domain [0 1] /C0 [1 1 1] /C1 [0.8 0 "
          "0.4] /N 1 >>] /Function << /FunctionType 2 /Domain [0 1] /C0 [0] /C1 [1] /N 1 >>"}) {
        SCOPED_TRACE(space);
        expectBothWays("<< /ShadingType 2 /Coords [40 40 160 100] /ColorSpace " +
                       std::string(space) + " >>");
    }
}

TEST(Shadings, PatternsHaveAMatrixABackgroundAndABox)
{
    expectExpressed(Shaded().build("0.5 0 0 0.5 50 50 cm " + std::string(FILL), axial("0 0 100 0"),
                                   "/Matrix [0.8 0.6 -0.6 0.8 70 20]"));
    std::string shading = axial("60 100 140 100");
    shading.insert(2, " /Background [1 1 0] /BBox [40 60 160 130] ");
    expectExpressed(Shaded().build(FILL, shading));
    expectExpressed(Shaded().build("q 10 10 180 180 re W n /S sh Q", shading));
}

TEST(Shadings, FillText)
{
    expectExpressed(Shaded().build("/Pattern cs /P scn BT /F1 70 Tf 15 120 Td (Text) Tj 0 -80 Td "
                                   "(more) Tj ET",
                                   axial("20 20 180 180", "true true")));
}

TEST(Shadings, InFormsAndCells)
{
    Shaded page;
    std::string resources = "/Resources << /Shading << /S " + axial("10 10 90 60") + " >> >>";
    std::string form = ref(page.pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 100 80] "
                                              "/Matrix [1.2 0.4 -0.4 1.2 40 10] " +
                                                  resources,
                                              "5 5 80 60 re W n /S sh"));
    expectExpressed(page.build("/X Do q 0.5 0 0 0.5 100 120 cm /X Do Q", axial("0 0 1 1"), "",
                               "/XObject << /X " + form + " >>"));
    Shaded tiled;
    std::string cell = ref(tiled.pdf.addStream("/PatternType 1 /PaintType 1 /TilingType 1 /BBox "
                                               "[0 0 100 80] /XStep 100 /YStep 80 " +
                                                   resources,
                                               "/S sh"));
    int stream = tiled.pdf.addStream("", "/Pattern cs /T scn 10 10 180 180 re f");
    tiled.pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) +
                      " /Resources << /Pattern << /T " + cell + " >> >>");
    expectExpressed(tiled.pdf.build());
}

TEST(Shadings, FreeTriangles)
{
    Bits bits;
    for (auto [x, y, colour] : {std::tuple{20u, 20u, RED}, {180u, 30u, GREEN}, {100u, 100u, BLUE}})
        bits.put(0, 8).point(x, y).colour(colour);
    bits.put(1, 8).point(180, 180).colour(YELLOW); /* on the last side */
    bits.put(2, 8).point(110, 190).colour(RED);    /* on the side from the first to the last */
    Shaded page;
    std::string mesh = ref(page.pdf.addStream(std::string(MESH) + "4", bits.bytes));
    expectExpressed(page.build("/S sh", mesh));
    Shaded pattern;
    mesh = ref(pattern.pdf.addStream(std::string(MESH) + "4", bits.bytes));
    expectExpressed(pattern.build(FILL, mesh));
}

TEST(Shadings, LatticeOfTriangles)
{
    Bits bits;
    for (unsigned y : {20u, 100u, 180u})
        for (unsigned x : {20u, 80u, 180u})
            bits.point(x + (y == 100 ? 15 : 0), y).colour(x == 80 ? GREEN : y == 100 ? BLUE : RED);
    Shaded page;
    std::string mesh =
        ref(page.pdf.addStream(std::string(MESH) + "5 /VerticesPerRow 3", bits.bytes));
    expectExpressed(page.build("/S sh", mesh));
}

TEST(Shadings, Patches)
{
    for (bool isTensor : {false, true}) {
        Shaded page;
        std::string mesh = ref(page.pdf.addStream(std::string(MESH) + (isTensor ? "7" : "6"),
                                                  bentPatch(isTensor).bytes));
        expectExpressed(page.build("/S sh", mesh));
    }
}

TEST(Shadings, PatchesShareSides)
{
    Bits bits;
    bits.put(0, 8).point(20, 60).point(20, 90).point(20, 120).point(20, 140);
    bits.point(50, 150).point(70, 130).point(100, 140);
    bits.point(100, 110).point(100, 80).point(100, 60).point(70, 50).point(50, 70);
    bits.colour(RED).colour(GREEN).colour(BLUE).colour(YELLOW);
    bits.put(2, 8); /* the third side of the one before */
    bits.point(130, 70).point(150, 50).point(180, 60).point(180, 90).point(180, 120);
    bits.point(180, 140).point(150, 150).point(130, 130);
    bits.colour(RED).colour(GREEN);
    Shaded page;
    std::string mesh = ref(page.pdf.addStream(std::string(MESH) + "6", bits.bytes));
    expectExpressed(page.build("/S sh", mesh));
}

TEST(Shadings, MeshesByAFunction)
{
    Bits bits;
    for (auto [x, y, t] : {std::tuple{20u, 20u, 0u}, {180u, 30u, 128u}, {100u, 180u, 255u}})
        bits.put(0, 8).point(x, y).put(t, 8);
    Shaded page;
    std::string mesh = ref(page.pdf.addStream(
        "/ShadingType 4 /ColorSpace /DeviceRGB /BitsPerCoordinate 8 /BitsPerComponent 8 "
        "/BitsPerFlag 8 /Decode [0 255 0 255 0 1] " +
            std::string(RED_TO_BLUE),
        bits.bytes));
    expectExpressed(page.build("/S sh", mesh));
}

TEST(Shadings, MeshesAreReadBitByBit)
{
    /* Flags of 2 bits, coordinates of 12, colours of 4: padded to bytes at each vertex. */
    Bits bits;
    for (unsigned i = 0; i < 3; i++)
        bits.put(0, 2).put(0xABC, 12).put(i * 0x100, 12).put(5 * i, 4).put(0, 2);
    bits.put(1, 2).put(0xFFF, 12).put(0, 12).put(15, 4).put(0, 2);
    prepare::MeshFormat format = grayFormat(4);
    format.flagBits = 2;
    format.coordinateBits = 12;
    format.componentBits = 4;
    format.decode = {0, 4095, 0, 4095, 0, 15};
    ASSERT_TRUE(prepare::isSound(format));
    prepare::Mesh mesh = prepare::readMesh(format, bits.bytes);
    ASSERT_EQ(mesh.triangles.size(), 2u);
    EXPECT_EQ(mesh.triangles[0].corners[0].x, 0xABC);
    EXPECT_EQ(mesh.triangles[0].corners[2].y, 0x200);
    EXPECT_EQ(mesh.triangles[0].colours[2][0], 10);
    EXPECT_EQ(mesh.triangles[1].corners[0].y, 0x100); /* the side that is shared */
    EXPECT_EQ(mesh.triangles[1].corners[2].x, 4095);
    EXPECT_EQ(mesh.triangles[1].colours[2][0], 15);
}

TEST(Shadings, MeshesEndWithTheirData)
{
    std::string data = bentPatch(false).bytes;
    prepare::MeshFormat format = grayFormat(6);
    format.components = 3;
    format.decode = {0, 255, 0, 255, 0, 1, 0, 1, 0, 1};
    for (size_t size = 0; size <= data.size(); size++)
        EXPECT_EQ(prepare::readMesh(format, data.substr(0, size)).patches.size(),
                  size == data.size() ? 1u : 0u);
    prepare::MeshFormat lattice = grayFormat(5);
    lattice.verticesPerRow = 1000000000;
    EXPECT_TRUE(prepare::readMesh(lattice, data).triangles.empty());
}

TEST(Shadings, WildMeshesAreBounded)
{
    Bits bits;
    for (int i = 0; i < 3000; i++) {
        bits.put(0, 8);
        for (int k = 0; k < 24; k++)
            bits.put(k % 3 ? 0xFFFFFFFF : 0, 32);
        bits.colour(RED).colour(GREEN).colour(BLUE).colour(YELLOW);
    }
    for (const char *decode : {"[-1000000000 1000000000 -1000000000 1000000000 0 1 0 1 0 1]",
                               "[0 0.001 0 0.001 0 1 0 1 0 1]", "[0 200 0 200 0 1 0 1 0 1]"}) {
        SCOPED_TRACE(decode);
        Shaded page;
        std::string mesh = ref(page.pdf.addStream("/ShadingType 6 /ColorSpace /DeviceRGB "
                                                  "/BitsPerCoordinate 32 /BitsPerComponent 8 "
                                                  "/BitsPerFlag 8 /Decode " +
                                                      std::string(decode),
                                                  bits.bytes));
        expectBounded(page.build("/S sh", mesh));
    }
}

TEST(Shadings, WithoutSensePaintNothing)
{
    for (const char *shading :
         {"<< >>", "null", "<< /ShadingType 2 /ColorSpace /DeviceRGB >>",
          "<< /ShadingType 2 /ColorSpace /DeviceRGB /Coords [0 0 1] /Function << /FunctionType 2 "
          "/Domain [0 1] /N 1 >> >>",
          "<< /ShadingType 3 /ColorSpace /DeviceRGB /Coords [0 0 -1 5 5 -2] /Function << "
          "/FunctionType 2 /Domain [0 1] /N 1 >> >>",
          "<< /ShadingType 3 /ColorSpace /DeviceGray /Coords [0 0 0 999999999 5 0.001] /Extend "
          "[true true] /Function << /FunctionType 2 /Domain [0 1] /N 1 >> >>",
          "<< /ShadingType 1 /ColorSpace /Pattern >>",
          "<< /ShadingType 7 /ColorSpace /DeviceGray "
          ">>",
          "<< /ShadingType 99 /ColorSpace /DeviceGray >>"}) {
        SCOPED_TRACE(shading);
        expectBounded(Shaded().build("/S sh " + std::string(FILL), shading));
    }
}
