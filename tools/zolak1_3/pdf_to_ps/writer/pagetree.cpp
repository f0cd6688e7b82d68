/*
 * pagetree.cpp - the page tree
 */
#include "tools/zolak1_3/pdf_to_ps/writer/pagetree.h"

#include <algorithm>

#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/objects.h"
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"
#include "tools/zolak1_3/pdf_to_ps/writer/pages.h"

namespace {

/* The containers that one node read; released when the node has been walked. */
struct NodeContent {
    DictPtr node;
    DictPtr resources;
    ArrayPtr contentArray;
    StreamPtr contentStream;
    ArrayPtr kids;
};

/* Reads up to four integers into a box; a value that is no array changes nothing. */
bool readBox(ConversionRun *run, PageBox *box)
{
    ArrayPtr array = readArray(run);
    if (!array)
        return false;
    int32_t *const sides[] = {&box->llx, &box->lly, &box->urx, &box->ury};
    for (int32_t i = 0; i < std::min(array->count, 4); i++) {
        fputp(run->input, array->items[i]);
        *sides[i] = readInteger(run);
    }
    return true;
}

void readContents(ConversionRun *run, NodeContent *content, PageAttributes *attributes)
{
    switch (peekType(run)) {
    case PDF_ARRAY:
        content->contentArray = readArray(run);
        attributes->contentArray = content->contentArray.get();
        attributes->contentStream = nullptr;
        break;
    case PDF_STREAM:
        content->contentStream = readStream(run);
        attributes->contentStream = content->contentStream.get();
        attributes->contentArray = nullptr;
        break;
    default:
        zolakReport(run, __LINE__, SEVERITY_WARNING, "badobj",
                    "Bad object type. STREAM or ARRAY exepcted.");
    }
}

/* Reads the entries that a node hands down, and its kids; false once the error flag is set. */
bool readNodeEntries(ConversionRun *run, NodeContent *content, PageAttributes *attributes,
                     bool *hasKids)
{
    const PdfDict *node = content->node.get();
    if (findKey(run, node, "/Resources") >= 0) {
        content->resources = readDict(run);
        attributes->resources = content->resources.get();
    }
    if (run->errorFlag)
        return false;
    if (findKey(run, node, "/Contents") >= 0)
        readContents(run, content, attributes);
    if (run->errorFlag)
        return false;
    *hasKids = findKey(run, node, "/Kids") >= 0;
    if (*hasKids)
        content->kids = readArray(run);
    if (run->errorFlag)
        return false;
    if (findKey(run, node, "/MediaBox") >= 0)
        readBox(run, &attributes->MediaBox);
    if (run->errorFlag)
        return false;
    if (findKey(run, node, "/CropBox") >= 0 && readBox(run, &attributes->CropBox))
        attributes->hasCropBox = 1;
    if (run->errorFlag)
        return false;
    if (findKey(run, node, "/Rotate") >= 0)
        attributes->rotation = -(int64_t)readInteger(run);
    return !run->errorFlag;
}

/* Is the selected page beyond this node?  Then its pages are counted unread. */
bool skipSubtree(ConversionRun *run, const PdfDict *node, int64_t *pageCounter)
{
    if (findKey(run, node, "/Count") < 0 || run->selectedPage == 0)
        return false;
    int32_t count = readInteger(run);
    if (run->selectedPage <= *pageCounter + count)
        return false;
    *pageCounter += count;
    return true;
}

/* A well-formed tree visits no entry of a /Kids array twice, and an entry takes some bytes of the
 * file.  Beyond that, and beyond what takes no time, shared nodes are multiplying. */
bool countNode(ConversionRun *run)
{
    constexpr uint32_t ALWAYS_ALLOWED = 65536;
    if (++run->written.nodesVisited <= std::max(fgeteof(run->input), ALWAYS_ALLOWED))
        return true;
    zolakReport(run, __LINE__, SEVERITY_ERROR, "BADOBJ",
                "Page tree has more nodes than the file can hold.");
    return false;
}

void walkLeaf(ConversionRun *run, const PageAttributes &attributes, int64_t *pageCounter)
{
    ++*pageCounter;
    if (run->selectedPage != 0 && run->selectedPage != *pageCounter)
        return;
    run->currentPage = (int32_t)*pageCounter;
    zolakReport(run, __LINE__, SEVERITY_INFO, "PAGE", "Processing page %d", (int)*pageCounter);
    stopWhenCancelled(run);
    describePage(run, attributes);
    run->pagesWritten += !run->errorFlag;
}

} // namespace

void walkPageTree(ConversionRun *run, PageAttributes attributes, int64_t *pageCounter)
{
    if (run->errorFlag || (run->selectedPage != 0 && *pageCounter > run->selectedPage))
        return;
    NestingLevel level(run, run->written.pageTreeDepth);
    if (level.tooDeep || !countNode(run))
        return;

    NodeContent content;
    content.node = readDict(run);
    if (run->errorFlag || skipSubtree(run, content.node.get(), pageCounter))
        return;
    bool hasKids;
    if (!readNodeEntries(run, &content, &attributes, &hasKids))
        return;
    if (!hasKids) {
        walkLeaf(run, attributes, pageCounter);
        return;
    }
    for (int32_t i = 0; content.kids && i < content.kids->count; i++) {
        fputp(run->input, content.kids->items[i]);
        walkPageTree(run, attributes, pageCounter);
    }
}
