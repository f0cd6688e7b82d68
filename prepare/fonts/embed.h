/*
 * embed.h - putting a compact font into a font dictionary
 */
#ifndef PREPARE_FONTS_EMBED_H
#define PREPARE_FONTS_EMBED_H

#include "prepare/document/document.h"
#include "prepare/fonts/compact.h"

namespace prepare {

/* The name without the tag of a subset, plain and not too long: for a font's name. */
std::string plainFontName(const std::string &baseFont);

/* A name that no other font of the document has: a tag of a subset and the plain name. */
std::string uniqueFontName(Document *document, const std::string &baseFont);

/* Puts the program into a font's dictionary: its name, its glyphs' names by code (empty ones are
 * left out), and a descriptor, for which `old` (or null) lends what it says of the font's style.
 * For a job on Level 2, which takes neither compact programs nor others, it becomes a font whose
 * glyphs are content. */
void embedFont(Document *document, QPDFObjectHandle dict, const CompactFont &font,
               const std::vector<std::string> &names, QPDFObjectHandle old);

/* Is the stream a program that embedFont has made? */
bool isOwnProgram(Document *document, QPDFObjectHandle program);

/* /Differences for these names; empty ones are left out. */
QPDFObjectHandle newEncoding(const std::vector<std::string> &names);

} // namespace prepare

#endif
