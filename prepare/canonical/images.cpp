/*
 * images.cpp - tables for images and for the parameters of each filter
 *
 * What a JPEG's frame says of sizes and components has the last word, as with other readers: the
 * printer's decoder goes by it, whatever the dictionary says.
 */
#include "prepare/canonical/images.h"

#include <algorithm>
#include <optional>

#include <qpdf/Pipeline.hh>

#include "prepare/canonical/spaces.h"
#include "prepare/canonical/values.h"
#include "prepare/images/convert.h"
#include "prepare/images/decode.h"
#include "prepare/images/encode.h"
#include "prepare/images/filters.h"

namespace prepare {

namespace {

constexpr Field imageFields[] = {
    {"/Width", ValueKind::INTEGER, 1, MAX_PLAIN_SIDE},
    {"/Height", ValueKind::INTEGER, 1, MAX_PLAIN_SIDE},
    {"/BitsPerComponent", ValueKind::INTEGER, 1, 8},
    {"/ImageMask", ValueKind::BOOLEAN},
    {"/Interpolate", ValueKind::BOOLEAN},
    {"/Intent", ValueKind::WORD, 0, 0, 0,
     "AbsoluteColorimetric RelativeColorimetric Saturation Perceptual"},
};

constexpr int MAX_COLUMNS = MAX_PLAIN_SIDE;

constexpr Field predictorFields[] = {
    {"/Predictor", ValueKind::INTEGER, 1, 15},
    {"/Colors", ValueKind::INTEGER, 1, 4},
    {"/BitsPerComponent", ValueKind::INTEGER, 1, 8},
    {"/Columns", ValueKind::INTEGER, 1, MAX_COLUMNS},
};

constexpr Field lzwFields[] = {
    {"/Predictor", ValueKind::INTEGER, 1, 15},
    {"/Colors", ValueKind::INTEGER, 1, 4},
    {"/BitsPerComponent", ValueKind::INTEGER, 1, 8},
    {"/Columns", ValueKind::INTEGER, 1, MAX_COLUMNS},
    {"/EarlyChange", ValueKind::INTEGER, 0, 1},
};

constexpr Field faxFields[] = {
    {"/K", ValueKind::INTEGER, -MAX_COLUMNS, MAX_COLUMNS},
    {"/EndOfLine", ValueKind::BOOLEAN},
    {"/EncodedByteAlign", ValueKind::BOOLEAN},
    {"/Columns", ValueKind::INTEGER, 1, MAX_COLUMNS},
    {"/Rows", ValueKind::INTEGER, 0, MAX_COLUMNS},
    {"/EndOfBlock", ValueKind::BOOLEAN},
    {"/BlackIs1", ValueKind::BOOLEAN},
    {"/DamagedRowsBeforeError", ValueKind::INTEGER, 0, MAX_COLUMNS},
};

constexpr Field jpegFields[] = {{"/ColorTransform", ValueKind::INTEGER, 0, 1}};

/* A filter that printers know, and its parameters. */
struct KnownFilter {
    const char *name;
    std::span<const Field> fields;
};

constexpr KnownFilter knownFilters[] = {
    {"/FlateDecode", predictorFields}, {"/LZWDecode", lzwFields},  {"/RunLengthDecode", {}},
    {"/CCITTFaxDecode", faxFields},    {"/DCTDecode", jpegFields},
};

const KnownFilter *knownFilter(const std::string &name)
{
    for (const KnownFilter &filter : knownFilters)
        if (name == filter.name)
            return &filter;
    return nullptr;
}

/* ---- the frame of a JPEG */

struct JpegFrame {
    int precision, width, height, components;
    bool isSequential, isProgressive; /* by Huffman's code, as printers know them */
};

/* The frame header, where the markers before it are in order. */
std::optional<JpegFrame> readFrame(const std::string &data)
{
    auto byte = [&](size_t at) { return (int)(uint8_t)data[at]; };
    size_t at = 0;
    while (at + 1 < data.size() && !(byte(at) == 0xFF && byte(at + 1) == 0xD8))
        at++;
    for (at += 2; at + 3 < data.size();) {
        if (byte(at) != 0xFF) {
            at++;
            continue;
        }
        int marker = byte(at + 1);
        bool hasLength = marker != 0xFF && marker > 0x01 && !(marker >= 0xD0 && marker <= 0xD8);
        if (!hasLength) {
            at += marker == 0xFF ? 1 : 2;
            continue;
        }
        bool isFrame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame && at + 9 < data.size())
            return JpegFrame{byte(at + 4),
                             byte(at + 7) * 256 + byte(at + 8),
                             byte(at + 5) * 256 + byte(at + 6),
                             byte(at + 9),
                             marker <= 0xC1,
                             marker == 0xC2};
        if (marker == 0xD9 || marker == 0xDA)
            return std::nullopt;
        at += 2 + (size_t)(byte(at + 2) * 256 + byte(at + 3));
    }
    return std::nullopt;
}

/* Keeps the beginning of what comes, and stops it then. */
struct Beginning : Pipeline {
    struct Enough {};

    explicit Beginning(size_t most) : Pipeline("beginning", nullptr), limit(most) {}
    void write(unsigned char const *data, size_t size) override
    {
        text.append(reinterpret_cast<const char *>(data), std::min(size, limit - text.size()));
        if (text.size() == limit)
            throw Enough{}; /* no std::exception, which libqpdf would take for a fault */
    }
    void finish() override {}

    std::string text;
    size_t limit;
};

std::string beginningOf(QPDFObjectHandle stream, size_t most)
{
    Beginning beginning(most);
    try {
        stream.pipeStreamData(&beginning, 0, qpdf_dl_none, true, false);
    } catch (const Beginning::Enough &) {
    }
    return std::move(beginning.text);
}

std::optional<JpegFrame> frameOf(QPDFObjectHandle stream)
{
    for (size_t most : {size_t{16} << 10, size_t{4} << 20}) /* profiles and thumbnails come first */
        if (std::optional<JpegFrame> frame = readFrame(beginningOf(stream, most)))
            return frame;
    return std::nullopt;
}

/* ---- data as it can stand */

/* What the data turn out to be. */
struct ImageFacts {
    int width, height, bits;
    int components; /* 0: those of the space */
};

/* Undoes all filters but the last one, or that too where it only spells bytes out. */
void keepOneFilter(Document *document, QPDFObjectHandle image)
{
    std::vector<Filter> filters = filtersOf(image.getDict());
    Filter last;
    if (!filters.empty() && filters.back().name != "/ASCIIHexDecode" &&
        filters.back().name != "/ASCII85Decode") {
        last = filters.back();
        filters.pop_back();
    }
    QPDFObjectHandle name = QPDFObjectHandle::newNull(), parameters = name;
    if (!last.name.empty()) {
        name = QPDFObjectHandle::newName(last.name);
        parameters = last.parameters.isDictionary() ? last.parameters : name;
    }
    if (!last.parameters.isInitialized() || !last.parameters.isDictionary())
        parameters = QPDFObjectHandle::newNull();
    if (filters.empty()) {
        image.getDict().replaceKey("/Filter", name);
        image.getDict().replaceKey("/DecodeParms", parameters);
        return;
    }
    std::vector<QPDFObjectHandle> names, others;
    for (const Filter &filter : filters) {
        names.push_back(QPDFObjectHandle::newName(filter.name));
        others.push_back(filter.parameters);
    }
    QPDFObjectHandle stream = QPDFObjectHandle::newStream(&document->source.pdf);
    stream.replaceStreamData(image.getRawStreamData(), QPDFObjectHandle::newArray(names),
                             QPDFObjectHandle::newArray(others));
    bool isDamaged = false;
    std::string data = decodeStream(stream, MAX_ENCODED, &isDamaged);
    if (data.empty())
        throw LimitReached{"An image has no data that can be read."};
    image.replaceStreamData(data, name, parameters);
}

/* The samples in the place of the data: 8 bits or less, compressed. */
ImageFacts rewriteData(Document *document, QPDFObjectHandle image)
{
    PackedImage packed = decodePacked(document, image);
    if (packed.isDamaged)
        say(document, Message::PictureCut, document->pageInWork);
    if (packed.bits == 16) {
        Samples samples = unpack(packed);
        packed = bytesAsImage(samples.width, samples.height, samples.space, samples.components,
                              samples.values);
    }
    replaceImage(image, packed, ImageCode::FLATE);
    image.getDict().removeKey("/DecodeParms");
    return {packed.width, packed.height, packed.bits, packed.isMask ? 0 : packed.components};
}

bool isMask(QPDFObjectHandle dict)
{
    QPDFObjectHandle mask = dict.getKey("/ImageMask");
    return mask.isBool() && mask.getBoolValue();
}

/* Are the parameters of the one filter such that its data are what the dictionary says? */
bool agrees(QPDFObjectHandle dict, const std::string &filter, const ImageFacts &facts)
{
    if (!filter.empty() && !knownFilter(filter))
        return false;
    if (facts.bits != 1 && facts.bits != 2 && facts.bits != 4 && facts.bits != 8)
        return false;
    QPDFObjectHandle parameters = dict.getKey("/DecodeParms");
    if (filter == "/CCITTFaxDecode")
        return facts.bits == 1 && facts.components <= 1 &&
               integerOr(entryOf(parameters, "/Columns"), 1728) == facts.width;
    if (filter != "/FlateDecode" && filter != "/LZWDecode")
        return true;
    int predictor = integerOr(entryOf(parameters, "/Predictor"), 1);
    int bits = integerOr(entryOf(parameters, "/BitsPerComponent"), 8);
    int colours = integerOr(entryOf(parameters, "/Colors"), 1);
    int columns = integerOr(entryOf(parameters, "/Columns"), 1);
    bool isKnown = predictor == 1 || predictor == 2 || (predictor >= 10 && predictor <= 15);
    bool isDepth = bits == 1 || bits == 2 || bits == 4 || bits == 8;
    return isKnown && (predictor == 1 || (isDepth && colours >= 1 && colours <= 4 && columns >= 1 &&
                                          columns <= MAX_COLUMNS));
}

/* What there is in the image; its data are such that they can stay. */
ImageFacts settleData(Document *document, QPDFObjectHandle image)
{
    QPDFObjectHandle dict = image.getDict();
    keepOneFilter(document, image);
    std::string filter = nameOr(dict.getKey("/Filter"));
    ImageFacts facts = {integerOr(dict.getKey("/Width"), 0), integerOr(dict.getKey("/Height"), 0),
                        integerOr(dict.getKey("/BitsPerComponent"), 8), 0};
    if (isMask(dict) || filter == "/CCITTFaxDecode")
        facts.bits = 1;
    if (!isMask(dict))
        facts.components = componentsOfSpace(dict.getKey("/ColorSpace"));
    if (filter == "/DCTDecode") {
        std::optional<JpegFrame> frame = frameOf(image);
        bool isKnown = frame && (frame->isSequential ||
                                 (frame->isProgressive && document->options.level >= 3));
        bool isGood = isKnown && frame->precision == 8 && frame->width > 0 && frame->height > 0 &&
                      !isMask(dict) &&
                      (frame->components == 1 || frame->components == 3 || frame->components == 4);
        if (!isGood)
            return rewriteData(document, image);
        return {frame->width, frame->height, 8, frame->components};
    }
    return agrees(dict, filter, facts) ? facts : rewriteData(document, image);
}

/* ---- the dictionary */

QPDFObjectHandle parametersFor(const std::string &filter, QPDFObjectHandle given)
{
    const KnownFilter *known = knownFilter(filter);
    if (!known || !given.isDictionary())
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle plain = plainDictionary(known->fields, given);
    return plain.getKeys().empty() ? QPDFObjectHandle::newNull() : plain;
}

/* /Decode for so many components: of a mask one way or the other. */
QPDFObjectHandle decodeFor(QPDFObjectHandle dict, int components)
{
    constexpr double MOST = 65535;
    QPDFObjectHandle plain =
        plainValue({"", ValueKind::NUMBERS, -MOST, MOST, 2 * components}, dict.getKey("/Decode"));
    if (!isMask(dict) || plain.isNull())
        return plain;
    bool isTurned = numberOr(plain.getArrayItem(0), 0) > numberOr(plain.getArrayItem(1), 0);
    return isTurned ? newNumbers({1, 0}) : QPDFObjectHandle::newNull();
}

void settleDictionary(Document *document, QPDFObjectHandle image, const ImageFacts &facts)
{
    QPDFObjectHandle dict = image.getDict();
    if (facts.width < 1 || facts.height < 1 || facts.width > MAX_PLAIN_SIDE ||
        facts.height > MAX_PLAIN_SIDE ||
        (double)facts.width * (double)facts.height > MAX_PLAIN_PIXELS)
        throw LimitReached{"An image has no size, or is too large."};
    QPDFObjectHandle plain = plainDictionary(imageFields, dict);
    plain.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    plain.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
    plain.replaceKey("/Width", QPDFObjectHandle::newInteger(facts.width));
    plain.replaceKey("/Height", QPDFObjectHandle::newInteger(facts.height));
    plain.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(facts.bits));
    int components = 1;
    if (!isMask(dict)) {
        QPDFObjectHandle space = plainSpace(document, dict.getKey("/ColorSpace"));
        components = componentsOfSpace(space);
        if (components == 0 || (facts.components != 0 && components != facts.components)) {
            components = facts.components == 3 || facts.components == 4 ? facts.components : 1;
            space = deviceSpaceName(components);
        }
        plain.replaceKey("/ColorSpace", space);
    }
    plain.replaceKey("/Decode", decodeFor(dict, components));
    std::string filter = nameOr(dict.getKey("/Filter"));
    if (!filter.empty()) {
        plain.replaceKey("/Filter", QPDFObjectHandle::newName(filter));
        plain.replaceKey("/DecodeParms", parametersFor(filter, dict.getKey("/DecodeParms")));
    }
    image.replaceDict(plain);
}

struct ImageMemo {
    std::set<QPDFObjGen> done;
};

} // namespace

void plainImage(Document *document, QPDFObjectHandle image, int page)
{
    if (!document->memos.of<ImageMemo>().done.insert(image.getObjGen()).second)
        return;
    auto settle = [&] { settleDictionary(document, image, settleData(document, image)); };
    std::string reason;
    try {
        return settle();
    } catch (const LimitReached &limit) {
        reason = limit.text;
    } catch (const std::bad_alloc &) {
        reason = "It needs too much memory.";
    } catch (const std::exception &error) {
        reason = error.what();
    }
    say(document, Message::PictureMissing, page, {reason});
    blankImage(image);
    settle();
}

} // namespace prepare
