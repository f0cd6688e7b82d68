/*
 * sectioncolours.cpp - colour spaces, functions and halftones of a section
 */
#include "job/sectionreader.h"

#include <algorithm>

namespace job {

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
    if (!word("currentfile"))
        return false;
    if (in.next().kind == TokenKind::OPEN_DICT)
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
    while (in.next().kind != TokenKind::CLOSE_DICT) {
        bool isGood = in.last().kind == TokenKind::NAME      ? halftoneEntry(depth)
                      : in.last().kind == TokenKind::INTEGER ? thresholds()
                                                             : false;
        if (!isGood)
            return refuse("a halftone holds what is not known");
    }
    return true;
}

/* Their data, which stands in the middle of the dictionary, and the key that it is the value of. */
bool SectionReader::thresholds()
{
    constexpr int64_t MOST_THRESHOLDS = 1 << 20;
    int64_t count;
    std::string file;
    in.again();
    if (!whole(&count, 0, MOST_THRESHOLDS) || !name(&file, LONGEST_NAME) ||
        !words("AddCreatedFile ReadCount") || !literal("\n"))
        return false;
    if (!in.skip((uint64_t)count))
        return refuse("data is shorter than its count");
    if (!literal("\n") || !words("/Thresholds"))
        return false;
    if (!in.next().is("(" + file + ")"))
        return refuse("data belongs to another name");
    return words("(r) file << >> begin SetFilter end");
}

/* ---- colour spaces */

namespace {

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

} // namespace

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
               function() && expect(TokenKind::CLOSE_ARRAY, "a colour space does not end");
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

} // namespace job
