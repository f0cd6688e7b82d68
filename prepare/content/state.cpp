/*
 * state.cpp - what each operator does to the state
 */
#include "prepare/content/state.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string_view>
#include <unordered_map>

#include "prepare/document/document.h"

namespace prepare {

QPDFObjectHandle findResource(const ResourceScope &scope, int category, const std::string &name)
{
    for (const ResourceScope *s = &scope; s; s = s->outer) {
        QPDFObjectHandle resources = s->resources;
        if (!resources.isInitialized() || !resources.isDictionary())
            continue;
        QPDFObjectHandle found = resources.getKey(categoryKey(category)).getKeyIfDict(name);
        if (!found.isNull())
            return found;
    }
    return QPDFObjectHandle::newNull();
}

namespace {

/* ORDER: that of Blend. */
constexpr const char *blendNames[] = {
    "/Normal",     "/Multiply",   "/Screen",    "/Overlay",    "/Darken",     "/Lighten",
    "/ColorDodge", "/ColorBurn",  "/HardLight", "/SoftLight",  "/Difference", "/Exclusion",
    "/Hue",        "/Saturation", "/Color",     "/Luminosity",
};

/* A name, or the first known one of an array. */
Blend blendOf(QPDFObjectHandle object)
{
    if (!object.isArray()) {
        for (size_t i = 0; i < std::size(blendNames); i++)
            if (nameOr(object) == blendNames[i])
                return (Blend)i;
        return Blend::NORMAL;
    }
    constexpr int MOST = 32;
    for (int i = 0; i < std::min(object.getArrayNItems(), MOST); i++) {
        QPDFObjectHandle item = object.getArrayItem(i);
        Blend blend = item.isArray() ? Blend::NORMAL : blendOf(item);
        if (blend != Blend::NORMAL || nameOr(item) == "/Normal" || nameOr(item) == "/Compatible")
            return blend;
    }
    return Blend::NORMAL;
}

using Tracker = void (*)(ContentState *, const Operation &);

void save(ContentState *state, const Operation &)
{
    if (state->saved.size() < MAX_SAVED)
        state->saved.push_back(state->now);
    else
        state->savedBeyond++;
}

void restore(ContentState *state, const Operation &)
{
    if (state->savedBeyond > 0) {
        state->savedBeyond--;
    } else if (!state->saved.empty()) {
        state->now = state->saved.back();
        state->saved.pop_back();
    }
}

bool readMatrix(const Operation &operation, Matrix *matrix)
{
    double v[6];
    if (!numbersOf(operation, v, 6))
        return false;
    *matrix = {v[0], v[1], v[2], v[3], v[4], v[5]};
    return true;
}

void concat(ContentState *state, const Operation &operation)
{
    Matrix matrix;
    if (readMatrix(operation, &matrix))
        state->now.ctm = matrix * state->now.ctm;
}

void beginText(ContentState *state, const Operation &)
{
    state->textMatrix = state->lineMatrix = Matrix();
}

void setTextMatrix(ContentState *state, const Operation &operation)
{
    if (readMatrix(operation, &state->lineMatrix))
        state->textMatrix = state->lineMatrix;
}

template <double TextState::*field> void setNumber(ContentState *state, const Operation &operation)
{
    double value;
    if (numbersOf(operation, &value, 1))
        state->now.text.*field = value;
}

void setScale(ContentState *state, const Operation &operation)
{
    double value;
    if (numbersOf(operation, &value, 1))
        state->now.text.scale = value / 100;
}

void setMode(ContentState *state, const Operation &operation)
{
    double value;
    if (numbersOf(operation, &value, 1))
        state->now.text.mode = (int)value;
}

void setFont(ContentState *state, const Operation &operation)
{
    double size;
    if (operation.operands.size() < 2 || !numbersOf(operation, &size, 1))
        return;
    const Token &name = operation.operands[operation.operands.size() - 2];
    if (name.kind != TokenKind::NAME)
        return;
    state->now.text.font = findResource(*state->scope, FONT, nameValue(name.source));
    state->now.text.size = size;
}

void setGraphicsState(ContentState *state, const Operation &operation)
{
    if (operation.operands.empty() || operation.operands.back().kind != TokenKind::NAME)
        return;
    QPDFObjectHandle dict =
        findResource(*state->scope, EXTGSTATE, nameValue(operation.operands.back().source));
    applyTransparency(dict, state->now.ctm, &state->now.transparency);
    state->now.lineWidth = numberOr(entryOf(dict, "/LW"), state->now.lineWidth);
    QPDFObjectHandle font = entryOf(dict, "/Font");
    if (!font.isArray() || font.getArrayNItems() < 2)
        return;
    state->now.text.font = font.getArrayItem(0);
    state->now.text.size = numberOr(font.getArrayItem(1), 0);
}

void setLineWidth(ContentState *state, const Operation &operation)
{
    double value;
    if (numbersOf(operation, &value, 1))
        state->now.lineWidth = std::abs(value);
}

/* ---- paths ---- */

void addPoints(ContentState *state, const Operation &operation, size_t points)
{
    double v[6];
    if (!numbersOf(operation, v, 2 * points))
        return;
    for (size_t i = 0; i < points; i++)
        addPoint(&state->path, state->now.ctm, v[2 * i], v[2 * i + 1]);
}

void moveTo(ContentState *state, const Operation &operation)
{
    if (state->path.points > 0 || state->path.rectangles > 0)
        state->path.isPolygon = false;
    addPoints(state, operation, 1);
}

void lineTo(ContentState *state, const Operation &operation)
{
    addPoints(state, operation, 1);
}

void curveTo(ContentState *state, const Operation &operation)
{
    state->path.isPolygon = false;
    addPoints(state, operation, operation.name == "c" ? 3 : 2);
}

void rectangle(ContentState *state, const Operation &operation)
{
    double v[4];
    if (numbersOf(operation, v, 4))
        addRectangle(&state->path, state->now.ctm, v);
}

void markClip(ContentState *state, const Operation &)
{
    state->path.isClip = true;
}

void endPath(ContentState *state, const Operation &)
{
    if (state->path.isClip) {
        state->now.isClipRectangle &= isRectangle(state->path) || isEmpty(state->path.box);
        state->now.clip = intersection(state->now.clip, state->path.box);
    }
    state->path = Path();
}

void nextLine(ContentState *state, const Operation &)
{
    moveLine(state, 0, -state->now.text.leading);
}

void moveBy(ContentState *state, const Operation &operation)
{
    double v[2];
    if (!numbersOf(operation, v, 2))
        return;
    if (operation.name == "TD")
        state->now.text.leading = -v[1];
    moveLine(state, v[0], v[1]);
}

/* aw ac string " */
void spacedLine(ContentState *state, const Operation &operation)
{
    const std::vector<Token> &operands = operation.operands;
    if (operands.size() >= 3 && operands[operands.size() - 3].kind == TokenKind::NUMBER) {
        state->now.text.wordSpace = numberValue(operands[operands.size() - 3]);
        state->now.text.charSpace = numberValue(operands[operands.size() - 2]);
    }
    nextLine(state, operation);
}

/* Text becomes part of the clip. */
void clipByText(ContentState *state, const Operation &)
{
    if (state->now.text.mode >= 4)
        state->now.isClipRectangle = false;
}

void clipByNextLine(ContentState *state, const Operation &operation)
{
    clipByText(state, operation);
    if (operation.name == "'")
        nextLine(state, operation);
    else
        spacedLine(state, operation);
}

/* The colour that an operator in capitals, or not, sets. */
Colour *colourOf(ContentState *state, const Operation &operation)
{
    bool isStroke = operation.name[0] >= 'A' && operation.name[0] <= 'Z';
    return isStroke ? &state->now.stroke : &state->now.fill;
}

void setSpace(ContentState *state, const Operation &operation)
{
    if (operation.operands.empty() || operation.operands.back().kind != TokenKind::NAME)
        return;
    *colourOf(state, operation) = {nameValue(operation.operands.back().source), {}, ""};
}

void setColour(ContentState *state, const Operation &operation)
{
    Colour *colour = colourOf(state, operation);
    std::vector<double> values;
    std::string pattern;
    for (const Token &token : operation.operands) {
        if (token.kind == TokenKind::NUMBER && values.size() < MAX_COLORANTS)
            values.push_back(numberValue(token));
        if (token.kind == TokenKind::NAME)
            pattern = nameValue(token.source);
    }
    colour->values = std::move(values);
    colour->pattern = std::move(pattern);
}

template <size_t count> void setDeviceColour(ContentState *state, const Operation &operation)
{
    std::vector<double> values(count);
    if (!numbersOf(operation, values.data(), count))
        return;
    static const char *const names[] = {"", "/DeviceGray", "", "/DeviceRGB", "/DeviceCMYK"};
    *colourOf(state, operation) = {names[count], std::move(values), ""};
}

const std::unordered_map<std::string_view, Tracker> trackers = {
    {"q", save},
    {"Q", restore},
    {"cm", concat},
    {"BT", beginText},
    {"Tm", setTextMatrix},
    {"Tc", setNumber<&TextState::charSpace>},
    {"Tw", setNumber<&TextState::wordSpace>},
    {"TL", setNumber<&TextState::leading>},
    {"Ts", setNumber<&TextState::rise>},
    {"Tz", setScale},
    {"Tr", setMode},
    {"Tf", setFont},
    {"gs", setGraphicsState},
    {"w", setLineWidth},
    {"m", moveTo},
    {"l", lineTo},
    {"c", curveTo},
    {"v", curveTo},
    {"y", curveTo},
    {"re", rectangle},
    {"W", markClip},
    {"W*", markClip},
    {"n", endPath},
    {"f", endPath},
    {"F", endPath},
    {"f*", endPath},
    {"S", endPath},
    {"s", endPath},
    {"B", endPath},
    {"B*", endPath},
    {"b", endPath},
    {"b*", endPath},
    {"Td", moveBy},
    {"TD", moveBy},
    {"T*", nextLine},
    {"Tj", clipByText},
    {"TJ", clipByText},
    {"'", clipByNextLine},
    {"\"", clipByNextLine},
    {"cs", setSpace},
    {"CS", setSpace},
    {"sc", setColour},
    {"SC", setColour},
    {"scn", setColour},
    {"SCN", setColour},
    {"g", setDeviceColour<1>},
    {"G", setDeviceColour<1>},
    {"rg", setDeviceColour<3>},
    {"RG", setDeviceColour<3>},
    {"k", setDeviceColour<4>},
    {"K", setDeviceColour<4>},
};

} // namespace

bool isOpaque(const Transparency &transparency)
{
    return transparency.fillAlpha >= 1 && transparency.strokeAlpha >= 1 &&
           transparency.blend == Blend::NORMAL && !transparency.softMask.isInitialized();
}

void applyTransparency(QPDFObjectHandle graphicsState, const Matrix &ctm, Transparency *now)
{
    auto alpha = [&](const char *key, double before) {
        return std::clamp(numberOr(entryOf(graphicsState, key), before), 0.0, 1.0);
    };
    now->fillAlpha = alpha("/ca", now->fillAlpha);
    now->strokeAlpha = alpha("/CA", now->strokeAlpha);
    QPDFObjectHandle mode = entryOf(graphicsState, "/BM");
    if (!mode.isNull())
        now->blend = blendOf(mode);
    QPDFObjectHandle mask = entryOf(graphicsState, "/SMask");
    if (mask.isNull())
        return;
    now->softMask = mask.isDictionary() ? mask : QPDFObjectHandle();
    now->softMaskMatrix = ctm;
}

SpacePtr spaceOf(ContentState *state, const Colour &colour)
{
    auto known = state->spaces.find(colour.space);
    if (known != state->spaces.end())
        return known->second;
    SpacePtr space;
    if (state->scope)
        space = readSpace(*state->scope, QPDFObjectHandle::newName(colour.space));
    if (!space)
        space = deviceSpace(1);
    return state->spaces[colour.space] = space;
}

DeviceColour deviceColourOf(ContentState *state, const Colour &colour)
{
    SpacePtr space = spaceOf(state, colour);
    return toDevice(*space, colour.values.empty() ? initialColour(*space) : colour.values);
}

void moveLine(ContentState *state, double x, double y)
{
    state->lineMatrix = Matrix{1, 0, 0, 1, x, y} * state->lineMatrix;
    state->textMatrix = state->lineMatrix;
}

void track(ContentState *state, const Operation &operation)
{
    auto tracker = trackers.find(operation.name);
    if (tracker != trackers.end())
        tracker->second(state, operation);
}

} // namespace prepare
