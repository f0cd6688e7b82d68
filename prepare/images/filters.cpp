/*
 * filters.cpp - the chain of filters of an image
 *
 * Filters for any data are libqpdf's (ISO 32000-1, 7.4); the last one of an image may be one of
 * codecs.h, or one of those in a place where nobody writes it, which ends the chain there.  What
 * comes out is as long as the image's size asks for.
 */
#include "prepare/images/filters.h"

#include <algorithm>
#include <map>

#include <qpdf/Buffer.hh>
#include <qpdf/Pipeline.hh>

#include "prepare/images/codecs.h"

namespace prepare {

namespace {

constexpr int MAX_FILTERS = 16;

const std::map<std::string, std::string> longNames = {
    {"/AHx", "/ASCIIHexDecode"}, {"/A85", "/ASCII85Decode"},  {"/LZW", "/LZWDecode"},
    {"/Fl", "/FlateDecode"},     {"/RL", "/RunLengthDecode"}, {"/CCF", "/CCITTFaxDecode"},
    {"/DCT", "/DCTDecode"},
};

} // namespace

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

namespace {

bool isImageFilter(const std::string &name)
{
    return name == "/DCTDecode" || name == "/JPXDecode" || name == "/JBIG2Decode" ||
           name == "/CCITTFaxDecode";
}

/* Keeps the first bytes and lets the rest go by. */
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
    FaxParameters fax;
    fax.k = integerOr(entryOf(dict, "/K"), 0);
    fax.columns = integerOr(entryOf(dict, "/Columns"), 1728);
    fax.rows = integerOr(entryOf(dict, "/Rows"), 0);
    fax.hasEndOfLine = isTrue(entryOf(dict, "/EndOfLine"));
    fax.isByteAligned = isTrue(entryOf(dict, "/EncodedByteAlign"));
    fax.isBlack1 = isTrue(entryOf(dict, "/BlackIs1"));
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

} // namespace

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

} // namespace prepare
