/*
 * zlib_encoder.h - the zlib library as an encoder for the Flate decoder
 */
#ifndef TESTS_COMPRESS_ZLIB_ENCODER_H
#define TESTS_COMPRESS_ZLIB_ENCODER_H

#include <string>

/* `level` is 0 to 9, `strategy` one of zlib's. */
std::string encodeFlate(const std::string &data, int level = 6, int strategy = 0);

#endif
