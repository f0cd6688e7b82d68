/*
 * encode.cpp - image streams: Flate, JPEG, Group 4
 */
#include "prepare/images/encode.h"

#include "prepare/images/codecs.h"

namespace prepare {

namespace {

constexpr int JPEG_QUALITY = 90;

/* The data under a code, with its filter; false: that code cannot hold it. */
bool putFax(QPDFObjectHandle stream, const PackedImage &image)
{
    if (image.bits != 1 || image.components != 1)
        return false;
    std::string data = encodeFax(image.bytes, image.width, image.height);
    if (data.empty())
        return false;
    QPDFObjectHandle parameters = QPDFObjectHandle::newDictionary();
    parameters.replaceKey("/K", QPDFObjectHandle::newInteger(-1));
    parameters.replaceKey("/Columns", QPDFObjectHandle::newInteger(image.width));
    parameters.replaceKey("/Rows", QPDFObjectHandle::newInteger(image.height));
    stream.replaceStreamData(data, QPDFObjectHandle::newName("/CCITTFaxDecode"), parameters);
    return true;
}

bool putJpeg(QPDFObjectHandle stream, const PackedImage &image)
{
    int components = image.components;
    if (image.bits != 8 || (components != 1 && components != 3 && components != 4) ||
        image.width > 65500 || image.height > 65500)
        return false;
    std::string data = encodeJpeg(reinterpret_cast<const uint8_t *>(image.bytes.data()),
                                  image.width, image.height, components, JPEG_QUALITY);
    if (data.empty())
        return false;
    stream.replaceStreamData(data, QPDFObjectHandle::newName("/DCTDecode"),
                             QPDFObjectHandle::newNull());
    return true;
}

void put(QPDFObjectHandle stream, const PackedImage &image, ImageCode code)
{
    if (code == ImageCode::FAX && putFax(stream, image))
        return;
    if (code == ImageCode::JPEG && putJpeg(stream, image))
        return;
    replaceWithFlate(stream, image.bytes);
}

} // namespace

void replaceImage(QPDFObjectHandle stream, const PackedImage &image, ImageCode code)
{
    QPDFObjectHandle dict = stream.getDict();
    for (const char *key : {"/W", "/H", "/BPC", "/CS", "/F", "/DP", "/SMaskInData"})
        dict.removeKey(key);
    dict.replaceKey("/Width", QPDFObjectHandle::newInteger(image.width));
    dict.replaceKey("/Height", QPDFObjectHandle::newInteger(image.height));
    dict.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(image.bits));
    if (!image.isMask)
        dict.replaceKey("/ColorSpace", image.space);
    put(stream, image, code);
}

QPDFObjectHandle newImage(Document *document, const PackedImage &image, ImageCode code)
{
    QPDFObjectHandle stream = QPDFObjectHandle::newStream(&document->source.pdf);
    QPDFObjectHandle dict = stream.getDict();
    dict.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    dict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
    if (image.isMask)
        dict.replaceKey("/ImageMask", QPDFObjectHandle::newBool(true));
    if (!image.decode.empty()) {
        QPDFObjectHandle decode = QPDFObjectHandle::newArray();
        for (double value : image.decode)
            decode.appendItem(QPDFObjectHandle::newReal(value, 6));
        dict.replaceKey("/Decode", decode);
    }
    replaceImage(stream, image, code);
    return stream;
}

PackedImage bytesAsImage(int width, int height, QPDFObjectHandle space, int components,
                         const std::vector<uint8_t> &bytes)
{
    PackedImage image;
    image.width = width;
    image.height = height;
    image.components = components;
    image.space = space;
    image.bytes.assign(bytes.begin(), bytes.end());
    image.bytes.resize(rowBytes(image) * (size_t)height);
    return image;
}

QPDFObjectHandle newGrayImage(Document *document, int width, int height,
                              const std::vector<uint8_t> &bytes)
{
    QPDFObjectHandle gray = QPDFObjectHandle::newName("/DeviceGray");
    return newImage(document, bytesAsImage(width, height, gray, 1, bytes), ImageCode::FLATE);
}

QPDFObjectHandle newStencil(Document *document, int width, int height,
                            const std::vector<uint8_t> &painted)
{
    PackedImage image;
    image.width = width;
    image.height = height;
    image.bits = 1;
    image.isMask = true;
    image.bytes.assign(rowBytes(image) * (size_t)height, '\xff'); /* 0 is painted */
    for (int y = 0; y < height; y++)
        for (int x = 0; x < width; x++)
            if (painted[(size_t)y * (size_t)width + (size_t)x])
                image.bytes[rowBytes(image) * (size_t)y + (size_t)x / 8] &=
                    (char)~(0x80 >> (x & 7));
    return newImage(document, image, ImageCode::FAX);
}

} // namespace prepare
