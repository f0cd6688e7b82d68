/*
 * embed.cpp - dictionaries around a program
 */
#include "prepare/fonts/embed.h"

#include <cmath>
#include <cstring>

#include "prepare/fonts/plaintype1.h"
#include "prepare/model/plain.h"
#include "prepare/model/tokens.h"

namespace prepare {

namespace {

struct OwnPrograms {
    std::set<QPDFObjGen> streams;
};

/* Compact fonts came with Level 3. */
void putProgram(Document *document, const std::string &compact, QPDFObjectHandle descriptor)
{
    QPDFObjectHandle program = newFlateStream(&document->source.pdf, compact);
    program.getDict().replaceKey("/Subtype", QPDFObjectHandle::newName("/Type1C"));
    descriptor.replaceKey("/FontFile3", program);
    document->memos.of<OwnPrograms>().streams.insert(program.getObjGen());
}

void putProgram(Document *document, const PlainType1 &font, QPDFObjectHandle descriptor)
{
    QPDFObjectHandle program =
        newFlateStream(&document->source.pdf, font.clear + font.secret + font.end);
    auto putLength = [&](const char *key, const std::string &part) {
        program.getDict().replaceKey(key, QPDFObjectHandle::newInteger((long long)part.size()));
    };
    putLength("/Length1", font.clear);
    putLength("/Length2", font.secret);
    putLength("/Length3", font.end);
    descriptor.replaceKey("/FontFile", program);
    document->memos.of<OwnPrograms>().streams.insert(program.getObjGen());
}

/* A descriptor with this program. */
QPDFObjectHandle newDescriptor(Document *document, const CompactFont &font, QPDFObjectHandle old)
{
    auto descriptor = QPDFObjectHandle::newDictionary();
    descriptor.replaceKey("/Type", QPDFObjectHandle::newName("/FontDescriptor"));
    descriptor.replaceKey("/FontName", QPDFObjectHandle::newName("/" + font.name));
    for (const char *key : {"/Flags", "/ItalicAngle", "/Ascent", "/Descent", "/CapHeight", "/StemV",
                            "/MissingWidth"}) {
        QPDFObjectHandle value = old.getKeyIfDict(key);
        if (value.isNumber())
            descriptor.replaceKey(key, value);
        else if (strcmp(key, "/MissingWidth") != 0)
            descriptor.replaceKey(key, QPDFObjectHandle::newInteger(strcmp(key, "/Flags") ? 0 : 4));
    }
    std::vector<QPDFObjectHandle> box;
    for (int i = 0; i < 4; i++) /* to thousandths of the em */
        box.push_back(QPDFObjectHandle::newInteger(
            std::lround(font.box[i] * font.matrix[i % 2 ? 3 : 0] * 1000)));
    descriptor.replaceKey("/FontBBox", QPDFObjectHandle::newArray(box));
    if (document->options.level == 2)
        putProgram(document, writePlainType1(font), descriptor);
    else
        putProgram(document, writeCompactFont(font), descriptor);
    return document->source.pdf.makeIndirectObject(descriptor);
}

/* The outline of a glyph as the content of one. */
std::string contentOf(const CompactGlyph &glyph)
{
    static const char *const operators[] = {" m\n", " l\n", " c\n"}; /* by Segment::Kind */
    std::string path;
    int box[4] = {0, 0, 0, 0};
    for (const Segment &segment : glyph.outline.path) {
        int points = segment.kind == Segment::CURVE ? 3 : 1;
        for (int i = 0; i < points; i++)
            path += (i > 0 ? " " : "") + std::to_string(segment.x[i]) + " " +
                    std::to_string(segment.y[i]);
        path += operators[segment.kind];
    }
    growBox(glyph.outline, box);
    std::string content = numberText(glyph.width) + " 0";
    for (int corner : box)
        content += " " + std::to_string(corner);
    return content + " d1\n" + path + (path.empty() ? "" : "f\n");
}

/* A font whose glyphs are content. */
void putGlyphs(Document *document, QPDFObjectHandle dict, const CompactFont &font)
{
    QPDFObjectHandle matrix = QPDFObjectHandle::newArray(), box = matrix.shallowCopy();
    QPDFObjectHandle glyphs = QPDFObjectHandle::newDictionary();
    constexpr int PLACES = 9;
    for (double value : font.matrix)
        matrix.appendItem(QPDFObjectHandle::newReal(numberText(value, PLACES)));
    for (int value : font.box)
        box.appendItem(QPDFObjectHandle::newInteger(value));
    for (const CompactGlyph &glyph : font.glyphs)
        glyphs.replaceKey("/" + glyph.name,
                          QPDFObjectHandle::newStream(&document->source.pdf, contentOf(glyph)));
    for (const char *key : {"/BaseFont", "/FontDescriptor"})
        dict.removeKey(key);
    dict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Type3"));
    dict.replaceKey("/FontMatrix", matrix);
    dict.replaceKey("/FontBBox", box);
    dict.replaceKey("/CharProcs", glyphs);
    dict.replaceKey("/Resources", QPDFObjectHandle::newDictionary());
}

} // namespace

std::string plainFontName(const std::string &baseFont)
{
    constexpr size_t TAG = 7, LONGEST = 60;
    std::string name = baseFont.substr(baseFont.empty() ? 0 : 1);
    if (name.size() > TAG && name[TAG - 1] == '+')
        name.erase(0, TAG);
    std::string plain;
    for (char c : name) {
        if (isPlain(c))
            plain.push_back(c);
        if (c == ',') /* in front of a style */
            plain.push_back('-');
    }
    return plain.empty() ? "Font" : plain.substr(0, LONGEST);
}

std::string uniqueFontName(Document *document, const std::string &baseFont)
{
    constexpr int LETTERS = 26, TAG = 6;
    std::string tag;
    int number = newNumber(document);
    for (int i = 0; i < TAG; i++, number /= LETTERS)
        tag.insert(tag.begin(), (char)('A' + number % LETTERS));
    return tag + "+" + plainFontName(baseFont);
}

void embedFont(Document *document, QPDFObjectHandle dict, const CompactFont &font,
               const std::vector<std::string> &names, QPDFObjectHandle old)
{
    dict.replaceKey("/Encoding", newEncoding(names));
    if (document->options.level == 2 && document->options.isCanonical)
        return putGlyphs(document, dict, font);
    dict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Type1"));
    dict.replaceKey("/BaseFont", QPDFObjectHandle::newName("/" + font.name));
    dict.replaceKey("/FontDescriptor", newDescriptor(document, font, old));
}

bool isOwnProgram(Document *document, QPDFObjectHandle program)
{
    return document->memos.of<OwnPrograms>().streams.count(program.getObjGen()) > 0;
}

QPDFObjectHandle newEncoding(const std::vector<std::string> &names)
{
    std::vector<QPDFObjectHandle> differences;
    bool follows = false;
    for (size_t code = 0; code < names.size(); code++) {
        if (names[code].empty()) {
            follows = false;
            continue;
        }
        if (!follows)
            differences.push_back(QPDFObjectHandle::newInteger((long long)code));
        differences.push_back(QPDFObjectHandle::newName("/" + names[code]));
        follows = true;
    }
    auto encoding = QPDFObjectHandle::newDictionary();
    encoding.replaceKey("/Type", QPDFObjectHandle::newName("/Encoding"));
    encoding.replaceKey("/Differences", QPDFObjectHandle::newArray(differences));
    return encoding;
}

} // namespace prepare
