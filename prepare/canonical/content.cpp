/*
 * content.cpp - what the scanner refuses is written anew
 *
 * The scanner (scan.h) accepts or refuses an operation.  One that it refuses is read again by the
 * reader of model/tokens.h, which takes anything, and written in canonical form, or left out; then
 * the scanner goes on behind it.
 */
#include "prepare/canonical/content.h"

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "prepare/canonical/scan.h"
#include "prepare/model/plain.h"
#include "prepare/model/tokens.h"

namespace prepare {

namespace {

/* ---- the operations that the scanner has refused */

/* An operand: tokens one behind the other. */
struct Operand {
    char kind;
    size_t first, count;
};

/* From an opening bracket to behind its closing one. */
size_t skipNested(const std::vector<Token> &tokens, size_t at)
{
    size_t depth = 0;
    for (; at < tokens.size(); at++) {
        TokenKind kind = tokens[at].kind;
        depth += kind == TokenKind::ARRAY_BEGIN || kind == TokenKind::DICT_BEGIN;
        depth -= depth > 0 && (kind == TokenKind::ARRAY_END || kind == TokenKind::DICT_END);
        if (depth == 0)
            return at + 1;
    }
    return at;
}

bool isText(const Token &token)
{
    return token.kind == TokenKind::STRING || token.kind == TokenKind::HEX_STRING;
}

char kindOfArray(const std::vector<Token> &tokens, size_t first, size_t end)
{
    bool hasText = std::any_of(tokens.begin() + (long)first, tokens.begin() + (long)end, isText);
    return hasText ? ARRAY : NUMBERS;
}

std::vector<Operand> operandsOf(const std::vector<Token> &tokens)
{
    std::vector<Operand> operands;
    for (size_t at = 0; at < tokens.size();) {
        size_t next = at + 1;
        char kind = OTHER;
        switch (tokens[at].kind) {
        case TokenKind::NUMBER:
            kind = NUMBER;
            break;
        case TokenKind::STRING:
        case TokenKind::HEX_STRING:
            kind = STRING;
            break;
        case TokenKind::NAME:
            kind = NAME;
            break;
        case TokenKind::ARRAY_BEGIN:
            next = skipNested(tokens, at);
            kind = kindOfArray(tokens, at, next);
            break;
        case TokenKind::DICT_BEGIN:
            next = skipNested(tokens, at);
            kind = DICTIONARY;
            break;
        case TokenKind::WORD:
            break;
        default: /* what begins nothing */
            at = next;
            continue;
        }
        operands.push_back({kind, at, next - at});
        at = next;
    }
    return operands;
}

/* Does the scanner go over all of it? */
template <class Scan> bool accepts(std::string_view source, Scan scan)
{
    Scanner s{source.data(), source.data() + source.size()};
    return !source.empty() && scan(&s) && s.atEnd();
}

std::string numberInContent(const Token &token)
{
    constexpr int PLACES = 9;
    return accepts(token.source, scanNumber) ? std::string(token.source)
                                             : numberText(numberValue(token), PLACES);
}

/* False: the string is too long. */
bool putString(const Token &token, std::string *out)
{
    if (accepts(token.source, scanText)) {
        *out += token.source;
        return true;
    }
    std::string value = stringValue(token);
    *out += literalString(value);
    return value.size() <= MAX_STRING_BYTES;
}

/* `again`: what stands between the pieces of an array that is too long for one; nothing: it cannot
 * be divided. */
bool putArray(const std::vector<Token> &tokens, const Operand &array, std::string_view again,
              std::string *out)
{
    bool isWhole = true;
    size_t count = 0;
    *out += "[";
    for (size_t i = array.first; i < array.first + array.count; i++) {
        bool isNumber = tokens[i].kind == TokenKind::NUMBER;
        if (!isNumber && !isText(tokens[i]))
            continue;
        if (count == MAX_ARRAY_ITEMS) {
            *out += again;
            count = again.empty() ? count : 0;
        }
        if (count++ > 0)
            *out += " ";
        if (isNumber)
            *out += numberInContent(tokens[i]);
        else
            isWhole &= putString(tokens[i], out);
    }
    *out += "]";
    return isWhole && count <= MAX_ARRAY_ITEMS;
}

/* A number, a string, a name or a word; false: it is none, or not plain. */
bool putSimple(const Token &token, std::string *out)
{
    *out += " ";
    if (token.kind == TokenKind::NUMBER) {
        *out += numberInContent(token);
        return true;
    }
    if (isText(token))
        return putString(token, out);
    *out += token.source;
    return token.kind == TokenKind::WORD ||
           (token.kind == TokenKind::NAME && isPlain(token.source.substr(1), MAX_RESOURCE_NAME));
}

/* The value at `*at`, which moves behind it. */
bool putMarkValue(const std::vector<Token> &tokens, size_t *at, size_t end, std::string *out)
{
    if (tokens[*at].kind != TokenKind::ARRAY_BEGIN)
        return putSimple(tokens[(*at)++], out);
    *out += " [";
    size_t count = 0;
    for (++*at; *at < end && tokens[*at].kind != TokenKind::ARRAY_END; ++*at, count++)
        if (!putSimple(tokens[*at], out))
            return false;
    *out += " ]";
    return (*at)++ < end && count <= MAX_MARK_ITEMS;
}

/* The dictionary, or nothing where it holds other than simple values and arrays of them. */
std::string plainDictionary(const std::vector<Token> &tokens, const Operand &dictionary)
{
    std::string text = "<<";
    size_t end = dictionary.first + dictionary.count - 1, count = 0;
    if (tokens[end].kind != TokenKind::DICT_END)
        return "";
    for (size_t at = dictionary.first + 1; at < end; count++) {
        bool isKey = tokens[at].kind == TokenKind::NAME && putSimple(tokens[at], &text);
        if (!isKey || ++at == end || !putMarkValue(tokens, &at, end, &text))
            return "";
    }
    return count <= MAX_MARK_ITEMS ? text + " >>" : "";
}

/* ---- the walk */

struct ContentWalk {
    std::string_view content;
    bool isGlyph;
    const PlainNamer &namer;
    PlainContent made = {};
    size_t copied = 0; /* bytes of the content that are in made.text, or left out of it */
    size_t saves = 0, savesBeyond = 0, compatible = 0;
    bool inText = false;
    bool hasPath = false, isPathCut = false; /* there are lines; and text has come behind them */
    bool isClipping = false;                 /* the path is to become a clip */
    bool isTextCut = false;                  /* a path has come behind text */
    size_t operations = 0;
    bool beginsWithWidth = false;
    std::string width = {}; /* of a glyph that does not begin with it: its d0 or d1 */
    std::unordered_set<std::string_view> names[CATEGORIES] = {}; /* plain, without their slash */
};

bool isWidth(const Operator &op)
{
    return op.id == Op::GLYPH_WIDTH || op.id == Op::GLYPH_WIDTH_BOX;
}

bool save(ContentWalk *walk)
{
    bool isGood = walk->saves < MAX_SAVES;
    walk->saves += isGood;
    walk->savesBeyond += !isGood;
    return isGood;
}

bool restore(ContentWalk *walk)
{
    bool isGood = walk->savesBeyond == 0 && walk->saves > 0;
    walk->saves -= isGood;
    walk->savesBeyond -= walk->savesBeyond > 0;
    return isGood;
}

/* May it stand here? */
bool fits(ContentWalk *walk, const Operator &op)
{
    switch (op.id) {
    case Op::SAVE:
        return save(walk);
    case Op::RESTORE:
        return restore(walk);
    case Op::BEGIN_TEXT:
    case Op::END_TEXT:
        if (walk->inText == (op.id == Op::BEGIN_TEXT))
            return false;
        walk->inText = !walk->inText;
        return true;
    case Op::BEGIN_COMPATIBLE:
        walk->compatible++;
        return true;
    case Op::END_COMPATIBLE:
        walk->compatible -= walk->compatible > 0;
        return true;
    case Op::GLYPH_WIDTH:
    case Op::GLYPH_WIDTH_BOX:
        return walk->isGlyph && walk->operations == 0;
    case Op::SHADING_FILL:
    case Op::INLINE_IMAGE:
        return false;
    default:
        return true;
    }
}

/* Looks for text within a path and paths within text. */
void watchPaths(ContentWalk *walk, const Operator &op)
{
    if (op.is(SHOWS_TEXT | MOVES_TEXT)) {
        walk->made.mixesPaths |= walk->isTextCut && !op.is(MOVES_TEXT);
        walk->isTextCut = false;
        walk->isPathCut |= walk->hasPath;
    } else if (op.is(MAKES_PATH)) {
        walk->isTextCut = walk->inText;
        walk->hasPath |= op.id != Op::MOVE;
    } else if (op.is(CLIPS)) {
        walk->isClipping = true;
    } else if (op.is(ENDS_PATH)) {
        walk->made.mixesPaths |= walk->isPathCut && (op.paintsPath() || walk->isClipping);
        walk->hasPath = walk->isPathCut = walk->isClipping = false;
    } else if (op.id == Op::BEGIN_TEXT) {
        walk->isPathCut |= walk->hasPath;
        walk->isTextCut = false;
    }
}

/* Takes an operation with the right operands into account; false: it must not stand here. */
bool apply(ContentWalk *walk, const Operator &op)
{
    bool isGood = fits(walk, op);
    if (isGood)
        watchPaths(walk, op);
    if (isGood && walk->operations++ == 0 && isWidth(op))
        walk->beginsWithWidth = true;
    return isGood;
}

/* The same of one that the scanner has gone over. */
bool accept(ContentWalk *walk, const Operator &op, std::string_view name)
{
    int category = categoryOf(op.id);
    if ((category == COLORSPACE && name == "Pattern") || !apply(walk, op))
        return false;
    if (category != CATEGORIES)
        walk->names[category].insert(name);
    return true;
}

/* Writes the content up to there as it is. */
void copyUpTo(ContentWalk *walk, size_t place)
{
    PlainContent &made = walk->made;
    if (!made.isChanged)
        made.text.reserve(walk->content.size() + walk->content.size() / 16);
    made.isChanged = true;
    made.text += walk->content.substr(walk->copied, place - walk->copied);
    walk->copied = place;
}

void drop(ContentWalk *walk, const Operator &op)
{
    if (op.id == Op::UNKNOWN && walk->compatible > 0)
        return;
    walk->made.dropped++;
    walk->made.lostPaint |= op.is(FILLS | STROKES | SHOWS_TEXT | PAINTS);
}

/* The name of a resource, counted as used; of anything else, itself or a name of ours. */
std::string plainOperand(ContentWalk *walk, const Operator &op, std::string_view source)
{
    std::string name = nameValue(source);
    bool isGood = isPlain(std::string_view(name).substr(1), MAX_RESOURCE_NAME);
    int category = categoryOf(op.id);
    if (category == CATEGORIES)
        return isGood ? name : "/Odd";
    walk->made.names[category].insert(name);
    return isGood ? name : walk->namer(name);
}

/* Writes operands, those of them that the operator takes; false: one of them cannot be. */
bool putOperands(ContentWalk *walk, const Operation &operation,
                 const std::vector<Operand> &operands, std::string *out)
{
    const std::vector<Token> &tokens = operation.operands;
    for (const Operand &operand : operands) {
        const Token &token = tokens[operand.first];
        bool isGood = true;
        if (operand.kind == NUMBER)
            *out += numberInContent(token);
        else if (operand.kind == NAME)
            *out += plainOperand(walk, *operation.op, token.source);
        else if (operand.kind == STRING)
            isGood = putString(token, out);
        else
            isGood = putArray(tokens, operand,
                              operation.op->id == Op::SHOW_ADJUSTED ? "] TJ\n[" : "", out);
        *out += " ";
        if (!isGood)
            return false;
    }
    return true;
}

/* Marks keep their properties where these are a name or flat; other marks go without. */
std::string plainMark(const Operation &operation, const std::vector<Operand> &operands)
{
    const Operand &tag = operands[0], &properties = operands[1];
    auto nameText = [&](const Operand &operand) {
        std::string name = nameValue(operation.operands[operand.first].source);
        return isPlain(std::string_view(name).substr(1), MAX_RESOURCE_NAME) ? name : "";
    };
    std::string text = nameText(tag).empty() ? "/Odd" : nameText(tag);
    std::string more = properties.kind == NAME ? nameText(properties)
                                               : plainDictionary(operation.operands, properties);
    bool isPoint = operation.op->id == Op::MARK_POINT_PROPERTIES;
    if (more.empty())
        return text + (isPoint ? " MP" : " BMC");
    return text + " " + more + (isPoint ? " DP" : " BDC");
}

/* Is it an operation of patterns?  Those are painted by other operators now, or named nothing. */
bool isOfPatterns(const Operation &operation, const std::vector<Operand> &operands)
{
    const Operator &op = *operation.op;
    if (op.id == Op::SHADING_FILL)
        return true;
    if (operands.empty() || operands.back().kind != NAME)
        return false;
    std::string name = nameValue(operation.operands[operands.back().first].source);
    return op.is(SETS_COLOUR) || (op.is(SETS_SPACE) && name == "/Pattern");
}

/* The operation in canonical form; nothing when it is left out. */
std::string mended(ContentWalk *walk, const Operation &operation)
{
    const Operator &op = *operation.op;
    std::vector<Operand> operands = operandsOf(operation.operands);
    if (isOfPatterns(operation, operands))
        return "";
    std::string kinds, text;
    size_t wanted = op.is(SETS_COLOUR) ? operands.size() : op.types.size();
    if (operands.size() > wanted) /* those in front are nobody's */
        operands.erase(operands.begin(), operands.end() - (long)wanted);
    for (const Operand &operand : operands)
        kinds += operand.kind;
    if (op.id == Op::UNKNOWN || op.id == Op::INLINE_IMAGE || !takes(op, kinds)) {
        drop(walk, op);
        return "";
    }
    if (!apply(walk, op)) {
        if (isWidth(op) && walk->width.empty() && putOperands(walk, operation, operands, &text))
            walk->width = text + std::string(op.name);
        return op.id == Op::BEGIN_TEXT ? "ET\nBT" : ""; /* text within text begins anew */
    }
    if (op.types.ends_with("p"))
        return plainMark(operation, operands);
    if (!putOperands(walk, operation, operands, &text)) {
        drop(walk, op);
        return "";
    }
    return text + std::string(op.name);
}

/* Writes a piece of content behind what is there. */
void put(ContentWalk *walk, const std::string &text)
{
    std::string &out = walk->made.text;
    if (text.empty())
        return;
    if (!out.empty() && !isWhite(out.back()))
        out.push_back('\n');
    out += text;
}

/* Reads what the scanner has refused, and writes it anew; where it ends.  Behind the last operator
 * that is the content's end. */
size_t mend(ContentWalk *walk, size_t begin)
{
    ContentReader reader{walk->content, begin};
    Operation operation;
    bool isWhole = readOperation(&reader, &operation);
    copyUpTo(walk, begin);
    walk->copied = reader.at;
    if (isWhole) {
        put(walk, mended(walk, operation));
    } else {
        walk->made.dropped += !operation.operands.empty();
        walk->made.lostPaint |= operation.operands.size() >= MAX_OPERANDS;
    }
    return reader.at;
}

void close(ContentWalk *walk)
{
    if (!walk->inText && walk->saves == 0 && !walk->made.isChanged)
        return;
    copyUpTo(walk, walk->content.size());
    if (walk->inText)
        put(walk, "ET\n");
    for (; walk->saves > 0; walk->saves--)
        put(walk, "Q\n");
}

/* A glyph begins with its width, wherever the document has that. */
void beginWithWidth(ContentWalk *walk, double glyphWidth)
{
    if (!walk->isGlyph || walk->beginsWithWidth)
        return;
    copyUpTo(walk, walk->content.size());
    if (walk->width.empty())
        walk->width = numberText(glyphWidth) + " 0 d0";
    walk->made.text.insert(0, walk->width + "\n");
}

} // namespace

PlainContent plainContent(std::string_view content, bool isGlyph, const PlainNamer &namer,
                          double glyphWidth)
{
    ContentWalk walk{content, isGlyph, namer};
    const char *begin = content.data();
    Scanner scanner{begin, begin + content.size()};
    for (;;) {
        skipSpace(&scanner);
        if (scanner.atEnd())
            break;
        size_t at = (size_t)(scanner.at - begin);
        const Operator *op = scanOperation(&scanner);
        if (!op || !accept(&walk, *op, scanner.name))
            scanner.at = begin + mend(&walk, at);
    }
    close(&walk);
    beginWithWidth(&walk, glyphWidth);
    for (int category = 0; category < CATEGORIES; category++)
        for (std::string_view name : walk.names[category])
            walk.made.names[category].insert("/" + std::string(name));
    return std::move(walk.made);
}

} // namespace prepare
