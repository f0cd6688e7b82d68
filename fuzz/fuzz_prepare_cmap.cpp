/*
 * fuzz_prepare_cmap.cpp - CMaps, embedded and to text, and strings cut into their codes
 */
#include <cstdint>
#include <cstdlib>

#include "prepare/fonts/cmap.h"

using namespace prepare;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string_view text(reinterpret_cast<const char *>(data), size);
    CMap cmap = readCMap(text);
    addBase(&cmap, identityCMap(false));
    sortCMap(&cmap);
    size_t left = size;
    uint32_t code = 0, cid;
    while (int bytes = nextCode(cmap, text.substr(size - left), &code)) {
        if (bytes < 0 || bytes > 4 || (size_t)bytes > left)
            abort();
        left -= (size_t)bytes;
        if (findCid(cmap, code, &cid) && cid > 65535)
            abort();
        findText(cmap, code);
    }
    return left == 0 ? 0 : (abort(), 0);
}
