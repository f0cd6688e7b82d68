/*
 * composite.h - composite fonts taken apart into simple ones
 *
 * Each character that is shown gets a place, a code in one of the font's subfonts, when it is met
 * for the first time.  The subfonts' programs are written when all pages are done.
 */
#ifndef PREPARE_FONTS_COMPOSITE_H
#define PREPARE_FONTS_COMPOSITE_H

#include <deque>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "prepare/document/document.h"
#include "prepare/fonts/cmap.h"
#include "prepare/fonts/program.h"
#include "prepare/fonts/substitute.h"

namespace prepare {

/* Where a subfont's outlines come from. */
enum class GlyphOrigin { EMBEDDED, STANDARD, SYSTEM, NOWHERE };

struct SubfontGlyph {
    int code;
    unsigned glyph; /* in the program */
    std::string name;
    double width; /* thousandths of the em */
};

struct Subfont {
    std::string resource;  /* its name as a resource, the same everywhere */
    QPDFObjectHandle font; /* filled in at the end */
    GlyphOrigin origin;
    FT_Face face; /* lent; null without outlines */
    std::vector<SubfontGlyph> glyphs;
    std::vector<bool> used; /* by code */
    std::set<std::string> names;
};

/* A character's place and metrics, in thousandths of the em. */
struct Placed {
    Subfont *subfont;
    unsigned char code;
    double width;
    double verticalAdvance, originX, originY; /* of vertical writing */
};

struct VerticalMetrics {
    double advance, originX, originY;
};

struct CompositeFont {
    QPDFObjectHandle font;
    std::string baseFont;
    int number = 0;
    CMap encoding, toUnicode;
    CMap collectionTexts;      /* text of the collection's characters */
    bool codesAreText = false; /* the encoding's codes are UTF-16 */
    bool hasCMap = true;
    bool isUnicodeEncoding = false;
    FontProgram program;
    bool isEmbedded = false;
    bool glyphIsCid = false;             /* the program is asked by character number */
    std::map<unsigned, unsigned> glyphs; /* by character, where the program's own order differs */
    std::string cidToGlyph;              /* /CIDToGIDMap; empty: identity */
    std::map<unsigned, uint32_t> glyphTexts; /* characters of glyphs by the program's own table */
    FontStyle style;
    std::map<unsigned, double> widths;
    double defaultWidth = 1000;
    std::map<unsigned, VerticalMetrics> vertical;
    double defaultOriginY = 880, defaultAdvance = -1000;
    std::map<std::string, FontProgram> systemFonts; /* by path and index */
    std::deque<Subfont> subfonts;                   /* their addresses stay */
    std::unordered_map<uint64_t, Placed> placed;
};

/* Reads a composite font's dictionaries and opens its program. */
std::shared_ptr<CompositeFont> readCompositeFont(Document *document, QPDFObjectHandle font,
                                                 int number, int page);

/* The place of a code; `bytes` is its size. */
const Placed &placeCode(Document *document, CompositeFont *font, uint32_t code, int bytes,
                        int page);

/* Fills in the dictionaries and programs of all subfonts. */
void writeSubfonts(Document *document, CompositeFont *font);

} // namespace prepare

#endif
