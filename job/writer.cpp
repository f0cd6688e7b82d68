/*
 * writer.cpp - the second walk: shared parts, then page after page
 */
#include "job/writer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "job/comments.h"
#include "job/parts.h"
#include "seam/messages.h"
#include "tools/zolak1_3/pdf_to_ps/writer/contents.h"
#include "tools/zolak1_3/pdf_to_ps/writer/redirect.h"
#include "tools/zolak1_3/pdf_to_ps/writer/resources.h"
#include "tools/zolak1_3/pdf_to_ps/writer/serializer.h"
#include "zelkov/format.h"

namespace job {

namespace {

constexpr size_t SAMPLE_BYTES = 4096;
constexpr size_t LEAST_PASSED_BYTES = 2048; /* less is not worth another block */

PageWriter &writerOf(ConversionRun *run)
{
    return *static_cast<PageWriter *>(run->plan);
}

/* ---- data that passes through */

/* Data that is compressed already is stored, see SectionWriter::passThrough. */
void passThrough(ConversionRun *run, uint32_t start, uint32_t count)
{
    SectionWriter *section = writerOf(run).section;
    if (!section)
        return;
    bool isCompressed = false;
    if (count >= LEAST_PASSED_BYTES) {
        uint8_t sample[SAMPLE_BYTES];
        fputp(run->input, start + (count - (uint32_t)std::min<size_t>(count, sizeof sample)) / 2);
        size_t got = fgetm(run->input, sample, std::min<size_t>(count, sizeof sample));
        isCompressed = looksCompressed({sample, got});
    }
    section->passThrough(isCompressed);
}

/* ---- content */

void writeContents(ConversionRun *run, const PdfStream *stream)
{
    const PlannedResource *planned = writerOf(run).plan->find(stream->dataPosition);
    if (planned && planned->shared >= 0) {
        fputstr_arg(run->output, "%d UseContents", (int)planned->shared);
        return;
    }
    std::string content;
    if (!undoneContent(run, stream, &content)) {
        writePageContents(run, stream);
        return;
    }
    fputstr_arg(run->output, "<< /Length %zu >>", content.size());
    fputstr(run->output, "PageContents");
    fputm(run->output, content.data(), content.size());
    fputstr(run->output, "");
}

/* ---- resources */

void writeNested(ConversionRun *run, ValuePosition dictionary)
{
    fputp(run->input, dictionary);
    if (DictPtr resources = readDict(run))
        run->writeResources(run, resources.get());
}

/* One entry of a resource dictionary: a line when it is shared, else its definition. */
bool writeEntry(ConversionRun *run, const char *name, ValuePosition position, DefineEntry define)
{
    const PlannedResource *planned = writerOf(run).plan->find(position);
    if (!planned || planned->shared < 0) {
        if (!countResourceEntry(run))
            return false;
        fputp(run->input, position);
        return define(run, name);
    }
    if (planned->nested)
        writeNested(run, planned->nested);
    fputstr_arg(run->output, "%s %d UseShared", name, (int)planned->shared);
    return true;
}

void writeResourceLines(ConversionRun *run, const PdfDict *resources)
{
    PageWriter &writer = writerOf(run);
    NestingLevel level(run, run->written.resourceDepth);
    if (run->errorFlag || level.tooDeep)
        return;
    for (const ResourceKind &kind : resourceKinds) {
        if (findKey(run, resources, kind.key) < 0)
            continue;
        DictPtr entries = readDict(run);
        for (int32_t i = 0; entries && i < entries->count; i++) {
            if (run->errorFlag || ++writer.lines > LINES_LIMIT)
                return;
            if (!writeEntry(run, dictKey(entries.get(), i), entries->entries[i].value, kind.define))
                break;
        }
    }
}

/* The resources of a page, or, in brackets, those of the form or font that comes next. */
void writeScope(ConversionRun *run, const PdfDict *resources)
{
    bool isPage = run->written.resourceDepth == 0;
    if (!isPage)
        fputstr(run->output, "OpenResources");
    writeResourceLines(run, resources);
    if (!isPage)
        fputstr(run->output, "CloseResources");
}

/* ---- a page */

void writePlacement(ConversionRun *run, const Options &options, const PlannedPage &page)
{
    Placement placed = placePage(page.width(), page.height(), options.paper);
    if (!placed.isIdentity()) {
        for (double number : placed.matrix)
            fputstr_arg_noeol(run->output, "%.6f ", number);
        fputstr(run->output, "Place");
    }
    fputstr_arg(run->output, "0 0 %lld %lld PageClip", (long long)page.width(),
                (long long)page.height());
}

void writePageText(ConversionRun *run, const PageAttributes &attributes, const PlannedPage &page)
{
    run->written.resourceEntries = 0;
    writerOf(run).lines = 0;
    if (attributes.resources)
        run->writeResources(run, attributes.resources);
    writePlacement(run, *writerOf(run).options, page);
    fputstr_arg(run->output, "%lld %lld translate", (long long)-page.rectangle.x1,
                (long long)-page.rectangle.y1);
    fputstr_arg(run->output, "%lld rotate", (long long)attributes.rotation);
    if (attributes.contentStream && !run->errorFlag)
        writeContents(run, attributes.contentStream);
    for (int32_t i = 0; attributes.contentArray && i < attributes.contentArray->count; i++) {
        fputp(run->input, attributes.contentArray->items[i]);
        StreamPtr stream = readStream(run);
        if (run->errorFlag)
            return;
        writeContents(run, stream.get());
    }
}

/* Failures that are not the page's: nothing more can be written, or it shall not be. */
bool isFatal(const PageWriter &writer)
{
    return writer.run->wasCancelled || zfile_writeError(writer.job) ||
           zfile_readError(writer.run->input);
}

/* What the page could not bring is missing; the others go on. */
void forgivePage(PageWriter &writer)
{
    if (!writer.run->errorFlag || isFatal(writer))
        return;
    writer.isWhole = false;
    writer.run->errorFlag = 0;
    control_endRun(writer.run->controller);
}

/* Runs `write` with the run's output in a section of its own. */
template <class Write> void inSection(PageWriter &writer, const char *procedure, Write write)
{
    SectionWriter section(writer.job, writer.encoding, procedure);
    writer.section = &section;
    {
        OutputRedirect redirect(writer.run, section.file());
        write();
    }
    writer.section = nullptr;
    forgivePage(writer);
    if (!section.finish() && !writer.run->errorFlag)
        zolakReport(writer.run, __LINE__, SEVERITY_ERROR,
                    seam::rowOf(seam::Message::OutputFailed).key, "%s",
                    seam::sentence(seam::Message::OutputFailed, {strerror(errno)}).c_str());
}

void writePage(ConversionRun *run, const PageAttributes &attributes)
{
    PageWriter &writer = writerOf(run);
    const std::vector<PlannedPage> &pages = writer.plan->pages;
    if (writer.written >= pages.size() || pages[writer.written].inDocument != run->currentPage)
        return;
    const PlannedPage &page = pages[writer.written++];
    int ordinal = (int)writer.written;
    if (writer.callbacks->progress)
        writer.callbacks->progress(ordinal, (int)pages.size());
    errno = 0; /* the reader takes it for its own */
    writePageComments(writer.job, *writer.options, page, ordinal);
    if (page.isEmpty()) {
        fputstr(writer.job, "showpage");
    } else {
        inSection(writer, "PdfPage", [&] { writePageText(run, attributes, page); });
    }
    fputstr(writer.job, "%%PageTrailer");
}

/* ---- shared parts */

int appendTo(void *context, const uint8_t *bytes, size_t count)
{
    static_cast<std::string *>(context)->append((const char *)bytes, count);
    return 0;
}

void writePart(PageWriter &writer, size_t number)
{
    ConversionRun *run = writer.run;
    std::string text, name = "/S" + std::to_string(number);
    writer.part = &writer.plan->resources[writer.plan->shared[number]];
    definePart(run, *writer.part, name.c_str(), {appendTo, &text});
    forgivePage(writer);
    writer.part = nullptr;
    fputstr_arg(run->output, "%zu %zu", number, text.size());
    bool isCompressed = text.size() >= LEAST_PASSED_BYTES &&
                        looksCompressed({(const uint8_t *)text.data() + text.size() / 3,
                                         std::min(text.size() / 2, SAMPLE_BYTES)});
    writer.section->passThrough(isCompressed);
    fputm(run->output, text.data(), text.size());
    writer.section->passThrough(false);
}

} // namespace

void writeShared(PageWriter *writer)
{
    if (writer->plan->shared.empty())
        return;
    ConversionRun *run = writer->run;
    run->plan = writer;
    run->passThrough = nullptr; /* the parts decide for themselves */
    inSection(*writer, "PdfShared", [&] {
        for (size_t i = 0; i < writer->plan->shared.size() && !run->errorFlag; i++)
            writePart(*writer, i);
    });
    run->plan = nullptr;
}

void writePages(PageWriter *writer)
{
    ConversionRun *run = writer->run;
    run->plan = writer;
    run->writeResources = writeScope;
    run->writePage = writePage;
    run->passThrough = passThrough;
    walkPages(run);
    run->passThrough = nullptr;
    run->plan = nullptr;
}

} // namespace job
