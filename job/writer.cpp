/*
 * writer.cpp - the second walk: shared parts, then page after page
 */
#include "job/writer.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <optional>

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
constexpr double MOST_WHOLE = 1e9;          /* what is written as a whole number */

/* While it lives, what the run writes goes into a section of its own. */
class PageSection {
  public:
    PageSection(PageWriter *pageWriter, SectionKind kind, const char *procedure)
        : writer(pageWriter),
          section(writer->job, writer->encoding, kind, procedure, &writer->account)
    {
        writer->section = &section;
        redirect.emplace(writer->run, section.file());
    }
    ~PageSection() { writer->section = nullptr; }
    PageSection(const PageSection &) = delete;
    PageSection &operator=(const PageSection &) = delete;

    /* Ends the section; what the page could not bring is missing from it.  False: it has been
     * refused, and is not there. */
    bool finish();

  private:
    PageWriter *writer;
    SectionWriter section;
    std::optional<OutputRedirect> redirect;
};

/* Takes the pages of the second walk: comments, and a section for each. */
struct JobPages : PageSink {
    explicit JobPages(PageWriter *pageWriter) : writer(pageWriter) {}
    bool beginPage(ConversionRun *run, const PageAttributes &attributes) override;
    void resources(ConversionRun *run, const PdfDict *resources) override;
    void beginContents(ConversionRun *run, const PageAttributes &attributes) override;
    void contents(ConversionRun *run, const PdfStream *stream) override;
    void endPage(ConversionRun *run, const PageAttributes &attributes, bool isWhole) override;
    void passThrough(ConversionRun *run, uint32_t start, uint32_t count) override;
    const char *contentReader() override { return "ReadContent"; }
    void writeContent(ConversionRun *run);

    const PlannedPage &page() const { return writer->plan->pages[writer->written - 1]; }

    /* Does the section of a page show it?  Else something comes behind it on the same side. */
    bool isShownBySection() const
    {
        const Arrangement &arrangement = writer->options->arrangement;
        return arrangement.perSide == 1 && !arrangement.hasBorders;
    }

    PageWriter *writer;
    std::optional<PageSection> section; /* of the page that has begun */
    std::string content;                /* of it, not written yet: its streams are one content */
    PlacedSide side = {};               /* that it lies on */
    Placement placement = {};
};

/* ---- data that passes through */

/* Data that is compressed already is stored, see SectionWriter::passThrough. */
void JobPages::passThrough(ConversionRun *run, uint32_t start, uint32_t count)
{
    if (!writer->section)
        return;
    bool isCompressed = false;
    if (count >= LEAST_PASSED_BYTES) {
        uint8_t sample[SAMPLE_BYTES];
        fputp(run->input, start + (count - (uint32_t)std::min<size_t>(count, sizeof sample)) / 2);
        size_t got = fgetm(run->input, sample, std::min<size_t>(count, sizeof sample));
        isCompressed = looksCompressed({sample, got});
    }
    writer->section->passThrough(isCompressed);
}

/* ---- content */

/* Writes what has been gathered of the page's content. */
void JobPages::writeContent(ConversionRun *run)
{
    if (content.empty())
        return;
    fputstr_arg(run->output, "<< /Length %zu >>", content.size());
    fputstr(run->output, "PageContents");
    fputm(run->output, content.data(), content.size());
    fputstr(run->output, "");
    content.clear();
}

void JobPages::contents(ConversionRun *run, const PdfStream *stream)
{
    const PlannedResource *planned = writer->plan->find(stream->dataPosition);
    std::string part;
    if (planned && planned->shared >= 0) {
        writeContent(run);
        fputstr_arg(run->output, "%d UseContents", (int)planned->shared);
    } else if (undoneContent(run, stream, &part)) {
        content += content.empty() ? "" : "\n\n";
        content += part;
    } else {
        writeContent(run);
        writePageContents(run, stream);
    }
}

/* ---- resources */

void writeNested(ConversionRun *run, ValuePosition dictionary)
{
    fputp(run->input, dictionary);
    if (DictPtr resources = readDict(run))
        run->sink->resources(run, resources.get());
}

/* One entry of a resource dictionary: a line when it is shared, else its definition. */
bool writeEntry(PageWriter &writer, const char *name, ValuePosition position, DefineEntry define)
{
    ConversionRun *run = writer.run;
    const PlannedResource *planned = writer.plan->find(position);
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

void writeResourceLines(PageWriter &writer, const PdfDict *resources)
{
    ConversionRun *run = writer.run;
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
            if (!writeEntry(writer, dictKey(entries.get(), i), entries->entries[i].value,
                            kind.define))
                break;
        }
    }
}

/* The resources of a page, or, in brackets, those of the form or font that comes next. */
void JobPages::resources(ConversionRun *run, const PdfDict *resources)
{
    bool isPage = run->written.resourceDepth == 0;
    if (!isPage)
        fputstr(run->output, "OpenResources");
    writeResourceLines(*writer, resources);
    if (!isPage)
        fputstr(run->output, "CloseResources");
}

/* ---- a page */

void writeNumbers(ConversionRun *run, std::initializer_list<double> numbers)
{
    for (double number : numbers) {
        if (number == std::floor(number) && std::fabs(number) < MOST_WHOLE)
            fputstr_arg_noeol(run->output, "%lld ", (long long)number);
        else
            fputstr_arg_noeol(run->output, "%.6f ", number);
    }
}

void writePlacement(ConversionRun *run, const Placement &placed)
{
    if (placed.matrix != IDENTITY) {
        for (double number : placed.matrix)
            fputstr_arg_noeol(run->output, "%.6f ", number);
        fputstr(run->output, "Place");
    }
    const Area &seen = placed.seen;
    writeNumbers(run, {seen.left, seen.bottom, seen.width(), seen.height()});
    fputstr(run->output, "PageClip");
}

/* A thin line around each page of a side. */
void writeBorders(ZFile *job, const PlacedSide &side)
{
    fputstr(job, "gsave 0 setgray 0.5 setlinewidth 0 setlinejoin [ ] 0 setdash");
    for (const PlacedPage &page : side.pages) {
        const Area &box = page.at.covered;
        if (!page.page->isEmpty())
            fputstr_arg(job, "%.3f %.3f %.3f %.3f rectstroke", box.left, box.bottom, box.width(),
                        box.height());
    }
    fputstr(job, "grestore");
}

/* Ends the side of which a page has been written or left out, where it is the last one. */
void endSide(PageWriter &writer, const PlacedSide &side, bool isShown)
{
    const Options &options = *writer.options;
    size_t perSide = (size_t)options.arrangement.perSide;
    if (writer.written % perSide != 0 && writer.written < writer.plan->pages.size())
        return;
    if (options.arrangement.hasBorders)
        writeBorders(writer.job, side);
    if (!isShown)
        fputstr(writer.job, "showpage");
    fputstr(writer.job, "%%PageTrailer");
}

/* Failures that are not the page's: nothing more can be written, or it shall not be. */
bool isFatal(const PageWriter &writer)
{
    return writer.run->wasCancelled || zfile_writeError(writer.job) ||
           zfile_readError(writer.run->input);
}

/* What the page could not bring is missing; the others go on. */
void recoverPage(PageWriter &writer)
{
    if (!writer.run->errorFlag || isFatal(writer))
        return;
    writer.isWhole = false;
    writer.run->errorFlag = 0;
    control_endRun(writer.run->controller);
}

/* ---- sections */

/* Something is missing on a page. */
void tellLoss(ConversionRun *run, int line, const seam::Notice &loss)
{
    zolakReport(run, line, SEVERITY_WARNING, loss.key.c_str(), "%s", loss.text.c_str());
}

bool PageSection::finish()
{
    redirect.reset();
    writer->section = nullptr;
    recoverPage(*writer);
    ConversionRun *run = writer->run;
    Verdict verdict;
    if (!section.finish(&verdict) && !run->errorFlag)
        zolakReport(run, __LINE__, SEVERITY_ERROR, seam::rowOf(seam::Message::OutputFailed).key,
                    "%s", seam::sentence(seam::Message::OutputFailed, {strerror(errno)}).c_str());
    if (!verdict.surplus.empty())
        tellLoss(run, __LINE__, seam::notice(seam::Message::PageTooMuch, 0, {verdict.surplus}));
    else if (!verdict.cause.empty())
        tellLoss(run, __LINE__, seam::notice(seam::Message::PageRefused, 0, {verdict.cause}));
    return verdict.isAccepted();
}

bool JobPages::beginPage(ConversionRun *run, const PageAttributes &)
{
    const std::vector<PlannedPage> &pages = writer->plan->pages;
    if (writer->written >= pages.size() || pages[writer->written].inDocument != run->currentPage)
        return false;
    const Options &options = *writer->options;
    size_t perSide = (size_t)options.arrangement.perSide, place = writer->written % perSide;
    size_t number = writer->written / perSide;
    int ordinal = (int)++writer->written;
    if (writer->callbacks->progress)
        writer->callbacks->progress(ordinal, (int)pages.size());
    errno = 0; /* the reader takes it for its own */
    side = placedSide(options, *writer->plan, number);
    placement = side.pages[place].at;
    if (place == 0)
        writeSideComments(writer->job, options, side, number + 1);
    if (page().isEmpty()) {
        endSide(*writer, side, false);
        return false;
    }
    section.emplace(writer, SectionKind::PAGE, isShownBySection() ? "PdfPage" : "PdfCell");
    run->written.resourceEntries = 0;
    writer->lines = 0;
    content.clear();
    return true;
}

void JobPages::beginContents(ConversionRun *run, const PageAttributes &attributes)
{
    writePlacement(run, placement);
    fputstr_arg(run->output, "%lld %lld translate", (long long)-page().rectangle.x1,
                (long long)-page().rectangle.y1);
    fputstr_arg(run->output, "%lld rotate", (long long)attributes.rotation);
}

void JobPages::endPage(ConversionRun *run, const PageAttributes &, bool)
{
    writeContent(run);
    bool isThere = section->finish(); /* else it keeps its place, and is blank */
    writer->isWhole &= isThere;
    section.reset();
    endSide(*writer, side, isThere && isShownBySection());
}

/* ---- shared parts */

int keepIn(void *context, const uint8_t *bytes, size_t count)
{
    Spool *text = static_cast<Spool *>(context);
    text->write({bytes, count});
    return text->failure();
}

/* A part that is refused is empty: only that resource is missing. */
bool isAccepted(PageWriter &writer, Spool *text)
{
    Verdict verdict;
    if (accept(text, SectionKind::PART, &writer.account, &verdict))
        return true;
    std::string cause =
        verdict.cause.empty() ? "it has more than " + verdict.surplus : verdict.cause;
    tellLoss(writer.run, __LINE__,
             seam::notice(seam::Message::PartRefused, 0, {writer.part->name, cause}));
    writer.isWhole = false;
    return false;
}

/* Is most of it data that is compressed already?  A third of the way in there is no text any more.
 */
bool isMostlyCompressed(Spool *text)
{
    if (text->size() < LEAST_PASSED_BYTES || !text->isInMemory())
        return false;
    Bytes bytes = text->inMemory();
    return looksCompressed(
        bytes.subspan(bytes.size() / 3, std::min(bytes.size() / 2, SAMPLE_BYTES)));
}

void writePart(PageWriter &writer, size_t number)
{
    ConversionRun *run = writer.run;
    Spool text(writer.account.most(DECODED_BYTES));
    std::string name = "/S" + std::to_string(number);
    writer.part = &writer.plan->resources[writer.plan->shared[number]];
    definePart(run, *writer.part, name.c_str(), {keepIn, &text});
    recoverPage(writer);
    bool isThere = isAccepted(writer, &text);
    writer.part = nullptr;
    fputstr_arg(run->output, "%zu %llu", number, (unsigned long long)(isThere ? text.size() : 0));
    if (!isThere)
        return;
    writer.section->passThrough(isMostlyCompressed(&text));
    text.forEach([&](Bytes bytes) { fputm(run->output, bytes.data(), bytes.size()); });
    writer.section->passThrough(false);
}

} // namespace

void writeShared(PageWriter *writer)
{
    if (writer->plan->shared.empty())
        return;
    ConversionRun *run = writer->run;
    PageSection section(writer, SectionKind::SHARED, "PdfShared");
    for (size_t i = 0; i < writer->plan->shared.size() && !run->errorFlag; i++)
        writePart(*writer, i);
    section.finish();
}

void writePages(PageWriter *writer)
{
    JobPages pages(writer);
    walkPages(writer->run, &pages);
}

} // namespace job
