/*
 * composite.cpp - from codes to characters, from characters to glyphs, and these into subfonts
 *
 * What number a program wants depends on its kind: a bare CID-keyed program is asked by character
 * number, one in an OpenType file by its own order of glyphs, all others by /CIDToGIDMap.
 */
#include "prepare/fonts/composite.h"

#include <algorithm>
#include <cmath>

#include FT_CID_H

#include "prepare/fonts/compact.h"
#include "prepare/fonts/embed.h"
#include "prepare/fonts/encoding.h"
#include "prepare/fonts/simple.h"
#include "prepare/fonts/store.h"

namespace prepare {

namespace {

constexpr size_t MAX_PROGRAM = 128u << 20, MAX_CMAP = 16u << 20;
constexpr size_t MOST_CODES = 220; /* in a subfont */
constexpr size_t MAX_PLACES = 70000;
constexpr unsigned MAX_CID = 65535;
constexpr uint64_t SPACE_KEY = 1ull << 40;

/* ---- reading ---- */

bool isIdentity(const std::string &name)
{
    return name == "/Identity-H" || name == "/Identity-V";
}

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/* An embedded CMap, with what it is based on. */
CMap readEmbeddedCMap(QPDFObjectHandle stream)
{
    CMap cmap = readCMap(decodeStream(stream, MAX_CMAP, nullptr));
    QPDFObjectHandle dict = stream.getDict();
    QPDFObjectHandle use = dict.getKey("/UseCMap");
    std::string name = use.isName() ? use.getName() : cmap.base;
    CMap base;
    if (use.isStream()) {
        base = readCMap(decodeStream(use, MAX_CMAP, nullptr));
        addBase(&cmap, base);
    } else if (isIdentity(name)) {
        addBase(&cmap, identityCMap(endsWith(name, "V")));
    } else if (!name.empty() && loadCMap(name, &base)) {
        addBase(&cmap, base);
    }
    if (dict.getKey("/WMode").isInteger())
        cmap.isVertical = integerOr(dict.getKey("/WMode"), 0) == 1;
    if (cmap.codespace.empty())
        cmap.codespace.push_back({2, 0, 0xFFFF});
    return cmap;
}

void readEncodingCMap(Document *document, CompositeFont *font, int page)
{
    QPDFObjectHandle encoding = font->font.getKey("/Encoding");
    std::string name = nameOr(encoding, "/Identity-H");
    if (encoding.isStream()) {
        font->encoding = readEmbeddedCMap(encoding);
    } else if (isIdentity(name)) {
        font->encoding = identityCMap(name == "/Identity-V");
    } else if (!loadCMap(name, &font->encoding)) {
        font->encoding = identityCMap(endsWith(name, "-V"));
        font->hasCMap = false;
        say(document, Message::EncodingMissing, page, {name.substr(1)});
    } else {
        font->encoding.isVertical = endsWith(name, "-V") || name == "/V";
        font->codesAreText =
            name.find("UCS2") != std::string::npos || name.find("UTF16") != std::string::npos;
    }
    sortCMap(&font->encoding);
}

/* The text of the characters of a known collection. */
void readCollection(CompositeFont *font, QPDFObjectHandle descendant)
{
    QPDFObjectHandle info = descendant.getKey("/CIDSystemInfo");
    auto string = [&](const char *key) {
        QPDFObjectHandle value = info.getKeyIfDict(key);
        return value.isString() ? value.getStringValue() : std::string();
    };
    std::string ordering = string("/Ordering");
    if (ordering.empty() || ordering == "Identity" || string("/Registry") != "Adobe")
        return;
    static const std::map<std::string, std::string> languages = {
        {"Japan1", "ja"}, {"GB1", "zh-cn"}, {"CNS1", "zh-tw"}, {"Korea1", "ko"}, {"KR", "ko"}};
    auto language = languages.find(ordering);
    if (language == languages.end())
        return;
    font->style.language = language->second;
    loadCMap("/Adobe-" + ordering + "-UCS2", &font->collectionTexts);
    sortCMap(&font->collectionTexts);
}

/* Characters by number where the program's own order differs. */
void readCharacterOrder(CompositeFont *font)
{
    FT_Face face = font->program.face.get();
    for (FT_Long glyph = 0; glyph < face->num_glyphs; glyph++) {
        FT_UInt cid;
        if (FT_Get_CID_From_Glyph_Index(face, (FT_UInt)glyph, &cid) == 0)
            font->glyphs.emplace(cid, (unsigned)glyph);
    }
}

/* Of characters with one glyph, the first. */
void readGlyphTexts(CompositeFont *font)
{
    constexpr FT_ULong PRIVATE = 0xE000, BEHIND_PRIVATE = 0xF900;
    FT_Face face = font->program.face.get();
    if (FT_Select_Charmap(face, FT_ENCODING_UNICODE))
        return;
    FT_UInt glyph = 0;
    for (FT_ULong c = FT_Get_First_Char(face, &glyph); glyph; c = FT_Get_Next_Char(face, c, &glyph))
        if (c > 32 && (c < PRIVATE || c >= BEHIND_PRIVATE))
            font->glyphTexts.try_emplace(glyph, (uint32_t)c);
}

void openEmbedded(Document *document, CompositeFont *font, QPDFObjectHandle descendant)
{
    QPDFObjectHandle stream = embeddedProgram(descendant.getKey("/FontDescriptor"));
    if (!stream.isStream())
        return;
    std::string data = decodeStream(stream, MAX_PROGRAM, nullptr);
    ProgramKind kind = programKind(data);
    font->program = openProgram(fontLibrary(document), std::move(data));
    FT_Face face = font->program.face.get();
    font->isEmbedded = face != nullptr;
    if (!face)
        return;
    bool isTrueTypeFont = nameOr(descendant.getKey("/Subtype")) == "/CIDFontType2";
    if (FT_IS_CID_KEYED(face) && kind == ProgramKind::OPENTYPE && !isTrueTypeFont)
        readCharacterOrder(font);
    else
        font->glyphIsCid = FT_IS_CID_KEYED(face) && kind != ProgramKind::OPENTYPE;
    if (font->toUnicode.texts.empty() && font->collectionTexts.texts.empty())
        readGlyphTexts(font);
    QPDFObjectHandle map = descendant.getKey("/CIDToGIDMap");
    if (map.isStream() && !font->glyphIsCid)
        font->cidToGlyph = decodeStream(map, 2 * (MAX_CID + 1) + 4096, nullptr);
}

/* What the ranges of one array may cover together: ranges over ranges would take for ever. */
constexpr size_t MAX_COVERED = 16 * (MAX_CID + 1);

/* The end of a range that may still be covered. */
int coveredTo(int first, int last, size_t *room)
{
    if (first < 0 || last < first)
        return last;
    size_t count = std::min((size_t)(last - first) + 1, *room);
    *room -= count;
    return first + (int)count - 1;
}

/* "c [v ...]" and "c1 c2 v ..." with `size` numbers for each code (9.7.4.3); calls `each` with a
 * code and the first of its numbers. */
template <class Each> void forMetrics(QPDFObjectHandle array, size_t size, Each each)
{
    if (!array.isArray())
        return;
    std::vector<QPDFObjectHandle> items = array.getArrayAsVector();
    size_t room = MAX_COVERED;
    for (size_t i = 0; i + 1 < items.size();) {
        int first = integerOr(items[i], -1);
        if (items[i + 1].isArray()) {
            std::vector<QPDFObjectHandle> values = items[i + 1].getArrayAsVector();
            for (size_t k = 0; size * (k + 1) <= values.size() && first >= 0; k++)
                if ((unsigned)first + k <= MAX_CID)
                    each((unsigned)first + (unsigned)k, &values[size * k]);
            i += 2;
            continue;
        }
        if (i + 1 + size >= items.size())
            return;
        int last = coveredTo(first, std::min(integerOr(items[i + 1], -1), (int)MAX_CID), &room);
        for (int cid = std::max(first, 0); first >= 0 && cid <= last; cid++)
            each((unsigned)cid, &items[i + 2]);
        i += 2 + size;
    }
}

void readWidths(CompositeFont *font, QPDFObjectHandle array)
{
    forMetrics(array, 1, [&](unsigned cid, const QPDFObjectHandle *v) {
        font->widths[cid] = numberOr(v[0], 0);
    });
}

/* Advance, and the place of the origin. */
void readVerticals(CompositeFont *font, QPDFObjectHandle array)
{
    forMetrics(array, 3, [&](unsigned cid, const QPDFObjectHandle *v) {
        font->vertical[cid] = {numberOr(v[0], 0), numberOr(v[1], 0), numberOr(v[2], 0)};
    });
}

void readMetrics(CompositeFont *font, QPDFObjectHandle descendant)
{
    font->defaultWidth = numberOr(descendant.getKey("/DW"), 1000);
    readWidths(font, descendant.getKey("/W"));
    readVerticals(font, descendant.getKey("/W2"));
    QPDFObjectHandle defaults = descendant.getKey("/DW2");
    if (defaults.isArray() && defaults.getArrayNItems() >= 2) {
        font->defaultOriginY = numberOr(defaults.getArrayItem(0), 880);
        font->defaultAdvance = numberOr(defaults.getArrayItem(1), -1000);
    }
}

/* ---- placing ---- */

std::vector<uint32_t> textOfCode(const CompositeFont &font, uint32_t code, unsigned cid)
{
    std::vector<uint32_t> text = findText(font.toUnicode, code);
    if (!text.empty() && text[0] >= 32)
        return text;
    if (font.codesAreText && code >= 32)
        return {code};
    return findText(font.collectionTexts, cid);
}

struct Choice {
    GlyphOrigin origin;
    FT_Face face;
    unsigned glyph;
    std::string name; /* for a standard font */
};

unsigned embeddedGlyph(const CompositeFont &font, unsigned cid)
{
    if (font.glyphIsCid)
        return cid;
    if (!font.glyphs.empty()) {
        auto found = font.glyphs.find(cid);
        return found == font.glyphs.end() ? 0 : found->second;
    }
    if (font.cidToGlyph.empty())
        return cid;
    if (2 * (size_t)cid + 1 >= font.cidToGlyph.size())
        return 0;
    return (unsigned)(uint8_t)font.cidToGlyph[2 * cid] << 8 | (uint8_t)font.cidToGlyph[2 * cid + 1];
}

FT_Face systemFace(Document *document, CompositeFont *font, uint32_t unicode)
{
    for (auto &[name, program] : font->systemFonts)
        if (program.face && FT_Get_Char_Index(program.face.get(), unicode))
            return program.face.get();
    constexpr size_t MOST_FONTS = 8;
    std::string path;
    int index = 0;
    if (font->systemFonts.size() >= MOST_FONTS ||
        !findSystemFont(font->style, unicode, &path, &index))
        return nullptr;
    std::string key = path + ":" + std::to_string(index);
    if (font->systemFonts.count(key))
        return nullptr;
    FontProgram &program = font->systemFonts[key];
    program = openFontFile(fontLibrary(document), path, index);
    if (!program.face || FT_Select_Charmap(program.face.get(), FT_ENCODING_UNICODE))
        return nullptr;
    return program.face.get();
}

/* A glyph for a character whose font is not in the document. */
Choice substituteGlyph(Document *document, CompositeFont *font, const std::vector<uint32_t> &text,
                       int page)
{
    uint32_t unicode = text.empty() ? 0 : text[0];
    std::string latin = unicode ? latinGlyphName(fontLibrary(document), unicode) : "";
    if (!latin.empty())
        return {GlyphOrigin::STANDARD, nullptr, 0, latin};
    if (FT_Face face = unicode ? systemFace(document, font, unicode) : nullptr)
        if (unsigned glyph = FT_Get_Char_Index(face, unicode))
            return {GlyphOrigin::SYSTEM, face, glyph, ""};
    if (unicode != ' ' && unicode != 0x3000 && unicode != 0xA0)
        say(document, Message::FontMissing, page, {plainFontName(font->baseFont)});
    return {GlyphOrigin::NOWHERE, nullptr, 0, ""};
}

std::string nameOfText(const std::vector<uint32_t> &text)
{
    static const std::map<std::vector<uint32_t>, std::string> ligatures = {
        {{'f', 'f'}, "ff"},       {{'f', 'i'}, "fi"},       {{'f', 'l'}, "fl"},
        {{'f', 'f', 'i'}, "ffi"}, {{'f', 'f', 'l'}, "ffl"},
    };
    auto ligature = ligatures.find(text);
    if (ligature != ligatures.end())
        return ligature->second;
    return unicodeGlyphName(text);
}

/* A subfont of this origin with room, and without a glyph of this name. */
Subfont *chooseSubfont(Document *document, CompositeFont *font, const Choice &choice,
                       const std::string &name, int code)
{
    for (Subfont &subfont : font->subfonts) {
        bool fits = subfont.origin == choice.origin && subfont.face == choice.face &&
                    subfont.glyphs.size() < MOST_CODES;
        if (fits && (name.empty() || !subfont.names.count(name)) &&
            (code < 0 || !subfont.used[(size_t)code]))
            return &subfont;
    }
    Subfont &subfont = font->subfonts.emplace_back();
    subfont.resource =
        "/Pf" + std::to_string(font->number) + "x" + std::to_string(font->subfonts.size());
    subfont.font = document->source.pdf.makeIndirectObject(QPDFObjectHandle::newDictionary());
    subfont.origin = choice.origin;
    subfont.face = choice.face;
    subfont.used.assign(256, false);
    for (size_t never : {0u, 10u, 13u, 32u, 127u})
        subfont.used[never] = true;
    if (code >= 0)
        subfont.used[(size_t)code] = false;
    return &subfont;
}

/* The code of the text itself where it is free, so that it stays readable; else the next one. */
int chooseCode(const Subfont &subfont, const std::vector<uint32_t> &text)
{
    if (text.size() == 1 && text[0] > 32 && text[0] < 127 && !subfont.used[text[0]])
        return (int)text[0];
    for (auto [first, last] : {std::pair(161, 255), std::pair(128, 160), std::pair(33, 126)})
        for (int code = first; code <= last; code++)
            if (!subfont.used[(size_t)code])
                return code;
    for (int code = 1; code < 32; code++)
        if (!subfont.used[(size_t)code])
            return code;
    return 1; /* not reached: a subfont with MOST_CODES glyphs has more */
}

Placed place(Document *document, CompositeFont *font, uint32_t code, unsigned cid, int forced,
             int page)
{
    std::vector<uint32_t> text = textOfCode(*font, code, cid);
    Choice choice;
    if (font->isEmbedded)
        choice = {GlyphOrigin::EMBEDDED, font->program.face.get(), embeddedGlyph(*font, cid), ""};
    else
        choice = substituteGlyph(document, font, text, page);
    if (auto own = font->glyphTexts.find(choice.glyph);
        text.empty() && font->isEmbedded && own != font->glyphTexts.end())
        text = {own->second};
    std::string name = choice.name.empty() ? nameOfText(text) : choice.name;
    Subfont *subfont = chooseSubfont(document, font, choice, name, forced);
    int at = forced >= 0 ? forced : chooseCode(*subfont, text);
    if (name.empty())
        name = "g" + std::to_string(cid) + ".c" + std::to_string(at);
    auto width = font->widths.find(cid);
    double w = width == font->widths.end() ? font->defaultWidth : width->second;
    subfont->used[(size_t)at] = true;
    subfont->names.insert(name);
    subfont->glyphs.push_back({at, choice.glyph, name, w});
    Placed placed = {subfont, (unsigned char)at,   w, font->defaultAdvance,
                     w / 2,   font->defaultOriginY};
    auto vertical = font->vertical.find(cid);
    if (vertical != font->vertical.end()) {
        placed.verticalAdvance = vertical->second.advance;
        placed.originX = vertical->second.originX;
        placed.originY = vertical->second.originY;
    }
    return placed;
}

/* ---- writing ---- */

/* False: the face has this glyph, and it cannot be drawn. */
bool addOutline(const Subfont &subfont, const SubfontGlyph &glyph, int scale, double unit,
                CompactFont *font)
{
    Outline outline;
    double advance = 0;
    bool isRead =
        !subfont.face || readOutline(subfont.face, glyph.glyph, scale, &outline, &advance);
    if (!isRead)
        outline = {};
    growBox(outline, font->box);
    font->glyphs.push_back(compactGlyph(glyph.name, outline, glyph.width / unit));
    return isRead || (FT_Long)glyph.glyph >= subfont.face->num_glyphs;
}

CompactFont buildProgram(Document *document, const CompositeFont &font, const Subfont &subfont)
{
    CompactFont program;
    program.name = uniqueFontName(document, font.baseFont);
    int scale = subfont.face ? outlineScale(subfont.face) : 1;
    int units = subfont.face ? std::max<int>(subfont.face->units_per_EM, 1) : 1000;
    program.matrix[0] = program.matrix[3] = 1.0 / ((double)units * scale);
    program.glyphs.push_back(compactGlyph(".notdef", {}, 0));
    for (const SubfontGlyph &glyph : subfont.glyphs)
        if (!addOutline(subfont, glyph, scale, program.matrix[0] * 1000, &program))
            say(document, Message::GlyphsMissing, 0, {plainFontName(font.baseFont)});
    return program;
}

void writeSubfont(Document *document, const CompositeFont &font, Subfont *subfont)
{
    QPDFObjectHandle dict = subfont->font;
    std::vector<std::string> names(256);
    std::vector<QPDFObjectHandle> widths(256, QPDFObjectHandle::newInteger(0));
    for (const SubfontGlyph &glyph : subfont->glyphs) {
        names[(size_t)glyph.code] = glyph.name;
        widths[(size_t)glyph.code] = QPDFObjectHandle::newReal(glyph.width, 3);
    }
    dict.replaceKey("/Type", QPDFObjectHandle::newName("/Font"));
    dict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Type1"));
    dict.replaceKey("/FirstChar", QPDFObjectHandle::newInteger(0));
    dict.replaceKey("/LastChar", QPDFObjectHandle::newInteger(255));
    dict.replaceKey("/Widths", QPDFObjectHandle::newArray(widths));
    if (subfont->origin == GlyphOrigin::STANDARD) {
        dict.replaceKey("/Encoding", newEncoding(names));
        dict.replaceKey("/BaseFont", QPDFObjectHandle::newName(standardFont(font.style)));
        return;
    }
    CompactFont program = buildProgram(document, font, *subfont);
    embedFont(document, dict, program, names, QPDFObjectHandle::newNull());
}

} // namespace

std::shared_ptr<CompositeFont> readCompositeFont(Document *document, QPDFObjectHandle font,
                                                 int number, int page)
{
    auto composite = std::make_shared<CompositeFont>();
    composite->font = font;
    composite->number = number;
    composite->baseFont = nameOr(font.getKey("/BaseFont"), "/Font");
    QPDFObjectHandle descendant = font.getKey("/DescendantFonts");
    if (descendant.isArray())
        descendant = descendant.getArrayNItems() > 0 ? descendant.getArrayItem(0)
                                                     : QPDFObjectHandle::newNull();
    if (!descendant.isDictionary())
        descendant = QPDFObjectHandle::newDictionary();
    int flags = integerOr(descendant.getKey("/FontDescriptor").getKeyIfDict("/Flags"), 0);
    composite->style = styleOf(composite->baseFont, flags);
    readEncodingCMap(document, composite.get(), page);
    readCollection(composite.get(), descendant);
    if (font.getKey("/ToUnicode").isStream())
        composite->toUnicode = readCMap(decodeStream(font.getKey("/ToUnicode"), MAX_CMAP, nullptr));
    sortCMap(&composite->toUnicode);
    openEmbedded(document, composite.get(), descendant);
    readMetrics(composite.get(), descendant);
    return composite;
}

const Placed &placeCode(Document *document, CompositeFont *font, uint32_t code, int bytes, int page)
{
    constexpr int SPACE = 32;
    bool isSpace = bytes == 1 && code == SPACE; /* the one code that word spacing widens */
    uint32_t cid = 0;
    if (!findCid(font->encoding, code, &cid))
        cid = 0;
    uint64_t key = isSpace ? SPACE_KEY : (uint64_t)cid;
    if (!font->isEmbedded) /* then it is drawn by its text */
        key |= (uint64_t)code << 41;
    auto known = font->placed.find(key);
    if (known != font->placed.end())
        return known->second;
    if (font->placed.size() >= MAX_PLACES)
        throw LimitReached{"A font has too many characters."};
    Placed placed = place(document, font, code, cid, isSpace ? SPACE : -1, page);
    return font->placed.emplace(key, placed).first->second;
}

void writeSubfonts(Document *document, CompositeFont *font)
{
    for (Subfont &subfont : font->subfonts)
        writeSubfont(document, *font, &subfont);
}

} // namespace prepare
