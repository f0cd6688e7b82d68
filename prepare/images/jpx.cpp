/*
 * jpx.cpp - JPEG 2000, by openjpeg
 *
 * Components may have sizes, depths and signs of their own; they come out as bytes at the size of
 * the whole image, colours in the order of their space.  Its palette is applied, luminance and
 * chrominance become RGB, and an opacity channel stands apart.
 */
#include "prepare/images/codecs.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include <openjpeg.h>

#include "prepare/images/filters.h"

namespace prepare {

namespace {

struct Input {
    const std::string *data;
    size_t at = 0;
};

extern "C" {

static OPJ_SIZE_T inputRead(void *into, OPJ_SIZE_T size, void *user)
{
    Input *input = static_cast<Input *>(user);
    size_t count = std::min((size_t)size, input->data->size() - input->at);
    if (count == 0)
        return (OPJ_SIZE_T)-1;
    memcpy(into, input->data->data() + input->at, count);
    input->at += count;
    return count;
}

static OPJ_OFF_T inputSkip(OPJ_OFF_T size, void *user)
{
    Input *input = static_cast<Input *>(user);
    size_t left = input->data->size() - input->at;
    if (size < 0 || left == 0)
        return -1;
    size_t count = std::min((size_t)size, left);
    input->at += count;
    return (OPJ_OFF_T)count;
}

static OPJ_BOOL inputSeek(OPJ_OFF_T offset, void *user)
{
    Input *input = static_cast<Input *>(user);
    if (offset < 0 || (size_t)offset > input->data->size())
        return OPJ_FALSE;
    input->at = (size_t)offset;
    return OPJ_TRUE;
}

static void ignoreMessage(const char *, void *)
{
}

} // extern "C"

using Stream = std::unique_ptr<opj_stream_t, void (*)(opj_stream_t *)>;
using Codec = std::unique_ptr<opj_codec_t, void (*)(opj_codec_t *)>;
using Decoded = std::unique_ptr<opj_image_t, void (*)(opj_image_t *)>;

Stream openInput(Input *input)
{
    Stream stream(opj_stream_create(1 << 16, OPJ_TRUE), opj_stream_destroy);
    if (!stream)
        throw std::bad_alloc();
    opj_stream_set_user_data(stream.get(), input, nullptr);
    opj_stream_set_user_data_length(stream.get(), input->data->size());
    opj_stream_set_read_function(stream.get(), inputRead);
    opj_stream_set_skip_function(stream.get(), inputSkip);
    opj_stream_set_seek_function(stream.get(), inputSeek);
    return stream;
}

/* A bare code stream begins with its own marker; anything else is taken for a file of boxes. */
OPJ_CODEC_FORMAT formatOf(const std::string &data)
{
    return data.compare(0, 4, "\xff\x4f\xff\x51", 4) == 0 ? OPJ_CODEC_J2K : OPJ_CODEC_JP2;
}

Codec makeCodec(const std::string &data, bool keepsIndices)
{
    Codec codec(opj_create_decompress(formatOf(data)), opj_destroy_codec);
    if (!codec)
        throw std::bad_alloc();
    for (auto set : {opj_set_info_handler, opj_set_warning_handler, opj_set_error_handler})
        set(codec.get(), ignoreMessage, nullptr);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    if (keepsIndices) /* the document's own table is for the indices, not for what they mean */
        parameters.flags |= OPJ_DPARAMETERS_IGNORE_PCLR_CMAP_CDEF_FLAG;
    if (!opj_setup_decoder(codec.get(), &parameters))
        throw LimitReached{"JPEG 2000 data of an image cannot be read."};
    opj_decoder_set_strict_mode(codec.get(), OPJ_FALSE);
    return codec;
}

/* The size that the components' samples take together, before anything is decoded. */
void checkHeader(const opj_image_t &decoded)
{
    if (decoded.x1 <= decoded.x0 || decoded.y1 <= decoded.y0 || decoded.numcomps == 0)
        throw LimitReached{"An image has no size."};
    checkSize((double)decoded.x1 - decoded.x0, (double)decoded.y1 - decoded.y0, decoded.numcomps);
    double samples = 0;
    for (OPJ_UINT32 i = 0; i < decoded.numcomps; i++)
        samples += (double)decoded.comps[i].w * decoded.comps[i].h;
    if (samples > (double)MAX_SAMPLES)
        throw LimitReached{"An image is too large."};
}

unsigned byteAt(const std::string &data, size_t at)
{
    return at < data.size() ? (uint8_t)data[at] : 0;
}

constexpr uint8_t CODING_STYLE = 0x52, TILE = 0x90; /* markers, behind a byte 0xff */

/* Where a marker of the code stream's main header stands; npos: not before the first tile. */
size_t findMarker(const std::string &data, uint8_t marker)
{
    size_t at = data.find("\xff\x4f\xff\x51");
    if (at == data.npos)
        return data.npos;
    for (at += 2; byteAt(data, at) == 0xff;
         at += 2 + (byteAt(data, at + 2) << 8 | byteAt(data, at + 3)))
        if (byteAt(data, at + 1) == marker)
            return at;
        else if (byteAt(data, at + 1) == TILE)
            break;
    return data.npos;
}

/* Was the wavelet one that cannot be undone exactly? */
bool hasLostDetail(const std::string &data)
{
    constexpr size_t TRANSFORM = 13; /* from the marker */
    size_t at = findMarker(data, CODING_STYLE);
    return at == data.npos || byteAt(data, at + TRANSFORM) == 0;
}

/* The data with a tile that says it is longer than what is left ending there: openjpeg sets that
 * much memory aside. */
std::string withTrueLengths(const std::string &data)
{
    constexpr size_t LENGTH = 6; /* of the tile, from its marker; 0: to the end */
    std::string repaired = data;
    size_t at = findMarker(data, TILE);
    while (at != data.npos && at + LENGTH + 4 <= data.size() && byteAt(data, at) == 0xff &&
           byteAt(data, at + 1) == TILE) {
        size_t length = 0;
        for (size_t i = 0; i < 4; i++)
            length = length << 8 | byteAt(data, at + LENGTH + i);
        if (length > data.size() - at)
            repaired.replace(at + LENGTH, 4, 4, '\0');
        if (length == 0 || length > data.size() - at)
            break;
        at += length;
    }
    return repaired;
}

Decoded decodeData(const std::string &data, bool keepsIndices, PackedImage *image)
{
    Input input{&data};
    Stream stream = openInput(&input);
    Codec codec = makeCodec(data, keepsIndices);
    opj_image_t *header = nullptr;
    bool good = opj_read_header(stream.get(), codec.get(), &header);
    Decoded decoded(header, opj_image_destroy);
    if (!good || !decoded)
        throw LimitReached{"JPEG 2000 data of an image cannot be read."};
    checkHeader(*decoded);
    good = opj_decode(codec.get(), stream.get(), decoded.get());
    image->isLossy = hasLostDetail(data);
    image->isDamaged |= !good || !opj_end_decompress(codec.get(), stream.get());
    bool hasAny = false;
    for (OPJ_UINT32 i = 0; i < decoded->numcomps; i++)
        hasAny |= decoded->comps[i].data != nullptr;
    if (!hasAny)
        throw LimitReached{"JPEG 2000 data of an image cannot be read."};
    return decoded;
}

/* ---- components as bytes ---- */

/* A sample as a byte; an index stays what it is. */
struct Scale {
    long offset, maximum;
    bool isIndex;
    uint8_t operator()(long value) const
    {
        value = std::clamp(value + offset, 0l, maximum);
        return isIndex ? (uint8_t)std::min(value, 255l)
                       : (uint8_t)((value * 255 + maximum / 2) / maximum);
    }
};

Scale scaleOf(const opj_image_comp_t &component, bool isIndex)
{
    unsigned depth = std::clamp(component.prec, 1u, 31u);
    return {component.sgnd ? 1l << (depth - 1) : 0l, (1l << depth) - 1, isIndex};
}

/* Writes a component at every `step`th byte of `into`, as large as the image. */
void spread(const opj_image_comp_t &component, const PackedImage &image, bool isIndex,
            uint8_t *into, size_t step)
{
    if (!component.data || component.w == 0 || component.h == 0)
        return;
    Scale scale = scaleOf(component, isIndex);
    std::vector<size_t> columns((size_t)image.width);
    for (size_t x = 0; x < columns.size(); x++)
        columns[x] = std::min(x * component.w / columns.size(), (size_t)component.w - 1);
    for (size_t y = 0; y < (size_t)image.height; y++) {
        size_t row = std::min(y * component.h / (size_t)image.height, (size_t)component.h - 1);
        const OPJ_INT32 *from = component.data + row * component.w;
        for (size_t column : columns) {
            *into = scale(from[column]);
            into += step;
        }
    }
}

uint8_t toByte(double value)
{
    return (uint8_t)std::lround(std::clamp(value, 0.0, 255.0));
}

/* Full-range luminance and chrominance, as in JPEG files. */
void makeRgb(uint8_t *pixel)
{
    double y = pixel[0], cb = pixel[1] - 128.0, cr = pixel[2] - 128.0;
    pixel[0] = toByte(y + 1.402 * cr);
    pixel[1] = toByte(y - 0.344136 * cb - 0.714136 * cr);
    pixel[2] = toByte(y + 1.772 * cb);
}

/* Undoes that colours were multiplied by their opacity. */
void divideByAlpha(PackedImage *image)
{
    uint8_t *value = reinterpret_cast<uint8_t *>(image->bytes.data());
    for (uint8_t alpha : image->alpha)
        for (int c = 0; c < image->components; c++, value++)
            if (alpha > 0)
                *value = (uint8_t)std::min(255, (*value * 255 + alpha / 2) / alpha);
}

/* A stencil's bytes as bits. */
void makeBits(PackedImage *image)
{
    std::string bytes = std::move(image->bytes);
    size_t width = (size_t)image->width;
    image->bits = 1;
    image->bytes.assign(rowBytes(*image) * (size_t)image->height, '\0');
    for (size_t y = 0; y < (size_t)image->height; y++)
        for (size_t x = 0; x < width; x++)
            if ((uint8_t)bytes[y * width + x] >= 128)
                image->bytes[y * rowBytes(*image) + x / 8] |= (char)(0x80 >> x % 8);
}

struct Channels {
    std::vector<const opj_image_comp_t *> colours;
    const opj_image_comp_t *alpha = nullptr;
};

Channels sortChannels(const opj_image_t &decoded, int wanted)
{
    Channels channels;
    for (OPJ_UINT32 i = 0; i < decoded.numcomps; i++) {
        const opj_image_comp_t &component = decoded.comps[i];
        if (component.alpha == 0)
            channels.colours.push_back(&component);
        else if (!channels.alpha)
            channels.alpha = &component;
    }
    if (channels.colours.empty())
        throw LimitReached{"JPEG 2000 data of an image has no colours."};
    /* What is neither a colour nor said to be opacity: behind the colours it is taken for that. */
    size_t count = channels.colours.size();
    size_t colours = wanted > 0 ? (size_t)wanted : count == 2 ? 1 : count;
    if (count > colours) {
        if (!channels.alpha)
            channels.alpha = channels.colours[colours];
        channels.colours.resize(colours);
    }
    if (wanted <= 0 && channels.colours.size() > 4)
        channels.colours.resize(3);
    return channels;
}

bool isYcc(const opj_image_t &decoded, const Channels &channels)
{
    if (channels.colours.size() != 3)
        return false;
    if (decoded.color_space == OPJ_CLRSPC_SYCC || decoded.color_space == OPJ_CLRSPC_EYCC)
        return true;
    /* Colours of other sizes than the first say it too. */
    return decoded.color_space != OPJ_CLRSPC_SRGB && channels.colours[0]->dx == 1 &&
           (channels.colours[1]->dx > 1 || channels.colours[1]->dy > 1);
}

} // namespace

void decodeJpx(const std::string &data, bool wantsAlpha, PackedImage *image)
{
    bool isIndex = isIndexed(image->space);
    Decoded decoded = decodeData(withTrueLengths(data), isIndex, image);
    checkHeader(*decoded); /* a palette has made more components of one */
    int wanted = image->isMask ? 1 : componentsOfSpace(image->space);
    Channels channels = sortChannels(*decoded, wanted);
    image->width = (int)(decoded->x1 - decoded->x0);
    image->height = (int)(decoded->y1 - decoded->y0);
    image->components = (int)channels.colours.size();
    image->bits = 8;
    size_t pixels = (size_t)image->width * (size_t)image->height;
    image->bytes.assign(rowBytes(*image) * (size_t)image->height, '\0');
    uint8_t *bytes = reinterpret_cast<uint8_t *>(image->bytes.data());
    size_t step = channels.colours.size();
    for (size_t i = 0; i < step; i++)
        spread(*channels.colours[i], *image, isIndex, bytes + i, step);
    if (isYcc(*decoded, channels))
        for (size_t i = 0; i < pixels; i++)
            makeRgb(bytes + 3 * i);
    if (image->isMask)
        return makeBits(image);
    if (!wantsAlpha || !channels.alpha)
        return;
    image->alpha.assign(pixels, 255);
    spread(*channels.alpha, *image, false, image->alpha.data(), 1);
    if (channels.alpha->alpha == 2)
        divideByAlpha(image);
}

} // namespace prepare
