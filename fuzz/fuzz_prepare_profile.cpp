/*
 * fuzz_prepare_profile.cpp - colour profiles: a byte for the number of components, then the profile
 */
#include <cstdint>
#include <string>

#include "prepare/colour/profile.h"

using namespace prepare;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    Document document;
    document.source.pdf.emptyPDF();
    document.source.pdf.setSuppressWarnings(true);
    QPDFObjectHandle profile = QPDFObjectHandle::newStream(
        &document.source.pdf, std::string(reinterpret_cast<const char *>(data) + 1, size - 1));
    profile.getDict().replaceKey("/N", QPDFObjectHandle::newInteger(data[0] % 5));
    QPDFObjectHandle space = spaceOfProfile(&document, profile);
    if (!space.isNull() && !(space.isArray() && space.getArrayNItems() == 2))
        __builtin_trap();
    return 0;
}
