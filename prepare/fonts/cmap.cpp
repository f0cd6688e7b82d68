/*
 * cmap.cpp - the reader of CMaps, embedded and installed ones
 *
 * Ranges are kept as they are written, so that a CMap takes no more memory than its text.
 */
#include "prepare/fonts/cmap.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr char DATA_DIRECTORY[] = "/usr/share/poppler/cMap";
constexpr size_t MAX_RANGES = 1u << 20, MAX_TEXT = 16;
constexpr int MAX_BASES = 8;

uint32_t codeOf(const std::string &bytes)
{
    uint32_t code = 0;
    for (size_t i = 0; i < std::min<size_t>(bytes.size(), 4); i++)
        code = code << 8 | (uint8_t)bytes[i];
    return code;
}

bool isString(const Token &token)
{
    return token.kind == TokenKind::HEX_STRING || token.kind == TokenKind::STRING;
}

/* UTF-16, high byte first. */
std::vector<uint32_t> textOf(const Token &token)
{
    std::string bytes = stringValue(token);
    if (bytes.size() == 1)
        return {(uint8_t)bytes[0]};
    std::vector<uint32_t> text;
    for (size_t i = 0; i + 1 < bytes.size() && text.size() < MAX_TEXT; i += 2) {
        uint32_t unit = (uint32_t)(uint8_t)bytes[i] << 8 | (uint8_t)bytes[i + 1];
        bool isLow = unit >= 0xDC00 && unit < 0xE000;
        if (isLow && !text.empty() && text.back() >= 0xD800 && text.back() < 0xDC00)
            text.back() = 0x10000 + ((text.back() - 0xD800) << 10) + (unit - 0xDC00);
        else
            text.push_back(unit);
    }
    return text;
}

struct Reading {
    ContentReader reader;
    CMap *cmap;
};

bool isEnd(const Token &token)
{
    return token.kind == TokenKind::END ||
           (token.kind == TokenKind::WORD && token.source.substr(0, 3) == "end");
}

void readCodespace(Reading *r)
{
    for (;;) {
        Token low = readToken(&r->reader);
        if (isEnd(low))
            return;
        Token high = readToken(&r->reader);
        if (isEnd(high) || r->cmap->codespace.size() >= 1024)
            return;
        if (!isString(low) || !isString(high))
            continue;
        std::string bytes = stringValue(low);
        if (!bytes.empty() && bytes.size() <= 4)
            r->cmap->codespace.push_back(
                {(int)bytes.size(), codeOf(bytes), codeOf(stringValue(high))});
    }
}

/* "<low> <high> cid" or "<code> cid". */
void readCids(Reading *r, bool isRange)
{
    for (;;) {
        Token low = readToken(&r->reader);
        if (isEnd(low))
            return;
        Token high = isRange ? readToken(&r->reader) : low;
        Token cid = readToken(&r->reader);
        if (isEnd(high) || isEnd(cid) || r->cmap->cids.size() >= MAX_RANGES)
            return;
        if (!isString(low) || !isString(high) || cid.kind != TokenKind::NUMBER)
            continue;
        uint32_t first = codeOf(stringValue(low)), last = codeOf(stringValue(high));
        double value = numberValue(cid);
        if (first <= last && value >= 0 && value <= 65535)
            r->cmap->cids.push_back({first, last, (uint32_t)value});
    }
}

void addText(Reading *r, uint32_t low, uint32_t high, const Token &token)
{
    if (!isString(token) || low > high || r->cmap->texts.size() >= MAX_RANGES)
        return;
    std::vector<uint32_t> text = textOf(token);
    if (!text.empty())
        r->cmap->texts.push_back({low, high, std::move(text)});
}

/* "<low> <high> <text>", "<low> <high> [<text> ...]" or "<code> <text>". */
void readTexts(Reading *r, bool isRange)
{
    for (;;) {
        Token low = readToken(&r->reader);
        if (isEnd(low))
            return;
        Token high = isRange ? readToken(&r->reader) : low;
        Token text = readToken(&r->reader);
        if (isEnd(high) || isEnd(text))
            return;
        if (!isString(low) || !isString(high))
            continue;
        uint32_t first = codeOf(stringValue(low)), last = codeOf(stringValue(high));
        if (text.kind != TokenKind::ARRAY_BEGIN) {
            addText(r, first, last, text);
            continue;
        }
        for (text = readToken(&r->reader);
             text.kind != TokenKind::ARRAY_END && text.kind != TokenKind::END;
             text = readToken(&r->reader), first++)
            addText(r, first, first, text);
    }
}

void readWord(Reading *r, const Token &token, const Token &before)
{
    std::string_view word = token.source;
    if (word == "begincodespacerange")
        readCodespace(r);
    else if (word == "begincidrange")
        readCids(r, true);
    else if (word == "begincidchar")
        readCids(r, false);
    else if (word == "beginbfrange")
        readTexts(r, true);
    else if (word == "beginbfchar")
        readTexts(r, false);
    else if (word == "usecmap" && before.kind == TokenKind::NAME)
        r->cmap->base = nameValue(before.source);
}

std::string readWhole(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/* The file of a CMap in one of the folders of the data; a name is a plain file name. */
std::filesystem::path findFile(const std::string &name)
{
    auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
               c == '-';
    };
    if (name.size() < 2 || name.size() > 64 || !std::all_of(name.begin() + 1, name.end(), isPlain))
        return {};
    const char *set = getenv("PREPARE_CMAPS");
    std::error_code error;
    std::filesystem::path root = set ? set : DATA_DIRECTORY, file = name.substr(1);
    if (std::filesystem::is_regular_file(root / file, error))
        return root / file;
    for (const auto &entry : std::filesystem::directory_iterator(root, error))
        if (std::filesystem::is_regular_file(entry.path() / file, error))
            return entry.path() / file;
    return {};
}

bool loadAt(const std::string &name, CMap *cmap, int depth)
{
    std::filesystem::path file = findFile(name);
    if (file.empty() || depth > MAX_BASES)
        return false;
    std::string text = readWhole(file);
    *cmap = readCMap(text);
    CMap base;
    if (!cmap->base.empty() && loadAt(cmap->base, &base, depth + 1))
        addBase(cmap, base);
    return true;
}

bool isInside(const CodespaceRange &range, std::string_view text)
{
    for (int i = 0; i < range.bytes; i++) {
        int shift = 8 * (range.bytes - 1 - i);
        uint32_t byte = (uint8_t)text[(size_t)i];
        if (byte < (range.low >> shift & 0xFF) || byte > (range.high >> shift & 0xFF))
            return false;
    }
    return true;
}

/* The last range in order that holds the code.  Ranges that overlap are few. */
template <class Range> const Range *findRange(const std::vector<Range> &ranges, uint32_t code)
{
    auto behind = std::upper_bound(ranges.begin(), ranges.end(), code,
                                   [](uint32_t c, const Range &range) { return c < range.low; });
    constexpr int BACK = 8;
    for (int i = 0; i < BACK && behind != ranges.begin(); i++) {
        --behind;
        if (code >= behind->low && code <= behind->high)
            return &*behind;
    }
    return nullptr;
}

} // namespace

CMap readCMap(std::string_view text)
{
    CMap cmap;
    Reading reading{{text}, &cmap};
    Token before{TokenKind::END, {}};
    for (Token token = readToken(&reading.reader); token.kind != TokenKind::END;
         token = readToken(&reading.reader)) {
        if (token.kind == TokenKind::WORD)
            readWord(&reading, token, before);
        if (token.kind == TokenKind::NUMBER && before.source == "/WMode")
            cmap.isVertical = numberValue(token) == 1;
        before = token;
    }
    return cmap;
}

bool loadCMap(const std::string &name, CMap *cmap)
{
    return loadAt(name, cmap, 0);
}

void addBase(CMap *cmap, const CMap &base)
{
    cmap->codespace.insert(cmap->codespace.end(), base.codespace.begin(), base.codespace.end());
    cmap->cids.insert(cmap->cids.begin(), base.cids.begin(), base.cids.end());
    cmap->texts.insert(cmap->texts.begin(), base.texts.begin(), base.texts.end());
}

void sortCMap(CMap *cmap)
{
    auto byLow = [](const auto &a, const auto &b) { return a.low < b.low; };
    std::stable_sort(cmap->cids.begin(), cmap->cids.end(), byLow);
    std::stable_sort(cmap->texts.begin(), cmap->texts.end(), byLow);
    std::stable_sort(cmap->codespace.begin(), cmap->codespace.end(),
                     [](const auto &a, const auto &b) { return a.bytes < b.bytes; });
}

int nextCode(const CMap &cmap, std::string_view text, uint32_t *code)
{
    if (text.empty())
        return 0;
    auto codeAt = [&](int bytes) { return codeOf(std::string(text.substr(0, (size_t)bytes))); };
    for (const CodespaceRange &range : cmap.codespace)
        if ((size_t)range.bytes <= text.size() && isInside(range, text)) {
            *code = codeAt(range.bytes);
            return range.bytes;
        }
    /* Outside of all ranges: as many bytes as the shortest code has. */
    int bytes = cmap.codespace.empty() ? 2 : cmap.codespace.front().bytes;
    bytes = (int)std::min((size_t)bytes, text.size());
    *code = codeAt(bytes);
    return bytes;
}

bool findCid(const CMap &cmap, uint32_t code, uint32_t *cid)
{
    const CidRange *range = findRange(cmap.cids, code);
    if (!range)
        return false;
    *cid = range->cid + (code - range->low);
    return *cid <= 65535;
}

std::vector<uint32_t> findText(const CMap &cmap, uint32_t code)
{
    const TextRange *range = findRange(cmap.texts, code);
    if (!range)
        return {};
    std::vector<uint32_t> text = range->text;
    text.back() += code - range->low;
    return text;
}

CMap identityCMap(bool isVertical)
{
    CMap cmap;
    cmap.codespace.push_back({2, 0, 0xFFFF});
    cmap.cids.push_back({0, 0xFFFF, 0});
    cmap.isVertical = isVertical;
    return cmap;
}

} // namespace prepare
