/*
 * substitute.cpp - by style among the standard fonts, by character among the system's
 */
#include "prepare/fonts/substitute.h"

#include <algorithm>
#include <cctype>
#include <initializer_list>
#include <memory>

#include <fontconfig/fontconfig.h>

#include "prepare/fonts/embed.h"

namespace prepare {

namespace {

enum DescriptorFlag { FIXED = 1, SERIF = 2, ITALIC = 64, FORCE_BOLD = 1 << 18 };

bool holdsAny(const std::string &text, std::initializer_list<const char *> words)
{
    return std::any_of(words.begin(), words.end(),
                       [&](const char *word) { return text.find(word) != std::string::npos; });
}

using FontPattern = std::unique_ptr<FcPattern, void (*)(FcPattern *)>;

const FcChar8 *text(const char *characters)
{
    return reinterpret_cast<const FcChar8 *>(characters);
}

FontPattern wantedPattern(const FontStyle &style, uint32_t unicode)
{
    FontPattern pattern(FcPatternCreate(), FcPatternDestroy);
    FcPatternAddString(pattern.get(), FC_FAMILY, text(style.family.c_str()));
    FcPatternAddString(pattern.get(), FC_FAMILY,
                       text(style.isFixed   ? "monospace"
                            : style.isSerif ? "serif"
                                            : "sans-serif"));
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, style.isBold ? FC_WEIGHT_BOLD : FC_WEIGHT_NORMAL);
    FcPatternAddInteger(pattern.get(), FC_SLANT, style.isItalic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
    if (!style.language.empty())
        FcPatternAddString(pattern.get(), FC_LANG, text(style.language.c_str()));
    FcCharSet *characters = FcCharSetCreate();
    FcCharSetAddChar(characters, unicode);
    FcPatternAddCharSet(pattern.get(), FC_CHARSET, characters);
    FcCharSetDestroy(characters);
    FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    return pattern;
}

} // namespace

FontStyle styleOf(const std::string &baseFont, int flags)
{
    FontStyle style;
    std::string name = plainFontName(baseFont), lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return (char)tolower((unsigned char)c); });
    style.family = name.substr(0, name.find_first_of(",-"));
    style.isBold = holdsAny(lower, {"bold", "black", "heavy", "demi"}) || (flags & FORCE_BOLD);
    style.isItalic = holdsAny(lower, {"italic", "oblique", "slanted"}) || (flags & ITALIC);
    style.isFixed = holdsAny(lower, {"courier", "mono", "consol", "typewriter"}) || (flags & FIXED);
    bool isSans = holdsAny(lower, {"sans", "helvet", "arial", "gothic", "verdana", "calibri"});
    style.isSerif = !isSans && (holdsAny(lower, {"times", "serif", "roman", "georgia", "mincho",
                                                 "ming", "song", "batang"}) ||
                                (flags & SERIF));
    return style;
}

std::string standardFont(const FontStyle &style)
{
    static const char *const names[3][4] = {
        {"/Helvetica", "/Helvetica-Bold", "/Helvetica-Oblique", "/Helvetica-BoldOblique"},
        {"/Times-Roman", "/Times-Bold", "/Times-Italic", "/Times-BoldItalic"},
        {"/Courier", "/Courier-Bold", "/Courier-Oblique", "/Courier-BoldOblique"},
    };
    int family = style.isFixed ? 2 : style.isSerif ? 1 : 0;
    return names[family][(style.isBold ? 1 : 0) + (style.isItalic ? 2 : 0)];
}

bool findSystemFont(const FontStyle &style, uint32_t unicode, std::string *path, int *index)
{
    FontPattern pattern = wantedPattern(style, unicode);
    FcResult result;
    FontPattern found(FcFontMatch(nullptr, pattern.get(), &result), FcPatternDestroy);
    FcCharSet *characters = nullptr;
    FcChar8 *file = nullptr;
    if (!found || FcPatternGetCharSet(found.get(), FC_CHARSET, 0, &characters) != FcResultMatch ||
        !FcCharSetHasChar(characters, unicode) ||
        FcPatternGetString(found.get(), FC_FILE, 0, &file) != FcResultMatch)
        return false;
    if (FcPatternGetInteger(found.get(), FC_INDEX, 0, index) != FcResultMatch)
        *index = 0;
    *path = reinterpret_cast<const char *>(file);
    return true;
}

} // namespace prepare
