/*
 * state.cpp - what each operator does to the state
 */
#include "prepare/content/state.h"

#include <string_view>
#include <unordered_map>

#include "prepare/document/document.h"

namespace prepare {

Matrix operator*(const Matrix &first, const Matrix &second)
{
    const Matrix &m = first, &n = second;
    return {m.a * n.a + m.b * n.c, m.a * n.b + m.b * n.d,       m.c * n.a + m.d * n.c,
            m.c * n.b + m.d * n.d, m.e * n.a + m.f * n.c + n.e, m.e * n.b + m.f * n.d + n.f};
}

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
    QPDFObjectHandle font =
        findResource(*state->scope, EXTGSTATE, nameValue(operation.operands.back().source))
            .getKeyIfDict("/Font");
    if (!font.isArray() || font.getArrayNItems() < 2)
        return;
    state->now.text.font = font.getArrayItem(0);
    state->now.text.size = numberOr(font.getArrayItem(1), 0);
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
    {"Td", moveBy},
    {"TD", moveBy},
    {"T*", nextLine},
    {"'", nextLine},
    {"\"", spacedLine},
};

} // namespace

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
