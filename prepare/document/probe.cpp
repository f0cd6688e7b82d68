/*
 * probe.cpp - the table of objects, read as strictly as the converter does
 */
#include "prepare/document/probe.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <set>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr size_t TAIL_BYTES = 4096, TRAILER_BYTES = 16384, ENTRY_BYTES = 20;
constexpr int TAIL_LINES = 18;

std::string readAt(std::ifstream *file, long offset, size_t count)
{
    std::string bytes(count, '\0');
    file->clear();
    file->seekg(offset);
    file->read(bytes.data(), (std::streamsize)count);
    bytes.resize((size_t)std::max<std::streamsize>(file->gcount(), 0));
    return bytes;
}

/* The text behind "startxref" in the last lines; empty: it is not there. */
std::string textBehindStart(const std::string &tail)
{
    size_t at = tail.rfind("startxref");
    if (at == std::string::npos)
        return "";
    std::string behind = tail.substr(at + 9);
    auto lines = std::count(behind.begin(), behind.end(), '\n') +
                 std::count(behind.begin(), behind.end(), '\r');
    return lines <= TAIL_LINES ? behind : "";
}

bool readNumber(std::string_view text, size_t *at, long *value)
{
    while (*at < text.size() && isWhite(text[*at]))
        ++*at;
    auto end = std::from_chars(text.data() + *at, text.data() + text.size(), *value);
    if (end.ec != std::errc())
        return false;
    *at = (size_t)(end.ptr - text.data());
    return true;
}

/* What stands behind a trailer's dictionary key, at its outermost level. */
struct Trailer {
    bool isPlain = true;
    long previous = -1;
};

Trailer readTrailer(const std::string &text)
{
    Trailer trailer;
    ContentReader reader{text};
    int depth = 0;
    std::string_view key;
    for (;;) {
        Token token = readToken(&reader);
        if (token.kind == TokenKind::END)
            return {false, -1};
        if (token.kind == TokenKind::DICT_BEGIN || token.kind == TokenKind::ARRAY_BEGIN)
            depth++;
        if (token.kind == TokenKind::DICT_END || token.kind == TokenKind::ARRAY_END)
            if (--depth == 0)
                return trailer;
        if (token.kind == TokenKind::NUMBER && key == "/Prev")
            trailer.previous = (long)numberValue(token);
        key = depth == 1 && token.kind == TokenKind::NAME ? token.source : std::string_view();
        if (key == "/Encrypt" || key == "/XRefStm")
            trailer.isPlain = false;
    }
}

bool isEntry(std::string_view entry)
{
    auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return entry.size() == ENTRY_BYTES && (entry[17] == 'n' || entry[17] == 'f') &&
           std::all_of(entry.begin(), entry.begin() + 10, isDigit) && isWhite(entry[10]) &&
           isWhite(entry[18]) && isWhite(entry[19]);
}

/* One section from its "xref" line to its trailer. */
Trailer readSection(std::ifstream *file, long offset)
{
    constexpr Trailer BAD = {false, -1};
    std::string head = readAt(file, offset, 64);
    if (head.compare(0, 4, "xref") != 0)
        return BAD;
    size_t at = 4;
    for (;;) {
        std::string text = readAt(file, offset + (long)at, 64);
        size_t used = text.find_first_not_of(" \t\r\n\f");
        if (used == std::string::npos)
            return BAD;
        if (text.compare(used, 7, "trailer") == 0)
            return readTrailer(readAt(file, offset + (long)(at + used) + 7, TRAILER_BYTES));
        long first, count;
        if (!readNumber(text, &used, &first) || !readNumber(text, &used, &count) || count < 0)
            return BAD;
        used = std::min(text.find_first_of("\r\n", used), text.size());
        used += text.compare(used, 2, "\r\n") == 0 ? 2 : 1;
        at += used;
        if (count > 0 && !isEntry(readAt(file, offset + (long)at, ENTRY_BYTES)))
            return BAD;
        at += (size_t)count * ENTRY_BYTES;
        if (count > 0 && !isEntry(readAt(file, offset + (long)(at - ENTRY_BYTES), ENTRY_BYTES)))
            return BAD;
    }
}

} // namespace

bool hasPlainTables(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file || readAt(&file, 0, 5) != "%PDF-")
        return false;
    file.clear();
    file.seekg(0, std::ios::end);
    long size = (long)file.tellg();
    std::string behind =
        textBehindStart(readAt(&file, std::max(0L, size - (long)TAIL_BYTES), TAIL_BYTES));
    size_t at = 0;
    long offset;
    if (!readNumber(behind, &at, &offset))
        return false;
    std::set<long> seen;
    while (offset >= 0) {
        if (!seen.insert(offset).second)
            return false;
        Trailer trailer = readSection(&file, offset);
        if (!trailer.isPlain)
            return false;
        offset = trailer.previous;
    }
    return true;
}

} // namespace prepare
