/*
 * verify.cpp - the grammar of a section: resources, where the page lies, contents
 *
 * One function for each thing that may stand there.  Each reads its own text and answers false
 * where it is any other; the first reason is kept.
 */
#include "job/verify.h"

#include <algorithm>
#include <charconv>
#include <cfloat>
#include <cmath>

#include "job/content.h"
#include "job/runtime.h"
#include "job/tokens.h"
#include "job/words.h"

namespace job {

namespace {

constexpr size_t LONGEST_RESOURCE_NAME = 64;
constexpr int DEEPEST = 8; /* colour spaces and halftones in each other */
constexpr int64_t MOST_OUTPUTS = 32, MOST_GLYPHS = 65536;

/* What a dictionary has said. */
struct Entries {
    uint32_t present = 0;     /* bits: rows of the table of keys */
    int64_t numbers[16] = {}; /* by row: integers, booleans */
    std::string name = {};    /* the external one, or a font's */
    uint64_t components = 4;  /* of the colour space */

    bool has(size_t row) const { return present >> row & 1; }
};

/* The bytes in front of the dictionary that they belong to. */
struct Data {
    bool isThere = false, isContent = false;
    std::string name = {};
    Content content = {};
    const char *unclosed = nullptr; /* why it could not stand alone */
};

class SectionReader {
  public:
    SectionReader(Scanner *text, Account *counted) : in(*text), account(*counted), state(&page) {}

    bool readPage();
    bool readShared();
    bool readPart();

    std::string cause = {}, surplus = {};

  private:
    bool refuse(const char *why);
    bool limitPath(const ContentState &content);

    bool expect(TokenKind kind, const char *why);
    bool word(std::string_view text);
    bool literal(std::string_view bytes);
    bool name(std::string *text, size_t longest = LONGEST_RESOURCE_NAME);
    bool whole(int64_t *value, int64_t least, int64_t most);
    bool number();
    bool numbers(int64_t least, int64_t most);
    bool words(std::string_view pattern);
    int oneOf(std::span<const std::string_view> patterns);

    bool dictionary(std::span<const Key> keys, Entries *entries);
    bool value(const Key &key, Entries *entries, size_t row);
    bool differences();
    bool filters();
    bool parameters();
    bool functionNames(bool isArray);
    bool external(Entries *entries);

    bool space(uint64_t *components, int depth);
    bool spaceArray(uint64_t *components, int depth);
    bool indexed(int depth);
    bool colourTable();
    bool cieSpace();
    bool defineSpace();
    bool function();
    bool functionText();
    bool halftone(int depth);
    bool halftoneEntry(int depth);

    bool resource(const Token &first);
    bool named();
    bool counted();
    bool data(int64_t count, std::string dataName);
    bool content(int64_t count, ContentState *reached);
    bool defineXObject(const std::string &key);
    bool defineForm(const std::string &key, const Entries &entries);
    bool defineImage(const std::string &key, const Entries &entries);
    bool stateOrFont(const std::string &key);
    bool type3(const std::string &key);
    bool glyphs(Content *most);
    bool compactFont();
    bool convertedFont();
    bool convertedInfo();
    bool convertedGlyphs();
    bool convertedGlyph();
    bool fontOrContents();
    bool placement(size_t operands, const double *values);
    bool useContents(double number);

    Scanner &in;
    Account &account;
    Data pending = {};
    Content page = {};
    ContentState state;
    bool isPage = false;
    enum { RESOURCES, PLACED, CLIPPED, MOVED, CONTENTS } phase = RESOURCES;
};

/* ---- small pieces */

bool SectionReader::refuse(const char *why)
{
    if (cause.empty())
        cause = in.fault ? in.fault : why;
    return false;
}

bool SectionReader::expect(TokenKind kind, const char *why)
{
    return in.next().kind == kind || refuse(why);
}

bool SectionReader::word(std::string_view text)
{
    const Token &token = in.next();
    return (token.kind == TokenKind::WORD && token.is(text)) ||
           refuse("a word stands where another one is due");
}

/* Where the runtime reads by lines or bytes, just these are there. */
bool SectionReader::literal(std::string_view bytes)
{
    return in.follows(bytes) || refuse("a line is not as it must be");
}

bool SectionReader::name(std::string *text, size_t longest)
{
    const Token &token = in.next();
    if (token.kind != TokenKind::NAME)
        return refuse("a name is missing");
    if (token.name().size() > longest)
        return refuse("a name is too long");
    *text = token.name();
    return true;
}

/* The value of a number; not finite where a 32-bit real cannot hold it. */
double valueOf(const Token &token)
{
    std::string_view text = token.text;
    text.remove_prefix(text[0] == '+');
    double value = 0;
    auto end = std::from_chars(text.data(), text.data() + text.size(), value);
    return end.ec != std::errc() || std::fabs(value) > FLT_MAX ? HUGE_VAL : value;
}

bool isInRange(const Token &token)
{
    return token.isNumber() && std::isfinite(valueOf(token));
}

bool SectionReader::number()
{
    return isInRange(in.next()) || refuse("a number is missing or out of range");
}

bool SectionReader::whole(int64_t *value, int64_t least, int64_t most)
{
    const Token &token = in.next();
    double read = token.kind == TokenKind::INTEGER ? valueOf(token) : HUGE_VAL;
    if (!(read >= (double)least && read <= (double)most))
        return refuse("a whole number is missing or out of range");
    *value = (int64_t)read;
    return true;
}

bool SectionReader::numbers(int64_t least, int64_t most)
{
    if (!expect(TokenKind::OPEN_ARRAY, "an array is missing"))
        return false;
    for (int64_t count = 0;; count++) {
        const Token &token = in.next();
        if (token.kind == TokenKind::CLOSE_ARRAY)
            return (count >= least && count <= most) || refuse("an array has another length");
        if (!isInRange(token) || count == most)
            return refuse("an array holds other than numbers, or too many");
    }
}

/* ---- patterns of procedures */

std::string_view nextOf(std::string_view *pattern)
{
    size_t blank = std::min(pattern->find(' '), pattern->size());
    std::string_view piece = pattern->substr(0, blank);
    pattern->remove_prefix(std::min(blank + 1, pattern->size()));
    return piece;
}

bool matches(const Token &token, std::string_view piece)
{
    if (piece == "#")
        return isInRange(token);
    if (piece == "#n")
        return token.kind == TokenKind::INTEGER && valueOf(token) >= 0 &&
               valueOf(token) <= MOST_OUTPUTS;
    return token.is(piece);
}

/* Reads one of the patterns, none of which begins another one; -1, and a reason: it is none. */
int SectionReader::oneOf(std::span<const std::string_view> patterns)
{
    std::string_view rest[4];
    bool isOut[4] = {};
    std::copy(patterns.begin(), patterns.end(), rest);
    for (;;) {
        const Token &token = in.next();
        bool isAny = false;
        for (size_t i = 0; i < patterns.size(); i++) {
            isOut[i] = isOut[i] || !matches(token, nextOf(&rest[i]));
            if (!isOut[i] && rest[i].empty())
                return (int)i;
            isAny |= !isOut[i];
        }
        if (!isAny) {
            refuse("a procedure is none that the converter writes");
            return -1;
        }
    }
}

bool SectionReader::words(std::string_view pattern)
{
    return oneOf({&pattern, 1}) == 0;
}

/* ---- dictionaries */

bool SectionReader::dictionary(std::span<const Key> keys, Entries *entries)
{
    for (;;) {
        const Token &token = in.next();
        if (token.kind == TokenKind::CLOSE_DICT)
            return true;
        if (token.kind != TokenKind::NAME)
            return refuse("a dictionary holds something that is no key");
        auto key = std::find_if(keys.begin(), keys.end(),
                                [&](const Key &one) { return one.name == token.name(); });
        if (key == keys.end())
            return refuse("a dictionary has a key that is not known");
        size_t row = (size_t)(key - keys.begin());
        if (entries->has(row))
            return refuse("a dictionary has a key twice");
        entries->present |= 1u << row;
        if (!value(*key, entries, row))
            return false;
    }
}

bool SectionReader::value(const Key &key, Entries *entries, size_t row)
{
    std::string text;
    switch (key.value) {
    case Value::INTEGER:
        return whole(&entries->numbers[row], key.least, key.most);
    case Value::NUMBER:
        return number();
    case Value::BOOLEAN:
        entries->numbers[row] = in.next().is("true");
        return entries->numbers[row] || in.last().is("false") || refuse("true or false is missing");
    case Value::NAME:
        if (!name(&text, LONGEST_NAME))
            return false;
        if (key.name == "Name")
            entries->name = text;
        return true;
    case Value::NUMBERS:
        return numbers(key.least, key.most);
    case Value::DIFFERENCES:
        return differences();
    case Value::EXTERNAL:
        return external(entries);
    case Value::FILTERS:
        return filters();
    case Value::PARAMETERS:
        return parameters();
    case Value::SPACE:
        return space(&entries->components, 0);
    case Value::FUNCTION:
        return functionNames(false);
    case Value::FUNCTIONS:
        return functionNames(true);
    case Value::HALFTONE:
        return halftone(0);
    }
    return false;
}

bool SectionReader::differences()
{
    if (!expect(TokenKind::OPEN_ARRAY, "an array is missing"))
        return false;
    for (size_t count = 0; count <= MOST_ITEMS; count++) {
        const Token &token = in.next();
        if (token.kind == TokenKind::CLOSE_ARRAY)
            return true;
        if (token.kind != TokenKind::NAME && token.kind != TokenKind::INTEGER)
            return refuse("an encoding holds other than codes and names");
    }
    return refuse("an array is too long");
}

bool SectionReader::external(Entries *entries)
{
    if (!expect(TokenKind::STRING, "a string is missing"))
        return false;
    std::string_view text = in.last().text;
    entries->name = text.substr(1, text.size() - 2);
    return true;
}

bool SectionReader::filters()
{
    constexpr int MOST_FILTERS = 8;
    auto isKnown = [](const Token &token) {
        return token.kind == TokenKind::NAME &&
               std::find(std::begin(filterNames), std::end(filterNames), token.name()) !=
                   std::end(filterNames);
    };
    if (in.next().kind != TokenKind::OPEN_ARRAY)
        return isKnown(in.last()) || refuse("a filter is not known");
    for (int count = 0; in.next().kind != TokenKind::CLOSE_ARRAY; count++)
        if (count == MOST_FILTERS || !isKnown(in.last()))
            return refuse("a filter is not known, or there are too many");
    return true;
}

bool SectionReader::parameters()
{
    Entries each;
    if (in.next().kind == TokenKind::OPEN_DICT)
        return dictionary(parameterKeys, &each);
    if (in.last().kind != TokenKind::OPEN_ARRAY)
        return refuse("parameters of a filter are no dictionary");
    while (in.next().kind != TokenKind::CLOSE_ARRAY) {
        each = {};
        if (in.last().is("null"))
            continue;
        if (in.last().kind != TokenKind::OPEN_DICT)
            return refuse("parameters of a filter are no dictionary");
        if (!dictionary(parameterKeys, &each))
            return false;
    }
    return true;
}

bool SectionReader::functionNames(bool isArray)
{
    if (in.next().kind == TokenKind::NAME)
        return true;
    if (!isArray || in.last().kind != TokenKind::OPEN_ARRAY)
        return refuse("a function's name is missing");
    for (int count = 0; in.next().kind != TokenKind::CLOSE_ARRAY; count++)
        if (count == 4 || in.last().kind != TokenKind::NAME)
            return refuse("functions are other than four names");
    return true;
}

/* ---- functions */

bool SectionReader::functionText()
{
    constexpr std::string_view inputs[] = {ONE_INPUT, TWO_INPUTS};
    if (!words(FUNCTION_BEGINS))
        return false;
    switch (oneOf(inputs)) {
    case 0:
        if (oneOf(FETCH_FOR_ONE) < 0 || !words(ROUNDED))
            return false;
        for (int outputs = 0; outputs <= MOST_OUTPUTS; outputs++)
            if (int found = oneOf(OUTPUTS); found != 0)
                return found == 1;
        return refuse("a function has too many outputs");
    case 1:
        return oneOf(FETCH_FOR_TWO) >= 0 && words(ROUNDED) && words(SINGLE_OUTPUT);
    default:
        return false;
    }
}

/* Its samples, and the procedure that reads them. */
bool SectionReader::function()
{
    int64_t count;
    if (in.next().is("currentfile") && in.next().kind == TokenKind::OPEN_DICT)
        return refuse("the samples of a function have a filter");
    in.again();
    return whole(&count, 0, MOST_ITEMS) && word("string") && word("readstring") && literal("\n") &&
           (in.skip((uint64_t)count) || refuse("data is shorter than its count")) &&
           literal("\n") && functionText();
}

bool SectionReader::halftoneEntry(int depth)
{
    const Token &token = in.next();
    if (token.isNumber() || token.is("true") || token.is("false"))
        return isInRange(token) || !token.isNumber() || refuse("a number is out of range");
    in.again();
    if (token.is("currentfile"))
        return function() && words("/Function defineRes pop");
    if (token.kind == TokenKind::NAME)
        return in.next().kind == TokenKind::NAME && words("/Function findRes");
    return halftone(depth + 1);
}

bool SectionReader::halftone(int depth)
{
    const Token &token = in.next();
    if (token.is("_defaulthalftone"))
        return true;
    if (token.kind != TokenKind::OPEN_DICT || depth > DEEPEST)
        return refuse("a halftone is no dictionary, or too deep");
    while (in.next().kind != TokenKind::CLOSE_DICT)
        if (in.last().kind != TokenKind::NAME || !halftoneEntry(depth))
            return refuse("a halftone holds what is not known");
    return true;
}

/* ---- colour spaces */

struct Family {
    std::string_view name;
    uint64_t components;
};
constexpr Family families[] = {
    {"DeviceGray", 1}, {"DeviceRGB", 3}, {"DeviceCMYK", 4}, {"Pattern", 0}};

const Family *familyOf(std::string_view name)
{
    for (const Family &one : families)
        if (one.name == name)
            return &one;
    return nullptr;
}

/* A name that is looked up, a family by its name alone, or an array. */
bool SectionReader::space(uint64_t *components, int depth)
{
    if (depth > DEEPEST)
        return refuse("colour spaces stand too deep in each other");
    if (in.next().kind == TokenKind::OPEN_ARRAY)
        return spaceArray(components, depth);
    if (in.last().kind != TokenKind::NAME)
        return refuse("a colour space is missing");
    if (in.last().name().size() > LONGEST_RESOURCE_NAME)
        return refuse("a name is too long");
    const Family *family = familyOf(in.last().name());
    *components = family ? family->components : 4; /* the most that there can be */
    if (in.next().is("/ColorSpace"))
        return word("findRes");
    in.again();
    return family || refuse("a colour space is not known");
}

bool SectionReader::spaceArray(uint64_t *components, int depth)
{
    std::string family, colorant;
    uint64_t base;
    if (!name(&family))
        return false;
    *components = family == "CIEBasedABC" ? 3 : 1;
    if (family == "Indexed")
        return indexed(depth) && expect(TokenKind::CLOSE_ARRAY, "a colour space does not end");
    if (family == "CIEBasedA" || family == "CIEBasedABC")
        return cieSpace();
    if (family == "Separation")
        return expect(TokenKind::STRING, "a colour has no name") && space(&base, depth + 1) &&
               word("currentfile") && (in.again(), function()) &&
               expect(TokenKind::CLOSE_ARRAY, "a colour space does not end");
    if (family != "Pattern")
        return refuse("a colour space is not known");
    if (in.next().kind == TokenKind::CLOSE_ARRAY)
        return true;
    in.again();
    return space(&base, depth + 1) && expect(TokenKind::CLOSE_ARRAY, "a colour space does not end");
}

bool SectionReader::indexed(int depth)
{
    uint64_t base;
    int64_t last;
    if (!space(&base, depth + 1) || !whole(&last, 0, 255))
        return false;
    if (in.next().kind == TokenKind::STRING)
        return true;
    return in.last().kind == TokenKind::OPEN_DICT ? colourTable()
                                                  : refuse("a table of colours is missing");
}

bool SectionReader::colourTable()
{
    Entries entries;
    int64_t size;
    return dictionary(plainStreamKeys, &entries) && whole(&size, 0, MOST_ITEMS) &&
           word("SetIndexed") && literal("\n") &&
           (in.skip((uint64_t)entries.numbers[0]) || refuse("data is shorter than its count")) &&
           literal("\n");
}

/* The spaces that stand on measured light: figures, and procedures that are always the same. */
bool SectionReader::cieSpace()
{
    struct Figures {
        std::string_view key;
        int64_t count;
    };
    constexpr Figures figures[] = {
        {"WhitePoint", 3}, {"BlackPoint", 3}, {"MatrixLMN", 9}, {"RangeABC", 6}};
    if (!expect(TokenKind::OPEN_DICT, "a colour space has no dictionary"))
        return false;
    while (in.next().kind == TokenKind::NAME) {
        std::string_view key = in.last().name();
        auto known = std::find_if(std::begin(figures), std::end(figures),
                                  [&](const Figures &one) { return one.key == key; });
        if (known != std::end(figures)) {
            if (!numbers(known->count, known->count))
                return false;
            continue;
        }
        in.again();
        if (key == "DecodeLMN") {
            if (!words(RGB_PROCEDURES))
                return false;
            continue;
        }
        return words(key == "DecodeABC" ? LAB_PROCEDURES : GREY_PROCEDURES);
    }
    return in.last().kind == TokenKind::CLOSE_DICT
               ? expect(TokenKind::CLOSE_ARRAY, "a colour space does not end")
               : refuse("a colour space holds what is not known");
}

/* Behind the name of the resource.  Of a family that the converter does not know nothing is there.
 */
bool SectionReader::defineSpace()
{
    constexpr std::string_view ways[] = {"/ColorSpace findRes /ColorSpace defineRes pop",
                                         "/ColorSpace defineRes pop"};
    uint64_t components;
    const Token &token = in.next();
    if (token.kind == TokenKind::OPEN_ARRAY)
        return spaceArray(&components, 0) && words(ways[1]);
    if (token.name().size() > LONGEST_RESOURCE_NAME)
        return refuse("a name is too long");
    bool isFamily = familyOf(token.name());
    if (token.is("/ColorSpace")) {
        if (in.next().is("defineRes"))
            return word("pop");
        in.again();
    }
    int way = oneOf(ways);
    return way == 0 || (way == 1 && (isFamily || refuse("a colour space is not known")));
}

/* ---- fonts */

bool SectionReader::compactFont()
{
    Entries entries;
    int64_t count;
    return whole(&count, 0, MOST_INTEGER) && word("AppendCount") && literal("\n") &&
           (in.skip((uint64_t)count) || refuse("data is shorter than its count")) &&
           literal("\n") && expect(TokenKind::OPEN_DICT, "a font program has no dictionary") &&
           dictionary(programKeys, &entries) && word("ExecType1C");
}

/* The contents of glyphs; the runtime finds their ends by lines and bytes, which it shall find
 * where we do. */
bool SectionReader::glyphs(Content *most)
{
    for (int64_t count = 0; !in.follows(">>\n"); count++) {
        Content one;
        ContentState glyph(&one);
        std::string text;
        if (count == MOST_GLYPHS || !name(&text, LONGEST_NAME) || !literal(" { save\n"))
            return refuse("a font has too many glyphs");
        if (const char *wrong = readContent(in, &glyph, true))
            return refuse(wrong);
        if (in.whiteBefore() != ' ' || !literal(" }\n"))
            return refuse("the content of a glyph does not end");
        if (const char *wrong = glyph.finish())
            return refuse(wrong);
        if (!limitPath(glyph))
            return false;
        one.raise(most);
    }
    return true;
}

bool SectionReader::type3(const std::string &key)
{
    Content most;
    Entries encoding;
    if (!words("3"))
        return false;
    while (in.next().kind == TokenKind::NAME) {
        bool isMatrix = in.last().is("/FontMatrix");
        if ((!isMatrix && !in.last().is("/FontBBox")) ||
            !numbers(isMatrix ? 6 : 4, isMatrix ? 6 : 4))
            return refuse("a font has a key that is not known");
    }
    if (in.last().kind != TokenKind::OPEN_DICT || !dictionary(encodingKeys, &encoding) ||
        !word("T3AdjEnc") || !literal("\n"))
        return refuse("a font has no encoding");
    if (in.follows("/CharProcs <<\n/.notdef {250 0 d0}\n") && !glyphs(&most))
        return false;
    account.defineFont(key, std::move(most));
    return literal("T3DefFnct\n") && words(">> definefont pop");
}

/* A TrueType program, as the converter writes it: with comments, and paths as procedures. */
bool SectionReader::convertedFont()
{
    constexpr std::string_view begins = "20 dict begin /FontType 3 def",
                               ends =
                                   "/BuildGlyph { exch /CharProcs get exch 2 copy known not "
                                   "{ pop /.notdef } if get exec } bind def /BuildChar { 1 index "
                                   "/Encoding get exch get 1 index /BuildGlyph get exec } bind "
                                   "def currentdict end definefont pop";
    in.takesComments = true;
    bool isGood = words(begins) && convertedInfo() && convertedGlyphs() && words(ends) &&
                  literal("\n%%%%EndFont\n");
    in.takesComments = false;
    return isGood;
}

bool SectionReader::convertedInfo()
{
    constexpr std::string_view ways[] = {"/FontName", "/FontInfo 9 dict dup begin"};
    constexpr std::string_view names[] = {"/FullName", "/Notice", "/FamilyName", "/Weight",
                                          "/version"};
    auto text = [this] { return expect(TokenKind::STRING, "a string is missing") && word("def"); };
    int way = oneOf(ways);
    if (way < 0 || (way == 0 && (!text() || !words(ways[1]))))
        return false;
    while (std::find(std::begin(names), std::end(names), in.next().text) != std::end(names))
        if (!text())
            return false;
    in.again();
    constexpr std::string_view fixed[] = {"true def end def", "false def end def"};
    if (!words("/italicAngle # def /underlineThickness # def /underlinePosition # def "
               "/isFixedPitch") ||
        oneOf(fixed) < 0 ||
        !words("/FontMatrix [ # 0 0 # 0 0 ] def /FontBBox [ # # # # ] def /Encoding ["))
        return false;
    for (int code = 0; code < 256; code++)
        if (!expect(TokenKind::NAME, "an encoding is too short"))
            return false;
    return words("] def");
}

bool SectionReader::convertedGlyphs()
{
    int64_t count;
    if (!words("/CharProcs") || !whole(&count, 1, MOST_GLYPHS) ||
        !words("dict def CharProcs begin") || !literal("\n"))
        return false;
    while (in.next().kind == TokenKind::NAME)
        if (!convertedGlyph())
            return false;
    return in.last().is("end") || refuse("a converted font does not end");
}

bool SectionReader::convertedGlyph()
{
    constexpr std::string_view allowed[] = {
        "moveto", "lineto",    "curveto", "closepath", "setcachedevice", "fill",
        "matrix", "setmatrix", "concat",  "[",         "currentmatrix",  "]"};
    if (!literal(" { "))
        return false;
    while (in.next().kind != TokenKind::CLOSE_PROCEDURE) {
        const Token &token = in.last();
        if (!isInRange(token) &&
            std::find(std::begin(allowed), std::end(allowed), token.text) == std::end(allowed))
            return refuse("a glyph of a converted font holds other than a path");
    }
    return words("bind def");
}

/* ---- resources */

/* Content that is counted; the state says what it leaves open. */
bool SectionReader::content(int64_t count, ContentState *reached)
{
    if (!literal("\n"))
        return false;
    uint64_t end = in.position() + (uint64_t)count, outer = in.limit((uint64_t)count);
    if (const char *wrong = readContent(in, reached))
        return refuse(wrong);
    bool isAll = in.position() == end;
    in.unlimit(outer);
    reached->counted->own[DECODED_BYTES] += (uint64_t)count;
    return (isAll || refuse("data is shorter than its count")) && limitPath(*reached) &&
           literal("\n");
}

bool SectionReader::limitPath(const ContentState &content)
{
    constexpr uint64_t LONGEST_PATH = 1'000'000;
    if (content.longestPath > LONGEST_PATH * account.workFactor())
        surplus = std::to_string(LONGEST_PATH * account.workFactor()) + " pieces of one path";
    return surplus.empty();
}

/* What stands in front of an image or a form. */
bool SectionReader::data(int64_t count, std::string dataName)
{
    pending = {};
    pending.name = std::move(dataName);
    pending.isThere = true;
    if (in.next().is("ReadContent")) {
        ContentState whole(&pending.content);
        pending.isContent = whole.mayBeginSaved = true;
        if (!content(count, &whole))
            return false;
        if (whole.isInText)
            return refuse(whole.finish());
        bool isClosed = pending.content.lowest == 0 && pending.content.net == 0;
        pending.unclosed = isClosed ? nullptr : "q and Q do not stand in pairs";
        return true;
    }
    if (!in.last().is("ReadCount"))
        return refuse("a word stands where another one is due");
    return literal("\n") &&
           (in.skip((uint64_t)count) || refuse("data is shorter than its count")) && literal("\n");
}

bool SectionReader::defineXObject(const std::string &key)
{
    Entries entries;
    bool isContent = pending.isContent;
    pending.isThere = false;
    std::span<const Key> keys = imageKeys;
    if (isContent)
        keys = formKeys;
    if (!dictionary(keys, &entries))
        return false;
    bool isOfContents = isContent && pending.name == "C" + key;
    if (entries.name != pending.name || (pending.name != "d" + key && !isOfContents))
        return refuse("data belongs to another name");
    if (isOfContents) {
        account.defineContents(std::move(pending.content));
        return word("CallForm");
    }
    return isContent ? defineForm(key, entries) : defineImage(key, entries);
}

bool SectionReader::defineForm(const std::string &key, const Entries &)
{
    if (pending.unclosed)
        return refuse(pending.unclosed);
    account.defineForm(key, std::move(pending.content));
    return word("CallForm");
}

bool SectionReader::defineImage(const std::string &key, const Entries &entries)
{
    int64_t bits = entries.has(IMAGE_BITS) ? entries.numbers[IMAGE_BITS] : 8;
    bool isMask = entries.numbers[IMAGE_MASK];
    if (!entries.has(IMAGE_WIDTH) || !entries.has(IMAGE_HEIGHT))
        return refuse("a picture has no size");
    if ((bits & (bits - 1)) != 0 || (isMask && entries.has(IMAGE_BITS) && bits != 1))
        return refuse("a picture has another number of bits");
    if (in.next().is("CallForm"))
        return refuse("the content of a form comes as data");
    in.again();
    uint64_t width = (uint64_t)entries.numbers[IMAGE_WIDTH];
    uint64_t height = (uint64_t)entries.numbers[IMAGE_HEIGHT];
    uint64_t rowBits = width * (isMask ? 1 : (uint64_t)bits * entries.components);
    account.defineImage(key, width * height, height * ((rowBits + 7) / 8));
    return word("CallImage");
}

bool SectionReader::stateOrFont(const std::string &key)
{
    if (pending.isThere)
        return defineXObject(key);
    if (in.next().is("/FontType"))
        return type3(key);
    in.again();
    Entries entries;
    return dictionary(stateKeys, &entries) && words("/ExtGState defineRes pop");
}

/* A resource whose name has been read. */
bool SectionReader::named()
{
    std::string key(in.last().name());
    if (in.follows(" \n%!PS-Adobe-3.0 Resource-Font\n"))
        return convertedFont();
    if (key.size() > LONGEST_RESOURCE_NAME)
        return refuse("a name is too long");
    const Token &token = in.next();
    switch (token.kind) {
    case TokenKind::OPEN_DICT:
        return stateOrFont(key);
    case TokenKind::INTEGER: {
        double part = valueOf(token);
        account.useShared(key, (uint64_t)std::clamp(part, 0.0, 1e9));
        return word("UseShared");
    }
    case TokenKind::OPEN_ARRAY:
    case TokenKind::NAME:
        in.again();
        return defineSpace();
    default:
        in.again();
        return function() && words("/Function defineRes pop");
    }
}

bool SectionReader::fontOrContents()
{
    Entries entries;
    if (phase == CONTENTS)
        return dictionary(plainStreamKeys, &entries) && word("PageContents") &&
               content(entries.numbers[0], &state);
    if (phase != RESOURCES)
        return refuse("a resource stands behind them all");
    if (!dictionary(fontKeys, &entries) || !word("AdjFont"))
        return false;
    account.defineFont(entries.name, {});
    return true;
}

bool SectionReader::useContents(double number)
{
    const Content *contents = account.useContents((uint64_t)std::clamp(number, 0.0, 1e9));
    if (!contents) /* its part has been refused, and nothing is there */
        return true;
    const char *wrong = state.follow(*contents);
    return !wrong || refuse(wrong);
}

/* Numbers, and the word behind them. */
bool SectionReader::placement(size_t operands, const double *values)
{
    const Token &token = in.last();
    auto step = [&](std::string_view text, size_t count, auto to) {
        bool isNext = token.is(text) && operands == count && isPage && phase < to &&
                      (to < MOVED || phase + 1 == to);
        if (isNext)
            phase = to;
        return isNext;
    };
    if (step("Place", 6, PLACED) || step("PageClip", 4, CLIPPED) || step("translate", 2, MOVED) ||
        step("rotate", 1, CONTENTS))
        return true;
    if (token.is("UseContents") && operands == 1 && values[0] >= 0 && phase == CONTENTS)
        return useContents(values[0]);
    return refuse("a word stands where another one is due");
}

bool SectionReader::counted()
{
    double values[6];
    size_t count = 0;
    bool isWhole = in.last().kind == TokenKind::INTEGER;
    for (in.again(); in.next().isNumber(); count++) {
        if (count == 6 || !isInRange(in.last()))
            return refuse("a number is out of place");
        values[count] = valueOf(in.last());
    }
    if (in.last().kind != TokenKind::NAME)
        return placement(count, values);
    std::string dataName(in.last().name());
    bool isCount = isWhole && count == 1 && values[0] >= 0 && values[0] <= MOST_INTEGER;
    if (!isCount || phase != RESOURCES || dataName.size() > LONGEST_RESOURCE_NAME + 1)
        return refuse("a count is out of place");
    return data((int64_t)values[0], dataName);
}

bool SectionReader::resource(const Token &first)
{
    if (first.isNumber())
        return counted();
    if (first.kind == TokenKind::OPEN_DICT)
        return fontOrContents();
    if (phase != RESOURCES)
        return refuse("a resource stands behind content");
    if (first.kind == TokenKind::NAME)
        return named();
    if (first.kind == TokenKind::STRING)
        return compactFont();
    if (first.is("OpenResources") && isPage) {
        account.openScope();
        return true;
    }
    if (first.is("CloseResources") && isPage)
        return account.closeScope() || refuse("a group of resources ends that has not begun");
    return refuse("a word stands where another one is due");
}

/* ---- sections */

bool SectionReader::readPage()
{
    account.begin();
    isPage = true;
    while (in.next().kind != TokenKind::END)
        if (!resource(in.last()))
            return refuse("it is not known why");
    if (const char *wrong = state.finish())
        return refuse(wrong);
    account.addContents(page);
    if (const CostLimit *limit = account.exceeded())
        surplus = std::to_string(limit->most * account.workFactor()) + " " + limit->what;
    return surplus.empty();
}

bool SectionReader::readPart()
{
    account.begin();
    while (in.next().kind != TokenKind::END)
        if (!resource(in.last()))
            return refuse("it is not known why");
    return true;
}

bool SectionReader::readShared()
{
    while (in.next().kind != TokenKind::END) {
        int64_t number, length;
        in.again();
        if (!whole(&number, 0, MOST_INTEGER) || !whole(&length, 0, MOST_INTEGER) || !literal("\n"))
            return false;
        uint64_t end = in.position() + (uint64_t)length, outer = in.limit((uint64_t)length);
        if (!readPart())
            return false;
        if (in.position() != end)
            return refuse("data is shorter than its count");
        in.unlimit(outer);
        account.keepPart((uint64_t)number);
    }
    return true;
}

Verdict verdictOn(Scanner in, SectionKind kind, Account *account)
{
    SectionReader reader(&in, account);
    bool isGood = kind == SectionKind::PAGE     ? reader.readPage()
                  : kind == SectionKind::SHARED ? reader.readShared()
                                                : reader.readPart();
    Verdict verdict = {std::move(reader.cause), std::move(reader.surplus), in.position()};
    if (!verdict.surplus.empty())
        verdict.cause.clear();
    else if (!isGood && verdict.cause.empty())
        verdict.cause = "it is not known why";
    return verdict;
}

} // namespace

Verdict verify(Bytes text, SectionKind kind, Account *account)
{
    return verdictOn(Scanner(text), kind, account);
}

Verdict verify(Spool *text, SectionKind kind, Account *account)
{
    if (text->isFull())
        return {"", std::to_string(account->most(DECODED_BYTES)) + " bytes", 0};
    if (text->isInMemory())
        return verify(text->inMemory(), kind, account);
    text->rewind();
    return verdictOn(Scanner([&](uint8_t *to, size_t room) { return text->read(to, room); }), kind,
                     account);
}

std::optional<AcceptedText> accept(Spool *text, SectionKind kind, Account *account,
                                   Verdict *verdict)
{
    *verdict = verify(text, kind, account);
    *verdict = {}; /* documents are not canonical yet: nothing is refused */
    if (!verdict->isAccepted())
        return std::nullopt;
    return AcceptedText(text);
}

AcceptedText AcceptedText::ofRuntime(const std::set<std::string> &names, Spool *spool)
{
    std::string runtime = runtimeFor(names);
    spool->write({(const uint8_t *)runtime.data(), runtime.size()});
    return AcceptedText(spool);
}

} // namespace job
