/*
 * resources.cpp - a walk from content to what it names, and on
 *
 * A form or glyph that lacks a resource takes it from around it: such names count as those of the
 * content around.  What names itself on a way from the page, or stands too deep, is not there.
 */
#include "prepare/canonical/resources.h"

#include <algorithm>

#include "prepare/canonical/fonts.h"
#include "prepare/canonical/images.h"
#include "prepare/canonical/spaces.h"
#include "prepare/canonical/states.h"
#include "prepare/canonical/values.h"
#include "prepare/document/spool.h"
#include "prepare/model/plain.h"
#include "prepare/page/names.h"

namespace prepare {

namespace {

constexpr Field formFields[] = {
    {"/BBox", ValueKind::NUMBERS, -LARGEST_NUMBER, LARGEST_NUMBER, 4},
    {"/Matrix", ValueKind::NUMBERS, -LARGEST_NUMBER, LARGEST_NUMBER, 6},
};

constexpr Field type3Fields[] = {
    {"/FontMatrix", ValueKind::NUMBERS, -LARGEST_NUMBER, LARGEST_NUMBER, 6},
    {"/FontBBox", ValueKind::NUMBERS, -LARGEST_NUMBER, LARGEST_NUMBER, 4},
};

struct Names {
    std::set<std::string> of[CATEGORIES];
};

/* Something with content, made canonical. */
struct MadeContent {
    QPDFObjectHandle object; /* null: it is left out */
    Names leaked;            /* that it takes from around it */
};

struct ResourceMemo {
    std::map<QPDFObjGen, MadeContent> made; /* forms and Type 3 fonts */
};

struct PlainWalk {
    Document *document;
    int page;
    LeftOut *leftOut;
    std::vector<QPDFObjGen> path = {}; /* forms and fonts from the page to here */
};

/* What stands around a resource dictionary asks for. */
QPDFObjectHandle makeResources(PlainWalk *walk, QPDFObjectHandle resources, Names names,
                               Names *leaked);

PlainContent makePlain(Document *document, std::string_view content, bool isGlyph,
                       double glyphWidth, LeftOut *leftOut)
{
    auto namer = [&](const std::string &name) { return plainName(document, name); };
    PlainContent plain = plainContent(content, isGlyph, namer, glyphWidth);
    leftOut->operations += plain.dropped + plain.mixesPaths;
    leftOut->lostPaint |= plain.lostPaint || plain.mixesPaths;
    return plain;
}

/* The content of a stream in its place, in clear; adds the names that it uses. */
void settleContent(PlainWalk *walk, QPDFObjectHandle stream, bool isGlyph, double glyphWidth,
                   Names *names)
{
    bool isDamaged = false;
    std::string content = decodeStream(stream, MAX_CONTENT_BYTES, &isDamaged);
    PlainContent plain = makePlain(walk->document, content, isGlyph, glyphWidth, walk->leftOut);
    for (int category = 0; category < CATEGORIES; category++)
        names->of[category].merge(plain.names[category]);
    replaceWithClear(walk->document, stream, plain.isChanged ? plain.text : content);
}

/* Puts the resources that these names find into the holder; the others are leaked. */
void putResources(PlainWalk *walk, QPDFObjectHandle resources, const Names &names,
                  QPDFObjectHandle holder, Names *leaked)
{
    QPDFObjectHandle made = makeResources(walk, resources, names, leaked);
    if (!made.getKeys().empty() || resources.isDictionary())
        holder.replaceKey("/Resources", made);
}

MadeContent makeForm(PlainWalk *walk, QPDFObjectHandle form)
{
    MadeContent made{form, {}};
    QPDFObjectHandle dict = form.getDict();
    QPDFObjectHandle resources = dict.getKey("/Resources");
    Names names;
    settleContent(walk, form, false, 0, &names);
    QPDFObjectHandle plain = plainDictionary(formFields, dict);
    plain.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    plain.replaceKey("/Subtype", QPDFObjectHandle::newName("/Form"));
    plain.replaceKey("/FormType", QPDFObjectHandle::newInteger(1));
    putResources(walk, resources, names, plain, &made.leaked);
    form.replaceDict(plain);
    return made;
}

/* Plain names for the glyphs of a font, each its own. */
GlyphNames glyphNamesOf(QPDFObjectHandle glyphs)
{
    GlyphNames names;
    std::set<std::string> keys = glyphs.getKeys();
    int number = 0;
    for (const std::string &key : keys) {
        std::string plain = key;
        bool isGood = isPlain(std::string_view(key).substr(1), MAX_PLAIN_NAME);
        while (!isGood && (plain == key || keys.count(plain)))
            plain = "/g." + std::to_string(number++);
        names[key] = plain;
    }
    return names;
}

/* The widths of glyphs by their names, as far as the encoding has them. */
std::map<std::string, double> glyphWidthsOf(QPDFObjectHandle font)
{
    std::map<std::string, double> widths;
    QPDFObjectHandle given = font.getKey("/Widths");
    QPDFObjectHandle differences = entryOf(font.getKey("/Encoding"), "/Differences");
    long first = integerOr(font.getKey("/FirstChar"), 0), code = 0;
    if (!given.isArray() || !differences.isArray())
        return widths;
    for (QPDFObjectHandle item : differences.getArrayAsVector()) {
        if (item.isNumber()) {
            code = integerOr(item, 0);
            continue;
        }
        long place = code++ - first;
        if (item.isName() && place >= 0 && place < given.getArrayNItems())
            widths.emplace(item.getName(), numberOr(given.getArrayItem((int)place), 0));
    }
    return widths;
}

MadeContent makeType3(PlainWalk *walk, QPDFObjectHandle font)
{
    MadeContent made{none(), {}};
    QPDFObjectHandle plain = plainDictionary(type3Fields, font);
    plain.replaceKey("/Type", QPDFObjectHandle::newName("/Font"));
    plain.replaceKey("/Subtype", QPDFObjectHandle::newName("/Type3"));
    if (!plain.hasKey("/FontMatrix"))
        plain.replaceKey("/FontMatrix", newNumbers({0.001, 0, 0, 0.001, 0, 0}));
    if (!plain.hasKey("/FontBBox"))
        plain.replaceKey("/FontBBox", newNumbers({0, 0, 0, 0}));
    QPDFObjectHandle glyphs = font.getKey("/CharProcs");
    GlyphNames glyphNames = glyphNamesOf(glyphs);
    std::map<std::string, double> widths = glyphWidthsOf(font);
    QPDFObjectHandle plainGlyphs = QPDFObjectHandle::newDictionary();
    Names names;
    for (auto &[key, glyph] : entriesOf(glyphs)) {
        if (!glyph.isStream())
            continue;
        QPDFObjectHandle copy = glyph.copyStream(); /* it may be a form, or another font's, too */
        settleContent(walk, copy, true, widths[key], &names);
        copy.replaceDict(QPDFObjectHandle::newDictionary());
        plainGlyphs.replaceKey(glyphNames[key], copy);
    }
    plain.replaceKey("/CharProcs", plainGlyphs);
    plain.replaceKey("/Encoding", plainEncoding(font.getKey("/Encoding"), glyphNames));
    putResources(walk, font.getKey("/Resources"), names, plain, &made.leaked);
    made.object = walk->document->source.pdf.makeIndirectObject(plain);
    return made;
}

/* A form or font that is made canonical once; what it takes from here counts as named here. */
template <class Make>
QPDFObjectHandle makeOnce(PlainWalk *walk, QPDFObjectHandle object, Names *leaked, Make make)
{
    ResourceMemo &memo = walk->document->memos.of<ResourceMemo>();
    QPDFObjGen key = object.getObjGen();
    auto known = memo.made.find(key);
    if (known == memo.made.end()) {
        bool isInside = std::find(walk->path.begin(), walk->path.end(), key) != walk->path.end();
        if (isInside || !object.isIndirect() || walk->path.size() > MAX_FORM_DEPTH)
            return none();
        walk->path.push_back(key);
        MadeContent made{none(), {}};
        try {
            made = make(walk, object);
        } catch (const LimitReached &) {
            say(walk->document, Message::StreamCut, walk->page);
        }
        walk->path.pop_back();
        known = memo.made.emplace(key, std::move(made)).first;
    }
    for (int category = 0; category < CATEGORIES; category++)
        leaked->of[category].insert(known->second.leaked.of[category].begin(),
                                    known->second.leaked.of[category].end());
    return known->second.object;
}

QPDFObjectHandle makeXObject(PlainWalk *walk, QPDFObjectHandle object, Names *leaked)
{
    if (isForm(object))
        return makeOnce(walk, object, leaked, makeForm);
    if (!isImage(object))
        return none();
    plainImage(walk->document, object, walk->page);
    return object;
}

QPDFObjectHandle makeFont(PlainWalk *walk, QPDFObjectHandle font, Names *leaked)
{
    if (!font.isDictionary())
        return none();
    if (nameOr(font.getKey("/Subtype")) == "/Type3")
        return makeOnce(walk, font, leaked, makeType3);
    return plainSimpleFont(walk->document, font);
}

QPDFObjectHandle makeResource(PlainWalk *walk, int category, QPDFObjectHandle value, Names *leaked)
{
    switch (category) {
    case XOBJECT:
        return makeXObject(walk, value, leaked);
    case FONT:
        return makeFont(walk, value, leaked);
    case EXTGSTATE:
        return plainState(walk->document, value);
    case COLORSPACE:
        return plainSpace(walk->document, value);
    default:
        return none();
    }
}

/* Is it the name of a device space, which names no resource? */
bool isDeviceName(int category, const std::string &name)
{
    return category == COLORSPACE &&
           (name == "/DeviceGray" || name == "/DeviceRGB" || name == "/DeviceCMYK");
}

QPDFObjectHandle makeResources(PlainWalk *walk, QPDFObjectHandle resources, Names names,
                               Names *leaked)
{
    QPDFObjectHandle made = QPDFObjectHandle::newDictionary();
    Names done;
    for (bool isMore = true; isMore;) { /* what is found may take more from here */
        isMore = false;
        Names wanted = std::move(names);
        names = {};
        for (int category : {XOBJECT, FONT, EXTGSTATE, COLORSPACE})
            for (const std::string &name : wanted.of[category]) {
                if (!done.of[category].insert(name).second || isDeviceName(category, name))
                    continue;
                QPDFObjectHandle value = findResource({resources, nullptr}, category, name);
                if (value.isNull()) {
                    leaked->of[category].insert(name);
                    continue;
                }
                isMore = true;
                QPDFObjectHandle plain = makeResource(walk, category, value, &names);
                if (plain.isNull())
                    continue;
                const char *key = categoryKey(category);
                QPDFObjectHandle entries = made.getKey(key);
                if (!entries.isDictionary())
                    entries = made.replaceKeyAndGetNew(key, QPDFObjectHandle::newDictionary());
                entries.replaceKey(isOddName(name) ? plainName(walk->document, name) : name, plain);
            }
    }
    return made;
}

/* A font that is used and that nobody has: text in it is text all the same. */
void addMissingFonts(Document *document, const std::set<std::string> &names,
                     QPDFObjectHandle resources)
{
    for (const std::string &name : names) {
        QPDFObjectHandle fonts = resources.getKey("/Font");
        if (!fonts.isDictionary())
            fonts = resources.replaceKeyAndGetNew("/Font", QPDFObjectHandle::newDictionary());
        fonts.replaceKey(isOddName(name) ? plainName(document, name) : name,
                         QPDFObjectHandle::parse("<< /Type /Font /Subtype /Type1 /BaseFont "
                                                 "/Helvetica >>"));
    }
}

} // namespace

PlainContent plainContentOf(Document *document, std::string_view content, LeftOut *leftOut)
{
    return makePlain(document, content, false, 0, leftOut);
}

QPDFObjectHandle plainResources(Document *document, int page, QPDFObjectHandle resources,
                                const std::set<std::string> (&names)[CATEGORIES], LeftOut *leftOut)
{
    PlainWalk walk{document, page, leftOut};
    Names wanted, leaked;
    std::copy(std::begin(names), std::end(names), std::begin(wanted.of));
    QPDFObjectHandle made = makeResources(&walk, resources, std::move(wanted), &leaked);
    addMissingFonts(document, leaked.of[FONT], made);
    return made;
}

} // namespace prepare
