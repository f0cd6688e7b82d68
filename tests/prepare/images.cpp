/*
 * images.cpp - JBIG2 by hand around Group 4 data, JPEG 2000 by openjpeg's encoder
 */
#include "tests/prepare/images.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include <gtest/gtest.h>
#include <openjpeg.h>

#include "prepare/images/codecs.h"

namespace {

std::string bigEndian(uint32_t value)
{
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.push_back((char)(value >> shift));
    return bytes;
}

std::string fromHex(const std::string &digits)
{
    std::string bytes;
    int high = -1;
    for (char c : digits) {
        if (c == ' ')
            continue;
        int value = c <= '9' ? c - '0' : c - 'A' + 10;
        if (high >= 0)
            bytes.push_back((char)(high << 4 | value));
        high = high >= 0 ? -1 : value;
    }
    return bytes;
}

/* number, flags (its type), no references, page 1, length, data */
std::string segment(uint32_t number, int type, const std::string &data)
{
    return bigEndian(number) + (char)type + '\0' + '\1' + bigEndian((uint32_t)data.size()) + data;
}

/* ---- JPEG 2000 ---- */

struct Output {
    std::string bytes;
    size_t at = 0;
};

OPJ_SIZE_T outputWrite(void *from, OPJ_SIZE_T size, void *user)
{
    Output *output = static_cast<Output *>(user);
    if (output->bytes.size() < output->at + size)
        output->bytes.resize(output->at + size);
    memcpy(output->bytes.data() + output->at, from, size);
    output->at += size;
    return size;
}

OPJ_OFF_T outputSkip(OPJ_OFF_T size, void *user)
{
    static_cast<Output *>(user)->at += (size_t)size;
    return size;
}

OPJ_BOOL outputSeek(OPJ_OFF_T offset, void *user)
{
    static_cast<Output *>(user)->at = (size_t)offset;
    return OPJ_TRUE;
}

/* What a component holds before it is coded. */
int valueAt(const JpxSettings &settings, int x, int y, int component)
{
    if (!settings.palette.empty())
        return (x / 16 + y / 16) % (int)(settings.palette.size() / 3);
    if (settings.alpha == component)
        return x * 255 / settings.width * ((1 << settings.depth) - 1) / 255;
    double red = blockAt(x, y, 0), green = blockAt(x, y, 1), blue = blockAt(x, y, 2);
    double value = blockAt(x, y, component);
    double luminance = 0.299 * red + 0.587 * green + 0.114 * blue;
    if (settings.isYcc)
        value = component == 0   ? luminance
                : component == 1 ? 128 + (blue - luminance) / 1.772
                                 : 128 + (red - luminance) / 1.402;
    return (int)std::lround(std::clamp(value, 0.0, 255.0) * ((1 << settings.depth) - 1) / 255);
}

opj_image_t *makeImage(const JpxSettings &settings)
{
    std::vector<opj_image_cmptparm_t> parameters((size_t)settings.components);
    for (size_t i = 0; i < parameters.size(); i++) {
        unsigned step = i == 1 || i == 2 ? (unsigned)settings.step : 1;
        parameters[i].dx = parameters[i].dy = step;
        parameters[i].w = (unsigned)settings.width / step;
        parameters[i].h = (unsigned)settings.height / step;
        parameters[i].prec = (unsigned)settings.depth;
    }
    OPJ_COLOR_SPACE space = settings.isYcc             ? OPJ_CLRSPC_SYCC
                            : settings.components >= 3 ? OPJ_CLRSPC_SRGB
                                                       : OPJ_CLRSPC_GRAY;
    opj_image_t *image = opj_image_create((unsigned)settings.components, parameters.data(), space);
    image->x1 = (unsigned)settings.width;
    image->y1 = (unsigned)settings.height;
    for (int i = 0; i < settings.components; i++) {
        opj_image_comp_t &component = image->comps[i];
        component.alpha = settings.alpha == i ? 1 : 0;
        for (int y = 0; y < (int)component.h; y++)
            for (int x = 0; x < (int)component.w; x++)
                component.data[y * (int)component.w + x] =
                    valueAt(settings, x * (int)component.dx, y * (int)component.dy, i);
    }
    return image;
}

uint32_t numberAt(const std::string &bytes, size_t at)
{
    uint32_t value = 0;
    for (size_t i = 0; i < 4; i++)
        value = value << 8 | (uint8_t)bytes[at + i];
    return value;
}

std::string box(const char *type, const std::string &data)
{
    return bigEndian((uint32_t)data.size() + 8) + type + data;
}

/* Puts a palette and the mapping of its columns to channels into the header box. */
void addPalette(std::string *file, const std::string &palette)
{
    std::string table = {0, (char)(palette.size() / 3), 3, 7, 7, 7};
    std::string mapping = {0, 0, 1, 0, 0, 0, 1, 1, 0, 0, 1, 2};
    std::string boxes = box("pclr", table + palette) + box("cmap", mapping);
    size_t header = file->find("jp2h") - 4;
    uint32_t size = numberAt(*file, header);
    file->insert(header + size, boxes);
    file->replace(header, 4, bigEndian(size + (uint32_t)boxes.size()));
    size_t colour = file->find("colr", header);  /* length, type, method 1, two bytes, the space */
    file->replace(colour + 7, 4, bigEndian(16)); /* of what the palette holds: sRGB */
}

} // namespace

uint8_t blockAt(int x, int y, int component)
{
    static constexpr uint8_t levels[] = {0, 224, 96, 255, 32, 160, 64};
    return levels[(size_t)(x / 16 * 3 + y / 16 * 2 + component * 3) % 7];
}

std::string blockBytes(int width, int height, int components)
{
    std::string bytes;
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            for (int c = 0; c < components; c++)
                bytes.push_back((char)blockAt(x, y, c));
    return bytes;
}

std::string figureBits(int width, int height)
{
    size_t stride = ((size_t)width + 7) / 8;
    std::string bits(stride * (size_t)height, '\xff');
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++) {
            bool isLeg = x < width / 6 || (y > height * 3 / 4 && x < width / 2);
            bool isSlope = x > width / 3 && y < x / 2;
            if (isLeg || isSlope)
                bits[(size_t)y * stride + (size_t)x / 8] &= (char)~(0x80 >> x % 8);
        }
    return bits;
}

Jbig2 jbig2Figure(int width, int height)
{
    std::string size = bigEndian((uint32_t)width) + bigEndian((uint32_t)height);
    std::string zeros(8, '\0');
    /* resolutions unknown; white at first, of one stripe */
    std::string page = size + zeros + std::string(3, '\0');
    /* at (0, 0), OR, then flags of the generic region: MMR.  In Group 4 data 1 is black here. */
    std::string region =
        size + zeros + '\0' + '\1' + prepare::encodeFax(figureBits(width, height), width, height);
    return {segment(0, 48, page), segment(1, 38, region)};
}

Jbig2Word jbig2Word()
{
    /* a dictionary of one symbol, Huffman-coded: its height class, width and bitmap */
    std::string letter = fromHex("0001 00000001 00000001 E9CBF40026AF04BFF0782FE00040");
    std::string size = fromHex("00000040 00000038 0000000000000000 010000");
    std::string letters = fromHex("0001 00000002 00000002 E5CDF80079E0841081F08210861079F00080");
    /* 37 by 8 pixels at (4, 1); 5 instances of the three symbols, their codes by run lengths */
    std::string text = fromHex("00000025 00000008 00000004 00000001 00 0C09 0010 00000005"
                               "01100000000000000000000000000000 000C4007087041D0");
    std::string globals = segment(0, 0, letter);
    globals[6] = 0; /* of all pages */
    /* The text refers to segments 0 and 2: a count in the high bits, then their numbers. */
    std::string reference = fromHex("00000003 07 42 00 02 01 00000031");
    return {globals, segment(1, 48, size) + segment(2, 0, letters) + reference + text};
}

std::string jpxBlocks(const JpxSettings &settings)
{
    opj_image_t *image = makeImage(settings);
    opj_cparameters_t parameters;
    opj_set_default_encoder_parameters(&parameters);
    parameters.irreversible = settings.isLossy;
    parameters.tcp_numlayers = 1;
    parameters.tcp_rates[0] = settings.isLossy ? 4 : 0;
    parameters.cp_disto_alloc = 1;
    parameters.numresolution = 4;
    parameters.tcp_mct = 0;
    opj_codec_t *codec = opj_create_compress(settings.isBare ? OPJ_CODEC_J2K : OPJ_CODEC_JP2);
    Output output;
    opj_stream_t *stream = opj_stream_create(1 << 16, OPJ_FALSE);
    opj_stream_set_user_data(stream, &output, nullptr);
    opj_stream_set_write_function(stream, outputWrite);
    opj_stream_set_skip_function(stream, outputSkip);
    opj_stream_set_seek_function(stream, outputSeek);
    bool good = opj_setup_encoder(codec, &parameters, image) &&
                opj_start_compress(codec, image, stream) && opj_encode(codec, stream) &&
                opj_end_compress(codec, stream);
    EXPECT_TRUE(good) << "openjpeg does not encode";
    opj_stream_destroy(stream);
    opj_destroy_codec(codec);
    opj_image_destroy(image);
    if (!settings.palette.empty())
        addPalette(&output.bytes, settings.palette);
    return output.bytes;
}
