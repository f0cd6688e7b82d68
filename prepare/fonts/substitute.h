/*
 * substitute.h - fonts for text whose own font is not in the document
 */
#ifndef PREPARE_FONTS_SUBSTITUTE_H
#define PREPARE_FONTS_SUBSTITUTE_H

#include <cstdint>
#include <string>

namespace prepare {

struct FontStyle {
    std::string family;   /* as the document names the font */
    std::string language; /* "ja", "zh-cn", ... or empty */
    bool isBold = false, isItalic = false, isSerif = false, isFixed = false;
};

/* The style that a font's name and descriptor flags tell. */
FontStyle styleOf(const std::string &baseFont, int flags);

/* The standard font of that style. */
std::string standardFont(const FontStyle &style);

/* A file of the system's fonts that has the character; false: none has. */
bool findSystemFont(const FontStyle &style, uint32_t unicode, std::string *path, int *index);

} // namespace prepare

#endif
