/*
 * masks_test.cpp - masked images come out without masks, and look as they did
 */
#include <gtest/gtest.h>

#include "tests/prepare/preparation.h"
#include "tests/support/pdf_builder.h"

namespace {

/* An image's entries and samples. */
std::string image(int width, int height, const std::string &space, int bits = 8)
{
    return "/Type /XObject /Subtype /Image /Width " + std::to_string(width) + " /Height " +
           std::to_string(height) + " /ColorSpace /" + space + " /BitsPerComponent " +
           std::to_string(bits) + " ";
}

/* Bytes that grow by `step` from one to the next, from 0 on. */
std::string ramp(size_t count, int step)
{
    std::string bytes;
    for (size_t i = 0; i < count; i++)
        bytes.push_back((char)((int)i * step));
    return bytes;
}

/* 8 by 8 samples: 255 in a square in the middle of 4 by 4, `around` elsewhere. */
std::string square(int around)
{
    std::string bytes;
    for (int i = 0; i < 64; i++)
        bytes.push_back(i / 8 % 6 >= 2 && i % 8 % 6 >= 2 ? '\xff' : (char)around);
    return bytes;
}

/* A page with the image as /Im. */
struct Masked {
    PdfBuilder pdf;
    int picture = 0;

    std::string page(const std::string &content, const std::string &resources = "")
    {
        int stream = pdf.addStream("", content);
        pdf.addPage("/MediaBox [0 0 200 200] /Contents " + ref(stream) + " /Resources << " +
                    resources + " /XObject << /Im " + ref(picture) + " >> >>");
        return pdf.build();
    }
};

const char PAINT[] = "q 160 0 0 160 20 20 cm /Im Do Q ";

std::string expectFlat(const std::string &pdf)
{
    EXPECT_EQ(probePdf(pdf), 3);
    std::string clear = inClear(expectPrepared(pdf));
    EXPECT_FALSE(holds(clear, "/SMask"));
    EXPECT_FALSE(holds(clear, "/Mask"));
    return clear;
}

Masked softMasked(const std::string &entries, const std::string &samples,
                  const std::string &maskEntries, const std::string &mask)
{
    Masked made;
    int alpha = made.pdf.addStream(maskEntries, mask);
    made.picture = made.pdf.addStream(entries + "/SMask " + ref(alpha), samples);
    return made;
}

} // namespace

TEST(Masks, SamplesAreMixedWithPaper)
{
    std::string alpha("\xff\x80\x40\xff", 4);
    /* c := 1 - (1 - c) a, and in inks c := c a. */
    Masked gray = softMasked(image(2, 2, "DeviceGray"), std::string("\x20\x20\x20\x20", 4),
                             image(2, 2, "DeviceGray"), alpha);
    EXPECT_TRUE(holds(expectFlat(gray.page(PAINT)), "\x20\x8f\xc7\x20"));
    std::string pixel("\xff\x00\x80", 3), ink("\x80\x40\x02\x02", 4);
    Masked rgb = softMasked(image(2, 2, "DeviceRGB"), pixel + pixel + pixel + pixel,
                            image(2, 2, "DeviceGray"), alpha);
    EXPECT_TRUE(holds(expectFlat(rgb.page(PAINT)),
                      std::string("\xff\x00\x80\xff\x7f\xbf\xff\xbf\xdf\xff\x00\x80", 12)));
    Masked cmyk = softMasked(image(2, 2, "DeviceCMYK"), ink + ink + ink + ink,
                             image(2, 2, "DeviceGray"), alpha);
    EXPECT_TRUE(holds(expectFlat(cmyk.page(PAINT)),
                      "\x80\x40\x02\x02\x40\x20\x01\x01\x20\x10\x01\x01\x80\x40\x02\x02"));
}

TEST(Masks, OpaqueMaskIsDroppedAndTheImageKept)
{
    std::string samples = ramp(64, 3);
    Masked made = softMasked(image(8, 8, "DeviceGray"), samples, image(2, 2, "DeviceGray"),
                             "\xff\xff\xff\xff");
    EXPECT_TRUE(holds(expectFlat(made.page(PAINT)), samples));
}

TEST(Masks, NothingIsLeftOfWhatIsAllMasked)
{
    Masked made = softMasked(image(8, 8, "DeviceGray"), ramp(64, 3), image(2, 2, "DeviceGray"),
                             std::string(4, '\0'));
    std::string clear = expectFlat(made.page("20 20 10 10 re f " + std::string(PAINT)));
    EXPECT_FALSE(holds(clear, " Do"));
}

TEST(Masks, SizesMayDiffer)
{
    Masked small = softMasked(image(2, 2, "DeviceRGB"), ramp(12, 20), image(16, 16, "DeviceGray"),
                              ramp(256, 1));
    expectFlat(small.page(PAINT));
    Masked large = softMasked(image(16, 16, "DeviceRGB"), ramp(768, 5), image(2, 4, "DeviceGray"),
                              std::string("\x20\xff\xff\x80\xc0\x20\x90\xf0", 8));
    expectFlat(large.page(PAINT));
}

TEST(Masks, RotatedAndInForms)
{
    Masked made =
        softMasked(image(8, 8, "DeviceRGB"), ramp(192, 7), image(8, 8, "DeviceGray"), square(60));
    int form = made.pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 200 200] /Matrix [0.7 "
                                  "0.3 -0.3 0.7 60 10] /Resources << /XObject << /In " +
                                      ref(made.picture) + " >> >>",
                                  "q 140 20 -20 140 40 10 cm /In Do Q");
    made.picture = form;
    expectFlat(made.page("0.9 0 0 0.9 4 4 cm /Im Do"));
}

TEST(Masks, DecodeOfBothCounts)
{
    Masked made = softMasked(image(8, 8, "DeviceGray") + "/Decode [1 0] ", ramp(64, 4),
                             image(8, 8, "DeviceGray") + "/Decode [0.8 0.2] ", ramp(64, 4));
    expectFlat(made.page(PAINT));
}

TEST(Masks, MatteIsUndone)
{
    /* Stored: matte + alpha (colour - matte), of 0x40 on a matte of 0xff. */
    std::string stored("\x40\x9f\xcf\x40", 4), alpha("\xff\x80\x40\xff", 4);
    Masked made = softMasked(image(2, 2, "DeviceGray"), stored,
                             image(2, 2, "DeviceGray") + "/Matte [1] ", alpha);
    std::string clear = expectFlat(made.page(PAINT));
    EXPECT_TRUE(holds(clear, "\x40\x9f\xcf\x40"));
}

TEST(Masks, IndexedColours)
{
    Masked made;
    int alpha = made.pdf.addStream(image(8, 8, "DeviceGray"), square(100));
    made.picture = made.pdf.addStream(
        "/Type /XObject /Subtype /Image /Width 8 /Height 8 /BitsPerComponent 2 /ColorSpace "
        "[/Indexed /DeviceRGB 3 <FF0000 00FF00 0000FF FFFF00>] /SMask " +
            ref(alpha),
        ramp(16, 27));
    expectFlat(made.page(PAINT));
}

TEST(Masks, ExplicitMask)
{
    for (const char *decode : {"", "/Decode [1 0]"}) {
        SCOPED_TRACE(decode);
        Masked made;
        int mask = made.pdf.addStream("/Type /XObject /Subtype /Image /Width 8 /Height 8 "
                                      "/ImageMask true /BitsPerComponent 1 " +
                                          std::string(decode),
                                      "\x0f\x0f\x33\x33\xaa\xaa\xf1\x81");
        made.picture =
            made.pdf.addStream(image(4, 4, "DeviceRGB") + "/Mask " + ref(mask), ramp(48, 5));
        expectFlat(made.page(PAINT));
    }
}

TEST(Masks, ColourKeyIsHeldAgainstStoredSamples)
{
    Masked made;
    made.picture =
        made.pdf.addStream(image(8, 8, "DeviceGray") + "/Decode [1 0] /Mask [0 100]", ramp(64, 4));
    expectFlat(made.page("0.6 1 1 rg 0 0 200 200 re f " + std::string(PAINT)));
}

TEST(Masks, OneColourBelowIsMixedIn)
{
    Masked made =
        softMasked(image(8, 8, "DeviceGray"), ramp(64, 4), image(8, 8, "DeviceGray"), square(90));
    std::string clear = expectFlat(made.page("1 0.5 0 rg 0 0 200 200 re f " + std::string(PAINT)));
    EXPECT_TRUE(holds(clear, "/DeviceRGB"));
}

TEST(Masks, OneImageAtTwoPlacesIsComputedForEach)
{
    Masked made =
        softMasked(image(8, 8, "DeviceGray"), ramp(64, 4), image(8, 8, "DeviceGray"), square(90));
    expectFlat(made.page("1 0 0 rg 0 0 100 200 re f 0 0 1 rg 100 0 100 200 re f "
                         "q 80 0 0 80 10 20 cm /Im Do Q q 80 0 0 80 110 20 cm /Im Do Q "
                         "q 80 0 0 80 110 110 cm /Im Do Q"));
}

TEST(Masks, MaskOfTwoValuesClipsWhereManyThingsLieBelow)
{
    Masked made =
        softMasked(image(8, 8, "DeviceGray"), ramp(64, 4), image(8, 8, "DeviceGray"), square(0));
    std::string clear = expectFlat(
        made.page("1 0 0 rg 0 0 100 200 re f 0 0 1 rg 100 0 100 200 re f " + std::string(PAINT)));
    EXPECT_TRUE(holds(clear, "0.25 0.25 0.5 0.5 re\nW n"));
}

TEST(Masks, OneColourBehindTwoValuesIsAStencil)
{
    Masked made = softMasked(image(1, 1, "DeviceRGB"), std::string("\xff\x00\x80", 3),
                             image(8, 8, "DeviceGray", 1), "\x0f\x0f\x0f\x0f\xf0\xf0\xf0\xf0");
    std::string clear =
        expectFlat(made.page("1 1 0 rg 0 0 100 200 re f 0 0 1 rg 100 0 100 200 re f " +
                             std::string("q 144 0 0 144 18 18 cm /Im Do Q")));
    EXPECT_TRUE(holds(clear, "/ImageMask true"));
}

TEST(Masks, GradedMaskOnManyThingsBecomesPixels)
{
    Masked made =
        softMasked(image(8, 8, "DeviceGray"), ramp(64, 4), image(8, 8, "DeviceGray"), ramp(64, 4));
    std::string page =
        made.page("1 0 0 rg 0 0 100 200 re f 0 0 1 rg 100 0 100 200 re f " + std::string(PAINT));
    Preparation prepared = preparePdf(page);
    ASSERT_EQ(prepared.messages.size(), 1u);
    EXPECT_TRUE(holds(prepared.messages[0], "REGION"));
    expectSamePages(page, prepared.pdf);
}

TEST(Masks, ImageAndStencilWithAlpha)
{
    Masked made;
    made.picture = made.pdf.addStream(image(8, 8, "DeviceRGB"), ramp(192, 7));
    expectFlat(made.page("/S gs " + std::string(PAINT), "/ExtGState << /S << /ca 0.4 >> >>"));
    Masked stencil;
    stencil.picture =
        stencil.pdf.addStream("/Type /XObject /Subtype /Image /Width 8 /Height 8 /ImageMask true",
                              "\x0f\x0f\x33\x33\xaa\xaa\xf1\x81");
    std::string clear = expectFlat(
        stencil.page("1 0 0 rg /S gs " + std::string(PAINT), "/ExtGState << /S << /ca 0.4 >> >>"));
    EXPECT_TRUE(holds(clear, "1 0.6 0.6 rg"));
}

TEST(Masks, OwnMaskTakesThePlaceOfTheStates)
{
    Masked made = softMasked(image(8, 8, "DeviceGray"), ramp(64, 2), image(2, 2, "DeviceGray"),
                             std::string("\xff\x80\x80\xff", 4));
    int nothing = made.pdf.addStream("/Type /XObject /Subtype /Form /BBox [0 0 200 200] /Group << "
                                     "/S /Transparency /CS /DeviceGray >>",
                                     "q Q");
    expectFlat(
        made.page("/S gs " + std::string(PAINT),
                  "/ExtGState << /S << /SMask << /S /Luminosity /G " + ref(nothing) + " >> >> >>"));
}

TEST(Masks, GlyphsPaintMaskedImages)
{
    Masked made =
        softMasked(image(8, 8, "DeviceGray"), ramp(64, 2), image(8, 8, "DeviceGray"), square(90));
    std::string glyph = ref(made.pdf.addStream("", "1000 0 d0 q 800 0 0 800 100 100 cm /In Do Q"));
    std::string font = "<< /Type /Font /Subtype /Type3 /FontBBox [0 0 1000 1000] /FontMatrix "
                       "[0.001 0 0 0.001 0 0] /FirstChar 97 /LastChar 97 /Widths [1000] /Encoding "
                       "<< /Differences [97 /a] >> /Resources << /XObject << /In " +
                       ref(made.picture) + " >> >> /CharProcs << /a " + glyph + " >> >>";
    expectFlat(made.page("BT /T 80 Tf 20 60 Td (aa) Tj ET",
                         "/Font << /T " + ref(made.pdf.add(font)) + " >>"));
}

/* ---- hostile ---- */

namespace {

/* Something comes out, and says so where it is not as it should be. */
void expectBounded(Masked *made, bool isNoticed)
{
    Preparation prepared = preparePdf(made->page(PAINT));
    EXPECT_EQ(prepared.status, 0);
    EXPECT_TRUE(prepared.hasOutput);
    EXPECT_EQ(!prepared.messages.empty(), isNoticed);
}

} // namespace

TEST(MasksHostile, SizesBeyondAllBounds)
{
    Masked mask =
        softMasked(image(2, 2, "DeviceGray"), "abcd", image(40000, 40000, "DeviceGray"), "x");
    expectBounded(&mask, true);
    Masked whole =
        softMasked(image(40000, 40000, "DeviceRGB"), "x", image(2, 2, "DeviceGray"), "abcd");
    expectBounded(&whole, true);
    Masked both = softMasked(image(60000, 1, "DeviceRGB"), ramp(180000, 1),
                             image(1, 60000, "DeviceGray"), ramp(60000, 1));
    expectBounded(&both, true);
}

TEST(MasksHostile, MasksThatAreNone)
{
    Masked itself;
    itself.picture = itself.pdf.reserve();
    itself.pdf.set(itself.picture, "<< " + image(2, 2, "DeviceGray") + "/SMask " +
                                       ref(itself.picture) +
                                       " /Length 4 >>\nstream\nabcd\nendstream");
    expectBounded(&itself, false);
    for (const char *key : {"/Mask [1 (x)]", "/Mask [300 -1]", "/Mask []"}) {
        Masked made;
        made.picture = made.pdf.addStream(image(2, 2, "DeviceGray") + key, "abcd");
        Preparation prepared = preparePdf(made.page(PAINT));
        EXPECT_EQ(prepared.status, 0) << key;
    }
}
