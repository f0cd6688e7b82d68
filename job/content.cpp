/*
 * content.cpp - the operators of content and their operands
 *
 * The kinds of the operands that wait are four bits each of one number, so that an operator is held
 * against its row of the table in one comparison.
 */
#include "job/content.h"

#include <algorithm>
#include <cstring>

#include "job/words.h"

namespace job {

namespace {

constexpr int64_t MOST_SAVED = 500;
constexpr size_t MOST_OPERANDS = 33, MOST_PACKED = 16; /* the most: 32 numbers and a name */
constexpr int MOST_MARK_ITEMS = 50;
constexpr std::string_view GLYPH_ENDS = " restore }";

/* ---- the table of operators, made for looking up */

constexpr uint64_t kindOf(char letter)
{
    return (uint64_t)std::string_view(" nNsatD").find(letter);
}

constexpr uint64_t packed(std::string_view operands)
{
    uint64_t kinds = 0;
    for (char letter : operands)
        kinds = kinds << 4 | kindOf(letter);
    return kinds;
}

constexpr uint32_t keyOf(std::string_view name)
{
    uint32_t key = 0;
    for (char c : name)
        key = key << 8 | (uint8_t)c;
    return key;
}

struct Entry {
    uint32_t key = 0; /* 0: free */
    Effect effect = Effect::NONE;
    uint64_t operands = 0, others = 0;
};

constexpr size_t SLOTS = 256;

constexpr size_t slotOf(uint32_t key)
{
    return key * 0x9E3779B1u >> 24;
}

constexpr std::array<Entry, SLOTS> makeEntries()
{
    std::array<Entry, SLOTS> entries = {};
    for (const Operator &one : operators) {
        size_t slot = slotOf(keyOf(one.name));
        while (entries[slot].key)
            slot = (slot + 1) % SLOTS;
        uint64_t operands = packed(one.operands);
        entries[slot] = {keyOf(one.name), one.effect, operands,
                         one.others.empty() ? operands : packed(one.others)};
    }
    return entries;
}

constexpr std::array<Entry, SLOTS> entries = makeEntries();

const Entry *operatorOf(std::string_view name)
{
    if (name.size() > 3)
        return nullptr;
    uint32_t key = keyOf(name);
    size_t slot = slotOf(key);
    while (entries[slot].key && entries[slot].key != key)
        slot = (slot + 1) % SLOTS;
    return entries[slot].key ? &entries[slot] : nullptr;
}

/* ---- reading */

class Reader {
  public:
    Reader(Scanner &from, ContentState *reached, bool ofGlyph)
        : in(from), state(*reached), isGlyph(ofGlyph), wantsGlyph(ofGlyph)
    {
    }
    const char *read();

  private:
    const char *operand(const Token &token);
    const char *array();
    const char *dictionary();
    bool isSimple(const Token &token);
    bool isMarkValue(const Token &token);
    const char *perform(const Token &token);
    const char *act(Effect effect);
    const char *colour() const;
    const char *push(char kind);
    bool endsGlyph(const Token &string) const;
    void clear() { kinds = operands = others = shown = 0; }

    Scanner &in;
    ContentState &state;
    bool isGlyph, wantsGlyph;
    uint64_t operators = 0, segments = 0, glyphs = 0;
    uint64_t kinds = 0;
    size_t operands = 0, others = 0; /* others: that are no numbers */
    size_t shown = 0;                /* bytes of strings */
    char lastName[LONGEST_RESOURCE_NAME] = {};
    size_t nameLength = 0;
};

const char *Reader::push(char kind)
{
    kinds = kinds << 4 | kindOf(kind);
    others += kind != 'n';
    return ++operands > MOST_OPERANDS ? "an operator has too many operands" : nullptr;
}

/* The runtime looks for these bytes without looking for strings. */
bool Reader::endsGlyph(const Token &string) const
{
    return isGlyph && string.text.find(GLYPH_ENDS) != std::string_view::npos;
}

const char *Reader::operand(const Token &token)
{
    switch (token.kind) {
    case TokenKind::INTEGER:
    case TokenKind::REAL:
        if (token.hasExponent)
            return "a number of content has an exponent";
        return push('n');
    case TokenKind::NAME:
        nameLength = token.name().size();
        if (nameLength > sizeof lastName)
            return "a name is too long";
        memcpy(lastName, token.name().data(), nameLength);
        return push('N');
    case TokenKind::STRING:
        if (endsGlyph(token))
            return "a string in a glyph holds the glyph's end";
        shown += token.stringBytes;
        return push('s');
    case TokenKind::OPEN_ARRAY:
        return array();
    case TokenKind::OPEN_DICT:
        return dictionary();
    default:
        return "a bracket or a procedure stands in content";
    }
}

const char *Reader::array()
{
    bool hasStrings = false;
    for (size_t items = 0;; items++) {
        const Token &token = in.next();
        if (token.kind == TokenKind::CLOSE_ARRAY)
            return push(hasStrings ? 't' : 'a');
        if (items == MOST_ITEMS)
            return "an array is too long";
        if (token.kind == TokenKind::STRING) {
            if (endsGlyph(token))
                return "a string in a glyph holds the glyph's end";
            shown += token.stringBytes;
            hasStrings = true;
        } else if (!token.isNumber() || token.hasExponent) {
            return "an array holds other than numbers and strings";
        }
    }
}

bool Reader::isSimple(const Token &token)
{
    if (token.isNumber() || token.kind == TokenKind::STRING)
        return !token.hasExponent && !(token.kind == TokenKind::STRING && endsGlyph(token));
    if (token.kind == TokenKind::NAME)
        return token.name().size() <= LONGEST_RESOURCE_NAME;
    return token.is("true") || token.is("false") || token.is("null");
}

/* A simple value, or an array of them. */
bool Reader::isMarkValue(const Token &token)
{
    if (token.kind != TokenKind::OPEN_ARRAY)
        return isSimple(token);
    for (int items = 0; in.next().kind != TokenKind::CLOSE_ARRAY; items++)
        if (items == MOST_MARK_ITEMS || !isSimple(in.last()))
            return false;
    return true;
}

/* The properties of marked content. */
const char *Reader::dictionary()
{
    for (int keys = 0;; keys++) {
        const Token &key = in.next();
        if (key.kind == TokenKind::CLOSE_DICT)
            return push('D');
        if (keys == MOST_MARK_ITEMS || key.kind != TokenKind::NAME || !isSimple(key))
            return "a dictionary of content has a key that is no plain name";
        if (!isMarkValue(in.next()))
            return "a dictionary of content holds other than simple values";
    }
}

const char *Reader::colour() const
{
    bool isNamed = others == 1 && kinds % 16 == kindOf('N');
    return operands == 0 || (others > 0 && !isNamed) ? "a colour has other operands than numbers"
                                                     : nullptr;
}

const char *Reader::act(Effect effect)
{
    switch (effect) {
    case Effect::SAVE:
        state.fonts.push_back(state.font);
        return ++state.saved > MOST_SAVED ? "states are saved too deep" : nullptr;
    case Effect::RESTORE:
        if (!state.fonts.empty()) {
            state.font = state.fonts.back();
            state.fonts.pop_back();
        }
        state.counted->lowest = std::min(state.counted->lowest, --state.saved);
        return state.saved < 0 && !state.mayBeginSaved ? "Q stands without its q" : nullptr;
    case Effect::BEGIN_TEXT:
    case Effect::END_TEXT:
        if (state.isInText == (effect == Effect::BEGIN_TEXT))
            return "BT and ET do not stand in pairs";
        state.isInText = !state.isInText;
        return nullptr;
    case Effect::SEGMENT:
    case Effect::RECTANGLE: {
        uint64_t count = effect == Effect::SEGMENT ? 1 : 5;
        segments += count;
        state.path += count;
        state.longestPath = std::max(state.longestPath, state.path);
        return nullptr;
    }
    case Effect::PAINT:
        state.path = 0;
        return nullptr;
    case Effect::SHOW:
        glyphs += shown;
        if (!state.font)
            state.font = state.counted->callsOf("");
        state.font->shown += shown;
        return nullptr;
    case Effect::FONT:
    case Effect::STATE:
    case Effect::DRAW: {
        Calls *calls = state.counted->callsOf({lastName, nameLength});
        if (effect == Effect::FONT)
            state.font = calls;
        else if (effect == Effect::STATE)
            calls->set++;
        else
            calls->drawn++;
        return state.counted->calls.size() > MOST_ITEMS ? "content has too many names" : nullptr;
    }
    case Effect::GLYPH:
        return "d0 or d1 stands in the middle of content";
    case Effect::COLOUR:
    case Effect::NONE:
        return nullptr;
    }
    return nullptr;
}

const char *Reader::perform(const Token &token)
{
    const Entry *entry = operatorOf(token.text);
    if (!entry)
        return "an operator of content is not known";
    if (entry->effect == Effect::COLOUR) {
        if (const char *wrong = colour())
            return wrong;
    } else if (operands > MOST_PACKED || (kinds != entry->operands && kinds != entry->others)) {
        return "an operator of content has other operands";
    }
    bool isFirst = wantsGlyph;
    wantsGlyph = false;
    operators++;
    const char *wrong = nullptr;
    if (isFirst && entry->effect != Effect::GLYPH)
        wrong = "the content of a glyph does not begin with d0 or d1";
    else if (!isFirst || entry->effect != Effect::GLYPH)
        wrong = act(entry->effect);
    clear();
    return wrong;
}

const char *Reader::read()
{
    const char *wrong = nullptr;
    for (size_t tokens = 0; !wrong; tokens++) {
        const Token &token = in.next();
        if (isGlyph && tokens == MOST_ITEMS - 2) /* the procedure has two words of its own */
            return "the content of a glyph is too long";
        if (token.kind == TokenKind::WORD) {
            if (isGlyph && token.is("restore"))
                break;
            wrong = perform(token);
        } else if (token.kind == TokenKind::FAULT) {
            wrong = in.fault;
        } else if (token.kind == TokenKind::END) {
            wrong = isGlyph ? "the content of a glyph does not end" : nullptr;
            break;
        } else {
            wrong = operand(token);
        }
    }
    if (!wrong && operands > 0)
        wrong = "content ends with operands";
    Costs &own = state.counted->own;
    own[OPERATORS] += operators;
    own[SEGMENTS] += segments;
    own[GLYPHS] += glyphs;
    state.counted->net = state.saved;
    state.counted->fontAtEnd.clear();
    for (const auto &[name, calls] : state.counted->calls)
        if (&calls == state.font)
            state.counted->fontAtEnd = name;
    return wrong ? (in.fault ? in.fault : wrong) : nullptr;
}

} // namespace

const char *readContent(Scanner &in, ContentState *state, bool isGlyph)
{
    return Reader(in, state, isGlyph).read();
}

const char *ContentState::follow(const Content &piece)
{
    if (saved + piece.lowest < 0)
        return "Q stands without its q";
    saved += piece.net;
    if (saved > MOST_SAVED)
        return "states are saved too deep";
    fonts.resize((size_t)saved, font);
    if (!piece.fontAtEnd.empty())
        font = counted->callsOf(piece.fontAtEnd);
    return nullptr;
}

const char *ContentState::finish() const
{
    if (isInText)
        return "BT and ET do not stand in pairs";
    return saved != 0 && !mayBeginSaved ? "q stands without its Q" : nullptr;
}

} // namespace job
