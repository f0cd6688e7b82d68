/*
 * encoding.cpp - tables of the simple encodings
 *
 * What a glyph name stands for is asked of FreeType, which carries the public list of some 4,000
 * names: a font with glyphs of these names and no outlines is made in memory, and its character
 * map read.
 */
#include "prepare/fonts/encoding.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "prepare/model/plain.h"
#include "prepare/model/tokens.h"
#include "prepare/document/document.h"
#include "prepare/fonts/compact.h"

namespace prepare {

namespace {

struct LatinGlyph {
    const char *name;
    uint8_t standard, macRoman, winAnsi; /* codes; 0: not in that encoding */
};

constexpr LatinGlyph latinGlyphs[] = {
    {"A", 65, 65, 65},
    {"AE", 225, 174, 198},
    {"Aacute", 0, 231, 193},
    {"Acircumflex", 0, 229, 194},
    {"Adieresis", 0, 128, 196},
    {"Agrave", 0, 203, 192},
    {"Aring", 0, 129, 197},
    {"Atilde", 0, 204, 195},
    {"B", 66, 66, 66},
    {"C", 67, 67, 67},
    {"Ccedilla", 0, 130, 199},
    {"D", 68, 68, 68},
    {"DEL", 0, 127, 0},
    {"Delta", 0, 198, 0},
    {"E", 69, 69, 69},
    {"Eacute", 0, 131, 201},
    {"Ecircumflex", 0, 230, 202},
    {"Edieresis", 0, 232, 203},
    {"Egrave", 0, 233, 200},
    {"Eth", 0, 0, 208},
    {"Euro", 0, 0, 128},
    {"F", 70, 70, 70},
    {"G", 71, 71, 71},
    {"H", 72, 72, 72},
    {"I", 73, 73, 73},
    {"Iacute", 0, 234, 205},
    {"Icircumflex", 0, 235, 206},
    {"Idieresis", 0, 236, 207},
    {"Igrave", 0, 237, 204},
    {"J", 74, 74, 74},
    {"K", 75, 75, 75},
    {"L", 76, 76, 76},
    {"Lslash", 232, 0, 0},
    {"M", 77, 77, 77},
    {"N", 78, 78, 78},
    {"Ntilde", 0, 132, 209},
    {"O", 79, 79, 79},
    {"OE", 234, 206, 140},
    {"Oacute", 0, 238, 211},
    {"Ocircumflex", 0, 239, 212},
    {"Odieresis", 0, 133, 214},
    {"Ograve", 0, 241, 210},
    {"Omega", 0, 189, 0},
    {"Oslash", 233, 175, 216},
    {"Otilde", 0, 205, 213},
    {"P", 80, 80, 80},
    {"Q", 81, 81, 81},
    {"R", 82, 82, 82},
    {"S", 83, 83, 83},
    {"Scaron", 0, 0, 138},
    {"T", 84, 84, 84},
    {"Thorn", 0, 0, 222},
    {"U", 85, 85, 85},
    {"Uacute", 0, 242, 218},
    {"Ucircumflex", 0, 243, 219},
    {"Udieresis", 0, 134, 220},
    {"Ugrave", 0, 244, 217},
    {"V", 86, 86, 86},
    {"W", 87, 87, 87},
    {"X", 88, 88, 88},
    {"Y", 89, 89, 89},
    {"Yacute", 0, 0, 221},
    {"Ydieresis", 0, 217, 159},
    {"Z", 90, 90, 90},
    {"Zcaron", 0, 0, 142},
    {"a", 97, 97, 97},
    {"aacute", 0, 135, 225},
    {"acircumflex", 0, 137, 226},
    {"acute", 194, 171, 180},
    {"adieresis", 0, 138, 228},
    {"ae", 241, 190, 230},
    {"agrave", 0, 136, 224},
    {"ampersand", 38, 38, 38},
    {"apple", 0, 240, 0},
    {"approxequal", 0, 197, 0},
    {"aring", 0, 140, 229},
    {"asciicircum", 94, 94, 94},
    {"asciitilde", 126, 126, 126},
    {"asterisk", 42, 42, 42},
    {"at", 64, 64, 64},
    {"atilde", 0, 139, 227},
    {"b", 98, 98, 98},
    {"backslash", 92, 92, 92},
    {"bar", 124, 124, 124},
    {"braceleft", 123, 123, 123},
    {"braceright", 125, 125, 125},
    {"bracketleft", 91, 91, 91},
    {"bracketright", 93, 93, 93},
    {"breve", 198, 249, 0},
    {"brokenbar", 0, 0, 166},
    {"bullet", 183, 165, 149},
    {"c", 99, 99, 99},
    {"caron", 207, 255, 0},
    {"ccedilla", 0, 141, 231},
    {"cedilla", 203, 252, 184},
    {"cent", 162, 162, 162},
    {"circumflex", 195, 246, 136},
    {"colon", 58, 58, 58},
    {"comma", 44, 44, 44},
    {"copyright", 0, 169, 169},
    {"currency", 168, 219, 164},
    {"d", 100, 100, 100},
    {"dagger", 178, 160, 134},
    {"daggerdbl", 179, 224, 135},
    {"degree", 0, 161, 176},
    {"dieresis", 200, 172, 168},
    {"divide", 0, 214, 247},
    {"dollar", 36, 36, 36},
    {"dotaccent", 199, 250, 0},
    {"dotlessi", 245, 245, 0},
    {"e", 101, 101, 101},
    {"eacute", 0, 142, 233},
    {"ecircumflex", 0, 144, 234},
    {"edieresis", 0, 145, 235},
    {"egrave", 0, 143, 232},
    {"eight", 56, 56, 56},
    {"ellipsis", 188, 201, 133},
    {"emdash", 208, 209, 151},
    {"endash", 177, 208, 150},
    {"equal", 61, 61, 61},
    {"eth", 0, 0, 240},
    {"exclam", 33, 33, 33},
    {"exclamdown", 161, 193, 161},
    {"f", 102, 102, 102},
    {"fi", 174, 222, 0},
    {"five", 53, 53, 53},
    {"fl", 175, 223, 0},
    {"florin", 166, 196, 131},
    {"four", 52, 52, 52},
    {"fraction", 164, 218, 0},
    {"g", 103, 103, 103},
    {"germandbls", 251, 167, 223},
    {"grave", 193, 96, 96},
    {"greater", 62, 62, 62},
    {"greaterequal", 0, 179, 0},
    {"guillemotleft", 171, 199, 171},
    {"guillemotright", 187, 200, 187},
    {"guilsinglleft", 172, 220, 139},
    {"guilsinglright", 173, 221, 155},
    {"h", 104, 104, 104},
    {"hungarumlaut", 205, 253, 0},
    {"hyphen", 45, 45, 45},
    {"i", 105, 105, 105},
    {"iacute", 0, 146, 237},
    {"icircumflex", 0, 148, 238},
    {"idieresis", 0, 149, 239},
    {"igrave", 0, 147, 236},
    {"infinity", 0, 176, 0},
    {"integral", 0, 186, 0},
    {"j", 106, 106, 106},
    {"k", 107, 107, 107},
    {"l", 108, 108, 108},
    {"less", 60, 60, 60},
    {"lessequal", 0, 178, 0},
    {"logicalnot", 0, 194, 172},
    {"lozenge", 0, 215, 0},
    {"lslash", 248, 0, 0},
    {"m", 109, 109, 109},
    {"macron", 197, 248, 175},
    {"mu", 0, 181, 181},
    {"multiply", 0, 0, 215},
    {"n", 110, 110, 110},
    {"nine", 57, 57, 57},
    {"notequal", 0, 173, 0},
    {"ntilde", 0, 150, 241},
    {"numbersign", 35, 35, 35},
    {"o", 111, 111, 111},
    {"oacute", 0, 151, 243},
    {"ocircumflex", 0, 153, 244},
    {"odieresis", 0, 154, 246},
    {"oe", 250, 207, 156},
    {"ogonek", 206, 254, 0},
    {"ograve", 0, 152, 242},
    {"one", 49, 49, 49},
    {"onehalf", 0, 0, 189},
    {"onequarter", 0, 0, 188},
    {"ordfeminine", 227, 187, 170},
    {"ordmasculine", 235, 188, 186},
    {"oslash", 249, 191, 248},
    {"otilde", 0, 155, 245},
    {"p", 112, 112, 112},
    {"paragraph", 182, 166, 182},
    {"parenleft", 40, 40, 40},
    {"parenright", 41, 41, 41},
    {"partialdiff", 0, 182, 0},
    {"percent", 37, 37, 37},
    {"period", 46, 46, 46},
    {"periodcentered", 180, 225, 183},
    {"perthousand", 189, 228, 137},
    {"pi", 0, 185, 0},
    {"plus", 43, 43, 43},
    {"plusminus", 0, 177, 177},
    {"product", 0, 184, 0},
    {"q", 113, 113, 113},
    {"question", 63, 63, 63},
    {"questiondown", 191, 192, 191},
    {"quotedbl", 34, 34, 34},
    {"quotedblbase", 185, 227, 132},
    {"quotedblleft", 170, 210, 147},
    {"quotedblright", 186, 211, 148},
    {"quoteleft", 96, 212, 145},
    {"quoteright", 39, 213, 146},
    {"quotesinglbase", 184, 226, 130},
    {"quotesingle", 169, 39, 39},
    {"r", 114, 114, 114},
    {"radical", 0, 195, 0},
    {"registered", 0, 168, 174},
    {"ring", 202, 251, 0},
    {"s", 115, 115, 115},
    {"scaron", 0, 0, 154},
    {"section", 167, 164, 167},
    {"semicolon", 59, 59, 59},
    {"seven", 55, 55, 55},
    {"six", 54, 54, 54},
    {"slash", 47, 47, 47},
    {"space", 32, 32, 32},
    {"sterling", 163, 163, 163},
    {"summation", 0, 183, 0},
    {"t", 116, 116, 116},
    {"thorn", 0, 0, 254},
    {"three", 51, 51, 51},
    {"threequarters", 0, 0, 190},
    {"tilde", 196, 247, 152},
    {"trademark", 0, 170, 153},
    {"two", 50, 50, 50},
    {"u", 117, 117, 117},
    {"uacute", 0, 156, 250},
    {"ucircumflex", 0, 158, 251},
    {"udieresis", 0, 159, 252},
    {"ugrave", 0, 157, 249},
    {"underscore", 95, 95, 95},
    {"v", 118, 118, 118},
    {"w", 119, 119, 119},
    {"x", 120, 120, 120},
    {"y", 121, 121, 121},
    {"yacute", 0, 0, 253},
    {"ydieresis", 0, 216, 255},
    {"yen", 165, 180, 165},
    {"z", 122, 122, 122},
    {"zcaron", 0, 0, 158},
    {"zero", 48, 48, 48},
    {"onesuperior", 0, 0, 185},
    {"threesuperior", 0, 0, 179},
    {"twosuperior", 0, 0, 178},
};

Encoding makeEncoding(uint8_t LatinGlyph::*code)
{
    Encoding encoding;
    for (const LatinGlyph &glyph : latinGlyphs)
        if (glyph.*code)
            encoding[glyph.*code] = glyph.name;
    return encoding;
}

Encoding makeMacRoman()
{
    Encoding encoding = makeEncoding(&LatinGlyph::macRoman);
    encoding[202] = "space";
    return encoding;
}

Encoding makeWinAnsi()
{
    Encoding encoding = makeEncoding(&LatinGlyph::winAnsi);
    encoding[160] = "space";
    encoding[173] = "hyphen";
    for (int code : {127, 129, 141, 143, 144, 157})
        encoding[(size_t)code] = "bullet";
    return encoding;
}

void readDifferences(QPDFObjectHandle differences, FontEncoding *encoding)
{
    int code = 0;
    for (QPDFObjectHandle item : differences.getArrayAsVector()) {
        if (item.isNumber()) {
            code = integerOr(item, 0);
        } else if (item.isName()) {
            if (code >= 0 && code < 256) {
                encoding->names[(size_t)code] = item.getName().substr(1);
                encoding->differs[(size_t)code] = true;
            }
            code += code < 256;
        }
    }
}

} // namespace

const Encoding *namedEncoding(const std::string &name)
{
    static const Encoding standard = makeEncoding(&LatinGlyph::standard);
    static const Encoding macRoman = makeMacRoman(), winAnsi = makeWinAnsi();
    return name == "/StandardEncoding"   ? &standard
           : name == "/MacRomanEncoding" ? &macRoman
           : name == "/WinAnsiEncoding"  ? &winAnsi
                                         : nullptr;
}

int macRomanCode(const std::string &name)
{
    for (const LatinGlyph &glyph : latinGlyphs)
        if (glyph.macRoman && name == glyph.name)
            return glyph.macRoman;
    return -1;
}

FontEncoding readEncoding(QPDFObjectHandle font, const Encoding *base)
{
    FontEncoding encoding;
    QPDFObjectHandle value = font.getKey("/Encoding");
    std::string name = nameOr(value.isDictionary() ? value.getKey("/BaseEncoding") : value);
    const Encoding *named = namedEncoding(name);
    encoding.hasBase = named != nullptr;
    if (named ? named : base)
        encoding.names = named ? *named : *base;
    if (value.isDictionary() && value.getKey("/Differences").isArray())
        readDifferences(value.getKey("/Differences"), &encoding);
    return encoding;
}

namespace {

/* As FreeType reads them.  Of names of one character it knows one. */
std::map<std::string, uint32_t> readUnicodes(const FontLibrary &library,
                                             const std::set<std::string> &names)
{
    CompactFont font;
    font.name = "Names";
    font.glyphs.push_back(compactGlyph(".notdef", {}, 0));
    std::vector<std::string> nameOfGlyph = {""};
    for (const std::string &name : names) {
        font.glyphs.push_back(compactGlyph(name, {}, 0));
        nameOfGlyph.push_back(name);
    }
    std::map<std::string, uint32_t> unicodes;
    FontProgram program = openProgram(library, writeCompactFont(font));
    if (!program.face || FT_Select_Charmap(program.face.get(), FT_ENCODING_UNICODE))
        return unicodes;
    FT_UInt glyph = 0;
    for (FT_ULong c = FT_Get_First_Char(program.face.get(), &glyph); glyph;
         c = FT_Get_Next_Char(program.face.get(), c, &glyph))
        if (glyph < nameOfGlyph.size())
            unicodes.try_emplace(nameOfGlyph[glyph], (uint32_t)c);
    return unicodes;
}

} // namespace

std::vector<uint32_t> unicodesOfNames(const FontLibrary &library,
                                      const std::vector<std::string> &names)
{
    std::set<std::string> wanted;
    for (const std::string &name : names)
        if (isPlainName(name) && name != ".notdef")
            wanted.insert(name);
    std::map<std::string, uint32_t> unicodes = readUnicodes(library, wanted);
    /* "uni0041" beside "A", but not "A.alt", which is another glyph */
    std::erase_if(wanted, [&](const std::string &name) {
        return unicodes.count(name) > 0 || name.find('.') != std::string::npos;
    });
    if (!wanted.empty())
        unicodes.merge(readUnicodes(library, wanted));
    std::vector<uint32_t> found;
    for (const std::string &name : names) {
        auto known = unicodes.find(name);
        found.push_back(known == unicodes.end() ? 0 : known->second);
    }
    return found;
}

std::string latinGlyphName(const FontLibrary &library, uint32_t unicode)
{
    if (library.latinNames->empty()) {
        std::vector<std::string> names;
        for (const LatinGlyph &glyph : latinGlyphs)
            if (glyph.standard || glyph.winAnsi)
                names.emplace_back(glyph.name);
        std::vector<uint32_t> unicodes = unicodesOfNames(library, names);
        for (size_t i = 0; i < names.size(); i++)
            library.latinNames->emplace(unicodes[i], names[i]);
        library.latinNames->emplace(0xA0, "space");
        library.latinNames->emplace(0xAD, "hyphen");
        library.latinNames->erase(0);
    }
    auto found = library.latinNames->find(unicode);
    return found == library.latinNames->end() ? "" : found->second;
}

std::string unicodeGlyphName(uint32_t unicode)
{
    char name[16];
    snprintf(name, sizeof name, unicode > 0xFFFF ? "u%X" : "uni%04X", unicode);
    return name;
}

std::string unicodeGlyphName(const std::vector<uint32_t> &text)
{
    constexpr size_t LONGEST = 8;
    auto hasName = [](uint32_t c) { return c >= 32 && c != 0xFFFD; };
    if (text.empty() || text.size() > LONGEST || !std::ranges::all_of(text, hasName))
        return "";
    if (text.size() == 1)
        return unicodeGlyphName(text[0]);
    std::string name = "uni";
    for (uint32_t c : text) {
        if (c > 0xFFFF)
            return "";
        name += unicodeGlyphName(c).substr(3);
    }
    return name;
}

bool isPlainName(const std::string &name)
{
    constexpr size_t LONGEST = 100;
    return isPlain(name, LONGEST);
}

} // namespace prepare
