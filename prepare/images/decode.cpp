/*
 * decode.cpp - the chain of filters, the dictionary of an image, and depths
 *
 * Filters for any data are libqpdf's; the last one of an image may be one of codecs.h, or one of
 * those in a place where nobody writes it, which ends the chain there.
 */
#include "prepare/images/decode.h"

#include <algorithm>
#include <cmath>

#include <qpdf/Buffer.hh>
#include <qpdf/Pipeline.hh>

#include "prepare/images/codecs.h"

namespace prepare {

namespace {

constexpr int MAX_SPACE_DEPTH = 8;
constexpr int MAX_FILTERS = 16;

/* ---- filters ---- */

struct Filter {
    std::string name;
    QPDFObjectHandle parameters;
};

const std::map<std::string, std::string> longNames = {
    {"/AHx", "/ASCIIHexDecode"}, {"/A85", "/ASCII85Decode"},  {"/LZW", "/LZWDecode"},
    {"/Fl", "/FlateDecode"},     {"/RL", "/RunLengthDecode"}, {"/CCF", "/CCITTFaxDecode"},
    {"/DCT", "/DCTDecode"},
};

std::string inFull(const std::string &name)
{
    auto known = longNames.find(name);
    return known == longNames.end() ? name : known->second;
}

QPDFObjectHandle itemOf(QPDFObjectHandle object, int item)
{
    if (object.isArray())
        return item < object.getArrayNItems() ? object.getArrayItem(item)
                                              : QPDFObjectHandle::newNull();
    return item == 0 ? object : QPDFObjectHandle::newNull();
}

std::vector<Filter> filtersOf(QPDFObjectHandle dict)
{
    QPDFObjectHandle names = dict.getKey("/Filter"), parameters = dict.getKey("/DecodeParms");
    if (parameters.isNull())
        parameters = dict.getKey("/DP");
    int count = names.isArray() ? names.getArrayNItems() : names.isName() ? 1 : 0;
    if (count > MAX_FILTERS)
        throw LimitReached{"An image has too many filters."};
    std::vector<Filter> filters;
    for (int i = 0; i < count; i++)
        filters.push_back({inFull(nameOr(itemOf(names, i))), itemOf(parameters, i)});
    return filters;
}

bool isImageFilter(const std::string &name)
{
    return name == "/DCTDecode" || name == "/JPXDecode" || name == "/JBIG2Decode" ||
           name == "/CCITTFaxDecode";
}

/* Takes the first bytes and lets the rest go by. */
struct FirstBytes : Pipeline {
    FirstBytes(std::string *into, size_t most) : Pipeline("image", nullptr), text(into), limit(most)
    {
    }

    void write(unsigned char const *data, size_t size) override
    {
        text->append(reinterpret_cast<const char *>(data), std::min(size, limit - text->size()));
    }

    void finish() override {}

    std::string *text;
    size_t limit;
};

/* Undoes filters for any data; what stands before a fault is kept. */
std::string undo(Document *document, QPDFObjectHandle image, const std::vector<Filter> &filters,
                 size_t limit, bool *isDamaged)
{
    std::vector<QPDFObjectHandle> names, parameters;
    for (const Filter &filter : filters) {
        names.push_back(QPDFObjectHandle::newName(filter.name));
        parameters.push_back(filter.parameters);
    }
    std::string bytes;
    FirstBytes sink(&bytes, limit);
    bool good = false;
    try {
        QPDFObjectHandle stream = QPDFObjectHandle::newStream(&document->source.pdf);
        stream.replaceStreamData(image.getRawStreamData(), QPDFObjectHandle::newArray(names),
                                 QPDFObjectHandle::newArray(parameters));
        bool attempted = filters.empty();
        good = stream.pipeStreamData(&sink, &attempted, 0, qpdf_dl_specialized, true, false) &&
               attempted;
        if (!attempted)
            bytes.clear(); /* a filter that is not known */
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        good = false;
    }
    *isDamaged |= !good;
    return bytes;
}

FaxParameters faxParameters(QPDFObjectHandle dict)
{
    auto isTrue = [&](const char *key) {
        QPDFObjectHandle value = entryOf(dict, key);
        return value.isBool() && value.getBoolValue();
    };
    FaxParameters fax;
    fax.k = integerOr(entryOf(dict, "/K"), 0);
    fax.columns = integerOr(entryOf(dict, "/Columns"), 1728);
    fax.rows = integerOr(entryOf(dict, "/Rows"), 0);
    fax.hasEndOfLine = isTrue("/EndOfLine");
    fax.isByteAligned = isTrue("/EncodedByteAlign");
    fax.isBlack1 = isTrue("/BlackIs1");
    return fax;
}

std::string globalsOf(QPDFObjectHandle parameters)
{
    QPDFObjectHandle globals = entryOf(parameters, "/JBIG2Globals");
    if (!globals.isStream())
        return "";
    bool isDamaged = false;
    return decodeStream(globals, MAX_ENCODED, &isDamaged);
}

/* The image's data behind the general filters, handed to its own one, if there is any. */
void decodeData(Document *document, QPDFObjectHandle object, std::vector<Filter> filters,
                PackedImage *image)
{
    auto own = std::find_if(filters.begin(), filters.end(),
                            [](const Filter &filter) { return isImageFilter(filter.name); });
    Filter last = own == filters.end() ? Filter{} : *own;
    filters.erase(own, filters.end());
    size_t wanted = rowBytes(*image) * (size_t)image->height;
    std::string data = undo(document, object, filters, last.name.empty() ? wanted : MAX_ENCODED,
                            &image->isDamaged);
    if (last.name == "/DCTDecode")
        return decodeJpeg(data, integerOr(entryOf(last.parameters, "/ColorTransform"), -1), image);
    if (last.name == "/JPXDecode")
        return decodeJpx(data, integerOr(object.getDict().getKey("/SMaskInData"), 0) > 0, image);
    if (last.name == "/JBIG2Decode")
        return decodeJbig2(document, data, globalsOf(last.parameters), image);
    if (last.name == "/CCITTFaxDecode") {
        FaxParameters fax = faxParameters(last.parameters);
        fax.rows = fax.rows > 0 ? fax.rows : image->height;
        data = decodeFax(data, fax, wanted, &image->isDamaged);
    }
    if (data.empty())
        throw LimitReached{"An image has no data that can be read."};
    image->isDamaged |= data.size() < wanted;
    data.resize(wanted);
    image->bytes = std::move(data);
}

/* ---- the dictionary ---- */

/* A value under its long or short key. */
QPDFObjectHandle either(QPDFObjectHandle dict, const char *key, const char *shortKey)
{
    QPDFObjectHandle value = dict.getKey(key);
    return value.isNull() ? dict.getKey(shortKey) : value;
}

bool hasFilter(const std::vector<Filter> &filters, const char *name)
{
    return std::any_of(filters.begin(), filters.end(),
                       [&](const Filter &filter) { return filter.name == name; });
}

int knownDepth(int bits)
{
    for (int known : {1, 2, 4, 8, 16})
        if (bits <= known)
            return known;
    return 8;
}

/* Sizes, depth and space as the dictionary has them. */
void readHeader(QPDFObjectHandle dict, const std::vector<Filter> &filters, PackedImage *image)
{
    QPDFObjectHandle mask = either(dict, "/ImageMask", "/IM");
    image->isMask = mask.isBool() && mask.getBoolValue();
    image->width = integerOr(either(dict, "/Width", "/W"), 0);
    image->height = integerOr(either(dict, "/Height", "/H"), 0);
    image->bits = knownDepth(integerOr(either(dict, "/BitsPerComponent", "/BPC"), 8));
    bool isBilevel = hasFilter(filters, "/JBIG2Decode") || hasFilter(filters, "/CCITTFaxDecode");
    if (image->isMask || isBilevel)
        image->bits = 1;
    if (!image->isMask)
        image->space = either(dict, "/ColorSpace", "/CS");
    image->components = componentsOfSpace(image->space);
    if (image->components == 0 || isBilevel)
        image->components = 1;
    bool hasOwnSize = hasFilter(filters, "/DCTDecode") || hasFilter(filters, "/JPXDecode");
    if (!hasOwnSize)
        checkSize(image->width, image->height, image->components, image->bits);
}

QPDFObjectHandle deviceSpaceOf(int components)
{
    return QPDFObjectHandle::newName(components == 1   ? "/DeviceGray"
                                     : components == 4 ? "/DeviceCMYK"
                                                       : "/DeviceRGB");
}

/* What the dictionary says of the values, once their number is known. */
void readMeaning(QPDFObjectHandle dict, PackedImage *image)
{
    size_t components = (size_t)image->components;
    if (!image->isMask && componentsOfSpace(image->space) != image->components)
        image->space = deviceSpaceOf(image->components);
    QPDFObjectHandle decode = either(dict, "/Decode", "/D");
    if (decode.isArray() && (size_t)decode.getArrayNItems() >= 2 * components)
        for (size_t i = 0; i < 2 * components; i++)
            image->decode.push_back(numberOr(decode.getArrayItem((int)i), i % 2 == 0 ? 0 : 1));
    QPDFObjectHandle mask = dict.getKey("/Mask");
    if (mask.isArray() && (size_t)mask.getArrayNItems() >= 2 * components)
        for (size_t i = 0; i < 2 * components; i++)
            image->key.push_back(integerOr(mask.getArrayItem((int)i), 0));
}

/* ---- depths ---- */

/* Calls `each` with a row's values, one after the other. */
template <class Each> void forRow(const PackedImage &image, int row, Each each)
{
    const uint8_t *bytes =
        reinterpret_cast<const uint8_t *>(image.bytes.data()) + rowBytes(image) * (size_t)row;
    size_t count = (size_t)image.width * (size_t)image.components;
    unsigned bits = (unsigned)image.bits;
    if (bits == 16) {
        for (size_t i = 0; i < count; i++)
            each((unsigned)bytes[2 * i] << 8 | bytes[2 * i + 1]);
        return;
    }
    unsigned mask = (1u << bits) - 1;
    for (size_t i = 0, at = 0; i < count; i++, at += bits)
        each((unsigned)bytes[at / 8] >> (8 - bits - at % 8) & mask);
}

/* Makes transparent what the colour key masks. */
void applyKey(const PackedImage &image, Samples *samples)
{
    size_t pixels = (size_t)image.width * (size_t)image.height;
    if (samples->alpha.empty())
        samples->alpha.assign(pixels, 255);
    int component = 0;
    bool isInside = true;
    size_t pixel = 0;
    for (int row = 0; row < image.height; row++)
        forRow(image, row, [&](unsigned value) {
            const int *range = &image.key[2 * (size_t)component];
            isInside &= (int)value >= range[0] && (int)value <= range[1];
            if (++component < image.components)
                return;
            if (isInside)
                samples->alpha[pixel] = 0;
            pixel++;
            component = 0;
            isInside = true;
        });
}

bool isIndexed(QPDFObjectHandle space);

/* Averages (or, of indices, picks) the values of squares of pixels. */
struct Reducer {
    const PackedImage &image;
    Samples *samples;
    size_t factor;
    bool isPicked;
    std::vector<uint32_t> sums; /* of one row of squares */

    void take(int row)
    {
        size_t components = (size_t)image.components, at = 0;
        bool isFirstRow = (size_t)row % factor == 0;
        forRow(image, row, [&](unsigned value) {
            size_t pixel = at / components;
            uint32_t &sum = sums[pixel / factor * components + at % components];
            if (!isPicked)
                sum += value;
            else if (isFirstRow && pixel % factor == 0)
                sum = value;
            at++;
        });
        bool isLastRow = (size_t)row % factor == factor - 1 || row == image.height - 1;
        if (isLastRow)
            flush((size_t)row % factor + 1);
    }

    void flush(size_t rows)
    {
        size_t components = (size_t)image.components, width = (size_t)image.width;
        unsigned most = (1u << image.bits) - 1;
        for (size_t i = 0; i < sums.size(); i++) {
            size_t columns = std::min(factor, width - i / components * factor);
            uint64_t whole = rows * columns * most;
            uint64_t mean = (sums[i] * 255ull + whole / 2) / whole;
            samples->values.push_back((uint8_t)(isPicked ? sums[i] : mean));
            sums[i] = 0;
        }
    }
};

/* The least factor that brings an image below REDUCED_SAMPLES. */
void reduce(const PackedImage &image, Samples *samples)
{
    if (!image.key.empty())
        throw LimitReached{"An image is too large."};
    auto reduced = [](int size, size_t factor) { return ((size_t)size + factor - 1) / factor; };
    size_t factor = 2, components = (size_t)image.components;
    while (reduced(image.width, factor) * reduced(image.height, factor) * components >
           REDUCED_SAMPLES)
        factor++;
    Reducer reducer{image, samples, factor, isIndexed(image.space), {}};
    samples->width = (int)reduced(image.width, factor);
    samples->height = (int)reduced(image.height, factor);
    if (!reducer.isPicked)
        samples->maximum = 255;
    reducer.sums.assign((size_t)samples->width * components, 0);
    for (int row = 0; row < image.height; row++)
        reducer.take(row);
}

double arrayNumber(QPDFObjectHandle array, int item, double otherwise)
{
    bool isThere = array.isArray() && item < array.getArrayNItems();
    return isThere ? numberOr(array.getArrayItem(item), otherwise) : otherwise;
}

std::string familyOf(QPDFObjectHandle space)
{
    return nameOr(itemOf(space, 0));
}

bool isIndexed(QPDFObjectHandle space)
{
    return familyOf(space) == "/Indexed" || familyOf(space) == "/I";
}

int countComponents(QPDFObjectHandle space, int depth)
{
    static const std::map<std::string, int> fixed = {
        {"/DeviceGray", 1}, {"/G", 1},    {"/CalGray", 1}, {"/Indexed", 1},    {"/I", 1},
        {"/DeviceRGB", 3},  {"/RGB", 3},  {"/CalRGB", 3},  {"/Separation", 1}, {"/Lab", 3},
        {"/DeviceCMYK", 4}, {"/CMYK", 4}, {"/CalCMYK", 4},
    };
    auto known = fixed.find(familyOf(space));
    if (known != fixed.end())
        return known->second;
    if (!space.isArray() || space.getArrayNItems() < 2 || depth > MAX_SPACE_DEPTH)
        return 0;
    QPDFObjectHandle second = space.getArrayItem(1);
    int count = 0;
    if (familyOf(space) == "/ICCBased" && second.isStream())
        count = integerOr(second.getDict().getKey("/N"), 0);
    if (familyOf(space) == "/DeviceN" && second.isArray())
        count = second.getArrayNItems();
    return count > 0 && count <= MAX_IMAGE_COMPONENTS ? count : 0;
}

/* ---- inline images ---- */

const std::map<std::string, std::string> longKeys = {
    {"/BPC", "/BitsPerComponent"}, {"/CS", "/ColorSpace"}, {"/D", "/Decode"},
    {"/DP", "/DecodeParms"},       {"/F", "/Filter"},      {"/H", "/Height"},
    {"/IM", "/ImageMask"},         {"/I", "/Interpolate"}, {"/W", "/Width"},
};

const std::map<std::string, std::string> longSpaces = {
    {"/G", "/DeviceGray"}, {"/RGB", "/DeviceRGB"}, {"/CMYK", "/DeviceCMYK"}, {"/I", "/Indexed"}};

QPDFObjectHandle spaceInFull(const ResourceScope &scope, QPDFObjectHandle space)
{
    if (space.isName()) {
        auto full = longSpaces.find(space.getName());
        if (full != longSpaces.end())
            return QPDFObjectHandle::newName(full->second);
        QPDFObjectHandle named = findResource(scope, COLORSPACE, space.getName());
        return named.isNull() ? space : named;
    }
    if (!space.isArray() || space.getArrayNItems() < 2 || familyOf(space) == "/Separation")
        return space;
    QPDFObjectHandle full = space.shallowCopy();
    for (int i = 0; i < 2; i++)
        if (full.getArrayItem(i).isName())
            full.setArrayItem(i, spaceInFull(scope, full.getArrayItem(i)));
    return full;
}

QPDFObjectHandle filtersInFull(QPDFObjectHandle filter)
{
    if (filter.isName())
        return QPDFObjectHandle::newName(inFull(filter.getName()));
    if (!filter.isArray())
        return filter;
    std::vector<QPDFObjectHandle> names = filter.getArrayAsVector();
    for (QPDFObjectHandle &name : names)
        if (name.isName())
            name = QPDFObjectHandle::newName(inFull(name.getName()));
    return QPDFObjectHandle::newArray(names);
}

/* The entries between BI and ID; null when they are no dictionary. */
QPDFObjectHandle inlineEntries(const Operation &operation)
{
    std::string text = "<<";
    for (const Token &token : operation.operands)
        if (token.kind != TokenKind::INLINE_DATA)
            text += " " + std::string(token.source);
    try {
        return QPDFObjectHandle::parse(text + " >>", "inline image");
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        return QPDFObjectHandle::newNull();
    }
}

} // namespace

void checkSize(double width, double height, double components, double bits)
{
    if (width < 1 || height < 1 || components < 1)
        throw LimitReached{"An image has no size."};
    if (width > MAX_IMAGE_SIDE || height > MAX_IMAGE_SIDE || components > MAX_IMAGE_COMPONENTS ||
        width * height * components * bits / 8 > (double)MAX_PACKED)
        throw LimitReached{"An image is too large."};
}

size_t rowBytes(const PackedImage &image)
{
    return ((size_t)image.width * (size_t)image.components * (size_t)image.bits + 7) / 8;
}

PackedImage decodePacked(Document *document, QPDFObjectHandle object)
{
    if (!object.isStream())
        throw LimitReached{"An image has no data."};
    PackedImage image;
    QPDFObjectHandle dict = object.getDict();
    std::vector<Filter> filters = filtersOf(dict);
    readHeader(dict, filters, &image);
    decodeData(document, object, std::move(filters), &image);
    readMeaning(dict, &image);
    return image;
}

Samples unpack(const PackedImage &image)
{
    Samples samples;
    samples.width = image.width;
    samples.height = image.height;
    samples.components = image.components;
    samples.maximum = image.bits >= 8 ? 255 : (1 << image.bits) - 1;
    samples.space = image.space;
    samples.isMask = image.isMask;
    samples.decode = image.decode;
    samples.alpha = image.alpha;
    samples.isLossy = image.isLossy;
    samples.isDamaged = image.isDamaged;
    size_t count = (size_t)image.width * (size_t)image.height * (size_t)image.components;
    if (count > MAX_SAMPLES) {
        reduce(image, &samples);
        return samples;
    }
    samples.values.reserve(count);
    unsigned shift = image.bits == 16 ? 8 : 0;
    for (int row = 0; row < image.height; row++)
        forRow(image, row,
               [&](unsigned value) { samples.values.push_back((uint8_t)(value >> shift)); });
    if (!image.key.empty())
        applyKey(image, &samples);
    return samples;
}

Samples decodeImage(Document *document, QPDFObjectHandle image)
{
    PackedImage packed = decodePacked(document, image);
    if (packed.isDamaged)
        say(document, Message::PictureCut, document->pageInWork);
    return unpack(std::move(packed));
}

DecodeRange decodeRange(const Samples &samples, int component)
{
    size_t at = 2 * (size_t)component;
    if (at + 1 < samples.decode.size())
        return {samples.decode[at], samples.decode[at + 1]};
    QPDFObjectHandle space = samples.space;
    std::string family = familyOf(space);
    if (isIndexed(space))
        return {0, (double)samples.maximum};
    if (family == "/Lab" && component == 0)
        return {0, 100};
    QPDFObjectHandle range;
    if (family == "/Lab" || family == "/ICCBased") {
        QPDFObjectHandle dict = itemOf(space, 1);
        range = entryOf(dict.isStream() ? dict.getDict() : dict, "/Range");
    }
    int item = (int)at - (family == "/Lab" ? 2 : 0);
    double least = family == "/Lab" ? -100 : 0, most = family == "/Lab" ? 100 : 1;
    if (!range.isInitialized())
        return {least, most};
    return {arrayNumber(range, item, least), arrayNumber(range, item + 1, most)};
}

int componentsOfSpace(QPDFObjectHandle space)
{
    return countComponents(space, 0);
}

QPDFObjectHandle inlineImage(Document *document, const ResourceScope &scope,
                             const Operation &operation)
{
    QPDFObjectHandle entries = inlineEntries(operation);
    if (!entries.isDictionary() || operation.operands.empty() ||
        operation.operands.back().kind != TokenKind::INLINE_DATA)
        return QPDFObjectHandle::newNull();
    QPDFObjectHandle image = QPDFObjectHandle::newStream(&document->source.pdf);
    QPDFObjectHandle dict = image.getDict();
    for (auto &[key, value] : entriesOf(entries)) {
        auto full = longKeys.find(key);
        const std::string &name = full == longKeys.end() ? key : full->second;
        if (name != "/Length" && name != "/L")
            dict.replaceKey(name, value);
    }
    dict.replaceKey("/Type", QPDFObjectHandle::newName("/XObject"));
    dict.replaceKey("/Subtype", QPDFObjectHandle::newName("/Image"));
    dict.replaceKey("/ColorSpace", spaceInFull(scope, dict.getKey("/ColorSpace")));
    image.replaceStreamData(std::string(operation.operands.back().source),
                            filtersInFull(dict.getKey("/Filter")), dict.getKey("/DecodeParms"));
    return image;
}

} // namespace prepare
