/*
 * simple.cpp - the glyph of each code, by the rules of its kind of program
 *
 * Type 1 and compact programs are asked by glyph name.  TrueType programs have tables from
 * characters to glyphs: a font made for text is asked by the characters of its encoding's names, a
 * symbol font by its codes.  Producers mix these up, so what the one way does not find is looked
 * for in the other.
 */
#include "prepare/fonts/simple.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>

#include "prepare/fonts/embed.h"
#include "prepare/fonts/encoding.h"
#include "prepare/fonts/outline.h"
#include "prepare/fonts/cmap.h"
#include "prepare/model/plain.h"
#include "prepare/fonts/type1.h"

namespace prepare {

namespace {

constexpr size_t MOST_PROGRAM = 64u << 20;
constexpr int SYMBOLIC = 4;

/* How to draw: an outline and its advance for a code. */
struct GlyphSource {
    double matrix[6] = {0.001, 0, 0, 0.001, 0, 0};
    std::vector<std::pair<int, std::vector<double>>> privateValues;
    /* A glyph's key for a code, empty: it has none.  Codes with one key share a glyph. */
    std::function<std::string(int)> keyOf;
    std::function<bool(const std::string &, Outline *, double *)> outlineOf;
    std::string missing; /* the key of .notdef */
};

/* ---- TrueType ---- */

struct TrueTypeTables {
    FT_Face face;
    FT_CharMap unicode = nullptr, symbol = nullptr, mac = nullptr, any = nullptr;
};

TrueTypeTables findTables(FT_Face face)
{
    TrueTypeTables tables{face};
    for (int i = 0; i < face->num_charmaps; i++) {
        FT_CharMap map = face->charmaps[i];
        if (map->platform_id == 3 && map->encoding_id == 0)
            tables.symbol = map;
        else if ((map->platform_id == 3 && (map->encoding_id == 1 || map->encoding_id == 10)) ||
                 (map->platform_id == 0 && !tables.unicode))
            tables.unicode = map;
        else if (map->platform_id == 1)
            tables.mac = map;
        tables.any = tables.any ? tables.any : map;
    }
    return tables;
}

unsigned lookUp(const TrueTypeTables &tables, FT_CharMap map, uint32_t character)
{
    if (!map || FT_Set_Charmap(tables.face, map))
        return 0;
    return FT_Get_Char_Index(tables.face, character);
}

unsigned glyphByName(const TrueTypeTables &tables, const std::string &name, uint32_t unicode)
{
    if (name.empty())
        return 0;
    unsigned glyph = unicode ? lookUp(tables, tables.unicode, unicode) : 0;
    if (!glyph && macRomanCode(name) >= 0)
        glyph = lookUp(tables, tables.mac, (uint32_t)macRomanCode(name));
    if (!glyph && FT_HAS_GLYPH_NAMES(tables.face))
        glyph = FT_Get_Name_Index(tables.face, name.c_str());
    if (!glyph && unicode && unicode < 256) /* a symbol table that stands for Latin */
        glyph = lookUp(tables, tables.symbol, 0xF000 + unicode);
    return glyph;
}

unsigned glyphByCode(const TrueTypeTables &tables, int code)
{
    auto character = (uint32_t)code;
    for (uint32_t page : {0xF000u, 0u, 0xF100u, 0xF200u})
        if (unsigned glyph = lookUp(tables, tables.symbol, page + character))
            return glyph;
    if (unsigned glyph = lookUp(tables, tables.mac, character))
        return glyph;
    return lookUp(tables, tables.unicode, character);
}

/* "g12", "glyph12", "cid12", "index12": names that say which glyph is meant. */
unsigned glyphByNumber(const std::string &name, FT_Face face)
{
    size_t digits = name.find_first_of("0123456789");
    if (digits == std::string::npos || name.size() - digits > 5 ||
        name.find_first_not_of("0123456789", digits) != std::string::npos)
        return 0;
    std::string prefix = name.substr(0, digits);
    if (prefix != "g" && prefix != "glyph" && prefix != "cid" && prefix != "index" &&
        prefix != "gid")
        return 0;
    auto glyph = (unsigned)std::stoul(name.substr(digits));
    return glyph < (unsigned)face->num_glyphs ? glyph : 0;
}

struct TrueTypeChoice {
    TrueTypeTables tables;
    FontEncoding encoding;
    std::vector<uint32_t> unicodes; /* of the encoding's names */
    bool isSymbolic, hasEncoding;
};

unsigned chooseGlyph(const TrueTypeChoice &choice, int code)
{
    const TrueTypeTables &tables = choice.tables;
    if (!tables.any && !FT_HAS_GLYPH_NAMES(tables.face))
        return (unsigned)code < (unsigned)tables.face->num_glyphs ? (unsigned)code : 0;
    const std::string &name = choice.encoding.names[(size_t)code];
    uint32_t unicode = choice.unicodes[(size_t)code];
    bool byName = choice.hasEncoding && (!choice.isSymbolic || (tables.unicode && !tables.symbol));
    unsigned glyph = byName ? glyphByName(tables, name, unicode) : glyphByCode(tables, code);
    if (!glyph && choice.encoding.differs[(size_t)code])
        glyph = glyphByName(tables, name, unicode);
    if (!glyph && choice.encoding.differs[(size_t)code])
        glyph = glyphByNumber(name, tables.face);
    if (!glyph)
        glyph = byName ? glyphByCode(tables, code) : glyphByName(tables, name, unicode);
    if (!glyph && !tables.any && !byName)
        glyph = (unsigned)code < (unsigned)tables.face->num_glyphs ? (unsigned)code : 0;
    return glyph;
}

void useFace(FT_Face face, GlyphSource *source)
{
    int scale = outlineScale(face);
    double unit = 1.0 / ((double)std::max<int>(face->units_per_EM, 1) * scale);
    source->matrix[0] = source->matrix[3] = unit;
    source->outlineOf = [face, scale](const std::string &key, Outline *outline, double *advance) {
        return readOutline(face, (unsigned)std::stoul(key), scale, outline, advance);
    };
    source->missing = "0";
}

GlyphSource trueTypeSource(Document *document, QPDFObjectHandle font, FT_Face face)
{
    GlyphSource source;
    useFace(face, &source);
    QPDFObjectHandle descriptor = font.getKey("/FontDescriptor");
    int flags = integerOr(descriptor.getKeyIfDict("/Flags"), 0);
    auto choice = std::make_shared<TrueTypeChoice>();
    choice->tables = findTables(face);
    choice->encoding = readEncoding(font, namedEncoding("/StandardEncoding"));
    choice->isSymbolic = (flags & SYMBOLIC) != 0;
    choice->hasEncoding = !font.getKey("/Encoding").isNull() || !choice->isSymbolic;
    choice->unicodes = unicodesOfNames(
        fontLibrary(document), {choice->encoding.names.begin(), choice->encoding.names.end()});
    source.keyOf = [choice](int code) {
        unsigned glyph = chooseGlyph(*choice, code);
        return glyph ? std::to_string(glyph) : std::string();
    };
    return source;
}

/* ---- programs with glyph names ---- */

/* Compact programs, and Type 1 programs that only FreeType reads. */
GlyphSource namedSource(Document *document, QPDFObjectHandle font, FT_Face face)
{
    if (FT_IS_SFNT(face) && !FT_HAS_GLYPH_NAMES(face))
        return trueTypeSource(document, font, face);
    GlyphSource source;
    useFace(face, &source);
    auto encoding = std::make_shared<FontEncoding>(readEncoding(font, nullptr));
    FT_CharMap own = nullptr;
    for (int i = 0; i < face->num_charmaps; i++)
        if (face->charmaps[i]->platform_id == 7)
            own = face->charmaps[i];
    source.keyOf = [encoding, face, own](int code) -> std::string {
        const std::string &name = encoding->names[(size_t)code];
        unsigned glyph = 0;
        if (!name.empty() && FT_HAS_GLYPH_NAMES(face))
            glyph = FT_Get_Name_Index(face, name.c_str());
        bool useOwn = name.empty() || !encoding->differs[(size_t)code];
        if (!glyph && useOwn && own && FT_Set_Charmap(face, own) == 0)
            glyph = FT_Get_Char_Index(face, (FT_ULong)code);
        if (!glyph && !FT_HAS_GLYPH_NAMES(face))
            glyph = (unsigned)code;
        return glyph ? std::to_string(glyph) : std::string();
    };
    return source;
}

/* A program's name for this one, when it lacks it: the same character by another name. */
std::string nameInProgram(const Type1Program &program, const std::string &name)
{
    static const std::map<std::string, std::string> others = {
        {"nbspace", "space"},    {"nonbreakingspace", "space"},
        {"sfthyphen", "hyphen"}, {"softhyphen", "hyphen"},
        {"minus", "hyphen"},     {"middot", "periodcentered"},
        {"overscore", "macron"}, {"mu1", "mu"},
        {"micro", "mu"},         {"Ohm", "Omega"},
        {"increment", "Delta"},  {"Dslash", "Dcroat"},
        {"dmacron", "dcroat"},   {"Dcroat", "Eth"},
        {"Delta", "increment"},  {"f_i", "fi"},
        {"f_l", "fl"},           {"Tcommaaccent", "Tcedilla"},
    };
    if (program.charstrings.count(name))
        return name;
    auto other = others.find(name);
    return other != others.end() && program.charstrings.count(other->second) ? other->second : "";
}

GlyphSource type1Source(QPDFObjectHandle font, std::shared_ptr<const Type1Program> program)
{
    GlyphSource source;
    std::copy(std::begin(program->matrix), std::end(program->matrix), source.matrix);
    source.privateValues = program->privateValues;
    auto encoding = std::make_shared<FontEncoding>(readEncoding(font, &program->encoding));
    source.keyOf = [program, encoding](int code) {
        std::string name = nameInProgram(*program, encoding->names[(size_t)code]);
        if (name.empty() && !encoding->differs[(size_t)code])
            name = nameInProgram(*program, program->encoding[(size_t)code]);
        return name;
    };
    source.outlineOf = [program](const std::string &key, Outline *outline, double *advance) {
        return type1Outline(*program, key, outline, advance);
    };
    source.missing = ".notdef";
    return source;
}

/* ---- the new font ---- */

/* The widths that the dictionary gives; negative: none. */
std::vector<double> readWidths(QPDFObjectHandle font)
{
    std::vector<double> widths(256, -1);
    QPDFObjectHandle array = font.getKey("/Widths");
    int first = integerOr(font.getKey("/FirstChar"), 0);
    if (!array.isArray() || first < 0)
        return widths;
    for (int i = 0; i < array.getArrayNItems() && first + i < 256; i++)
        widths[(size_t)(first + i)] = numberOr(array.getArrayItem(i), -1);
    return widths;
}

struct NewFont {
    CompactFont font;
    std::vector<std::string> names; /* by code */
    std::map<std::string, std::string> nameOfKey, keyOfName;
    size_t unread = 0; /* glyphs that the program has and cannot draw */
};

/* A name for a glyph that no other glyph of the font has. */
std::string chooseName(const NewFont &made, const std::string &wanted, const std::string &key,
                       const std::vector<uint32_t> &text, int code)
{
    std::vector<std::string> candidates;
    if (isPlainName(wanted) && wanted != ".notdef")
        candidates.push_back(wanted);
    if (std::string name = unicodeGlyphName(text); !name.empty())
        candidates.push_back(name);
    candidates.push_back("c" + std::to_string(code));
    for (const std::string &name : candidates) {
        auto owner = made.keyOfName.find(name);
        if (owner == made.keyOfName.end() || owner->second == key)
            return name;
    }
    return "c" + std::to_string(code) + ".x";
}

void addGlyph(NewFont *made, const GlyphSource &source, const std::string &name,
              const std::string &key, double width)
{
    Outline outline;
    double advance = 0;
    if (!source.outlineOf(key, &outline, &advance)) {
        made->unread++;
        outline = {};
    }
    double unit = source.matrix[0] != 0 ? std::fabs(source.matrix[0]) * 1000 : 1;
    growBox(outline, made->font.box);
    made->font.glyphs.push_back(compactGlyph(name, outline, width >= 0 ? width / unit : advance));
}

NewFont buildFont(Document *document, const FontUse &use, const GlyphSource &source)
{
    NewFont made;
    std::copy(std::begin(source.matrix), std::end(source.matrix), made.font.matrix);
    made.font.privateValues = source.privateValues;
    QPDFObjectHandle font = use.font;
    made.font.name = uniqueFontName(document, nameOr(font.getKey("/BaseFont")));
    made.names.resize(256);
    FontEncoding encoding = readEncoding(font, nullptr);
    CMap texts;
    if (font.getKey("/ToUnicode").isStream())
        texts = readCMap(decodeStream(font.getKey("/ToUnicode"), MOST_PROGRAM, nullptr));
    sortCMap(&texts);
    std::vector<double> widths = readWidths(font);
    addGlyph(&made, source, ".notdef", source.missing, -1);
    made.unread = 0; /* many programs lack it */
    for (int code = 0; code < 256; code++) {
        std::string key = use.codes[(size_t)code] ? source.keyOf(code) : "";
        if (key.empty() || key == source.missing)
            continue;
        std::string &name = made.names[(size_t)code];
        std::string wanted = encoding.names[(size_t)code];
        if (wanted.empty() && source.missing == ".notdef")
            wanted = key;
        if (made.nameOfKey.count(key) && (wanted.empty() || made.nameOfKey[key] == wanted)) {
            name = made.nameOfKey[key];
            continue;
        }
        name = chooseName(made, wanted, key, findText(texts, (uint32_t)code), code);
        if (made.keyOfName.count(name))
            continue;
        made.nameOfKey.emplace(key, name);
        made.keyOfName.emplace(name, key);
        addGlyph(&made, source, name, key, widths[(size_t)code]);
    }
    /* A space that the program lacks is no reason to show its sign for missing glyphs. */
    for (int code = 0; code < 256; code++)
        if (use.codes[(size_t)code] && made.names[(size_t)code].empty() &&
            (encoding.names[(size_t)code] == "space" || code == ' ') &&
            !made.keyOfName.count("space")) {
            made.names[(size_t)code] = "space";
            made.keyOfName.emplace("space", "");
            made.font.glyphs.push_back(compactGlyph("space", {}, 0));
        }
    return made;
}

void installFont(Document *document, QPDFObjectHandle font, const NewFont &made)
{
    QPDFObjectHandle descriptor = font.getKey("/FontDescriptor");
    embedFont(document, font, made.font, made.names, descriptor);
}

/* Leaves the font to be replaced by its name. */
void removeProgram(Document *document, QPDFObjectHandle font)
{
    QPDFObjectHandle descriptor = font.getKey("/FontDescriptor").shallowCopy();
    for (const char *key : {"/FontFile", "/FontFile2", "/FontFile3"})
        descriptor.removeKey(key);
    font.replaceKey("/FontDescriptor", document->source.pdf.makeIndirectObject(descriptor));
    say(document, Message::FontReplaced, 0,
        {plainFontName(nameOr(font.getKey("/BaseFont"), "/?"))});
}

} // namespace

QPDFObjectHandle embeddedProgram(QPDFObjectHandle descriptor)
{
    for (const char *key : {"/FontFile3", "/FontFile2", "/FontFile"}) {
        QPDFObjectHandle program = descriptor.getKeyIfDict(key);
        if (program.isStream())
            return program;
    }
    return QPDFObjectHandle::newNull();
}

bool isGoodCompact(Document *document, QPDFObjectHandle program)
{
    if (nameOr(program.getDict().getKey("/Subtype")) != "/Type1C")
        return false;
    bool damaged = false;
    std::string data = decodeStream(program, MOST_PROGRAM, &damaged);
    if (damaged || programKind(data) != ProgramKind::COMPACT)
        return false;
    FontProgram opened = openProgram(fontLibrary(document), std::move(data));
    FT_Face face = opened.face.get();
    if (!face || FT_IS_CID_KEYED(face) || !FT_HAS_GLYPH_NAMES(face))
        return false;
    const char *name = FT_Get_Postscript_Name(face);
    if (!name || !isPlainName(name))
        return false;
    auto isNamedPlainly = [face](FT_Long glyph) {
        char glyphName[MAX_PLAIN_NAME + 2] = "";
        return !FT_Get_Glyph_Name(face, (FT_UInt)glyph, glyphName, sizeof glyphName) &&
               isPlain(glyphName, MAX_PLAIN_NAME);
    };
    for (FT_Long glyph = 0; glyph < face->num_glyphs; glyph++)
        if (!isNamedPlainly(glyph) ||
            FT_Load_Glyph(face, (FT_UInt)glyph,
                          FT_LOAD_NO_SCALE | FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP))
            return false;
    return true;
}

void rewriteSimpleFont(Document *document, const FontUse &use)
{
    QPDFObjectHandle font = use.font;
    QPDFObjectHandle program = embeddedProgram(font.getKey("/FontDescriptor"));
    if (!program.isStream())
        return;
    std::string data = decodeStream(program, MOST_PROGRAM, nullptr);
    size_t begin = data.find("%!");
    if (programKind(data) == ProgramKind::UNKNOWN && begin != std::string::npos && begin < 64)
        data.erase(0, begin); /* some have white space in front */
    if (programKind(data) == ProgramKind::TYPE1)
        if (std::optional<Type1Program> read = readType1(data)) {
            auto shared = std::make_shared<const Type1Program>(std::move(*read));
            NewFont made = buildFont(document, use, type1Source(font, shared));
            if (made.unread == 0)
                return installFont(document, font, made);
        }
    bool isTrueType = programKind(data) == ProgramKind::TRUETYPE;
    FontProgram opened = openProgram(fontLibrary(document), std::move(data));
    if (!opened.face)
        return removeProgram(document, font);
    GlyphSource source = isTrueType ? trueTypeSource(document, font, opened.face.get())
                                    : namedSource(document, font, opened.face.get());
    NewFont made = buildFont(document, use, source);
    if (made.unread > 0)
        say(document, Message::GlyphsMissing, 0,
            {plainFontName(nameOr(font.getKey("/BaseFont"), "/?"))});
    installFont(document, font, made);
}

} // namespace prepare
