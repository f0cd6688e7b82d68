/*
 * boxes.cpp - one box of whole numbers
 *
 * The converter drops the fractions of a box and stops at nothing; what it cannot do is a unit, a
 * rotation by other than quarter turns, and boxes that are missing or empty.
 */
#include "prepare/page/boxes.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr Box LETTER = {0, 0, 612, 792};
constexpr double MAX_SIDE = 1e6; /* units */

/* A box with an area, its corners in order; numbers alone. */
std::optional<Box> readBox(QPDFObjectHandle object)
{
    if (!object.isArray() || object.getArrayNItems() < 4)
        return std::nullopt;
    double v[4];
    for (int i = 0; i < 4; i++) {
        QPDFObjectHandle item = object.getArrayItem(i);
        if (!item.isNumber())
            return std::nullopt;
        v[i] = numberOr(item, 0);
    }
    Box box = {std::min(v[0], v[2]), std::min(v[1], v[3]), std::max(v[0], v[2]),
               std::max(v[1], v[3])};
    bool hasArea = box.right - box.left >= 1 && box.top - box.bottom >= 1;
    bool isSmall = std::max({-box.left, -box.bottom, box.right, box.top}) <= MAX_SIDE;
    return hasArea && isSmall ? std::optional(box) : std::nullopt;
}

Box visibleBox(const Page &page)
{
    Box media = readBox(entryOf(page, "/MediaBox")).value_or(LETTER);
    std::optional<Box> crop = readBox(entryOf(page, "/CropBox"));
    if (!crop)
        return media;
    Box both = {std::max(media.left, crop->left), std::max(media.bottom, crop->bottom),
                std::min(media.right, crop->right), std::min(media.top, crop->top)};
    return both.right - both.left >= 1 && both.top - both.bottom >= 1 ? both : media;
}

int quarterTurns(const Page &page)
{
    double degrees = numberOr(entryOf(page, "/Rotate"), 0);
    long turns = std::lround(std::fmod(degrees, 360) / 90) % 4;
    return (int)(turns < 0 ? turns + 4 : turns);
}

/* Makes the unit part of the content. */
void scaleContent(Document *document, Page *page, double unit)
{
    std::string scale = numberText(unit);
    QPDFObjectHandle first =
        QPDFObjectHandle::newStream(&document->source.pdf, scale + " 0 0 " + scale + " 0 0 cm\n");
    std::vector<QPDFObjectHandle> streams = {first};
    QPDFObjectHandle contents = page->object.getKey("/Contents");
    if (contents.isStream())
        streams.push_back(contents);
    else if (contents.isArray())
        for (QPDFObjectHandle stream : contents.getArrayAsVector())
            streams.push_back(stream);
    page->object.replaceKey("/Contents", QPDFObjectHandle::newArray(streams));
    page->object.removeKey("/UserUnit");
}

} // namespace

void chooseBox(const Document &document, Page *page)
{
    constexpr const char *keys[] = {"/CropBox", "/MediaBox", "/TrimBox", "/BleedBox", "/ArtBox"};
    PageBox wanted = document.options.box;
    QPDFObjectHandle box = entryOf(*page, keys[(size_t)wanted]);
    if (wanted == PageBox::CROP || !readBox(box))
        return;
    page->object.replaceKey("/CropBox", box);
    page->needs |= NEED_BOXES;
}

double unitOf(const Page &page)
{
    double unit = numberOr(entryOf(page, "/UserUnit"), 1);
    return unit > 0 && unit <= 1000 ? unit : 1;
}

Box paperBox(const Page &page)
{
    Box box = visibleBox(page);
    double unit = unitOf(page);
    return {box.left * unit, box.bottom * unit, box.right * unit, box.top * unit};
}

bool boxesNeedWork(const Page &page)
{
    QPDFObjectHandle rotate = entryOf(page, "/Rotate");
    bool isOddTurn = !rotate.isNull() && (!rotate.isInteger() || integerOr(rotate, 0) % 90 != 0);
    QPDFObjectHandle crop = entryOf(page, "/CropBox");
    if (unitOf(page) != 1 || isOddTurn || !readBox(entryOf(page, "/MediaBox")))
        return true;
    if (crop.isNull())
        return false;
    std::optional<Box> box = readBox(crop);
    if (!box)
        return true;
    Box media = *readBox(entryOf(page, "/MediaBox"));
    return std::min(media.right, box->right) - std::max(media.left, box->left) < 1 ||
           std::min(media.top, box->top) - std::max(media.bottom, box->bottom) < 1;
}

void normaliseBoxes(Document *document, Page *page)
{
    Box box = visibleBox(*page);
    double unit = unitOf(*page);
    if (unit != 1)
        scaleContent(document, page, unit);
    double x = std::round(box.left * unit), y = std::round(box.bottom * unit);
    double width = std::max(1.0, std::round((box.right - box.left) * unit));
    double height = std::max(1.0, std::round((box.top - box.bottom) * unit));
    std::vector<QPDFObjectHandle> corners;
    for (double value : {x, y, x + width, y + height})
        corners.push_back(QPDFObjectHandle::newInteger((long long)value));
    page->object.replaceKey("/MediaBox", QPDFObjectHandle::newArray(corners));
    page->object.removeKey("/CropBox");
    page->object.replaceKey("/Rotate", QPDFObjectHandle::newInteger(quarterTurns(*page) * 90));
}

} // namespace prepare
