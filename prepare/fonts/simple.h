/*
 * simple.h - simple fonts with their codes kept and their programs written anew
 */
#ifndef PREPARE_FONTS_SIMPLE_H
#define PREPARE_FONTS_SIMPLE_H

#include "prepare/fonts/store.h"

namespace prepare {

/* Is this embedded program one that the converter and the printer accept as it is? */
bool isGoodCompact(Document *document, QPDFObjectHandle program);

/* The stream of an embedded program, of whatever kind; null: none. */
QPDFObjectHandle embeddedProgram(QPDFObjectHandle descriptor);

/* Gives the font a compact program with the glyphs of the codes that are shown.  A program that
 * cannot be read is taken out, so that the font is replaced by its name, with a notice. */
void rewriteSimpleFont(Document *document, const FontUse &use);

} // namespace prepare

#endif
