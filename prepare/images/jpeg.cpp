/*
 * jpeg.cpp - JPEG data in and out, by libjpeg
 *
 * The library reports an error by a call that must not return; it jumps back here, so nothing with
 * a destructor lives between the jump's place and the calls that may take it.
 */
#include "prepare/images/codecs.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <jpeglib.h>

namespace prepare {

namespace {

constexpr int MAX_SCANS = 500; /* of a progressive image; each costs a pass over all of it */

struct ErrorExit {
    jpeg_error_mgr manager; /* first: the library hands out a pointer to it */
    jmp_buf target;
};

extern "C" {

static void jpegExit(j_common_ptr info)
{
    longjmp(reinterpret_cast<ErrorExit *>(info->err)->target, 1);
}

static void jpegMessage(j_common_ptr)
{
}

static void jpegProgress(j_common_ptr info)
{
    if (info->is_decompressor &&
        reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > MAX_SCANS)
        jpegExit(info);
}

} // extern "C"

jpeg_error_mgr *setErrors(ErrorExit *exit)
{
    jpeg_error_mgr *manager = jpeg_std_error(&exit->manager);
    manager->error_exit = jpegExit;
    manager->output_message = jpegMessage;
    return manager;
}

/* What the values are: an Adobe marker says it, else /ColorTransform, else their number. */
void chooseColours(jpeg_decompress_struct *info, int transform)
{
    bool isYcc = info->saw_Adobe_marker
                     ? info->Adobe_transform != 0
                     : transform > 0 || (transform < 0 && info->num_components == 3);
    switch (info->num_components) {
    case 1:
        info->out_color_space = JCS_GRAYSCALE;
        return;
    case 3:
        /* Files without either are judged by the library, which knows the ids R, G and B. */
        if (info->saw_Adobe_marker || transform >= 0)
            info->jpeg_color_space = isYcc ? JCS_YCbCr : JCS_RGB;
        info->out_color_space = info->jpeg_color_space == JCS_UNKNOWN ? JCS_UNKNOWN : JCS_RGB;
        return;
    case 4:
        info->jpeg_color_space = isYcc ? JCS_YCCK : JCS_CMYK;
        info->out_color_space = JCS_CMYK;
        return;
    default:
        info->jpeg_color_space = info->out_color_space = JCS_UNKNOWN;
    }
}

/* State of a decoding that survives a jump. */
struct Reading {
    jpeg_decompress_struct info;
    jpeg_progress_mgr progress;
    ErrorExit exit;
    const std::string *data;
    int transform;
    PackedImage *image;
    int rows = 0; /* read so far */
};

/* False: the library gave up. */
bool readHeader(Reading *reading)
{
    jpeg_decompress_struct *info = &reading->info;
    if (setjmp(reading->exit.target))
        return false;
    jpeg_mem_src(info, reinterpret_cast<const unsigned char *>(reading->data->data()),
                 reading->data->size());
    if (jpeg_read_header(info, TRUE) != JPEG_HEADER_OK)
        return false;
    reading->progress.progress_monitor = jpegProgress;
    info->progress = &reading->progress;
    info->dct_method = JDCT_ISLOW;
    chooseColours(info, reading->transform);
    return true;
}

bool readRows(Reading *reading, uint8_t *bytes, size_t stride)
{
    jpeg_decompress_struct *info = &reading->info;
    if (setjmp(reading->exit.target))
        return false;
    if (!jpeg_start_decompress(info))
        return false;
    while (info->output_scanline < info->output_height) {
        JSAMPROW row = bytes + stride * info->output_scanline;
        if (jpeg_read_scanlines(info, &row, 1) != 1)
            return false;
        reading->rows = (int)info->output_scanline;
    }
    return true;
}

/* State of an encoding that survives a jump. */
struct Writing {
    jpeg_compress_struct info;
    ErrorExit exit;
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
};

void setParameters(jpeg_compress_struct *info, int width, int height, int components, int quality)
{
    info->image_width = (JDIMENSION)width;
    info->image_height = (JDIMENSION)height;
    info->input_components = components;
    info->in_color_space = components == 1 ? JCS_GRAYSCALE : components == 3 ? JCS_RGB : JCS_CMYK;
    jpeg_set_defaults(info);
    jpeg_set_quality(info, quality, TRUE);
    for (int i = 0; i < info->num_components; i++)
        info->comp_info[i].h_samp_factor = info->comp_info[i].v_samp_factor = 1;
    info->optimize_coding = TRUE;
}

bool writeRows(Writing *writing, const uint8_t *bytes, int width, int height, int components,
               int quality)
{
    jpeg_compress_struct *info = &writing->info;
    if (setjmp(writing->exit.target))
        return false;
    jpeg_mem_dest(info, &writing->bytes, &writing->size);
    setParameters(info, width, height, components, quality);
    jpeg_start_compress(info, TRUE);
    size_t stride = (size_t)width * (size_t)components;
    while (info->next_scanline < info->image_height) {
        JSAMPROW row = const_cast<uint8_t *>(bytes) + stride * info->next_scanline;
        jpeg_write_scanlines(info, &row, 1);
    }
    jpeg_finish_compress(info);
    return true;
}

} // namespace

void decodeJpeg(const std::string &data, int transform, PackedImage *image)
{
    auto reading = std::make_unique<Reading>();
    std::unique_ptr<jpeg_decompress_struct, void (*)(jpeg_decompress_struct *)> info(
        &reading->info, jpeg_destroy_decompress);
    info->err = setErrors(&reading->exit);
    jpeg_create_decompress(info.get());
    reading->data = &data;
    reading->transform = transform;
    if (!readHeader(reading.get()))
        throw LimitReached{"JPEG data of an image cannot be read."};
    checkSize(info->image_width, info->image_height, info->num_components);
    image->width = (int)info->image_width;
    image->height = (int)info->image_height;
    image->components = info->num_components;
    image->bits = 8;
    image->isLossy = true;
    size_t stride = rowBytes(*image);
    image->bytes.assign(stride * (size_t)image->height, '\0');
    bool isWhole =
        readRows(reading.get(), reinterpret_cast<uint8_t *>(image->bytes.data()), stride);
    if (!isWhole && reading->rows == 0)
        throw LimitReached{"JPEG data of an image cannot be read."};
    image->isDamaged |= !isWhole || info->err->num_warnings > 0;
}

std::string encodeJpeg(const uint8_t *bytes, int width, int height, int components, int quality)
{
    auto writing = std::make_unique<Writing>();
    writing->info.err = setErrors(&writing->exit);
    jpeg_create_compress(&writing->info);
    bool good = writeRows(writing.get(), bytes, width, height, components, quality);
    jpeg_destroy_compress(&writing->info);
    std::unique_ptr<unsigned char, void (*)(void *)> owned(writing->bytes, free);
    if (!good)
        return "";
    return std::string(reinterpret_cast<const char *>(owned.get()), writing->size);
}

} // namespace prepare
