/*
 * store.cpp - which fonts are replaced, and by what
 */
#include "prepare/fonts/store.h"

#include "prepare/fonts/composite.h"
#include "prepare/fonts/show.h"
#include "prepare/fonts/simple.h"

namespace prepare {

const ContentPass fontPass = {"fonts", NEED_COMPOSITE, makeFontHandler};

namespace {

FontStore &storeOf(Document *document)
{
    return document->memos.of<FontStore>();
}

uint32_t findNeed(Document *document, QPDFObjectHandle font)
{
    std::string subtype = nameOr(font.getKey("/Subtype"));
    if (subtype == "/Type0")
        return NEED_COMPOSITE;
    if (subtype == "/Type3")
        return 0;
    QPDFObjectHandle descriptor = font.getKey("/FontDescriptor");
    QPDFObjectHandle program = embeddedProgram(descriptor);
    if (!program.isStream())
        return 0;
    bool isOnly = descriptor.hasKey("/FontFile3") && !descriptor.hasKey("/FontFile2") &&
                  !descriptor.hasKey("/FontFile");
    if (document->options.level >= 3 && isOnly && isGoodCompact(document, program))
        return 0;
    return NEED_FONTS;
}

} // namespace

const FontLibrary &fontLibrary(Document *document)
{
    return storeOf(document).library;
}

uint32_t fontNeed(Document *document, QPDFObjectHandle font)
{
    if (!font.isIndirect())
        return 0;
    auto [place, isNew] = storeOf(document).needs.emplace(font.getObjGen(), 0u);
    if (isNew)
        place->second = findNeed(document, font);
    return place->second;
}

FontUse *simpleFontUse(Document *document, QPDFObjectHandle font)
{
    if (fontNeed(document, font) != NEED_FONTS)
        return nullptr;
    FontUse &use = storeOf(document).simple[font.getObjGen()];
    use.font = font;
    return &use;
}

void recordShown(FontUse *use, const Token &shown)
{
    for (char c : stringValue(shown))
        use->codes.set((unsigned char)c);
}

void recordAllShown(Document *document, QPDFObjectHandle resources)
{
    if (!resources.isDictionary())
        return;
    for (auto &[name, font] : entriesOf(resources.getKey("/Font")))
        if (FontUse *use = font.isDictionary() ? simpleFontUse(document, font) : nullptr)
            use->codes.set();
}

CompositeFont *compositeFont(Document *document, QPDFObjectHandle font, int page)
{
    if (!font.isDictionary() || fontNeed(document, font) != NEED_COMPOSITE)
        return nullptr;
    FontStore &store = storeOf(document);
    auto &composite = store.composite[font.getObjGen()];
    if (!composite)
        composite = readCompositeFont(document, font, (int)store.composite.size(), page);
    return composite.get();
}

bool isRewrittenFont(Document *document, QPDFObjectHandle font)
{
    return storeOf(document).composite.count(font.getObjGen()) > 0;
}

namespace {

void watchFont(Walk *walk, QPDFObjectHandle font)
{
    addNeed(walk, fontNeed(walk->document, font));
}

void watchText(Walk *walk, const Operation &operation)
{
    QPDFObjectHandle font = walk->state->now.text.font;
    if (!font.isInitialized() || !font.isDictionary())
        return;
    if (FontUse *shown = simpleFontUse(walk->document, font))
        for (const Token &token : operation.operands)
            if (token.kind == TokenKind::STRING || token.kind == TokenKind::HEX_STRING)
                recordShown(shown, token);
}

/* The converter does not select the font of a graphics state. */
void watchGraphicsState(Walk *walk, int category, const std::string &, QPDFObjectHandle found)
{
    if (category == EXTGSTATE && found.getKeyIfDict("/Font").isArray())
        addNeed(walk, NEED_COMPOSITE);
}

} // namespace

const Observer fontObserver = {
    .name = "fonts", .resource = watchGraphicsState, .font = watchFont, .text = watchText};

void finishFonts(Document *document)
{
    for (auto &[key, use] : storeOf(document).simple)
        rewriteSimpleFont(document, use);
    for (auto &[key, font] : storeOf(document).composite)
        writeSubfonts(document, font.get());
}

} // namespace prepare
