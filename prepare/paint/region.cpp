/*
 * region.cpp - the list of boxes, the page that the renderer sees, and its pictures on the page
 *
 * The renderer gets a file with the one page whose box is the region, made from the document opened
 * a second time.  So it needs no password, finds the page without counting, and cropping, rotation
 * and unit of the page play no part.
 */
#include "prepare/paint/region.h"

#include <algorithm>
#include <cmath>


#include "prepare/content/rewrite.h"
#include "prepare/content/evaluate.h"
#include "prepare/model/tokens.h"
#include "prepare/document/canonicalfile.h"
#include "prepare/document/load.h"
#include "prepare/document/program.h"
#include "prepare/fonts/store.h"
#include "prepare/images/encode.h"
#include "prepare/page/annotations.h"
#include "prepare/page/boxes.h"
#include "prepare/page/layers.h"
#include "prepare/page/overlay.h"
#include "prepare/page/structure.h"

namespace prepare {

/* The document opened again; nothing of it is written but pages for the renderer. */
namespace {

struct Original {
    Document document;
    seam::Notices notices;       /* for nobody: they are those of the document itself */
    std::map<int, Page *> pages; /* by their numbers */
    std::set<int> ready;         /* those that have been through the passes below */
};

/* The document opened again; null: not needed so far. */
struct OriginalMemo {
    std::shared_ptr<Original> original;
};

constexpr double POINTS_PER_INCH = 72;
constexpr double MARGIN = 0.5;        /* points around a region, for edges of strokes and glyphs */
constexpr double MERGED_GROWTH = 1.1; /* boxes are merged when that costs less than this */
constexpr int RENDER_SECONDS = 60;
constexpr uint64_t RENDER_MEMORY = 2u << 30;

/* ---- the list ---- */

double sumOf(const std::vector<Box> &boxes)
{
    double sum = 0;
    for (const Box &box : boxes)
        sum += areaOf(box);
    return sum;
}

double growthOf(const Box &a, const Box &b)
{
    return areaOf(unionOf(a, b)) / std::max(areaOf(a) + areaOf(b), 1e-9);
}

/* Merges boxes that cover about the same together as apart, and the closest while there are too
 * many. */
void mergeBoxes(std::vector<Box> *boxes)
{
    for (;;) {
        size_t first = 0, second = 0;
        double least = HUGE_VAL;
        for (size_t i = 0; i < boxes->size(); i++)
            for (size_t j = i + 1; j < boxes->size(); j++)
                if (double growth = growthOf((*boxes)[i], (*boxes)[j]); growth < least) {
                    least = growth;
                    first = i;
                    second = j;
                }
        if (least > MERGED_GROWTH && boxes->size() <= MAX_REGIONS)
            return;
        (*boxes)[first] = unionOf((*boxes)[first], (*boxes)[second]);
        boxes->erase(boxes->begin() + (long)second);
    }
}

/* ---- the page for the renderer ---- */

Original *originalOf(Document *document)
{
    std::shared_ptr<Original> &known = document->memos.of<OriginalMemo>().original;
    if (known)
        return known.get();
    auto original = std::make_shared<Original>();
    original->document.options = document->options;
    original->document.diagnostics.notices = &original->notices;
    if (!loadDocument(&original->document, document->source.path))
        return nullptr;
    loadLayers(&original->document);
    for (Page &page : original->document.pages)
        original->pages[page.number] = &page;
    known = std::move(original);
    return known.get();
}

/* Takes a page through the passes that decide what is printed, and no other; once, however often
 * it is printed. */
Page *pageOfOriginal(Document *document, const Page &page)
{
    Original *original = originalOf(document);
    if (!original)
        return nullptr;
    auto found = original->pages.find(page.number);
    if (found == original->pages.end())
        return nullptr;
    Page *source = found->second;
    if (!original->ready.insert(page.number).second)
        return source;
    Document *copy = &original->document;
    repairPage(copy, source);
    drawAnnotations(copy, source);
    if (page.needs & NEED_LAYERS) {
        const Observer *observers[] = {&layerObserver};
        evaluatePage(copy, source, observers);
        rewritePage(copy, source, {&layerPass});
        source->content = {};
    }
    return source;
}

QPDFObjectHandle arrayOf(const Box &box)
{
    QPDFObjectHandle array = QPDFObjectHandle::newArray();
    for (double value : {box.left, box.bottom, box.right, box.top})
        array.appendItem(QPDFObjectHandle::newReal(value, 6));
    return array;
}

/* A file of the page alone, with this box. */
std::string singlePage(QPDFObjectHandle page, const Box &box)
{
    QPDFObjectHandle plain = QPDFObjectHandle::newDictionary();
    plain.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    for (const char *key : {"/Resources", "/Contents", "/Group"})
        if (page.hasKey(key))
            plain.replaceKey(key, page.getKey(key));
    plain.replaceKey("/MediaBox", arrayOf(box));
    return singlePageFile(page.getOwningQPDF()->makeIndirectObject(plain));
}

/* ---- its picture ---- */

/* A grid of square pixels from the upper left corner of a region. */
struct Grid {
    double left, top; /* points */
    double pixel;     /* points */
    int width, height;
};

Grid gridOf(const Box &box, int resolution)
{
    double width = box.right - box.left, height = box.top - box.bottom;
    double pixel = POINTS_PER_INCH / resolution;
    pixel = std::max(pixel, std::sqrt(width * height / MAX_PIXELS) * 1.001);
    return {box.left, box.top, pixel, std::max(1, (int)std::ceil(width / pixel)),
            std::max(1, (int)std::ceil(height / pixel))};
}

/* The grid's area on a page whose unit is that many points.  It ends within its last pixels, so
 * that no rounding gives the renderer one more. */
Box pageBoxOf(const Grid &grid, double unit)
{
    constexpr double SHORT = 0.01; /* pixels */
    return {grid.left / unit, (grid.top - (grid.height - SHORT) * grid.pixel) / unit,
            (grid.left + (grid.width - SHORT) * grid.pixel) / unit, grid.top / unit};
}

/* The next number of a pixmap's header, behind comments; -1: there is none. */
long headerNumber(const std::string &pixmap, size_t *at)
{
    bool isComment = false;
    for (; *at < pixmap.size(); ++*at) {
        isComment = pixmap[*at] == '#' || (isComment && pixmap[*at] != '\n');
        if (!isComment && !isWhite(pixmap[*at]))
            break;
    }
    long value = -1;
    for (; *at < pixmap.size() && pixmap[*at] >= '0' && pixmap[*at] <= '9'; ++*at)
        value = std::min(std::max(value, 0l) * 10 + (pixmap[*at] - '0'), 1l << 30);
    return value;
}

/* Pixels of red, green and blue; nothing when they are not what was asked for. */
std::string pixelsOf(const std::string &pixmap, const Grid &grid)
{
    if (pixmap.compare(0, 2, "P6") != 0)
        return "";
    size_t at = 2;
    long width = headerNumber(pixmap, &at), height = headerNumber(pixmap, &at);
    bool isRight = width == grid.width && height == grid.height && headerNumber(pixmap, &at) == 255;
    size_t size = (size_t)grid.width * (size_t)grid.height * 3;
    if (!isRight || pixmap.size() < at + 1 || pixmap.size() - at - 1 < size)
        return "";
    return pixmap.substr(at + 1, size);
}

bool isGray(const std::string &pixels)
{
    for (size_t i = 0; i + 2 < pixels.size(); i += 3)
        if (pixels[i] != pixels[i + 1] || pixels[i] != pixels[i + 2])
            return false;
    return true;
}

QPDFObjectHandle renderedImage(Document *document, const std::string &pixels, const Grid &grid)
{
    PackedImage image;
    image.width = grid.width;
    image.height = grid.height;
    bool gray = isGray(pixels);
    image.components = gray ? 1 : 3;
    image.space = QPDFObjectHandle::newName(gray ? "/DeviceGray" : "/DeviceRGB");
    if (!gray) {
        image.bytes = pixels;
    } else {
        image.bytes.reserve(pixels.size() / 3);
        for (size_t i = 0; i < pixels.size(); i += 3)
            image.bytes.push_back(pixels[i]);
    }
    return newImage(document, image, ImageCode::FLATE);
}

/* What the renderer has made of a page and box, by its files: the same one is drawn once, however
 * often the document holds it.  Null where it made nothing. */
struct RenderedMemo {
    std::map<std::pair<size_t, size_t>, QPDFObjectHandle> images; /* by size and hash */
};

struct Rendering {
    Document *document;
    QPDFObjectHandle page; /* of the original */
    double unit;
    bool isSubtle = false; /* pdftoppm draws it otherwise than the standard says */
    bool isMissing = false, isOtherwise = false;
};

using Command = std::vector<std::string>;

Command popplerCommand(const std::string &resolution)
{
    return {"pdftoppm", "-q", "-r", resolution, "-hide-annotations", "{0}"};
}

Command ghostscriptCommand(const std::string &resolution, const Grid &grid)
{
    return {"gs",
            "-q",
            "-dSAFER",
            "-dBATCH",
            "-dNOPAUSE",
            "-sDEVICE=ppmraw",
            "-dTextAlphaBits=4",
            "-dGraphicsAlphaBits=4",
            "-dMaxBitmap=400000000", /* no files of its own */
            "-r" + resolution,
            "-g" + std::to_string(grid.width) + "x" + std::to_string(grid.height),
            "-sstdout=%stderr",
            "-sOutputFile=%stdout",
            "{0}"};
}

/* The renderer's picture; null: there is none. */
QPDFObjectHandle runRenderer(Rendering *rendering, const Grid &grid, ProgramCall call)
{
    std::string pixels;
    if (rendering->isSubtle) {
        ProgramCall exact = call;
        exact.command = ghostscriptCommand(call.command[3], grid);
        pixels = pixelsOf(runFor(rendering->document, exact).output, grid);
        rendering->isOtherwise |= pixels.empty();
    }
    if (pixels.empty()) {
        ProgramOutcome outcome = runFor(rendering->document, call);
        rendering->isMissing |= outcome.status == ProgramStatus::MISSING;
        pixels = pixelsOf(outcome.output, grid);
    }
    return pixels.empty() ? QPDFObjectHandle::newNull()
                          : renderedImage(rendering->document, pixels, grid);
}

/* The region as an image; null when the renderer does not do it. */
QPDFObjectHandle render(Rendering *rendering, const Grid &grid)
{
    ProgramCall call;
    double resolution = POINTS_PER_INCH / grid.pixel * rendering->unit;
    call.command = popplerCommand(numberText(resolution));
    call.inputs = {singlePage(rendering->page, pageBoxOf(grid, rendering->unit))};
    call.seconds = RENDER_SECONDS;
    call.memoryBytes = RENDER_MEMORY;
    call.outputBytes = (uint64_t)grid.width * (uint64_t)grid.height * 3 + 1024;
    std::hash<std::string> hash;
    auto &known = rendering->document->memos.of<RenderedMemo>().images;
    auto [found, isNew] =
        known.try_emplace({call.inputs[0].size(), hash(call.inputs[0]) ^ hash(call.command[3])},
                          QPDFObjectHandle::newNull());
    if (isNew)
        found->second = runRenderer(rendering, grid, call);
    return found->second;
}

/* ---- on the page ---- */

/* Adds images to resources that may be other pages' too. */
void addImages(Page *page, const std::map<std::string, QPDFObjectHandle> &images)
{
    QPDFObjectHandle resources = page->object.getKey("/Resources");
    resources =
        resources.isDictionary() ? resources.shallowCopy() : QPDFObjectHandle::newDictionary();
    QPDFObjectHandle entries = resources.getKey("/XObject");
    entries = entries.isDictionary() ? entries.shallowCopy() : QPDFObjectHandle::newDictionary();
    for (auto &[name, image] : images) {
        entries.replaceKey(name, image);
        page->usage.names[XOBJECT].insert(name);
    }
    resources.replaceKey("/XObject", entries);
    page->object.replaceKey("/Resources", resources);
}

std::string paintText(const Grid &grid, const std::string &name)
{
    double width = grid.width * grid.pixel, height = grid.height * grid.pixel;
    return "q " + numberText(width) + " 0 0 " + numberText(height) + " " + numberText(grid.left) +
           " " + numberText(grid.top - height) + " cm " + name + " Do Q\n";
}

/* Answers the number of regions painted. */
size_t paintAll(Rendering *rendering, Page *page)
{
    Document *document = rendering->document;
    std::map<std::string, QPDFObjectHandle> images;
    std::string content;
    int resolution = document->options.resolution;
    for (const Box &box : page->regions) {
        Grid grid = gridOf(box, resolution);
        QPDFObjectHandle image = render(rendering, grid);
        if (image.isNull())
            continue;
        std::string name = newName(document, "/PrRegion");
        images[name] = image;
        content += paintText(grid, name);
    }
    if (images.empty())
        return 0;
    surroundContent(document, page, "", content);
    addImages(page, images);
    return images.size();
}

std::string listOf(const std::set<std::string> &reasons)
{
    std::string list;
    for (const std::string &reason : reasons)
        list += (list.empty() ? "" : ", ") + reason;
    return list;
}

void noticeRegions(Document *document, const Page &page, const Rendering &rendering, size_t done)
{
    std::string reasons = listOf(page.regionReasons);
    double share = sumOf(page.regions) / std::max(areaOf(paperBox(page)), 1.0);
    std::string percent = std::to_string(std::max(1l, std::min(100l, std::lround(share * 100))));
    if (done > 0)
        say(document, Message::RegionDrawn, page.number, {percent, reasons});
    if (done > 0 && rendering.isOtherwise)
        say(document, Message::BlendedOtherwise, page.number);
    if (done < page.regions.size())
        say(document, rendering.isMissing ? Message::RendererMissing : Message::RendererFailed,
            page.number, {reasons});
}

} // namespace

void addRegion(Document *document, Page *page, const Box &box, const std::string &reason)
{
    Box paper = paperBox(*page);
    Box seen = intersection(box, paper);
    if (isEmpty(seen) || areaOf(seen) <= 0)
        return;
    page->regions.push_back(intersection(grown(seen, MARGIN), paper));
    page->regionReasons.insert(reason);
    document->needs |= NEED_CONTENT;
    mergeBoxes(&page->regions);
    if (sumOf(page->regions) > WHOLE_PAGE_SHARE * areaOf(paper))
        page->regions = {paper};
}

bool isInRegion(const Page &page, const Box &box)
{
    return std::any_of(page.regions.begin(), page.regions.end(),
                       [&](const Box &region) { return contains(region, box); });
}

bool paintRegions(Document *document, Page *page)
{
    if (page->regions.empty())
        return true;
    Page *source = pageOfOriginal(document, *page);
    if (!source)
        throw LimitReached{"The page cannot be read again to draw parts of it."};
    Rendering rendering{document, source->object, unitOf(*source)};
    rendering.isSubtle = page->needs & NEED_SUBTLE;
    size_t done = paintAll(&rendering, page);
    noticeRegions(document, *page, rendering, done);
    bool isWhole = done == page->regions.size();
    page->regions.clear();
    return isWhole;
}

} // namespace prepare
