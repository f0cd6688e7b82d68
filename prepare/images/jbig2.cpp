/*
 * jbig2.cpp - JBIG2 data, by the program jbig2dec
 *
 * The program writes a portable bitmap in which 1 is black; in the filter's own terms that is 0.
 */
#include "prepare/images/codecs.h"

#include <algorithm>
#include <cctype>

#include "prepare/document/program.h"

namespace prepare {

namespace {

constexpr uint64_t MEMORY = 1u << 30;
constexpr int SECONDS = 20;

/* The numbers of a bitmap's header, and where its rows begin; false: it has none. */
bool readBitmapHeader(const std::string &bitmap, size_t *begin, long *width, long *height)
{
    if (bitmap.compare(0, 2, "P4") != 0)
        return false;
    size_t at = 2;
    for (long *number : {width, height}) {
        while (at < bitmap.size() && (isWhite(bitmap[at]) || bitmap[at] == '#')) {
            if (bitmap[at] == '#')
                at = std::min(bitmap.find('\n', at), bitmap.size() - 1);
            at++;
        }
        *number = 0;
        for (; at < bitmap.size() && bitmap[at] >= '0' && bitmap[at] <= '9'; at++)
            *number = std::min(*number * 10 + (bitmap[at] - '0'), (long)MAX_IMAGE_SIDE + 1);
    }
    *begin = at + 1;
    return *begin <= bitmap.size();
}

/* Rows of a bitmap as rows of an image that may have another size; what is missing is white. */
void unpackBitmap(const std::string &bitmap, PackedImage *image)
{
    size_t begin = 0;
    long width = 0, height = 0;
    if (!readBitmapHeader(bitmap, &begin, &width, &height) || width < 1 || height < 1)
        throw LimitReached{"JBIG2 data of an image cannot be read."};
    size_t stride = ((size_t)width + 7) / 8, wanted = rowBytes(*image);
    size_t rows = std::min((size_t)height, (bitmap.size() - begin) / stride);
    image->isDamaged |= rows < (size_t)image->height || width < image->width;
    image->bytes.assign(wanted * (size_t)image->height, '\xff');
    for (size_t y = 0; y < std::min(rows, (size_t)image->height); y++)
        for (size_t x = 0; x < std::min(stride, wanted); x++)
            image->bytes[y * wanted + x] = (char)~bitmap[begin + y * stride + x];
}

} // namespace

void decodeJbig2(Document *document, const std::string &data, const std::string &globals,
                 PackedImage *image)
{
    image->bits = image->components = 1;
    ProgramCall call;
    call.command = {"jbig2dec", "-q", "-e", "-M", std::to_string(MEMORY), "-t", "pbm", "-o", "-"};
    if (!globals.empty()) {
        call.command.push_back("{" + std::to_string(call.inputs.size()) + "}");
        call.inputs.push_back(globals);
    }
    call.command.push_back("{" + std::to_string(call.inputs.size()) + "}");
    call.inputs.push_back(data);
    call.seconds = SECONDS;
    call.memoryBytes = MEMORY;
    call.outputBytes = MAX_PACKED + 1024;
    ProgramOutcome outcome = runFor(document, call);
    if (outcome.status == ProgramStatus::MISSING)
        throw LimitReached{"A picture in JBIG2 needs the program jbig2dec."};
    if (outcome.output.empty())
        throw LimitReached{"JBIG2 data of an image cannot be read."};
    unpackBitmap(outcome.output, image);
    /* What it cannot read it leaves white, and says so in its messages alone. */
    image->isDamaged |= outcome.status != ProgramStatus::DONE || !outcome.messages.empty();
}

} // namespace prepare
