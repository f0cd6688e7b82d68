/*
 * pages.cpp - the description of one page
 */
#include "tools/zolak1_3/pdf_to_ps/writer/pages.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/zolak1_3/pdf_to_ps/writer/contents.h"
#include "zelkov/format.h"

namespace {

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

} // namespace

Rectangle pageRectangle(const PageAttributes &attributes)
{
    double angle = (double)attributes.rotation * 6.283185307179586 / 360.0;
    Rectangle page = rotateBox(attributes.MediaBox, angle);
    if (attributes.hasCropBox)
        page = intersect(page, rotateBox(attributes.CropBox, angle));
    return page;
}

namespace {

/* Writes the streams of a /Contents array; false once the error flag is set. */
bool writeContentArray(ConversionRun *run, const PdfArray *array)
{
    for (int32_t i = 0; i < array->count; i++) {
        fputp(run->input, array->items[i]);
        StreamPtr stream = readStream(run);
        if (run->errorFlag)
            return false;
        writePageContents(run, stream.get());
    }
    return true;
}

} // namespace

void writePageDescription(ConversionRun *run, const PageAttributes &attributes)
{
    run->pageWritten = 1;
    run->written.resourceEntries = 0;
    Rectangle page = pageRectangle(attributes);
    int64_t width = page.x2 - page.x1, height = page.y2 - page.y1;
    if (width <= 0 || height <= 0)
        return;

    ZFile *output = run->output;
    fputstr(output, "BeginPageDescription");
    if (attributes.resources)
        run->writeResources(run, attributes.resources);
    fputstr_arg(output, "<< /PageSize [ %lld %lld ] >> setpagedevice", (long long)width,
                (long long)height);
    fputstr_arg(output, "%lld %lld translate", (long long)-page.x1, (long long)-page.y1);
    fputstr_arg(output, "%lld rotate", (long long)attributes.rotation);
    if (attributes.contentArray && !writeContentArray(run, attributes.contentArray))
        return;
    if (attributes.contentStream)
        writePageContents(run, attributes.contentStream);
    fputstr(output, "EndPageDescription");
}
