/*
 * deflate_file.cpp - deflate_file IN OUT: a file as one Flate stream, as small as zlib makes it
 *
 * Runs while the program is built: what goes in front of every job is the same each time.
 */
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <zlib.h>

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    std::ifstream in(argv[1], std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(in), {});
    uLongf size = compressBound((uLong)text.size());
    std::vector<Bytef> out(size);
    if (!in || compress2(out.data(), &size, (const Bytef *)text.data(), (uLong)text.size(),
                         Z_BEST_COMPRESSION) != Z_OK)
        return 1;
    std::ofstream file(argv[2], std::ios::binary);
    file.write((const char *)out.data(), (std::streamsize)size);
    file.close();
    return file ? 0 : 1;
}
