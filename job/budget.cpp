/*
 * budget.cpp - adding up a page
 */
#include "job/budget.h"

#include <algorithm>

namespace job {

const std::array<CostLimit, COSTS> costLimits = {{
    {20'000'000, "operators"},
    {200'000, "calls of forms"},
    {2'000'000, "characters"},
    {10'000'000, "pieces of lines and curves"},
    {2'000'000'000, "pixels of pictures"},
    {1u << 30, "bytes of pictures and content"},
}};

namespace {

constexpr int DEEPEST = 100; /* forms in forms; no interpreter goes so far */
constexpr size_t NOWHERE = SIZE_MAX;

uint64_t sum(uint64_t a, uint64_t b)
{
    return a > UINT64_MAX - b ? UINT64_MAX : a + b;
}

uint64_t product(uint64_t a, uint64_t b)
{
    return b > 0 && a > UINT64_MAX / b ? UINT64_MAX : a * b;
}

void add(Costs *to, const Costs &costs, uint64_t times = 1)
{
    for (size_t i = 0; i < COSTS; i++)
        (*to)[i] = sum((*to)[i], product(costs[i], times));
}

Costs all(uint64_t value)
{
    Costs costs;
    costs.fill(value);
    return costs;
}

} // namespace

/* ---- one content */

Calls *Content::callsOf(std::string_view name)
{
    auto found = calls.find(name);
    if (found == calls.end())
        found = calls.emplace(name, Calls{}).first;
    return &found->second;
}

void Content::addTo(Content *to) const
{
    add(&to->own, own);
    for (const auto &[name, call] : calls) {
        Calls *both = to->callsOf(name);
        both->drawn = sum(both->drawn, call.drawn);
        both->set = sum(both->set, call.set);
        both->shown = sum(both->shown, call.shown);
    }
}

void Content::raise(Content *most) const
{
    for (size_t i = 0; i < COSTS; i++)
        most->own[i] = std::max(most->own[i], own[i]);
    for (const auto &[name, call] : calls) {
        Calls *largest = most->callsOf(name);
        largest->drawn = std::max(largest->drawn, call.drawn);
        largest->set = std::max(largest->set, call.set);
        largest->shown = std::max(largest->shown, call.shown);
    }
}

/* ---- what is defined */

void Account::begin()
{
    scopes.assign(1, {});
    definitions.clear();
    current = closed = 0;
    page = {};
    fontState = FRESH;
    dearest = {};
}

void Account::openScope()
{
    scopes.push_back({current, {}, {}});
    current = scopes.size() - 1;
    closed = 0;
}

bool Account::closeScope()
{
    if (current == 0)
        return false;
    closed = current;
    current = scopes[current].outer;
    return true;
}

void Account::define(std::string_view name, Definition definition)
{
    bool isOwner = definition.kind == FORM || definition.kind == FONT;
    definition.scope = isOwner && closed ? closed : current;
    if (isOwner)
        closed = 0;
    Scope &scope = scopes[current];
    Names &names = definition.kind == FONT    ? scope.fonts
                   : definition.kind == STATE ? scope.states
                                              : scope.drawables;
    names.insert_or_assign(std::string(name), definitions.size());
    definitions.push_back(std::move(definition));
}

void Account::defineImage(std::string_view name, uint64_t pixels, uint64_t bytes)
{
    Definition image = {IMAGE};
    image.content.own[PIXELS] = pixels;
    image.content.own[DECODED_BYTES] = bytes;
    define(name, std::move(image));
}

void Account::defineForm(std::string_view name, Content content)
{
    content.own[FORM_CALLS] = 1;
    define(name, {FORM, std::move(content)});
}

void Account::defineState(std::string_view name, uint64_t operators)
{
    Definition state = {STATE};
    state.content.own[OPERATORS] = operators;
    define(name, std::move(state));
}

void Account::defineFont(std::string_view name, Content glyphs)
{
    define(name, {FONT, std::move(glyphs)});
}

void Account::defineContents(Content content)
{
    definitions.push_back({CONTENTS, std::move(content)});
}

void Account::keepPart(uint64_t part)
{
    parts[part] = definitions.empty() ? Definition{} : definitions.back();
}

bool Account::useShared(std::string_view name, uint64_t part)
{
    auto found = parts.find(part);
    if (found == parts.end() || found->second.kind == NOTHING)
        return true;
    if (found->second.kind == CONTENTS)
        return false;
    define(name, found->second);
    return true;
}

bool Account::useContents(uint64_t part, const Content **content)
{
    auto found = parts.find(part);
    *content = nullptr;
    if (found == parts.end() || found->second.kind == NOTHING)
        return true;
    if (found->second.kind != CONTENTS)
        return false;
    *content = &found->second.content;
    (*content)->addTo(&page);
    return true;
}

/* ---- adding up */

size_t Account::find(size_t scope, std::string_view name, Names Scope::*kind) const
{
    for (;; scope = scopes[scope].outer) {
        const Names &names = scopes[scope].*kind;
        auto found = names.find(name);
        if (found != names.end())
            return found->second;
        if (scope == 0)
            return NOWHERE;
    }
}

/* A form that calls itself does not draw again, nor does a glyph that shows itself. */
Costs Account::totalOf(size_t index, int depth)
{
    Definition &definition = definitions[index];
    if (depth > DEEPEST)
        return all(UINT64_MAX);
    if (definition.state == FRESH) {
        definition.state = BEING_ADDED;
        definition.total = multipliedOut(definition.content, definition.scope, depth + 1);
        definition.state = ADDED;
    }
    return definition.state == ADDED ? definition.total : Costs{};
}

/* A form that shows text without choosing a font has that of its caller: it counts as the dearest.
 */
const Costs &Account::dearestFont(int depth)
{
    if (fontState != FRESH)
        return dearest;
    fontState = BEING_ADDED;
    for (size_t i = 0; i < definitions.size(); i++) {
        if (definitions[i].kind != FONT)
            continue;
        Costs glyph = totalOf(i, depth);
        for (size_t cost = 0; cost < COSTS; cost++)
            dearest[cost] = std::max(dearest[cost], glyph[cost]);
    }
    fontState = ADDED;
    return dearest;
}

Costs Account::multipliedOut(const Content &content, size_t scope, int depth)
{
    Costs total = content.own;
    for (const auto &[name, calls] : content.calls) {
        auto addEach = [&, &called = name](uint64_t times, Names Scope::*kind) {
            size_t found = times > 0 ? find(scope, called, kind) : NOWHERE;
            if (found != NOWHERE)
                add(&total, totalOf(found, depth), times);
        };
        addEach(calls.drawn, &Scope::drawables);
        addEach(calls.set, &Scope::states);
        addEach(calls.shown, &Scope::fonts);
        if (calls.shown && name.empty())
            add(&total, dearestFont(depth), calls.shown);
    }
    return total;
}

uint64_t Account::most(Cost cost) const
{
    return product(costLimits[cost].most, factor);
}

const CostLimit *Account::exceeded()
{
    Costs total = multipliedOut(page, 0, 0);
    for (size_t i = 0; i < COSTS; i++)
        if (total[i] > most((Cost)i))
            return &costLimits[i];
    return nullptr;
}

} // namespace job
