/*
 * plain_decoders.cpp - the decoders as plainly as they can be written
 */
#include "tests/compress/plain_decoders.h"

#include <algorithm>
#include <cstring>

namespace {

enum { BEGIN, RUN, DONE, ERROR };

int hexValue(uint8_t byte)
{
    const char *at = byte ? strchr("0123456789ABCDEF0123456789abcdef", byte) : nullptr;
    return at ? (int)(at - "0123456789ABCDEF0123456789abcdef") % 16 : -1;
}

} // namespace

/* ---- ASCIIHex */

int32_t PlainASCIIHex::toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax)
{
    consumed = produced = 0;
    if (state == DONE || state == ERROR) {
        report(4, "BADENCODE: Cannot restart encoding.");
        return 0;
    }
    state = RUN;
    while (consumed < inLen && produced < outMax) {
        if (in[consumed] == '>') {
            consumed++;
            state = DONE;
            break;
        }
        if (inLen - consumed < 2)
            break;
        uint8_t first = in[consumed], second = in[consumed + 1];
        consumed += 2;
        if (second == '>') {
            state = DONE;
            second = '0';
        }
        if (hexValue(first) < 0 || hexValue(second) < 0) {
            report(3, "CORDATA: Wrong character in hex stream");
            state = ERROR;
            return -1;
        }
        out[produced++] = (uint8_t)(hexValue(first) * 16 + hexValue(second));
    }
    return produced;
}

/* ---- ASCII85 */

/* Turns the digits into bytes; false for a group that stands for none. */
bool PlainASCII85::decodeGroup()
{
    static const std::vector<uint8_t> largest = {82, 23, 54, 12, 0};
    size_t held = digits.size();
    if (held == 1)
        return false;
    digits.resize(5, 84);
    if (digits > largest)
        return false;
    uint32_t value = 0;
    for (uint8_t digit : digits)
        value = value * 85 + digit;
    for (size_t i = 0; i < held - 1; i++)
        group += (char)(value >> (24 - 8 * i));
    return true;
}

int32_t PlainASCII85::toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax)
{
    consumed = produced = 0;
    if (state == ERROR) {
        report(4, "BADENCODE: Cannot restart encoding.");
        return 0;
    }
    if (state != DONE)
        state = RUN;
    if (outMax < 4 || state == DONE)
        return 0;
    for (;;) {
        while (consumed < inLen && digits.size() < 5) {
            uint8_t byte = in[consumed++];
            if (byte == '~')
                state = DONE;
            if (byte == 'z' && digits.empty())
                digits.assign(5, 0);
            if (byte == '~' || byte == 'z')
                break;
            if (byte >= '!' && byte <= 'u')
                digits.push_back((uint8_t)(byte - '!'));
        }
        if (digits.empty() && state == DONE)
            return produced;
        if (digits.size() < 5 && state != DONE)
            return produced;
        if (!decodeGroup()) {
            state = ERROR;
            return -1;
        }
        for (char byte : group)
            out[produced++] = (uint8_t)byte;
        group.clear();
        digits.clear();
        if (outMax - produced < 4 || state == DONE)
            return produced;
    }
}

/* ---- LZW */

PlainLZW::PlainLZW(int maxBits)
    : tableSize(1 << maxBits), prefix((size_t)tableSize, -1), last((size_t)tableSize, 0)
{
    for (size_t i = 0; i < 256; i++)
        last[i] = (uint8_t)i;
}

bool PlainLZW::canRead(int32_t inLen) const
{
    return inLen >= consumed + (15 - bitPosition + width) / 8;
}

int PlainLZW::readCode(const uint8_t *in)
{
    int code = 0;
    for (int i = 0; i < width; i++) {
        code = code * 2 + (in[consumed] >> --bitPosition & 1);
        if (bitPosition == 0) {
            bitPosition = 8;
            consumed++;
        }
    }
    return code;
}

/* The code's string; false when it does not end within the table. */
bool PlainLZW::stringOf(int code, std::string &text) const
{
    for (; code != -1; code = prefix[(size_t)code]) {
        text.insert(text.begin(), (char)last[(size_t)code]);
        if (text.size() > (size_t)tableSize)
            return false;
    }
    return true;
}

/* Writes what there is room for and keeps the rest. */
void PlainLZW::put(const std::string &text, uint8_t *out, int32_t outMax)
{
    overflow += text;
    while (!overflow.empty() && produced < outMax) {
        out[produced++] = (uint8_t)overflow[0];
        overflow.erase(0, 1);
    }
}

void PlainLZW::addEntry(uint8_t byte)
{
    if (next == tableSize)
        return;
    prefix[(size_t)next] = previous;
    last[(size_t)next] = byte;
    int e = earlyChange ? 2 : 1;
    if (next == threshold - e && threshold < tableSize - e) {
        threshold *= 2;
        width++;
        if (threshold > tableSize - e)
            threshold = earlyChange ? tableSize - 1 : tableSize;
    }
    next++;
}

/* Any code but the clear and the end code; false when it has no meaning. */
bool PlainLZW::take(int code, uint8_t *out, int32_t outMax)
{
    std::string text;
    if (previous == -1) {
        put(std::string(1, (char)code), out, outMax);
        previous = code;
        return true;
    }
    if (code > next)
        return false;
    if (!stringOf(code == next ? previous : code, text))
        return false;
    if (code == next)
        text += text[0];
    put(text, out, outMax);
    addEntry((uint8_t)text[0]);
    previous = code;
    return true;
}

int32_t PlainLZW::toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax)
{
    consumed = produced = 0;
    if (state == ERROR) {
        report(3, "PROGERR: Can't restart LZW decode after error");
        return -6;
    }
    if (overflow.empty() && !canRead(inLen)) {
        if (endOfInput)
            state = DONE;
        return 0;
    }
    state = RUN;
    put("", out, outMax);
    while (produced < outMax && canRead(inLen)) {
        int code = readCode(in);
        if (code == 256) {
            width = 9;
            next = 258;
            threshold = 512;
            previous = -1;
        } else if (code == 257) {
            state = DONE;
            break;
        } else if (!take(code, out, outMax)) {
            report(3, "CORDATA: Unexpected code in LZW decode");
            state = ERROR;
            return -2;
        }
    }
    return produced;
}

/* ---- Flate */

namespace {

struct Range {
    int extra, base;
};

Range lengthRange(int symbol)
{
    static const int bases[] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
    int row = symbol - 257;
    return {row < 8 || row == 28 ? 0 : row / 4 - 1, bases[row]};
}

Range distRange(int symbol)
{
    int extra = symbol < 4 ? 0 : symbol / 2 - 1;
    return {extra, symbol < 4 ? symbol + 1 : ((2 + symbol % 2) << extra) + 1};
}

} // namespace

PlainFlate::PlainFlate() : window(32768, 0)
{
}

void PlainFlate::fail(const std::string &keyAndText)
{
    report(3, keyAndText);
    state = ERROR;
}

int PlainFlate::getBits(int n)
{
    while (bitCount < n) {
        if (left == 0)
            return -1;
        bitBuffer |= (uint32_t)*input++ << bitCount;
        bitCount += 8;
        left--;
    }
    int value = (int)(bitBuffer & ((1U << n) - 1));
    bitBuffer >>= n;
    bitCount -= n;
    return value;
}

int PlainFlate::decodeSymbol(const Table &table)
{
    uint32_t code = 0;
    for (int length = 1; length <= 15; length++) {
        int bit = getBits(1);
        if (bit < 0)
            return -1;
        code = code * 2 + (uint32_t)bit;
        int first = table.start[length], end = table.start[length + 1];
        if (first < end && table.entries[first].code <= code && code <= table.entries[end - 1].code)
            return table.entries[first + (int)(code - table.entries[first].code)].symbol;
    }
    fail("BADCODE: Bad code in flate stream");
    return -1;
}

void PlainFlate::build(Table &table, Entry *list, int n)
{
    uint32_t count[16] = {}, nextCode[16] = {};
    int slot[16];
    for (int i = 0; i < n; i++)
        count[list[i].length]++;
    table.entries = list;
    table.start[0] = 0;
    for (int length = 0; length < 16; length++) {
        slot[length] = table.start[length];
        table.start[length + 1] = table.start[length] + (int)count[length];
    }
    count[0] = 0;
    for (int length = 2; length < 16; length++)
        nextCode[length] = (nextCode[length - 1] + count[length - 1]) * 2;
    for (int i = 0; i < n; i++) {
        int length = list[i].length;
        list[slot[length]].symbol = i;
        list[slot[length]++].code = length ? nextCode[length]++ : 0;
    }
}

void PlainFlate::setFixedTables()
{
    for (int i = 0; i < 288; i++)
        entries[i].length = i < 144 ? 8 : i < 256 ? 9 : i < 280 ? 7 : 8;
    for (int i = 288; i < 318; i++)
        entries[i].length = 5;
    build(litlen, entries, 288);
    build(dist, entries + 288, 30);
}

bool PlainFlate::readDynamicTables()
{
    static const int order[] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    int hlit = getBits(5), hdist = hlit < 0 ? -1 : getBits(5), hclen = hdist < 0 ? -1 : getBits(4);
    if (hclen < 0)
        return false;
    hlit += 257;
    hdist += 1;
    if (hlit >= 289 || hdist >= 31) {
        fail("BADEOF: Bad dynamic code table in flate stream");
        return false;
    }
    Entry lengths[19];
    for (int i = 0; i < hclen + 4; i++)
        if ((lengths[order[i]].length = getBits(3)) < 0)
            return false;
    Table lengthCode;
    build(lengthCode, lengths, 19);
    int previous = 0, given = 0;
    while (given < hlit + hdist) {
        int symbol = decodeSymbol(lengthCode), repeat = 1;
        if (symbol < 0)
            return false;
        if (symbol < 16) {
            previous = symbol;
        } else {
            int more = getBits(symbol == 16 ? 2 : symbol == 17 ? 3 : 7);
            if (more < 0)
                return false;
            repeat = more + (symbol == 18 ? 11 : 3);
            if (symbol > 16)
                previous = 0;
        }
        if (given + repeat > 318) {
            fail("BADEOF: Bad dynamic code table in flate stream");
            return false;
        }
        while (repeat--)
            entries[given++].length = previous;
    }
    build(litlen, entries, hlit);
    build(dist, entries + hlit, hdist);
    return true;
}

bool PlainFlate::readBlockHeader()
{
    needHeader = 0;
    int header = getBits(3);
    if (header < 0)
        return false;
    if (header & 1)
        last = 1;
    huffman = header >> 1 != 0;
    switch (header >> 1) {
    case 0:
        if (left < 4)
            return false;
        storedRemaining = input[0] + 256 * input[1];
        input += 4;
        left -= 4;
        bitBuffer = 0;
        bitCount = 0;
        return true;
    case 1:
        setFixedTables();
        return true;
    case 2:
        return readDynamicTables();
    }
    fail("BADEOF: Bad block header");
    return false;
}

bool PlainFlate::checkHeader(const uint8_t *in)
{
    if ((in[0] & 15) != 8)
        report(3, "BADFLATE: Unknown compression method");
    else if ((in[0] * 256 + in[1]) % 31)
        report(3, "BADFLATE: Bad FCHECK");
    else if (in[1] & 32)
        report(3, "BADFLATE: FDICT bit set");
    else
        return true;
    return false;
}

void PlainFlate::updateAdler(const uint8_t *out, int32_t count)
{
    uint32_t a = adler & 0xFFFF, b = adler >> 16;
    for (int32_t i = 0; i < count; i++) {
        a = (a + out[i]) % 65521;
        b = (b + a) % 65521;
    }
    adler = b * 65536 + a;
}

void PlainFlate::checkTrailer()
{
    if (left < 4) {
        awaiting = 1;
        return;
    }
    uint32_t value = 0;
    for (int i = 0; i < 4; i++)
        value = value << 8 | input[i];
    if (value == adler) {
        state = DONE;
        consumed += 4;
    } else {
        fail("BADEOF: Incorrect checksum");
    }
}

void PlainFlate::flush(uint8_t *out)
{
    while (pending > 0 && room > 0) {
        out[outAt++] = window[(size_t)position];
        position = (position + 1) % 32768;
        pending--;
        room--;
    }
}

bool PlainFlate::huffmanStep()
{
    int symbol = decodeSymbol(litlen);
    if (symbol < 0)
        return false;
    if (symbol < 256) {
        window[(size_t)position] = (uint8_t)symbol;
        pending = 1;
        return true;
    }
    if (symbol == 256) {
        needHeader = 1;
        pending = 0;
        return true;
    }
    if (symbol > 285) {
        fail("BADCODE: Bad code in flate stream");
        return false;
    }
    Range range = lengthRange(symbol);
    int extra = getBits(range.extra);
    if (extra < 0)
        return false;
    int length = range.base + extra;
    symbol = decodeSymbol(dist);
    if (symbol < 0)
        return false;
    range = distRange(symbol);
    extra = getBits(range.extra);
    if (extra < 0)
        return false;
    int distance = range.base + extra;
    for (int i = 0; i < length; i++)
        window[(size_t)(position + i) % 32768] =
            window[(size_t)(position + i - distance + 32768) % 32768];
    pending = length;
    return true;
}

void PlainFlate::storedStep()
{
    int k = 0;
    while (k < std::min(storedRemaining, 32768) && left > 0) {
        window[(size_t)(position + k) % 32768] = *input++;
        left--;
        storedRemaining--;
        k++;
    }
    pending = k;
    if (storedRemaining == 0)
        needHeader = 1;
}

int32_t PlainFlate::toRaw(const uint8_t *in, int32_t inLen, uint8_t *out, int32_t outMax)
{
    consumed = produced = 0;
    if (state == DONE || state == ERROR) {
        report(4, "BADENCODE: Cannot restart encoding.");
        return 0;
    }
    input = in;
    left = inLen;
    room = outMax;
    outAt = 0;
    if (state == BEGIN) {
        if (inLen < 2)
            return 0;
        if (!checkHeader(in))
            return -1;
        state = RUN;
        input += 2;
        left -= 2;
        consumed = 2;
    }
    if (awaiting) {
        checkTrailer();
        return 0;
    }
    if (pending > 0) {
        flush(out);
        produced = outAt;
        bool ended = last && needHeader && pending == 0;
        if (ended || room == 0) {
            updateAdler(out, produced);
            if (ended)
                checkTrailer();
            return produced;
        }
    }
    for (;;) {
        Saved saved = {bitBuffer, bitCount, huffman, storedRemaining, needHeader, last};
        bool suspended = false;
        if (needHeader && !readBlockHeader()) {
            if (state == ERROR)
                return -1;
            suspended = true;
        } else if (huffman) {
            suspended = !huffmanStep();
        } else {
            storedStep();
        }
        if (suspended) {
            bitBuffer = saved.bitBuffer;
            bitCount = saved.bitCount;
            huffman = saved.huffman;
            storedRemaining = saved.storedRemaining;
            needHeader = saved.needHeader;
            last = saved.last;
            updateAdler(out, produced);
            return produced;
        }
        flush(out);
        consumed = inLen - left;
        produced = outAt;
        if (room == 0 || left == 0 || (last && needHeader))
            break;
    }
    updateAdler(out, produced);
    if (last && needHeader && pending == 0)
        checkTrailer();
    return produced;
}
