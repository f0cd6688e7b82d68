/*
 * space.h - colour spaces, and their colours as device colours
 *
 * Every space comes down to a device space of 1, 3 or 4 components: profiles to that of their
 * number of components, separations to their alternate's, CIE based spaces to DeviceRGB or
 * DeviceGray by formula.
 */
#ifndef PREPARE_MODEL_SPACE_H
#define PREPARE_MODEL_SPACE_H

#include <array>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "prepare/model/function.h"
#include "prepare/model/scope.h"

namespace prepare {

constexpr size_t MAX_COLORANTS = MAX_FUNCTION_VALUES;

enum class Family : unsigned char {
    GRAY,
    RGB,
    CMYK,
    CAL_GRAY,
    CAL_RGB,
    LAB,
    INDEXED,
    SEPARATION,
    DEVICE_N,
    PATTERN,
};

struct ColourSpace;
using SpacePtr = std::shared_ptr<const ColourSpace>;

struct ColourSpace {
    Family family = Family::GRAY;
    size_t components = 1; /* PATTERN: those of its base, 0 without one */
    SpacePtr base;         /* INDEXED, SEPARATION, DEVICE_N: the alternate; PATTERN, or null */

    FunctionPtr tint;                   /* SEPARATION, DEVICE_N; may be null: black ink */
    std::vector<std::string> colorants; /* with their slash */

    std::string table; /* INDEXED, of (high + 1) colours of the base */
    int high = 0;

    /* CAL_GRAY, CAL_RGB, LAB */
    std::array<double, 3> white{1, 1, 1}, gamma{1, 1, 1};
    std::array<double, 9> matrix{1, 0, 0, 0, 1, 0, 0, 0, 1};
    std::array<double, 4> range{-100, 100, -100, 100};
    std::vector<double> curves; /* in place of gamma: CURVE_SAMPLES for each component, or none */
    bool isNearDevice = false;  /* CAL_GRAY, CAL_RGB: its numbers are about those of the device */
};

/* Entry of the dictionary of a calibrated space of our own: 16 bits for each sample of its curves,
 * the high byte first. */
constexpr const char *CURVES_KEY = "/PfCurves";
constexpr size_t CURVE_SAMPLES = 1024;

/* A device colour: 1, 3 or 4 components from 0 to 1. */
struct DeviceColour {
    size_t components = 1;
    std::array<double, 4> values{};
};

/* Reads a space, or the name of one; null when it is none.  `scope` may be empty. */
SpacePtr readSpace(const ResourceScope &scope, QPDFObjectHandle object);

/* DeviceGray, DeviceRGB or DeviceCMYK for 1, 3, 4; null for others. */
SpacePtr deviceSpace(size_t components);

/* Components of the device space that colours of the space come down to: 1, 3 or 4. */
size_t deviceComponents(const ColourSpace &space);

/* The colour, its components those of the space; missing ones count as 0. */
DeviceColour toDevice(const ColourSpace &space, std::span<const double> values);
DeviceColour toRgb(const DeviceColour &colour);

/* /None alone or only: what is painted leaves no mark. */
bool paintsNothing(const ColourSpace &space);

/* Pairs for each component, of samples with so many bits (Indexed alone depends on them). */
std::vector<double> defaultDecode(const ColourSpace &space, int bits);

/* The colour that `cs` selects. */
std::vector<double> initialColour(const ColourSpace &space);

/* Operands and operator that select the colour: "0.5 g" or, for strokes, "0.5 G". */
std::string colourText(const DeviceColour &colour, bool isStroke);

} // namespace prepare

#endif
