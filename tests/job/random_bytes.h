/*
 * random_bytes.h - bytes that nothing can compress, the same in each run
 */
#ifndef TESTS_JOB_RANDOM_BYTES_H
#define TESTS_JOB_RANDOM_BYTES_H

#include <cstdint>
#include <string>

inline std::string randomBytes(size_t count)
{
    std::string bytes;
    uint32_t state = 1;
    for (size_t i = 0; i < count; i++) {
        state = state * 1664525 + 1013904223;
        bytes += (char)(state >> 24);
    }
    return bytes;
}

#endif
