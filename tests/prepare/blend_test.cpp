/*
 * blend_test.cpp - the formulas of compositing against values worked out by hand
 */
#include "prepare/paint/blend.h"

#include <gtest/gtest.h>

using namespace prepare;

namespace {

DeviceColour gray(double g)
{
    return {1, {g, 0, 0, 0}};
}

DeviceColour rgb(double r, double g, double b)
{
    return {3, {r, g, b, 0}};
}

DeviceColour cmyk(double c, double m, double y, double k)
{
    return {4, {c, m, y, k}};
}

void expectColour(const DeviceColour &colour, const DeviceColour &expected)
{
    ASSERT_EQ(colour.components, expected.components);
    for (size_t i = 0; i < colour.components; i++)
        EXPECT_NEAR(colour.values[i], expected.values[i], 1e-5) << "component " << i;
}

} // namespace

TEST(Blend, SeparableModes)
{
    struct Row {
        Blend mode;
        double of25And75, of60And40, of50And20; /* backdrop and source in hundredths */
    };
    for (const Row &row :
         {Row{Blend::NORMAL, 0.75, 0.4, 0.2}, Row{Blend::MULTIPLY, 0.1875, 0.24, 0.1},
          Row{Blend::SCREEN, 0.8125, 0.76, 0.6}, Row{Blend::OVERLAY, 0.375, 0.52, 0.2},
          Row{Blend::DARKEN, 0.25, 0.4, 0.2}, Row{Blend::LIGHTEN, 0.75, 0.6, 0.5},
          Row{Blend::COLOR_DODGE, 1, 1, 0.625}, Row{Blend::COLOR_BURN, 0, 0, 0},
          Row{Blend::HARD_LIGHT, 0.625, 0.48, 0.2}, Row{Blend::SOFT_LIGHT, 0.375, 0.552, 0.35},
          Row{Blend::DIFFERENCE, 0.5, 0.2, 0.3}, Row{Blend::EXCLUSION, 0.625, 0.52, 0.5}}) {
        SCOPED_TRACE((int)row.mode);
        expectColour(blend(row.mode, gray(0.25), gray(0.75)), gray(row.of25And75));
        expectColour(blend(row.mode, gray(0.6), gray(0.4)), gray(row.of60And40));
        expectColour(blend(row.mode, gray(0.5), gray(0.2)), gray(row.of50And20));
    }
}

TEST(Blend, ModesOfHueAndLight)
{
    DeviceColour red = rgb(1, 0, 0), blue = rgb(0, 0, 1);
    expectColour(blend(Blend::HUE, red, blue), rgb(0.213483, 0.213483, 1));
    expectColour(blend(Blend::SATURATION, red, blue), red);
    expectColour(blend(Blend::COLOR, red, blue), rgb(0.213483, 0.213483, 1));
    expectColour(blend(Blend::LUMINOSITY, red, blue), rgb(0.366667, 0, 0));
    expectColour(blend(Blend::SATURATION, red, gray(0.5)), rgb(0.3, 0.3, 0.3));
}

TEST(Blend, InkIsTurnedRound)
{
    expectColour(blend(Blend::MULTIPLY, cmyk(0.5, 0, 0, 0), cmyk(0.5, 0.2, 0, 0)),
                 cmyk(0.75, 0.2, 0, 0));
    expectColour(blend(Blend::MULTIPLY, WHITE, cmyk(0.5, 0.2, 0, 0)), cmyk(0.5, 0.2, 0, 0));
    expectColour(blend(Blend::DIFFERENCE, rgb(1, 1, 1), cmyk(0.5, 0.2, 0, 0.1)),
                 rgb(0.6, 0.3, 0.1));
}

TEST(Blend, AlphaOnWhite)
{
    expectColour(onWhite({gray(0.2), 0.25}), gray(0.8));
    expectColour(onWhite({rgb(1, 0, 0.5), 0.5}), rgb(1, 0.5, 0.75));
    expectColour(onWhite({cmyk(0.2, 0.4, 0.6, 0.8), 0.5}), cmyk(0.1, 0.2, 0.3, 0.4));
    expectColour(onWhite({rgb(1, 0, 0.5), 0}), rgb(1, 1, 1));
}

TEST(Blend, LayersAddUp)
{
    Layer red = {rgb(1, 0, 0), 0.5}, blue = {rgb(0, 0, 1), 0.5};
    Layer both = composite(red, blue, Blend::NORMAL);
    EXPECT_NEAR(both.alpha, 0.75, 1e-9);
    expectColour(both.colour, rgb(1.0 / 3, 0, 2.0 / 3));
    expectColour(onWhite(both), rgb(0.5, 0.25, 0.75));
    /* On nothing no mode has anything to blend with. */
    expectColour(composite({}, blue, Blend::DIFFERENCE).colour, rgb(0, 0, 1));
    /* Half of a backdrop is half of its effect. */
    expectColour(composite({gray(0), 0.5}, {gray(0.8), 1}, Blend::MULTIPLY).colour, gray(0.4));
}
