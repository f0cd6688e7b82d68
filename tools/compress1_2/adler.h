/*
 * adler.h - the Adler-32 checksum
 */
#ifndef COMPRESS_ADLER_H
#define COMPRESS_ADLER_H

#include <cstddef>
#include <cstdint>

/* The checksum of nothing. */
constexpr uint32_t ADLER_START = 1;

/* The checksum of what `adler` stands for and `count` more bytes. */
uint32_t updateAdler(uint32_t adler, const uint8_t *bytes, size_t count);

#endif
