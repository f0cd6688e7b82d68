/*
 * eexec.cpp - the private part of a Type 1 program in clear
 *
 * "Adobe Type 1 Font Format", chapter 7: each byte is mixed with a key of 16 bits that the byte
 * before it has moved on; the first bytes are random.  The part may be in hexadecimal digits, and
 * the file in segments of technical note 5040.
 */
#include "prepare/fonts/eexec.h"

#include <algorithm>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr size_t EEXEC_RANDOM = 4;

} // namespace

std::string decrypted(std::string_view bytes, uint16_t key, size_t skip)
{
    std::string plain;
    plain.reserve(bytes.size());
    for (char c : bytes) {
        auto cipher = (uint8_t)c;
        plain.push_back((char)(cipher ^ (key >> 8)));
        key = (uint16_t)((cipher + key) * 52845u + 22719u);
    }
    return plain.substr(std::min(skip, plain.size()));
}

std::string encrypted(const std::string &plain, uint16_t key)
{
    std::string out;
    for (char c : std::string(4, '\0') + plain) {
        uint8_t byte = (uint8_t)((uint8_t)c ^ key >> 8);
        key = (uint16_t)((byte + key) * 52845u + 22719u);
        out.push_back((char)byte);
    }
    return out;
}

std::string withoutSegments(const std::string &data)
{
    constexpr size_t HEADER = 6;
    if (data.empty() || (uint8_t)data[0] != 0x80)
        return data;
    std::string joined;
    for (size_t at = 0; at + HEADER <= data.size() && (uint8_t)data[at] == 0x80;) {
        if (data[at + 1] != 1 && data[at + 1] != 2)
            break;
        size_t size = 0;
        for (size_t i = 4; i > 0; i--)
            size = size << 8 | (uint8_t)data[at + 1 + i];
        size = std::min(size, data.size() - at - HEADER);
        joined.append(data, at + HEADER, size);
        at += HEADER + size;
    }
    return joined;
}

namespace {

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

} // namespace

std::string privatePart(const std::string &data, size_t *clearSize)
{
    size_t at = data.find("eexec");
    while (at != std::string::npos && at + 5 < data.size() && !isWhite(data[at + 5]))
        at = data.find("eexec", at + 5);
    *clearSize = std::min(at, data.size());
    if (at == std::string::npos)
        return data;
    at += 5;
    while (at < data.size() && isWhite(data[at]))
        at++;
    std::string_view body = std::string_view(data).substr(std::min(at, data.size()));
    bool isHex = body.size() >= 4 && std::all_of(body.begin(), body.begin() + 4, isHexDigit);
    if (!isHex)
        return decrypted(body, EEXEC_KEY, EEXEC_RANDOM);
    Token digits{TokenKind::HEX_STRING, body};
    return decrypted(stringValue(digits), EEXEC_KEY, EEXEC_RANDOM);
}

} // namespace prepare
