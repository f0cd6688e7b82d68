/*
 * rendering_test.cpp - whole fonts: the converted font and the original draw the same glyphs
 *
 * A font is converted, Ghostscript draws a sample of its glyphs through the Type 3 font, and
 * FreeType draws the same glyphs from the TrueType font, both at the same size in black and white
 * with the rule that a pixel belongs to a shape when its centre does.  Of the pixels that either
 * has inked, 98 in 100 must be inked by both.
 *
 * Two treatments change a shape by intention: just two off-curve points in a row, and a first
 * point off the curve.  Glyphs that they change are compared with the original after the same
 * change to its points.  Not compared are composite glyphs with a component that is composite
 * itself, with point numbers for arguments, or with scaled offsets.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <map>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"
#include "tests/truetype/conversion.h"
#include "tests/truetype/font_builder.h"

namespace {

/* The size is odd, so that hardly an edge runs just through the centres of pixels, where the rule
 * leaves the answer open. */
constexpr int EM_PIXELS = 503;
constexpr int ORIGIN_X = 480, ORIGIN_Y = 360; /* from the lower left corner */
constexpr int WIDTH = 1440, HEIGHT = 1120;    /* of the picture of one glyph; wide ones fit */
constexpr size_t PICTURE_BYTES = (size_t)WIDTH / 8 * HEIGHT;
constexpr double LEAST_EQUAL = 0.98;

constexpr unsigned SCALED_COMPONENT_OFFSET = 0x0800;

/* One glyph in black and white, a bit for each pixel, top row first. */
using Picture = std::string;

/* ---- FreeType */

class Face {
  public:
    explicit Face(const std::string &path)
    {
        EXPECT_EQ(FT_Init_FreeType(&library), 0);
        EXPECT_EQ(FT_New_Face(library, path.c_str(), 0, &face), 0);
        EXPECT_EQ(FT_Set_Pixel_Sizes(face, 0, EM_PIXELS), 0);
    }
    ~Face()
    {
        FT_Done_Face(face);
        FT_Done_FreeType(library);
    }
    Face(const Face &) = delete;
    Face &operator=(const Face &) = delete;

    FT_Library library;
    FT_Face face;
};

bool isOnCurve(const FT_Outline &outline, int point)
{
    return FT_CURVE_TAG(outline.tags[point]) == FT_CURVE_TAG_ON;
}

/* (4 control - end) / 3, on a cubic curve. */
void pushOut(FT_Outline *outline, int control, FT_Vector end)
{
    FT_Vector &point = outline->points[control];
    point = {(4 * point.x - end.x) / 3, (4 * point.y - end.y) / 3};
    outline->tags[control] = FT_CURVE_TAG_CUBIC;
}

/* Changes the points from `start` to `end` as the conversion means to draw them: the first is on
 * the curve, and just two off-curve points are pushed out. */
bool treatContour(FT_Outline *outline, int start, int end)
{
    bool changed = !isOnCurve(*outline, start);
    outline->tags[start] = FT_CURVE_TAG_ON;
    int run = 0;
    for (int i = start + 1; i <= end + 1; i++) {
        if (i <= end && !isOnCurve(*outline, i)) {
            run++;
            continue;
        }
        if (run == 2) {
            FT_Vector target = outline->points[i <= end ? i : start];
            pushOut(outline, i - 2, outline->points[i - 3]);
            pushOut(outline, i - 1, target);
            changed = true;
        }
        run = 0;
    }
    return changed;
}

/* Draws the glyph as the conversion means it; `treated` tells whether that differs from the font's
 * own outline. */
Picture drawOriginal(const Face &font, unsigned glyph, bool *treated)
{
    Picture picture(PICTURE_BYTES, '\0');
    FT_Bitmap bitmap = {};
    bitmap.rows = HEIGHT;
    bitmap.width = WIDTH;
    bitmap.pitch = WIDTH / 8;
    bitmap.buffer = reinterpret_cast<unsigned char *>(picture.data());
    bitmap.pixel_mode = FT_PIXEL_MODE_MONO;
    EXPECT_EQ(FT_Load_Glyph(font.face, glyph, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP), 0);
    FT_Outline *outline = &font.face->glyph->outline;
    *treated = false;
    for (int i = 0, start = 0; i < outline->n_contours; start = outline->contours[i++] + 1)
        *treated |= treatContour(outline, start, outline->contours[i]);
    FT_Outline_Translate(outline, ORIGIN_X * 64, ORIGIN_Y * 64);
    EXPECT_EQ(FT_Outline_Get_Bitmap(font.library, outline, &bitmap), 0);
    return picture;
}

/* ---- which glyphs are excepted */

bool isComposite(const Face &font, unsigned glyph)
{
    EXPECT_EQ(FT_Load_Glyph(font.face, glyph, FT_LOAD_NO_SCALE | FT_LOAD_NO_RECURSE), 0);
    return font.face->glyph->format == FT_GLYPH_FORMAT_COMPOSITE;
}

/* Why the glyph is not compared, or null. */
const char *exceptionOf(const Face &font, unsigned glyph)
{
    if (!isComposite(font, glyph))
        return nullptr;
    std::vector<unsigned> components;
    for (unsigned i = 0; i < font.face->glyph->num_subglyphs; i++) {
        FT_Int index, arg1, arg2;
        FT_UInt flags;
        FT_Matrix transform;
        FT_Get_SubGlyph_Info(font.face->glyph, i, &index, &flags, &arg1, &arg2, &transform);
        if (!(flags & FT_SUBGLYPH_FLAG_ARGS_ARE_XY_VALUES))
            return "arguments are point numbers";
        if (flags & SCALED_COMPONENT_OFFSET)
            return "scaled offset";
        components.push_back((unsigned)index);
    }
    for (unsigned component : components)
        if (isComposite(font, component))
            return "nested composite";
    return nullptr;
}

/* ---- Ghostscript */

/* Converts the font and answers the PostScript of it, under the name /Font. */
std::string convertedFont(const std::string &path)
{
    FontConversion conversion = convertFont(readFile(path));
    EXPECT_FALSE(conversion.stopped);
    return "/Font\n" + conversion.text;
}

/* A page for each name, the glyph at the origin of its picture. */
std::string pagesOf(const std::vector<std::string> &names)
{
    std::string pages =
        "/Font findfont " + std::to_string(EM_PIXELS) + " scalefont setfont\n/draw { " +
        std::to_string(ORIGIN_X) + " " + std::to_string(ORIGIN_Y) +
        " moveto glyphshow showpage } bind def\n"
        "0 0 .setfilladjust2\n" /* a pixel belongs to the shape that its centre is in */
        "0.2 setflat\n";        /* curves as exact as the interpreter draws them */
    for (const std::string &name : names)
        pages += "/" + name + " draw\n";
    return pages;
}

/* The pictures in a file of portable bitmaps one after another. */
std::vector<Picture> readBitmaps(const std::string &file)
{
    std::vector<Picture> pictures;
    size_t at = 0;
    while (at + PICTURE_BYTES <= file.size() && file.compare(at, 3, "P4\n") == 0) {
        at = file.find('\n', at) + 1;
        while (file[at] == '#')
            at = file.find('\n', at) + 1;
        at = file.find('\n', at) + 1; /* width and height */
        pictures.push_back(file.substr(at, PICTURE_BYTES));
        at += PICTURE_BYTES;
    }
    return pictures;
}

std::vector<Picture> drawConverted(const std::string &fontText,
                                   const std::vector<std::string> &names)
{
    ScratchDirectory scratch;
    scratch.write("glyphs.ps", fontText + pagesOf(names));
    ProgramOptions options;
    options.directory = scratch.path;
    ProgramResult result =
        runProgram({"gs", "-dSAFER", "-q", "-dBATCH", "-dNOPAUSE", "-sDEVICE=pbmraw", "-r72",
                    "-g" + std::to_string(WIDTH) + "x" + std::to_string(HEIGHT),
                    "-sOutputFile=glyphs.pbm", "glyphs.ps"},
                   options);
    EXPECT_EQ(result.status, 0) << result.out << result.err;
    return readBitmaps(readFile(scratch / "glyphs.pbm"));
}

/* ---- comparing */

struct InkCount {
    size_t either = 0, both = 0;
};

InkCount compareInk(const Picture &a, const Picture &b)
{
    InkCount count;
    for (size_t i = 0; i < PICTURE_BYTES; i++) {
        count.either += (size_t)std::popcount((uint8_t)(a[i] | b[i]));
        count.both += (size_t)std::popcount((uint8_t)(a[i] & b[i]));
    }
    return count;
}

/* Every `step`th glyph of the font from `first` on, without those that are excepted and those
 * whose name is another glyph's too. */
std::vector<unsigned> sampleOf(const Face &font, const std::vector<std::string> &names,
                               unsigned first, unsigned step,
                               std::map<std::string, std::vector<std::string>> *excepted)
{
    std::map<std::string, int> uses;
    for (const std::string &name : names)
        uses[name]++;
    std::vector<unsigned> sample;
    for (unsigned glyph = first; glyph < names.size(); glyph += step) {
        const char *reason = exceptionOf(font, glyph);
        if (uses[names[glyph]] > 1)
            reason = "name of several glyphs";
        if (reason)
            (*excepted)[reason].push_back(names[glyph]);
        else
            sample.push_back(glyph);
    }
    return sample;
}

void expectSameGlyphs(const std::string &path, unsigned first, unsigned step, size_t atLeast)
{
    if (!fileExists(path))
        GTEST_SKIP() << path << " is not installed";
    if (!haveProgram("gs"))
        GTEST_SKIP() << "Ghostscript is not installed";
    Face font(path);
    std::string text = convertedFont(path);
    std::vector<std::string> names = glyphNames({text, {}, false});
    ASSERT_EQ(names.size(), (size_t)font.face->num_glyphs);

    std::map<std::string, std::vector<std::string>> excepted;
    std::vector<unsigned> sample = sampleOf(font, names, first, step, &excepted);
    std::vector<std::string> sampleNames;
    for (unsigned glyph : sample)
        sampleNames.push_back(names[glyph]);
    std::vector<Picture> converted = drawConverted(text, sampleNames);
    ASSERT_EQ(converted.size(), sample.size());

    double worst = 1;
    size_t treatedCount = 0;
    for (size_t i = 0; i < sample.size(); i++) {
        bool treated;
        InkCount ink = compareInk(converted[i], drawOriginal(font, sample[i], &treated));
        double equal = ink.either ? (double)ink.both / (double)ink.either : 1;
        EXPECT_GE(equal, LEAST_EQUAL) << sampleNames[i];
        worst = std::min(worst, equal);
        treatedCount += treated;
    }
    EXPECT_GE(sample.size(), atLeast);
    EXPECT_GE(sample.size() - treatedCount, atLeast / 2);
    printf("%s: %zu glyphs compared, %zu of them after treatment, at least %.2f %% equal; "
           "excepted:",
           path.c_str(), sample.size(), treatedCount, std::floor(worst * 1e4) / 1e2);
    for (const auto &[reason, glyphs] : excepted)
        printf(" %zu for %s;", glyphs.size(), reason.c_str());
    printf("\n");
}

const std::string FONTS = "/usr/share/fonts/truetype/";

/* ---- what FreeType says about the whole font */

/* Names of the standard order for which FreeType has others. */
bool isOwnName(const std::string &name)
{
    return name == "CR" || name == "nbspace" || name == "Idot" || name == "dmacron" ||
           name == "increment";
}

/* Every glyph has the name, the advance width and the place that FreeType finds for it. */
void expectSameTables(const std::string &path)
{
    if (!fileExists(path))
        GTEST_SKIP() << path << " is not installed";
    Face font(path);
    FontConversion conversion = convertFont(readFile(path));
    std::vector<std::string> names = glyphNames(conversion);
    ASSERT_EQ(names.size(), (size_t)font.face->num_glyphs);
    size_t at = 0;
    for (unsigned glyph = 0; glyph < names.size(); glyph++) {
        char name[256];
        ASSERT_EQ(FT_Get_Glyph_Name(font.face, glyph, name, sizeof name), 0);
        EXPECT_TRUE(names[glyph] == name || isOwnName(names[glyph])) << names[glyph] << " " << name;
        ASSERT_EQ(FT_Load_Glyph(font.face, glyph, FT_LOAD_NO_SCALE), 0);
        std::string line = std::to_string(font.face->glyph->metrics.horiAdvance) + " 0 ";
        at = conversion.text.find("/" + names[glyph] + " { % " + std::to_string(glyph) + " ", at);
        ASSERT_NE(at, std::string::npos) << names[glyph];
        EXPECT_EQ(conversion.text.substr(conversion.text.find('\n', at) + 1, line.size()), line);
    }
    std::vector<std::string> encoding = encodingNames(conversion);
    for (unsigned code = 0x20; code < 0x7F; code++)
        EXPECT_EQ(encoding[code], names[FT_Get_Char_Index(font.face, code)]) << code;
    for (unsigned code = 0xA0; code < 0x100; code++)
        EXPECT_EQ(encoding[code], names[FT_Get_Char_Index(font.face, code)]) << code;
}

TEST(WholeFont, DejaVuSans)
{
    expectSameTables(FONTS + "dejavu/DejaVuSans.ttf");
}

TEST(WholeFont, LiberationSans)
{
    expectSameTables(FONTS + "liberation/LiberationSans-Regular.ttf");
}

/* ---- what Ghostscript reads */

TEST(WholeFont, HostileNamesStayData)
{
    if (!haveProgram("gs"))
        GTEST_SKIP() << "Ghostscript is not installed";
    const std::string hostile = "a) quit \\(\\) %\r\nquit\n>>}]";
    FontBuilder font;
    font.glyphs = {"", simpleGlyph({{{0, 0, ON}, {9, 0, ON}, {9, 9, ON}}})};
    font.names = {"} def quit {", "a\nquit"};
    std::vector<NameRecord> records;
    for (unsigned nameID = 0; nameID < 8; nameID++)
        records.push_back({3, 1, 0x409, nameID, utf16(hostile)});
    font.replaced["name"] = nameTable(records);

    ScratchDirectory scratch;
    scratch.write("font.ps", "/Font\n" + convertFont(font.build()).text +
                                 "/Font findfont dup /FontInfo get /Notice get ==\n"
                                 "/FontName get ==\n"
                                 "/Font findfont 9 scalefont setfont 9 9 moveto /_1 glyphshow\n"
                                 "(end) = count =\n");
    ProgramOptions options;
    options.directory = scratch.path;
    ProgramResult result =
        runProgram({"gs", "-dSAFER", "-q", "-dBATCH", "-dNODISPLAY", "font.ps"}, options);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, /* the interpreter reads each line end inside a string as \n */
              "(a] quit \\\\[\\\\] %\\nquit\\n>>}])\n"
              "(a] quit \\\\[\\\\] %  quit >>}])\n"
              "end\n0\n");
}

/* ---- what Ghostscript draws */

TEST(RenderedFont, DejaVuSans)
{
    expectSameGlyphs(FONTS + "dejavu/DejaVuSans.ttf", 0, 25, 200);
}

TEST(RenderedFont, DejaVuSerifItalic)
{
    expectSameGlyphs(FONTS + "dejavu/DejaVuSerif-Italic.ttf", 36, 40, 50);
}

TEST(RenderedFont, LiberationSans)
{
    expectSameGlyphs(FONTS + "liberation/LiberationSans-Regular.ttf", 3, 7, 60);
}

} // namespace
