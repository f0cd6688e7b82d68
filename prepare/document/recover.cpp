/*
 * recover.cpp - objects found by their headers
 *
 * Objects of the same number: the last one counts, as in a file that was added to.  Data of streams
 * is passed over by its length where that leads to "endstream", else up to the next "endstream".
 * The new table is a stream (ISO 32000-1, 7.5.8), since only that can name what object streams
 * hold.
 */
#include "prepare/document/recover.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

#include <qpdf/QPDFLogger.hh>

#include "prepare/model/objects.h"
#include "prepare/model/streams.h"
#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr long LARGEST_FILE = 256l << 20;
constexpr int LARGEST_NUMBER = 8388607, LARGEST_GENERATION = 65535;
constexpr size_t MAX_COMPRESSED = 64u << 20;
constexpr size_t HEADER_WITHIN = 1024;
constexpr size_t MAX_DICTIONARY = 1u << 16; /* bytes of one that is looked through */
constexpr size_t MAX_UNCLOSED = 1024;       /* dictionaries; of more, none is looked through */

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

/* The number that ends before `end`, which becomes its beginning; -1: there is none. */
int numberBefore(std::string_view text, size_t *end)
{
    size_t begin = *end;
    while (begin > 0 && isDigit(text[begin - 1]) && *end - begin < 10)
        begin--;
    int value = -1;
    std::from_chars(text.data() + begin, text.data() + *end, value);
    *end = begin;
    return value;
}

size_t whiteBefore(std::string_view text, size_t at)
{
    while (at > 0 && isWhite(text[at - 1]))
        at--;
    return at;
}

struct Header {
    int number;
    FoundObject object;
};

/* The "n g" in front of an "obj". */
std::optional<Header> headerBefore(std::string_view text, size_t obj)
{
    size_t at = whiteBefore(text, obj);
    int generation = numberBefore(text, &at);
    size_t gap = at;
    at = whiteBefore(text, at);
    if (generation < 0 || generation > LARGEST_GENERATION || at == gap)
        return std::nullopt;
    int number = numberBefore(text, &at);
    if (number <= 0 || number > LARGEST_NUMBER)
        return std::nullopt;
    return Header{number, {at, generation, 0, 0}};
}

/* The entries of the dictionary that begins here: their values as they are written.  What follows
 * it begins at `end`; of one that is not closed, that is where it began. */
std::map<std::string, std::string> readEntries(std::string_view text, size_t at, size_t *end)
{
    std::map<std::string, std::string> entries;
    ContentReader reader{text.substr(0, at + std::min(text.size() - at, MAX_DICTIONARY)), at};
    *end = at;
    if (readToken(&reader).kind != TokenKind::DICT_BEGIN)
        return entries;
    std::string key, value;
    int depth = 0;
    for (;;) {
        Token token = readToken(&reader);
        bool isKeyword = token.source == "obj" || token.source == "endobj";
        if (token.kind == TokenKind::END || token.kind == TokenKind::JUNK || isKeyword)
            break; /* it is not closed */
        bool isName = token.kind == TokenKind::NAME;
        bool closes = token.kind == TokenKind::DICT_END || token.kind == TokenKind::ARRAY_END;
        bool opens = token.kind == TokenKind::DICT_BEGIN || token.kind == TokenKind::ARRAY_BEGIN;
        bool isEnd = closes && depth == 0;
        if (isEnd || (isName && depth == 0 && (key.empty() || !value.empty()))) {
            if (!key.empty())
                entries[key] = value;
            key = isName ? nameValue(token.source) : "";
            value.clear();
            if (isEnd) {
                *end = reader.at;
                break;
            }
            continue;
        }
        depth += opens - closes;
        value += (value.empty() ? "" : " ") + std::string(token.source);
    }
    return entries;
}

/* Where the data of a stream ends. */
size_t endOfData(std::string_view text, size_t data, const std::string &length)
{
    constexpr std::string_view END = "endstream";
    constexpr size_t NEAR = 4;
    size_t size = 0;
    auto [last, fault] = std::from_chars(length.data(), length.data() + length.size(), size);
    bool isDirect = fault == std::errc() && last == length.data() + length.size();
    if (isDirect && size < text.size() - data) {
        size_t found = text.substr(data + size, END.size() + NEAR).find(END);
        if (found != std::string_view::npos)
            return data + size + found;
    }
    size_t found = text.find(END, data);
    return found == std::string_view::npos ? data : found;
}

/* What stands in the text of an object, or a trailer. */
struct Body {
    std::map<std::string, std::string> entries;
    size_t end; /* where to look on */
    bool isClosed = true;
};

Body readBody(std::string_view text, size_t at)
{
    Body body{{}, at};
    ContentReader begin{text, at};
    if (readToken(&begin).kind != TokenKind::DICT_BEGIN)
        return body;
    body.entries = readEntries(text, at, &body.end);
    body.isClosed = body.end > at;
    ContentReader reader{text, body.end};
    if (!body.isClosed || readToken(&reader).source != "stream")
        return body;
    size_t data = reader.at;
    if (data < text.size() && text[data] == '\r')
        data++;
    if (data < text.size() && text[data] == '\n')
        data++;
    body.end = endOfData(text, data, body.entries["/Length"]);
    return body;
}

void readTrailer(FoundObjects *found, std::map<std::string, std::string> &entries)
{
    if (!entries["/Root"].empty())
        found->root = entries["/Root"];
    if (!entries["/Encrypt"].empty()) {
        found->encryption = entries["/Encrypt"];
        found->id = entries["/ID"];
    }
}

void addObject(FoundObjects *found, const Header &header,
               std::map<std::string, std::string> &entries)
{
    found->objects[header.number] = header.object;
    std::vector<int> &streams = found->objectStreams;
    std::erase(streams, header.number);
    if (entries["/Type"] == "/ObjStm")
        streams.push_back(header.number);
    if (entries["/Type"] == "/XRef")
        readTrailer(found, entries);
}

void scan(FoundObjects *found)
{
    constexpr std::string_view OBJECT = "obj", TRAILER = "trailer";
    std::string_view text = found->text;
    size_t object = 0, trailer = 0, unclosed = 0;
    for (size_t at = 0; at < text.size();) {
        if (object < at || at == 0)
            object = text.find(OBJECT, at);
        if (trailer < at || at == 0)
            trailer = text.find(TRAILER, at);
        size_t next = std::min(object, trailer);
        if (next == std::string_view::npos)
            return;
        bool isObject = next == object;
        at = next + (isObject ? OBJECT.size() : TRAILER.size());
        std::optional<Header> header;
        if (isObject)
            header = headerBefore(text, object);
        if (isObject && !header)
            continue;
        Body body{{}, at};
        if (unclosed < MAX_UNCLOSED)
            body = readBody(text, at);
        unclosed += !body.isClosed;
        at = std::max(at, body.end);
        if (isObject)
            addObject(found, *header, body.entries);
        else
            readTrailer(found, body.entries);
    }
}

void openSilently(QPDF *pdf, const std::string &text, const std::string &password)
{
    pdf->setSuppressWarnings(true);
    pdf->setLogger(QPDFLogger::create());
    pdf->getLogger()->setError(pdf->getLogger()->discard());
    pdf->processMemoryFile("", text.data(), text.size(), password.c_str());
}

/* The numbers of what an object stream holds, in their order. */
std::vector<int> numbersIn(QPDFObjectHandle stream)
{
    std::vector<int> numbers;
    if (!stream.isStream())
        return numbers;
    bool isDamaged = false;
    std::string data = decodeStream(stream, MAX_COMPRESSED, &isDamaged);
    int count = integerOr(stream.getDict().getKey("/N"), 0);
    ContentReader reader{data};
    for (int i = 0; i < count; i++) {
        Token number = readToken(&reader), offset = readToken(&reader);
        if (number.kind != TokenKind::NUMBER || offset.kind != TokenKind::NUMBER)
            break;
        numbers.push_back((int)std::clamp(numberValue(number), 0.0, (double)LARGEST_NUMBER));
    }
    return numbers;
}

void put(std::string *table, size_t value, int bytes)
{
    while (bytes-- > 0)
        *table += (char)(value >> (8 * bytes) & 0xff);
}

} // namespace

FoundObjects findObjects(const std::string &path)
{
    FoundObjects found;
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    long size = file ? (long)file.tellg() : 0;
    if (size <= 0 || size > LARGEST_FILE)
        return found;
    file.seekg(0);
    found.text.assign(std::istreambuf_iterator<char>(file), {});
    size_t header = found.text.find("%PDF-");
    if (header != std::string::npos && header < HEADER_WITHIN)
        found.text.erase(0, header);
    scan(&found);
    return found;
}

void findCompressedObjects(FoundObjects *found, const std::string &password)
{
    if (found->objectStreams.empty())
        return;
    std::string text = withNewTable(*found);
    QPDF pdf;
    openSilently(&pdf, text, password);
    for (int number : found->objectStreams) {
        FoundObject container = found->objects[number];
        int index = 0;
        for (int inner : numbersIn(pdf.getObject(number, container.generation))) {
            auto [known, isNew] = found->objects.try_emplace(inner);
            if (inner > 0 && (isNew || known->second.offset < container.offset))
                known->second = {container.offset, 0, number, index};
            index++;
        }
    }
    found->objects.erase(0);
}

std::string withNewTable(const FoundObjects &found)
{
    int own = found.objects.empty() ? 1 : found.objects.rbegin()->first + 1;
    size_t offset = found.text.size() + 1;
    std::string table, index;
    int first = 0, last = -1;
    auto endRun = [&] {
        if (last >= first)
            index += std::to_string(first) + " " + std::to_string(last - first + 1) + " ";
    };
    for (const auto &[number, object] : found.objects) {
        if (number != last + 1) {
            endRun();
            first = number;
        }
        last = number;
        bool isInStream = object.container != 0;
        put(&table, isInStream ? 2 : 1, 1);
        put(&table, isInStream ? (size_t)object.container : object.offset, 4);
        put(&table, (size_t)(isInStream ? object.index : object.generation), 4);
    }
    endRun();
    std::string entries;
    if (!found.root.empty())
        entries += " /Root " + found.root;
    if (!found.encryption.empty())
        entries += " /Encrypt " + found.encryption + " /ID " + found.id;
    return found.text + "\n" + std::to_string(own) + " 0 obj\n<< /Type /XRef /Size " +
           std::to_string(own + 1) + " /W [1 4 4] /Index [" + index + "] /Length " +
           std::to_string(table.size()) + entries + " >>\nstream\n" + table +
           "\nendstream\nendobj\nstartxref\n" + std::to_string(offset) + "\n%%EOF\n";
}

} // namespace prepare
