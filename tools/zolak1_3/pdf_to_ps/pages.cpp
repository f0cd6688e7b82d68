/*
 * pages.cpp - the page tree and the description of one page
 */
#include "tools/zolak1_3/pdf_to_ps/pages.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/zolak1_3/pdf_to_ps/contents.h"
#include "tools/zolak1_3/pdf_to_ps/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/resources.h"
#include "zelkov/format.h"

namespace {

/* ---- one page */

/* A rectangle after rotation, its corners in order; wide enough for every box. */
struct Rectangle {
    int64_t x1, y1, x2, y2;
};

int64_t nint(double value)
{
    return std::llround(value); /* halves away from zero */
}

Rectangle rotateBox(const PageBox &box, double angle)
{
    double cosine = cos(angle), sine = sin(angle);
    auto rotatedX = [&](double x, double y) { return nint(cosine * x - y * sine); };
    auto rotatedY = [&](double x, double y) { return nint(y * cosine + sine * x); };
    Rectangle r = {rotatedX(box.llx, box.lly), rotatedY(box.llx, box.lly),
                   rotatedX(box.urx, box.ury), rotatedY(box.urx, box.ury)};
    if (r.x1 > r.x2)
        std::swap(r.x1, r.x2);
    if (r.y1 > r.y2)
        std::swap(r.y1, r.y2);
    return r;
}

Rectangle intersect(const Rectangle &a, const Rectangle &b)
{
    return {std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
}

/* The visible part of the page as it lies on the paper. */
Rectangle pageRectangle(const PageAttributes &attributes)
{
    double angle = attributes.rotation * 6.283185307179586 / 360.0;
    Rectangle page = rotateBox(attributes.MediaBox, angle);
    if (attributes.hasCropBox)
        page = intersect(page, rotateBox(attributes.CropBox, angle));
    return page;
}

/* Writes the streams of a /Contents array; false once the error flag is set. */
bool writeContentArray(ConverterInstance *inst, const PdfArray *array)
{
    for (int32_t i = 0; i < array->count; i++) {
        fputp(inst->input, array->items[i]);
        StreamPtr stream = readStream(inst);
        if (inst->errorFlag)
            return false;
        writePageContents(inst, stream.get());
    }
    return true;
}

/* ---- the tree */

/* The containers that one node read; released when the node has been walked. */
struct NodeContent {
    DictPtr node;
    DictPtr resources;
    ArrayPtr contentArray;
    StreamPtr contentStream;
    ArrayPtr kids;
};

/* Reads up to four integers into a box; a value that is no array changes nothing. */
bool readBox(ConverterInstance *inst, PageBox *box)
{
    ArrayPtr array = readArray(inst);
    if (!array)
        return false;
    int32_t *const sides[] = {&box->llx, &box->lly, &box->urx, &box->ury};
    for (int32_t i = 0; i < std::min(array->count, 4); i++) {
        fputp(inst->input, array->items[i]);
        *sides[i] = readInteger(inst);
    }
    return true;
}

void readContents(ConverterInstance *inst, NodeContent *content, PageAttributes *attributes)
{
    switch (peekType(inst)) {
    case PDF_ARRAY:
        content->contentArray = readArray(inst);
        attributes->contentArray = content->contentArray.get();
        attributes->contentStream = nullptr;
        break;
    case PDF_STREAM:
        content->contentStream = readStream(inst);
        attributes->contentStream = content->contentStream.get();
        attributes->contentArray = nullptr;
        break;
    default:
        zolakReport(inst, __LINE__, SEVERITY_WARNING, "badobj",
                    "Bad object type. STREAM or ARRAY exepcted.");
    }
}

/* Reads the entries that a node hands down, and its kids; false once the error flag is set. */
bool readNodeEntries(ConverterInstance *inst, NodeContent *content, PageAttributes *attributes,
                     bool *hasKids)
{
    const PdfDict *node = content->node.get();
    if (findKey(inst, node, "/Resources") >= 0) {
        content->resources = readDict(inst);
        attributes->resources = content->resources.get();
    }
    if (inst->errorFlag)
        return false;
    if (findKey(inst, node, "/Contents") >= 0)
        readContents(inst, content, attributes);
    if (inst->errorFlag)
        return false;
    *hasKids = findKey(inst, node, "/Kids") >= 0;
    if (*hasKids)
        content->kids = readArray(inst);
    if (inst->errorFlag)
        return false;
    if (findKey(inst, node, "/MediaBox") >= 0)
        readBox(inst, &attributes->MediaBox);
    if (inst->errorFlag)
        return false;
    if (findKey(inst, node, "/CropBox") >= 0 && readBox(inst, &attributes->CropBox))
        attributes->hasCropBox = 1;
    if (inst->errorFlag)
        return false;
    if (findKey(inst, node, "/Rotate") >= 0)
        attributes->rotation = (int32_t) - (uint32_t)readInteger(inst);
    return !inst->errorFlag;
}

/* Is the selected page beyond this node?  Then its pages are counted unread. */
bool skipSubtree(ConverterInstance *inst, const PdfDict *node, int64_t *pageCounter)
{
    if (findKey(inst, node, "/Count") < 0 || inst->PAGE == 0)
        return false;
    int32_t count = readInteger(inst);
    if (inst->PAGE <= *pageCounter + count)
        return false;
    *pageCounter += count;
    return true;
}

/* A well-formed tree visits no entry of a /Kids array twice, and an entry takes some bytes of the
 * file.  Beyond that, and beyond what takes no time, shared nodes are multiplying. */
bool countNode(ConverterInstance *inst)
{
    constexpr uint32_t ALWAYS_ALLOWED = 65536;
    if (++inst->limits.nodesVisited <= std::max(fgeteof(inst->input), ALWAYS_ALLOWED))
        return true;
    zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADOBJ",
                "Page tree has more nodes than the file can hold.");
    return false;
}

void walkLeaf(ConverterInstance *inst, const PageAttributes &attributes, int64_t *pageCounter)
{
    ++*pageCounter;
    if (inst->PAGE != 0 && inst->PAGE != *pageCounter)
        return;
    zolakReport(inst, __LINE__, SEVERITY_INFO, "PAGE", "Processing page %d", (int)*pageCounter);
    writePageDescription(inst, attributes);
}

} // namespace

void walkPageTree(ConverterInstance *inst, PageAttributes attributes, int64_t *pageCounter)
{
    if (inst->errorFlag || (inst->PAGE != 0 && *pageCounter > inst->PAGE))
        return;
    NestingLevel level(inst, &ReaderLimits::pageTreeDepth);
    if (level.tooDeep || !countNode(inst))
        return;

    NodeContent content;
    content.node = readDict(inst);
    if (inst->errorFlag || skipSubtree(inst, content.node.get(), pageCounter))
        return;
    bool hasKids;
    if (!readNodeEntries(inst, &content, &attributes, &hasKids))
        return;
    if (!hasKids) {
        walkLeaf(inst, attributes, pageCounter);
        return;
    }
    for (int32_t i = 0; content.kids && i < content.kids->count; i++) {
        fputp(inst->input, content.kids->items[i]);
        walkPageTree(inst, attributes, pageCounter);
    }
}

void writePageDescription(ConverterInstance *inst, const PageAttributes &attributes)
{
    inst->pageWritten = 1;
    inst->limits.resourceEntries = 0;
    Rectangle page = pageRectangle(attributes);
    int64_t width = page.x2 - page.x1, height = page.y2 - page.y1;
    if (width <= 0 || height <= 0)
        return;

    ZFile *output = inst->output;
    fputstr(output, "BeginPageDescription");
    if (attributes.resources)
        writeResources(inst, attributes.resources);
    fputstr_arg(output, "<< /PageSize [ %lld %lld ] >> setpagedevice", (long long)width,
                (long long)height);
    fputstr_arg(output, "%lld %lld translate", (long long)-page.x1, (long long)-page.y1);
    fputstr_arg(output, "%d rotate", attributes.rotation);
    if (attributes.contentArray && !writeContentArray(inst, attributes.contentArray))
        return;
    if (attributes.contentStream)
        writePageContents(inst, attributes.contentStream);
    fputstr(output, "EndPageDescription");
}
