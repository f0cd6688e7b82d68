/*
 * zlib_encoder.cpp - the zlib library as an encoder for the Flate decoder
 */
#include "tests/compress/zlib_encoder.h"

#include <cstdlib>
#include <zlib.h>

std::string encodeFlate(const std::string &data, int level, int strategy)
{
    z_stream stream = {};
    if (deflateInit2(&stream, level, Z_DEFLATED, MAX_WBITS, MAX_MEM_LEVEL, strategy) != Z_OK)
        abort();
    /* deflateBound does not think of fixed codes for noise. */
    std::string encoded(2 * data.size() + 100, '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.data()));
    stream.avail_in = (uInt)data.size();
    stream.next_out = reinterpret_cast<Bytef *>(encoded.data());
    stream.avail_out = (uInt)encoded.size();
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END)
        abort();
    encoded.resize(stream.total_out);
    deflateEnd(&stream);
    return encoded;
}
