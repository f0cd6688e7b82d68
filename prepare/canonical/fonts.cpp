/*
 * fonts.cpp - tables for simple fonts, their descriptors and programs
 */
#include "prepare/canonical/fonts.h"

#include <algorithm>

#include "prepare/canonical/values.h"
#include "prepare/fonts/embed.h"
#include "prepare/fonts/simple.h"
#include "prepare/fonts/store.h"
#include "prepare/model/plain.h"

namespace prepare {

namespace {

constexpr int MAX_CODE = 255;
constexpr double MAX_WIDTH = 100000;

constexpr Field fontFields[] = {
    {"/Subtype", ValueKind::WORD, 0, 0, 0, "Type1 TrueType MMType1"},
    {"/FirstChar", ValueKind::INTEGER, 0, MAX_CODE},
    {"/LastChar", ValueKind::INTEGER, 0, MAX_CODE},
};

constexpr Field descriptorFields[] = {
    {"/Flags", ValueKind::INTEGER, -LARGEST_NUMBER, LARGEST_NUMBER},
    {"/MissingWidth", ValueKind::NUMBER, -MAX_WIDTH, MAX_WIDTH},
};

constexpr Field encodingName = {"",
                                ValueKind::WORD,
                                0,
                                0,
                                0,
                                "StandardEncoding WinAnsiEncoding MacRomanEncoding "
                                "MacExpertEncoding"};

/* Widths for the codes that there are; what is no number has none. */
QPDFObjectHandle plainWidths(QPDFObjectHandle widths)
{
    if (!widths.isArray())
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle plain = QPDFObjectHandle::newArray();
    for (int i = 0; i < std::min(widths.getArrayNItems(), MAX_CODE + 1); i++) {
        QPDFObjectHandle width = widths.getArrayItem(i);
        plain.appendItem(width.isNumber() ? plainNumber(width, -MAX_WIDTH, MAX_WIDTH)
                                          : QPDFObjectHandle::newInteger(0));
    }
    return plain;
}

/* May the program go on?  It is one that we have made, or a compact one that was looked through. */
bool isGoodProgram(Document *document, QPDFObjectHandle font, QPDFObjectHandle program)
{
    if (isOwnProgram(document, program))
        return true;
    return document->options.level >= 3 && fontNeed(document, font) == 0 &&
           nameOr(program.getDict().getKey("/Subtype")) == "/Type1C";
}

/* The stream with its own filter, if it is Flate alone; else in clear. */
void settleProgram(QPDFObjectHandle program)
{
    QPDFObjectHandle dict = program.getDict();
    QPDFObjectHandle filter = dict.getKey("/Filter");
    bool isFlate = nameOr(filter) == "/FlateDecode" && !dict.hasKey("/DecodeParms");
    if (!filter.isNull() && !isFlate) {
        bool isDamaged = false;
        replaceWithFlate(program, decodeStream(program, MAX_CONTENT_BYTES, &isDamaged));
        isFlate = true;
    }
    QPDFObjectHandle plain = QPDFObjectHandle::newDictionary();
    plain.replaceKey("/Subtype", QPDFObjectHandle::newName("/Type1C"));
    if (isFlate)
        plain.replaceKey("/Filter", QPDFObjectHandle::newName("/FlateDecode"));
    program.replaceDict(plain);
}

/* Programs that are shared are settled once. */
struct ProgramMemo {
    std::set<QPDFObjGen> settled;
};

QPDFObjectHandle plainDescriptor(Document *document, QPDFObjectHandle font)
{
    QPDFObjectHandle descriptor = font.getKey("/FontDescriptor");
    if (!descriptor.isDictionary())
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle plain = plainDictionary(descriptorFields, descriptor);
    plain.replaceKey("/Type", QPDFObjectHandle::newName("/FontDescriptor"));
    QPDFObjectHandle program = descriptor.getKey("/FontFile3");
    if (!program.isStream() || !isGoodProgram(document, font, program))
        return plain;
    if (document->memos.of<ProgramMemo>().settled.insert(program.getObjGen()).second)
        settleProgram(program);
    plain.replaceKey("/FontFile3", program);
    return plain;
}

/* A code, or a name for the code that has come to its turn. */
QPDFObjectHandle plainDifferences(QPDFObjectHandle differences, const GlyphNames &names)
{
    if (!differences.isArray())
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle plain = QPDFObjectHandle::newArray();
    int code = 0;
    bool isNamed = true; /* the last one named a code, and the next name is for the one behind it */
    for (QPDFObjectHandle item : differences.getArrayAsVector()) {
        if (item.isNumber()) {
            code = integerOr(item, 0);
            isNamed = false;
        } else if (item.isName()) {
            bool isCode = code >= 0 && code <= MAX_CODE;
            if (isCode && !isNamed)
                plain.appendItem(QPDFObjectHandle::newInteger(code));
            isNamed = isCode;
            code += code <= MAX_CODE;
            std::string name = item.getName();
            if (auto other = names.find(name); other != names.end())
                name = other->second;
            else if (!isPlain(std::string_view(name).substr(1), MAX_PLAIN_NAME))
                name = "/.notdef";
            if (isCode)
                plain.appendItem(QPDFObjectHandle::newName(name));
        }
    }
    return plain;
}

/* Fonts by their objects. */
struct SimpleFontMemo {
    std::map<QPDFObjGen, QPDFObjectHandle> made;
};

QPDFObjectHandle makeSimpleFont(Document *document, QPDFObjectHandle font)
{
    QPDFObjectHandle plain = plainDictionary(fontFields, font);
    if (!plain.hasKey("/Subtype"))
        return QPDFObjectHandle::newNull();
    plain.replaceKey("/Type", QPDFObjectHandle::newName("/Font"));
    std::string base = nameOr(font.getKey("/BaseFont"), "/Font").substr(1);
    plain.replaceKey("/BaseFont",
                     QPDFObjectHandle::newName("/" + plainOf(base, MAX_PLAIN_NAME, "Font")));
    plain.replaceKey("/Widths", plainWidths(font.getKey("/Widths")));
    plain.replaceKey("/FontDescriptor", plainDescriptor(document, font));
    plain.replaceKey("/Encoding", plainEncoding(font.getKey("/Encoding"), {}));
    return document->source.pdf.makeIndirectObject(plain);
}

} // namespace

QPDFObjectHandle plainEncoding(QPDFObjectHandle encoding, const GlyphNames &names)
{
    if (!encoding.isDictionary())
        return plainValue(encodingName, encoding);
    QPDFObjectHandle plain = QPDFObjectHandle::newDictionary();
    plain.replaceKey("/BaseEncoding", plainValue(encodingName, encoding.getKey("/BaseEncoding")));
    plain.replaceKey("/Differences", plainDifferences(encoding.getKey("/Differences"), names));
    return plain.getKeys().empty() ? QPDFObjectHandle::newNull() : plain;
}

QPDFObjectHandle plainSimpleFont(Document *document, QPDFObjectHandle font)
{
    if (!font.isIndirect())
        return makeSimpleFont(document, font);
    auto [place, isNew] = document->memos.of<SimpleFontMemo>().made.try_emplace(font.getObjGen());
    if (isNew)
        place->second = makeSimpleFont(document, font);
    return place->second;
}

} // namespace prepare
