/*
 * pages.cpp - the description of one page
 */
#include "tools/zolak1_3/pdf_to_ps/writer/pages.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tools/zolak1_3/pdf_to_ps/writer/contents.h"
#include "tools/zolak1_3/pdf_to_ps/writer/resources.h"
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

/* The description of a page, as the exact form has it. */
struct PageWriter : PageSink {
    bool beginPage(ConversionRun *run, const PageAttributes &attributes) override
    {
        run->pageWritten = 1;
        run->written.resourceEntries = 0;
        Rectangle page = pageRectangle(attributes);
        if (page.x2 - page.x1 <= 0 || page.y2 - page.y1 <= 0)
            return false;
        fputstr(run->output, "BeginPageDescription");
        return true;
    }

    void resources(ConversionRun *run, const PdfDict *resources) override
    {
        writeResources(run, resources);
    }

    void beginContents(ConversionRun *run, const PageAttributes &attributes) override
    {
        Rectangle page = pageRectangle(attributes);
        ZFile *output = run->output;
        fputstr_arg(output, "<< /PageSize [ %lld %lld ] >> setpagedevice",
                    (long long)(page.x2 - page.x1), (long long)(page.y2 - page.y1));
        fputstr_arg(output, "%lld %lld translate", (long long)-page.x1, (long long)-page.y1);
        fputstr_arg(output, "%lld rotate", (long long)attributes.rotation);
    }

    void contents(ConversionRun *run, const PdfStream *stream) override
    {
        writePageContents(run, stream);
    }

    void endPage(ConversionRun *run, const PageAttributes &, bool isWhole) override
    {
        if (isWhole)
            fputstr(run->output, "EndPageDescription");
    }
};

/* Hands the streams of a /Contents array over; false once the error flag is set. */
bool describeArray(ConversionRun *run, const PdfArray *array)
{
    for (int32_t i = 0; i < array->count; i++) {
        fputp(run->input, array->items[i]);
        StreamPtr stream = readStream(run);
        if (run->errorFlag)
            return false;
        run->sink->contents(run, stream.get());
    }
    return true;
}

} // namespace

PageSink *pageWriter()
{
    static PageWriter writer;
    return &writer;
}

void describePage(ConversionRun *run, const PageAttributes &attributes)
{
    PageSink &sink = *run->sink;
    if (!sink.beginPage(run, attributes))
        return;
    if (attributes.resources)
        sink.resources(run, attributes.resources);
    sink.beginContents(run, attributes);
    bool isWhole = !attributes.contentArray || describeArray(run, attributes.contentArray);
    if (isWhole && attributes.contentStream)
        sink.contents(run, attributes.contentStream);
    sink.endPage(run, attributes, isWhole);
}
