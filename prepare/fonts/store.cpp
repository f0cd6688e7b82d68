/*
 * store.cpp - which fonts are replaced
 */
#include "prepare/fonts/store.h"

namespace prepare {

namespace {

/* Leaves everything to the handlers behind it. */
struct FontHandler : Handler {
    bool take(Rewriter *, const Operation &) override { return false; }
};

std::unique_ptr<Handler> makeFontHandler()
{
    return std::make_unique<FontHandler>();
}

} // namespace

const ContentPass fontPass = {"fonts", NEED_COMPOSITE, makeFontHandler};

std::unique_ptr<FontStore, void (*)(FontStore *)> newFontStore()
{
    return {new FontStore, [](FontStore *store) { delete store; }};
}

uint32_t fontNeed(Document *, QPDFObjectHandle)
{
    return 0;
}

FontUse *simpleFontUse(Document *document, QPDFObjectHandle font)
{
    auto found = document->fonts->simple.find(font.getObjGen());
    return found == document->fonts->simple.end() ? nullptr : &found->second;
}

void noteShown(FontUse *use, const Token &shown)
{
    for (char c : stringValue(shown))
        use->codes.set((unsigned char)c);
}

void noteAllShown(Document *document, QPDFObjectHandle resources)
{
    if (!resources.isDictionary())
        return;
    for (auto &[name, font] : entriesOf(resources.getKey("/Font")))
        if (FontUse *use = font.isDictionary() ? simpleFontUse(document, font) : nullptr)
            use->codes.set();
}

bool isRewrittenFont(Document *document, QPDFObjectHandle font)
{
    return document->fonts->composite.count(font.getObjGen()) > 0;
}

void finishFonts(Document *)
{
}

} // namespace prepare
