/*
 * program.cpp - opening font programs
 */
#include "prepare/fonts/program.h"

#include <fstream>
#include <iterator>
#include <limits>
#include <new>

namespace prepare {

FontLibrary openFontLibrary()
{
    FontLibrary library;
    FT_Library raw = nullptr;
    if (FT_Init_FreeType(&raw))
        throw std::bad_alloc();
    library.library.reset(raw);
    library.latinNames = std::make_unique<std::map<uint32_t, std::string>>();
    return library;
}

FontProgram openProgram(const FontLibrary &library, std::string data, int index)
{
    FontProgram program;
    program.data = std::make_shared<const std::string>(std::move(data));
    FT_Face face = nullptr;
    if (program.data->size() <= (size_t)std::numeric_limits<FT_Long>::max() &&
        FT_New_Memory_Face(library.library.get(),
                           reinterpret_cast<const FT_Byte *>(program.data->data()),
                           (FT_Long)program.data->size(), index, &face) == 0)
        program.face.reset(face);
    return program;
}

FontProgram openFontFile(const FontLibrary &library, const std::string &path, int index)
{
    std::ifstream file(path, std::ios::binary);
    std::string data(std::istreambuf_iterator<char>(file), {});
    return openProgram(library, std::move(data), index);
}

ProgramKind programKind(const std::string &data)
{
    auto begins = [&](const char *text, size_t size) {
        return data.compare(0, size, std::string(text, size)) == 0;
    };
    if (begins("OTTO", 4))
        return ProgramKind::OPENTYPE;
    if (begins("\0\1\0\0", 4) || begins("true", 4) || begins("ttcf", 4))
        return ProgramKind::TRUETYPE;
    if (begins("%!", 2) || begins("\x80\1", 2))
        return ProgramKind::TYPE1;
    if (data.size() > 4 && data[0] == 1 && (unsigned char)data[3] <= 4)
        return ProgramKind::COMPACT;
    return ProgramKind::UNKNOWN;
}

} // namespace prepare
