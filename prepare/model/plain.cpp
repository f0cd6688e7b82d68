/*
 * plain.cpp - plain names
 */
#include "prepare/model/plain.h"

#include <algorithm>

namespace prepare {

bool isPlain(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '-' || c == '+';
}

bool isPlain(std::string_view name, size_t most)
{
    return !name.empty() && name.size() <= most &&
           std::all_of(name.begin(), name.end(), [](char c) { return isPlain(c); });
}

std::string plainOf(std::string_view name, size_t most, const char *otherwise)
{
    std::string plain(name.substr(0, most));
    std::replace_if(
        plain.begin(), plain.end(), [](char c) { return !isPlain(c); }, '_');
    return plain.empty() ? otherwise : plain;
}

} // namespace prepare
