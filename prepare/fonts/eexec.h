/*
 * eexec.h - the encryption of Type 1 programs, for type1.cpp and plaintype1.cpp
 */
#ifndef PREPARE_FONTS_EEXEC_H
#define PREPARE_FONTS_EEXEC_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace prepare {

constexpr uint16_t EEXEC_KEY = 55665, CHARSTRING_KEY = 4330;

/* The bytes in clear, without the first `skip` of them. */
std::string decrypted(std::string_view bytes, uint16_t key, size_t skip);

/* Encrypts behind four bytes that say nothing. */
std::string encrypted(const std::string &plain, uint16_t key);

/* Removes the headers of six bytes that font files have on some systems. */
std::string withoutSegments(const std::string &data);

/* The private part in clear; without "eexec", the whole data. */
std::string privatePart(const std::string &data, size_t *clearSize);

} // namespace prepare

#endif
