/*
 * structure.cpp - repairs what the converter would stop at
 *
 * Everything here changes objects only where they are wrong, so a document without such places
 * keeps every object as it is.
 */
#include "prepare/page/structure.h"

#include <algorithm>

#include "prepare/colour/convert.h"
#include "prepare/model/tokens.h"
#include "prepare/page/boxes.h"
#include "prepare/page/spaces.h"

namespace prepare {

namespace {

constexpr int MAX_TREE_DEPTH = 64;

struct StructureMemo {
    std::set<QPDFObjGen> done; /* so that shared objects are looked at once */
    bool formsHavePatterns = false;
};

StructureMemo &memoOf(Document *document)
{
    return document->memos.of<StructureMemo>();
}

struct Repair {
    Document *document;
    Page *page;
};

void changed(Repair *repair)
{
    repair->page->needs |= NEED_STRUCTURE;
}

/* The attribute of the page or of the nodes above it. */
QPDFObjectHandle inherited(QPDFObjectHandle node, const char *key)
{
    for (int depth = 0; depth < MAX_TREE_DEPTH && node.isDictionary(); depth++) {
        QPDFObjectHandle value = node.getKey(key);
        if (!value.isNull())
            return value;
        node = node.getKey("/Parent");
    }
    return QPDFObjectHandle::newNull();
}

/* The names of filters in full; only inline images may use the short ones. */
const std::map<std::string, std::string> longFilters = {
    {"/AHx", "/ASCIIHexDecode"}, {"/A85", "/ASCII85Decode"},  {"/LZW", "/LZWDecode"},
    {"/Fl", "/FlateDecode"},     {"/RL", "/RunLengthDecode"}, {"/CCF", "/CCITTFaxDecode"},
    {"/DCT", "/DCTDecode"},
};

void repairFilters(Repair *repair, QPDFObjectHandle stream)
{
    QPDFObjectHandle dict = stream.getDict();
    if (dict.hasKey("/F") && !dict.hasKey("/Filter") && dict.getKey("/F").isName())
        dict.replaceKey("/Filter", dict.getKey("/F"));
    QPDFObjectHandle filter = dict.getKey("/Filter");
    std::vector<QPDFObjectHandle> filters =
        filter.isArray() ? filter.getArrayAsVector() : std::vector<QPDFObjectHandle>{filter};
    bool isChanged = false, hasCrypt = false;
    for (QPDFObjectHandle &name : filters) {
        auto full = longFilters.find(nameOr(name));
        hasCrypt |= nameOr(name) == "/Crypt";
        if (full == longFilters.end())
            continue;
        name = QPDFObjectHandle::newName(full->second);
        isChanged = true;
    }
    bool isWrong = !filter.isNull() && !filter.isName() && !filter.isArray();
    if (hasCrypt || isWrong) { /* libqpdf has decrypted the data already */
        bool damaged = false;
        replaceWithFlate(stream, decodeStream(stream, MAX_CONTENT_BYTES, &damaged));
        if (damaged)
            say(repair->document, Message::StreamCut, repair->page->number);
        return changed(repair);
    }
    if (!isChanged)
        return;
    dict.replaceKey("/Filter", filter.isArray() ? QPDFObjectHandle::newArray(filters) : filters[0]);
    changed(repair);
}

void repairResources(Repair *repair, QPDFObjectHandle resources, int depth);

/* A stream's /Resources, if they are any. */
void repairInner(Repair *repair, QPDFObjectHandle holder, int depth)
{
    QPDFObjectHandle resources = holder.getKey("/Resources");
    if (resources.isDictionary() && !resources.isIndirect()) {
        /* Their usage is kept by number. */
        resources = repair->document->source.pdf.makeIndirectObject(resources);
        holder.replaceKey("/Resources", resources);
    }
    if (resources.isDictionary())
        repairResources(repair, resources, depth + 1);
    else if (holder.hasKey("/Resources"))
        holder.removeKey("/Resources");
}

void repairImage(Repair *repair, QPDFObjectHandle image)
{
    QPDFObjectHandle dict = image.getDict();
    if (dict.hasKey("/ColorSpace")) {
        bool isChanged = false;
        QPDFObjectHandle space =
            normaliseSpace(repair->document, dict.getKey("/ColorSpace"), &isChanged);
        if (isChanged) {
            dict.replaceKey("/ColorSpace", space);
            changed(repair);
        }
    }
}

/* Says what an XObject without /Subtype must be. */
std::string kindOfXObject(Repair *repair, QPDFObjectHandle dict)
{
    std::string subtype = nameOr(dict.getKey("/Subtype"));
    if (!subtype.empty())
        return subtype;
    subtype = dict.hasKey("/BBox") ? "/Form" : dict.hasKey("/Width") ? "/Image" : "";
    if (!subtype.empty()) {
        dict.replaceKey("/Subtype", QPDFObjectHandle::newName(subtype));
        changed(repair);
    }
    return subtype;
}

/* False: the converter cannot accept it. */
bool repairXObject(Repair *repair, QPDFObjectHandle object, int depth)
{
    if (!object.isStream())
        return false;
    QPDFObjectHandle dict = object.getDict();
    std::string subtype = kindOfXObject(repair, dict);
    if (subtype != "/Image" && subtype != "/Form")
        return false;
    if (!memoOf(repair->document).done.insert(object.getObjGen()).second)
        return true;
    repairFilters(repair, object);
    if (subtype == "/Image")
        repairImage(repair, object);
    else
        repairInner(repair, dict, depth);
    return true;
}

void repairType3(Repair *repair, QPDFObjectHandle font, int depth)
{
    repairInner(repair, font, depth);
    QPDFObjectHandle glyphs = font.getKey("/CharProcs");
    if (!glyphs.isDictionary()) {
        font.replaceKey("/CharProcs", QPDFObjectHandle::newDictionary());
        return changed(repair);
    }
    for (auto &[name, glyph] : entriesOf(glyphs)) {
        if (glyph.isStream()) {
            repairFilters(repair, glyph);
        } else {
            glyphs.removeKey(name);
            changed(repair);
        }
    }
}

/* Drops entries of a simple font that are of a wrong kind. */
void repairSimpleFont(Repair *repair, QPDFObjectHandle font)
{
    auto drop = [&](QPDFObjectHandle dict, const char *key, bool isGood) {
        if (!dict.hasKey(key) || isGood)
            return;
        dict.removeKey(key);
        changed(repair);
    };
    QPDFObjectHandle descriptor = font.getKey("/FontDescriptor");
    QPDFObjectHandle encoding = font.getKey("/Encoding");
    drop(font, "/FontDescriptor", descriptor.isDictionary());
    drop(font, "/Widths", font.getKey("/Widths").isArray());
    drop(font, "/BaseFont", font.getKey("/BaseFont").isName());
    drop(font, "/Encoding", encoding.isName() || encoding.isDictionary());
    if (encoding.isDictionary()) {
        drop(encoding, "/BaseEncoding", encoding.getKey("/BaseEncoding").isName());
        drop(encoding, "/Differences", encoding.getKey("/Differences").isArray());
    }
    if (descriptor.isDictionary())
        for (const char *key : {"/FontFile", "/FontFile2", "/FontFile3"})
            drop(descriptor, key, descriptor.getKey(key).isStream());
}

bool repairFont(Repair *repair, QPDFObjectHandle font, int depth)
{
    if (!font.isDictionary() || !font.getKey("/Subtype").isName())
        return false;
    if (!memoOf(repair->document).done.insert(font.getObjGen()).second)
        return true;
    std::string subtype = nameOr(font.getKey("/Subtype"));
    if (subtype == "/Type3")
        repairType3(repair, font, depth);
    else if (subtype != "/Type0")
        repairSimpleFont(repair, font);
    return true;
}

bool isProfile(QPDFObjectHandle space)
{
    return space.isArray() && space.getArrayNItems() > 1 &&
           nameOr(space.getArrayItem(0)) == "/ICCBased";
}

/* A shading's colours are worked out where it is painted, with profiles as they are here. */
void repairShading(Repair *repair, QPDFObjectHandle shading)
{
    QPDFObjectHandle dict = shading.isStream() ? shading.getDict() : shading;
    QPDFObjectHandle space = entryOf(dict, "/ColorSpace");
    bool isOverProfile =
        space.isArray() && space.getArrayNItems() > 2 && isProfile(space.getArrayItem(2));
    bool isChanged = false;
    if (isProfile(space) || isOverProfile)
        space = normaliseSpace(repair->document, space, &isChanged);
    if (!isChanged || space.isNull())
        return;
    dict.replaceKey("/ColorSpace", space);
    changed(repair);
}

/* A tiling pattern's cell is content like that of a form. */
void repairPattern(Repair *repair, QPDFObjectHandle pattern, int depth)
{
    repairShading(repair, entryOf(pattern, "/Shading"));
    if (!pattern.isStream() || !memoOf(repair->document).done.insert(pattern.getObjGen()).second)
        return;
    repairFilters(repair, pattern);
    repairInner(repair, pattern.getDict(), depth);
}

/* Functions of graphics states that the converter accepts: names, and tables. */
void repairStateFunction(Repair *repair, QPDFObjectHandle state, const char *key)
{
    QPDFObjectHandle function = state.getKey(key);
    bool isArray = function.isArray();
    std::vector<QPDFObjectHandle> items =
        isArray ? function.getArrayAsVector() : std::vector<QPDFObjectHandle>{function};
    bool isChanged = false;
    for (QPDFObjectHandle &item : items) {
        if (item.isName() || isPlainFunction(item, 1))
            continue;
        isChanged = true;
        item = sampledFunction(repair->document, item);
        if (!item.isNull())
            continue;
        state.removeKey(key);
        return changed(repair);
    }
    if (!isChanged)
        return;
    state.replaceKey(key, isArray ? QPDFObjectHandle::newArray(items) : items[0]);
    changed(repair);
}

/* Are all functions of a halftone, and of those within it, such that the converter accepts? */
bool isPlainHalftone(QPDFObjectHandle halftone, int depth)
{
    constexpr int MAX_HALFTONE_DEPTH = 4;
    QPDFObjectHandle dict = halftone.isStream() ? halftone.getDict() : halftone;
    if (halftone.isName())
        return true;
    if (!dict.isDictionary() || depth > MAX_HALFTONE_DEPTH)
        return false;
    for (auto &[key, value] : dict.getDictAsMap()) {
        if (key == "/SpotFunction" || key == "/TransferFunction") {
            if (!value.isName() && !isPlainFunction(value, key == "/SpotFunction" ? 2 : 1))
                return false;
        } else if ((value.isDictionary() || value.isStream()) && key != "/DecodeParms" &&
                   !isPlainHalftone(value, depth + 1)) {
            return false;
        }
    }
    return true;
}

bool repairGraphicsState(Repair *repair, QPDFObjectHandle state)
{
    if (!state.isDictionary())
        return false;
    if (QPDFObjectHandle second = state.getKey("/TR2"); !second.isNull()) { /* it comes first */
        state.replaceKey("/TR",
                         nameOr(second) == "/Default" ? QPDFObjectHandle::newNull() : second);
        state.removeKey("/TR2");
        changed(repair);
    }
    for (const char *key : {"/TR", "/BG", "/UCR"})
        if (state.hasKey(key))
            repairStateFunction(repair, state, key);
    if (state.hasKey("/HT") && !isPlainHalftone(state.getKey("/HT"), 0)) {
        state.removeKey("/HT");
        changed(repair);
    }
    QPDFObjectHandle font = state.getKey("/Font");
    if (font.isArray() && font.getArrayNItems() > 0) {
        QPDFObjectHandle dict = font.getArrayItem(0);
        if (dict.isDictionary() && !dict.isIndirect())
            font.setArrayItem(0, repair->document->source.pdf.makeIndirectObject(dict));
    }
    return true;
}

/* Repairs one resource; false: it is dropped. */
bool repairEntry(Repair *repair, int category, QPDFObjectHandle entries, const std::string &name,
                 QPDFObjectHandle value, int depth)
{
    switch (category) {
    case XOBJECT:
        return repairXObject(repair, value, depth);
    case FONT:
        if (value.isDictionary() && !value.isIndirect()) {
            value = repair->document->source.pdf.makeIndirectObject(value);
            entries.replaceKey(name, value);
        }
        return repairFont(repair, value, depth);
    case EXTGSTATE:
        return repairGraphicsState(repair, value);
    case PATTERN:
        repairPattern(repair, value, depth);
        return true;
    case COLORSPACE: {
        bool isChanged = false;
        QPDFObjectHandle space = normaliseSpace(repair->document, value, &isChanged);
        if (isChanged && !space.isNull()) {
            entries.replaceKey(name, space);
            changed(repair);
        }
        return !space.isNull();
    }
    case SHADING:
        repairShading(repair, value);
        return true;
    default:
        return true;
    }
}

void repairCategory(Repair *repair, QPDFObjectHandle resources, int category, int depth)
{
    QPDFObjectHandle entries = resources.getKey(categoryKey(category));
    if (entries.isNull())
        return;
    if (!entries.isDictionary()) {
        resources.removeKey(categoryKey(category));
        return changed(repair);
    }
    if (entries.isIndirect() && !memoOf(repair->document).done.insert(entries.getObjGen()).second)
        return;
    for (const std::string &name : entries.getKeys()) {
        if (repairEntry(repair, category, entries, name, entries.getKey(name), depth))
            continue;
        entries.removeKey(name);
        changed(repair);
    }
}

void repairResources(Repair *repair, QPDFObjectHandle resources, int depth)
{
    if (depth > MAX_FORM_DEPTH)
        return;
    if (resources.isIndirect() &&
        !memoOf(repair->document).done.insert(resources.getObjGen()).second)
        return;
    if (depth > 1 && resources.hasKey("/Pattern"))
        memoOf(repair->document).formsHavePatterns = true;
    for (int category = 0; category < CATEGORIES; category++)
        repairCategory(repair, resources, category, depth);
}

/* /Contents: a stream, or an array of streams. */
void repairContents(Repair *repair, QPDFObjectHandle page)
{
    QPDFObjectHandle contents = page.getKey("/Contents");
    if (contents.isStream())
        return repairFilters(repair, contents);
    if (contents.isNull() && !page.hasKey("/Contents"))
        return;
    std::vector<QPDFObjectHandle> streams;
    bool isWrong = !contents.isArray();
    if (contents.isArray())
        streams = contents.getArrayAsVector();
    auto notStream = [](QPDFObjectHandle item) { return !item.isStream(); };
    auto end = std::remove_if(streams.begin(), streams.end(), notStream);
    isWrong |= end != streams.end();
    streams.erase(end, streams.end());
    for (QPDFObjectHandle stream : streams)
        repairFilters(repair, stream);
    if (!isWrong)
        return;
    page.replaceKey("/Contents", QPDFObjectHandle::newArray(streams));
    changed(repair);
}

} // namespace

void repairPage(Document *document, Page *page)
{
    Repair repair{document, page};
    QPDFObjectHandle object = page->object;
    for (const char *key : {"/MediaBox", "/CropBox", "/Rotate", "/Resources"})
        if (object.getKey(key).isNull()) {
            QPDFObjectHandle value = inherited(object, key);
            object.replaceKey(key, value);
        }
    chooseBox(*document, page);
    repairContents(&repair, object);
    QPDFObjectHandle resources = object.getKey("/Resources");
    if (!resources.isDictionary()) {
        if (object.hasKey("/Resources"))
            changed(&repair);
        object.replaceKey("/Resources", QPDFObjectHandle::newDictionary());
        return;
    }
    repairResources(&repair, resources, 1);
}

bool repairPainted(Document *document, Page *page, QPDFObjectHandle object)
{
    Repair repair{document, page};
    return repairXObject(&repair, object, 1);
}

bool formsHavePatterns(Document *document)
{
    return memoOf(document).formsHavePatterns;
}

} // namespace prepare
