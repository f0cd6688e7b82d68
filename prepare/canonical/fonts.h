/*
 * fonts.h - fonts as the converter and the printer know them
 *
 * A font is resident in the printer, or a compact program that has been looked through, or one of
 * glyphs that are content (Type 3, see resources.h).  No program of the document's own text goes
 * on.
 */
#ifndef PREPARE_CANONICAL_FONTS_H
#define PREPARE_CANONICAL_FONTS_H

#include <map>
#include <string>

#include "prepare/document/document.h"

namespace prepare {

/* A simple font made anew; null: it is none. */
QPDFObjectHandle plainSimpleFont(Document *document, QPDFObjectHandle font);

/* Names of glyphs by those they had, all with their slash. */
using GlyphNames = std::map<std::string, std::string>;

/* An encoding made anew; null: there is none.  Names that are not plain become what `names` has for
 * them, or .notdef. */
QPDFObjectHandle plainEncoding(QPDFObjectHandle encoding, const GlyphNames &names);

} // namespace prepare

#endif
