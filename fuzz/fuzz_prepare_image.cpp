/*
 * fuzz_prepare_image.cpp - images of every filter and depth
 *
 * Four bytes choose filter, depth and space, width and height; the rest is the image's data.  JBIG2
 * is not among them: another program reads it.
 */
#include <cstdint>
#include <cstdlib>

#include "prepare/images/decode.h"
#include "prepare/images/encode.h"

using namespace prepare;

static const char *const filters[] = {
    "",
    "/Filter /DCTDecode",
    "/Filter /JPXDecode /SMaskInData 1",
    "/Filter /CCITTFaxDecode /DecodeParms << /K -1 /Columns 24 >>",
    "/Filter /CCITTFaxDecode /DecodeParms << /K 0 /Columns 24 >>",
    "/Filter /CCITTFaxDecode /DecodeParms << /K 4 /Columns 24 /EndOfLine true >>",
    "/Filter /FlateDecode /DecodeParms << /Predictor 15 /Columns 24 >>",
    "/Filter [/LZWDecode /DCTDecode]",
    "/Filter /RunLengthDecode /Mask [0 3 0 3 0 3 0 3]",
    "/Filter /DCTDecode /DecodeParms << /ColorTransform 0 >>",
};
static const char *const spaces[] = {"/DeviceGray", "/DeviceRGB", "/DeviceCMYK",
                                     "[/Indexed /DeviceRGB 1 <000000FFFFFF>]"};
static const char *const depths[] = {"1", "2", "4", "8", "16"};

static std::string entriesFor(const uint8_t *choice)
{
    return std::string("<< ") + filters[choice[0] % std::size(filters)] + " /BitsPerComponent " +
           depths[choice[1] % std::size(depths)] + " /ColorSpace " +
           spaces[choice[1] / 16 % std::size(spaces)] + " /Width " + std::to_string(choice[2]) +
           " /Height " + std::to_string(choice[3]) + " >>";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 4)
        return 0;
    seam::Notices notices;
    Document document;
    document.diagnostics.notices = &notices;
    document.source.pdf.emptyPDF();
    document.source.pdf.setSuppressWarnings(true);
    QPDFObjectHandle image = QPDFObjectHandle::newStream(
        &document.source.pdf, std::string(reinterpret_cast<const char *>(data) + 4, size - 4));
    QPDFObjectHandle dict = QPDFObjectHandle::parse(entriesFor(data));
    for (const std::string &key : dict.getKeys())
        image.getDict().replaceKey(key, dict.getKey(key));
    try {
        Samples samples = decodeImage(&document, image);
        size_t pixels = (size_t)samples.width * (size_t)samples.height;
        if (samples.values.size() != pixels * (size_t)samples.components)
            abort();
        if (!samples.alpha.empty() && samples.alpha.size() != pixels)
            abort();
        for (uint8_t value : samples.values)
            if (value > samples.maximum)
                abort();
    } catch (const LimitReached &) {
        return 0;
    }
    return 0;
}
