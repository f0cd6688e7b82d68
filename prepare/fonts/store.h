/*
 * store.h - the fonts of a document: what they are, and what its pages show in them
 *
 * Simple fonts keep their codes and get another program; which codes are shown is gathered while
 * pages are scanned.  Composite fonts are taken apart while pages are rewritten.  Both are written
 * once, when all pages are done, with the glyphs that are in use.
 */
#ifndef PREPARE_FONTS_STORE_H
#define PREPARE_FONTS_STORE_H

#include <bitset>
#include <map>
#include <memory>

#include "prepare/content/evaluate.h"
#include "prepare/content/rewrite.h"
#include "prepare/model/tokens.h"
#include "prepare/document/document.h"
#include "prepare/fonts/program.h"

namespace prepare {

/* What is shown in a simple font. */
struct FontUse {
    QPDFObjectHandle font;
    std::bitset<256> codes;
};

struct CompositeFont; /* fonts/composite.h */

struct FontStore {
    FontLibrary library = openFontLibrary();
    std::map<QPDFObjGen, uint32_t> needs;
    std::map<QPDFObjGen, FontUse> simple;
    std::map<QPDFObjGen, std::shared_ptr<CompositeFont>> composite;
};

/* NEED_FONTS for a simple font that gets another program, NEED_COMPOSITE for a composite one, else
 * 0.  The font is an indirect dictionary. */
uint32_t fontNeed(Document *document, QPDFObjectHandle font);

/* Where to record what a simple font shows; null for a font that stays as it is. */
FontUse *simpleFontUse(Document *document, QPDFObjectHandle font);
void recordShown(FontUse *use, const Token &shown);

/* Records every code of the simple fonts among these resources: a page that cannot be read may show
 * any of them. */
void recordAllShown(Document *document, QPDFObjectHandle resources);

/* Is this a composite font, whose text is now shown through others? */
bool isRewrittenFont(Document *document, QPDFObjectHandle font);

/* What a composite font has become so far; null for any other font. */
CompositeFont *compositeFont(Document *document, QPDFObjectHandle font, int page);

const FontLibrary &fontLibrary(Document *document);

extern const ContentPass fontPass;

extern const Observer fontObserver;

/* Writes the programs of all fonts that pages have used. */
void finishFonts(Document *document);

} // namespace prepare

#endif
