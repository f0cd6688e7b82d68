/*
 * program.h - font programs as FreeType opens them, of whatever kind their data is
 */
#ifndef PREPARE_FONTS_PROGRAM_H
#define PREPARE_FONTS_PROGRAM_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace prepare {

using FacePointer = std::unique_ptr<FT_FaceRec_, FT_Error (*)(FT_Face)>;

/* Made once for a document. */
struct FontLibrary {
    std::unique_ptr<FT_LibraryRec_, FT_Error (*)(FT_Library)> library{nullptr, FT_Done_FreeType};
    std::unique_ptr<std::map<uint32_t, std::string>> latinNames; /* made when first asked for */
};

FontLibrary openFontLibrary();

struct FontProgram {
    std::shared_ptr<const std::string> data; /* outlives the face */
    FacePointer face{nullptr, FT_Done_Face};
};

/* Opens a program in memory; without a face when FreeType cannot. */
FontProgram openProgram(const FontLibrary &library, std::string data, int index = 0);

/* Opens a font file of the system. */
FontProgram openFontFile(const FontLibrary &library, const std::string &path, int index);

enum class ProgramKind { TYPE1, COMPACT, TRUETYPE, OPENTYPE, UNKNOWN };

/* By its first bytes. */
ProgramKind programKind(const std::string &data);

} // namespace prepare

#endif
