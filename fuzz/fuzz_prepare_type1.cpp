/*
 * fuzz_prepare_type1.cpp - Type 1 programs, and the compact fonts that are written of them
 *
 * The data is read as it stands and as the private part of a program.  What is written must be
 * readable for FreeType, every glyph of it.
 */
#include <cstdint>
#include <cstdlib>

#include "prepare/fonts/compact.h"
#include "prepare/fonts/type1.h"

using namespace prepare;

namespace {

std::string asPrivatePart(const std::string &plain)
{
    std::string cipher = "currentfile eexec ";
    unsigned key = 55665;
    for (char c : "\1\2\3\4" + plain) {
        auto byte = (uint8_t)((uint8_t)c ^ key >> 8);
        cipher.push_back((char)byte);
        key = ((byte + key) * 52845u + 22719u) & 0xFFFF;
    }
    return cipher;
}

void writeAndRead(const FontLibrary &library, const Type1Program &program)
{
    CompactFont font;
    font.name = "Fuzz";
    font.privateValues = program.privateValues;
    font.glyphs.push_back({".notdef", compactCharstring({}, 0)});
    size_t made = 0;
    for (const auto &[name, code] : program.charstrings) {
        Outline outline;
        double advance = 0;
        if (!isPlainName(name) || !type1Outline(program, name, &outline, &advance) || made++ > 50)
            continue;
        growBox(outline, font.box);
        font.glyphs.push_back({name, compactCharstring(outline, advance)});
    }
    FontProgram opened = openProgram(library, writeCompactFont(font));
    if (!opened.face || opened.face->num_glyphs != (FT_Long)font.glyphs.size())
        abort();
    for (unsigned glyph = 0; glyph < font.glyphs.size(); glyph++) {
        Outline outline;
        double advance;
        if (!readOutline(opened.face.get(), glyph, 1, &outline, &advance))
            abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const FontLibrary library = openFontLibrary();
    std::string text(data, data + size);
    for (const std::string &program : {text, asPrivatePart(text)})
        if (auto read = readType1(program))
            writeAndRead(library, *read);
    return 0;
}
