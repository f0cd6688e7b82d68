/*
 * fax.cpp - CCITT Group 3 and 4, by libtiff on a file in memory
 *
 * The data is handed over as the one strip of a TIFF file whose directory is set, never written.
 * Without end-of-line codes Group 3 rows are what TIFF knows as its own run-length kind, in which
 * rows begin at bytes unless the library is told otherwise.
 */
#include "prepare/images/codecs.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <dlfcn.h>

#include <tiffio.h>

namespace prepare {

namespace {

/* ---- the library */

/* What is called of it. */
struct TiffLibrary {
    decltype(&TIFFSetErrorHandler) setErrorHandler;
    decltype(&TIFFSetWarningHandler) setWarningHandler;
    decltype(&TIFFClientOpen) clientOpen;
    decltype(&TIFFClose) close;
    decltype(&TIFFSetField) setField;
    decltype(&TIFFGetField) getField;
    decltype(&TIFFWriteRawStrip) writeRawStrip;
    decltype(&TIFFReadScanline) readScanline;
    decltype(&TIFFWriteEncodedStrip) writeEncodedStrip;
    decltype(&TIFFFlushData) flushData;
};

#ifdef TIFF_SONAME

template <class Function> void find(void *library, Function *function, const char *name)
{
    *function = reinterpret_cast<Function>(dlsym(library, name));
    if (!*function)
        throw std::runtime_error("the library " TIFF_SONAME " lacks a function");
}

/* Few documents have fax data, and only they wait for it. */
TiffLibrary openLibrary()
{
    void *library = dlopen(TIFF_SONAME, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        throw std::runtime_error("the library " TIFF_SONAME " of fax data cannot be opened");
    TiffLibrary all;
    find(library, &all.setErrorHandler, "TIFFSetErrorHandler");
    find(library, &all.setWarningHandler, "TIFFSetWarningHandler");
    find(library, &all.clientOpen, "TIFFClientOpen");
    find(library, &all.close, "TIFFClose");
    find(library, &all.setField, "TIFFSetField");
    find(library, &all.getField, "TIFFGetField");
    find(library, &all.writeRawStrip, "TIFFWriteRawStrip");
    find(library, &all.readScanline, "TIFFReadScanline");
    find(library, &all.writeEncodedStrip, "TIFFWriteEncodedStrip");
    find(library, &all.flushData, "TIFFFlushData");
    return all;
}

#else

TiffLibrary openLibrary()
{
    return {TIFFSetErrorHandler,   TIFFSetWarningHandler, TIFFClientOpen,    TIFFClose,
            TIFFSetField,          TIFFGetField,          TIFFWriteRawStrip, TIFFReadScanline,
            TIFFWriteEncodedStrip, TIFFFlushData};
}

#endif

const TiffLibrary &library()
{
    static const TiffLibrary opened = openLibrary();
    return opened;
}

/* ---- files in memory */

struct Memory {
    std::string bytes;
    size_t at = 0;
};

extern "C" {

static tsize_t memoryRead(thandle_t handle, tdata_t into, tsize_t size)
{
    Memory *memory = static_cast<Memory *>(handle);
    size_t left = memory->at < memory->bytes.size() ? memory->bytes.size() - memory->at : 0;
    size_t count = std::min((size_t)size, left);
    memcpy(into, memory->bytes.data() + memory->at, count);
    memory->at += count;
    return (tsize_t)count;
}

static tsize_t memoryWrite(thandle_t handle, tdata_t from, tsize_t size)
{
    Memory *memory = static_cast<Memory *>(handle);
    if (memory->at > MAX_ENCODED || (size_t)size > MAX_ENCODED - memory->at)
        return 0;
    if (memory->bytes.size() < memory->at + (size_t)size)
        memory->bytes.resize(memory->at + (size_t)size);
    memcpy(memory->bytes.data() + memory->at, from, (size_t)size);
    memory->at += (size_t)size;
    return size;
}

static toff_t memorySeek(thandle_t handle, toff_t offset, int whence)
{
    Memory *memory = static_cast<Memory *>(handle);
    size_t base = whence == SEEK_CUR ? memory->at : whence == SEEK_END ? memory->bytes.size() : 0;
    memory->at = base + (size_t)offset;
    return memory->at;
}

static int memoryClose(thandle_t)
{
    return 0;
}

static toff_t memorySize(thandle_t handle)
{
    return static_cast<Memory *>(handle)->bytes.size();
}

} // extern "C"

using Tiff = std::unique_ptr<TIFF, void (*)(TIFF *)>;

Tiff openMemory(Memory *memory, const char *mode)
{
    library().setErrorHandler(nullptr); /* the library's own are for terminals */
    library().setWarningHandler(nullptr);
    return Tiff(library().clientOpen("image", mode, memory, memoryRead, memoryWrite, memorySeek,
                                     memoryClose, memorySize, nullptr, nullptr),
                library().close);
}

void setBilevel(TIFF *tiff, int width, int height, uint16_t compression)
{
    library().setField(tiff, TIFFTAG_IMAGEWIDTH, (uint32_t)width);
    library().setField(tiff, TIFFTAG_IMAGELENGTH, (uint32_t)height);
    library().setField(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    library().setField(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    library().setField(tiff, TIFFTAG_ROWSPERSTRIP, (uint32_t)height);
    library().setField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    library().setField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    library().setField(tiff, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    library().setField(tiff, TIFFTAG_COMPRESSION, compression);
}

uint16_t compressionOf(const FaxParameters &fax)
{
    if (fax.k < 0)
        return COMPRESSION_CCITTFAX4;
    return fax.k == 0 && !fax.hasEndOfLine ? COMPRESSION_CCITTRLE : COMPRESSION_CCITTFAX3;
}

/* The data as a file with a directory behind it. */
std::string asTiff(const std::string &data, const FaxParameters &fax)
{
    Memory memory;
    {
        Tiff tiff = openMemory(&memory, "wm");
        if (!tiff)
            return "";
        setBilevel(tiff.get(), fax.columns, fax.rows, compressionOf(fax));
        if (fax.k >= 0 && compressionOf(fax) == COMPRESSION_CCITTFAX3)
            library().setField(tiff.get(), TIFFTAG_GROUP3OPTIONS,
                               (uint32_t)((fax.k > 0 ? GROUP3OPT_2DENCODING : 0) |
                                          (fax.isByteAligned ? GROUP3OPT_FILLBITS : 0)));
        if (library().writeRawStrip(tiff.get(), 0, const_cast<char *>(data.data()),
                                    (tmsize_t)data.size()) < 0)
            return "";
    }
    return std::move(memory.bytes);
}

} // namespace

std::string decodeFax(const std::string &data, const FaxParameters &fax, size_t wanted,
                      bool *isDamaged)
{
    checkSize(fax.columns, fax.rows, 1, 1);
    if (data.empty())
        return "";
    Memory memory{asTiff(data, fax)};
    Tiff tiff = openMemory(&memory, "rm");
    if (!tiff)
        return "";
    if (compressionOf(fax) == COMPRESSION_CCITTRLE && !fax.isByteAligned)
        library().setField(tiff.get(), TIFFTAG_FAXMODE, FAXMODE_NORTC | FAXMODE_NOEOL);
    size_t stride = ((size_t)fax.columns + 7) / 8;
    std::string bytes, row(stride, '\0');
    for (int y = 0; y < fax.rows && bytes.size() < wanted; y++) {
        if (library().readScanline(tiff.get(), row.data(), (uint32_t)y, 0) < 0) {
            *isDamaged = true;
            break;
        }
        bytes += row;
    }
    bytes.resize(std::max(bytes.size(), std::min(wanted, stride * (size_t)fax.rows)), '\0');
    if (!fax.isBlack1) /* what is missing is white then, as it is for a fax machine */
        for (char &c : bytes)
            c = (char)~c;
    return bytes;
}

std::string encodeFax(const std::string &rows, int width, int height)
{
    size_t stride = ((size_t)width + 7) / 8;
    Memory memory;
    size_t size = 0, begin = 0;
    {
        Tiff tiff = openMemory(&memory, "wm");
        if (!tiff)
            return "";
        setBilevel(tiff.get(), width, height, COMPRESSION_CCITTFAX4);
        std::string inverted = rows;
        inverted.resize(stride * (size_t)height, '\xff');
        for (char &c : inverted)
            c = (char)~c;
        if (library().writeEncodedStrip(tiff.get(), 0, inverted.data(), (tmsize_t)inverted.size()) <
                0 ||
            !library().flushData(tiff.get()))
            return "";
        const uint64_t *offsets = nullptr, *sizes = nullptr;
        if (!library().getField(tiff.get(), TIFFTAG_STRIPOFFSETS, &offsets) ||
            !library().getField(tiff.get(), TIFFTAG_STRIPBYTECOUNTS, &sizes))
            return "";
        begin = (size_t)offsets[0];
        size = (size_t)sizes[0];
    }
    if (begin > memory.bytes.size() || size > memory.bytes.size() - begin)
        return "";
    return memory.bytes.substr(begin, size);
}

} // namespace prepare
