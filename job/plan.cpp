/*
 * plan.cpp - counts how often each resource is defined, and decides what stands once
 */
#include "job/plan.h"

#include <algorithm>
#include <iterator>

#include "job/labels.h"
#include "job/parts.h"
#include "tools/zolak1_3/pdf_to_ps/reader/lexer.h"
#include "tools/zolak1_3/pdf_to_ps/reader/names.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/writer/pagetree.h"
#include "tools/zolak1_3/pdf_to_ps/writer/redirect.h"
#include "tools/zolak1_3/pdf_to_ps/writer/resources.h"
#include "zelkov/text.h"

namespace job {

namespace {

/* A font that has been built takes several times the bytes of its program. */
constexpr uint64_t BUILT_FONT_FACTOR = 8;
constexpr uint64_t SMALL_RESOURCE_BYTES = 400; /* a dictionary, in the printer */

constexpr const char *residentNames[] = {
    "AvantGarde-Book",
    "AvantGarde-BookOblique",
    "AvantGarde-Demi",
    "AvantGarde-DemiOblique",
    "Bookman-Demi",
    "Bookman-DemiItalic",
    "Bookman-Light",
    "Bookman-LightItalic",
    "Courier",
    "Courier-Bold",
    "Courier-BoldOblique",
    "Courier-Oblique",
    "Helvetica",
    "Helvetica-Bold",
    "Helvetica-BoldOblique",
    "Helvetica-Narrow",
    "Helvetica-Narrow-Bold",
    "Helvetica-Narrow-BoldOblique",
    "Helvetica-Narrow-Oblique",
    "Helvetica-Oblique",
    "NewCenturySchlbk-Bold",
    "NewCenturySchlbk-BoldItalic",
    "NewCenturySchlbk-Italic",
    "NewCenturySchlbk-Roman",
    "Palatino-Bold",
    "Palatino-BoldItalic",
    "Palatino-Italic",
    "Palatino-Roman",
    "Symbol",
    "Times-Bold",
    "Times-BoldItalic",
    "Times-Italic",
    "Times-Roman",
    "ZapfChancery-MediumItalic",
    "ZapfDingbats",
};

/* The walk of the plan: what each page's resources and streams are, without writing them. */
struct Walk : PageSink {
    Walk(ConversionRun *read, const Options *given, Plan *made)
        : run(read), options(given), plan(made)
    {
    }
    bool beginPage(ConversionRun *, const PageAttributes &attributes) override;
    void resources(ConversionRun *, const PdfDict *resources) override;
    void contents(ConversionRun *, const PdfStream *stream) override;
    void endPage(ConversionRun *, const PageAttributes &, bool) override;

    ConversionRun *run;
    const Options *options;
    Plan *plan;
    std::vector<bool> isChosen = {}; /* by the page's number; empty: all are */
    uint32_t lines = 0;              /* of the page */
    int32_t depth = 0;
};

/* ---- what a resource takes */

bool nameIs(ConversionRun *run, const PdfDict *dict, const char *key, const char *name)
{
    if (findKey(run, dict, key) < 0 || peekType(run) != PDF_NAME)
        return false;
    NamePtr value = readName(run);
    return value && cmpstr(value.get(), name) == 0;
}

ValuePosition nestedResources(ConversionRun *run, const PdfDict *dict)
{
    return findKey(run, dict, "/Resources") >= 0 ? fgetp(run->input) : 0;
}

/* The input stands at a colour space: is it more than a name? */
void lookAtColorSpace(ConversionRun *run, Plan *plan)
{
    if (peekType(run) == PDF_ARRAY)
        plan->calls.insert({"ArraySpace", "int"});
}

void lookAtXObject(ConversionRun *run, PlannedResource *resource, Plan *plan)
{
    StreamPtr stream = readStream(run);
    if (!stream)
        return;
    resource->bytes = SMALL_RESOURCE_BYTES + (uint64_t)std::max(stream->length, 0);
    if (nameIs(run, stream->dict, "/Subtype", "/Form")) {
        resource->nested = nestedResources(run, stream->dict);
        plan->calls.insert("CallForm");
        return;
    }
    plan->calls.insert("CallImage");
    if (findKey(run, stream->dict, "/ColorSpace") >= 0)
        lookAtColorSpace(run, plan);
}

void lookAtGraphicsState(ConversionRun *run, Plan *plan)
{
    DictPtr state = readDict(run);
    for (const char *key : {"/BG", "/UCR", "/TR", "/HT"})
        if (state && findKey(run, state.get(), key) >= 0)
            plan->calls.insert({"SetTransfers", "int"});
}

/* Bytes of the program that a font descriptor holds; 0: it has none. */
uint64_t programBytes(ConversionRun *run, const PdfDict *font)
{
    if (findKey(run, font, "/FontDescriptor") < 0)
        return 0;
    DictPtr descriptor = readDict(run);
    uint64_t bytes = 0;
    for (const char *key : {"/FontFile", "/FontFile2", "/FontFile3"}) {
        if (!descriptor || findKey(run, descriptor.get(), key) < 0)
            continue;
        if (StreamPtr program = readStream(run))
            bytes += (uint64_t)std::max(program->length, 0);
    }
    return bytes;
}

void recordResidentFont(ConversionRun *run, const PdfDict *font, Plan *plan)
{
    if (findKey(run, font, "/BaseFont") < 0 || peekType(run) != PDF_NAME)
        return;
    NamePtr name = readName(run);
    if (!name)
        return;
    for (const char *resident : residentNames)
        if (cmpstr(name.get() + 1, resident) == 0)
            plan->residentFonts.insert(resident);
}

constexpr int32_t ALL_CODES = 256;

/* Does the font's encoding say what stands at each code?  The input is at it. */
bool namesAllCodes(ConversionRun *run)
{
    DictPtr encoding = peekType(run) == PDF_DICTIONARY ? readDict(run) : DictPtr(nullptr, {run});
    if (!encoding || findKey(run, encoding.get(), "/Differences") < 0 || peekType(run) != PDF_ARRAY)
        return false;
    ArrayPtr differences = readArray(run);
    return differences && differences->count > ALL_CODES;
}

/* What the runtime has to have for a font that is not of Type 3. */
void recordFontCalls(ConversionRun *run, const PdfDict *font, Plan *plan)
{
    plan->calls.insert("AdjFont");
    if (findKey(run, font, "/Encoding") >= 0 && !namesAllCodes(run))
        plan->calls.insert("Encodings");
    DictPtr descriptor(nullptr, {run});
    if (findKey(run, font, "/FontDescriptor") >= 0)
        descriptor = readDict(run);
    if (descriptor && findKey(run, descriptor.get(), "/FontFile3") >= 0)
        plan->calls.insert("ExecType1C");
    else if (descriptor && findKey(run, descriptor.get(), "/FontFile2") >= 0)
        plan->calls.insert("AdjustConverted");
    else
        plan->calls.insert({"StyleOf", "Encodings"});
}

void lookAtFont(ConversionRun *run, PlannedResource *resource, Plan *plan)
{
    DictPtr font = readDict(run);
    if (!font)
        return;
    if (nameIs(run, font.get(), "/Subtype", "/Type3")) {
        plan->calls.insert({"T3DefFnct", "Encodings"});
        resource->nested = nestedResources(run, font.get());
        resource->bytes = 64 * SMALL_RESOURCE_BYTES;
        return;
    }
    recordFontCalls(run, font.get(), plan);
    uint64_t bytes = programBytes(run, font.get());
    if (bytes == 0)
        recordResidentFont(run, font.get(), plan);
    resource->bytes = (SMALL_RESOURCE_BYTES + bytes) * BUILT_FONT_FACTOR;
}

void lookAt(Walk &walk, PlannedResource *resource)
{
    resource->bytes = SMALL_RESOURCE_BYTES;
    fputp(walk.run->input, resource->position);
    if (resource->role == ROLE_XOBJECT)
        lookAtXObject(walk.run, resource, walk.plan);
    else if (resource->role == ROLE_FONT)
        lookAtFont(walk.run, resource, walk.plan);
    else if (resource->role == ROLE_EXTGSTATE)
        lookAtGraphicsState(walk.run, walk.plan);
    else
        lookAtColorSpace(walk.run, walk.plan);
    if (walk.run->errorFlag)
        recover(walk.run);
}

/* The resource that is known by `key`, looked at when it is new; its index. */
uint32_t record(Walk &walk, ValuePosition key, ValuePosition position, uint8_t role,
                const char *name)
{
    Plan &plan = *walk.plan;
    auto [found, isNew] = plan.index.try_emplace(key, (uint32_t)plan.resources.size());
    uint32_t index = found->second;
    if (isNew) {
        PlannedResource resource = {};
        resource.position = position;
        resource.role = role;
        resource.shared = -1;
        resource.firstPage = walk.plan->pages.back().number;
        resource.name = name;
        if (role != ROLE_CONTENT)
            lookAt(walk, &resource);
        plan.resources.push_back(resource);
    }
    plan.resources[index].uses++;
    return index;
}

/* ---- the walk */

void visitResources(Walk &walk, ValuePosition dictionary);

void visitEntries(Walk &walk, const PdfDict *entries, uint8_t role)
{
    for (int32_t i = 0; i < entries->count && ++walk.lines <= LINES_LIMIT; i++) {
        uint32_t index = record(walk, entries->entries[i].value, entries->entries[i].value, role,
                                dictKey(entries, i));
        if (ValuePosition nested = walk.plan->resources[index].nested)
            visitResources(walk, nested);
        if (walk.run->errorFlag)
            return;
    }
}

void visitKinds(Walk &walk, const PdfDict *resources)
{
    for (uint8_t role = 0; role < RESOURCE_KINDS; role++) {
        if (findKey(walk.run, resources, resourceKinds[role].key) < 0)
            continue;
        if (DictPtr entries = readDict(walk.run))
            visitEntries(walk, entries.get(), role);
    }
}

void visitResources(Walk &walk, ValuePosition dictionary)
{
    if (walk.depth >= NESTING_LIMIT)
        return;
    walk.depth++;
    fputp(walk.run->input, dictionary);
    if (DictPtr resources = readDict(walk.run))
        visitKinds(walk, resources.get());
    walk.depth--;
}

void recordContent(Walk &walk, const PdfStream *stream)
{
    uint32_t index = record(walk, stream->dataPosition, stream->dictPosition, ROLE_CONTENT, "");
    walk.plan->resources[index].bytes =
        SMALL_RESOURCE_BYTES + (uint64_t)std::max(stream->length, 0);
}

/* What a page of the input is called. */
int numberOf(const Options &options, int page)
{
    size_t index = (size_t)page - 1;
    return index < options.pageNumbers.size() ? options.pageNumbers[index] : page;
}

bool Walk::beginPage(ConversionRun *, const PageAttributes &attributes)
{
    int page = run->currentPage;
    if (!isChosen.empty() && !isChosen[(size_t)page])
        return false;
    int number = numberOf(*options, page);
    plan->pages.push_back({page, number, pageRectangle(attributes), std::to_string(number)});
    lines = 0;
    return true;
}

void Walk::resources(ConversionRun *, const PdfDict *resources)
{
    visitKinds(*this, resources);
    if (run->errorFlag)
        recover(run);
}

void Walk::contents(ConversionRun *, const PdfStream *stream)
{
    recordContent(*this, stream);
}

void Walk::endPage(ConversionRun *, const PageAttributes &, bool)
{
    if (run->errorFlag)
        recover(run);
}

/* ---- the list of pages */

struct PageCounter : PageSink {
    int count = 0;

    bool beginPage(ConversionRun *run, const PageAttributes &) override
    {
        count = run->currentPage;
        return false;
    }
    void resources(ConversionRun *, const PdfDict *) override {}
    void contents(ConversionRun *, const PdfStream *) override {}
    void endPage(ConversionRun *, const PageAttributes &, bool) override {}
};

/* Resolves the list of pages, for which the pages have to be counted first. */
void choose(ConversionRun *run, Walk *walk)
{
    const seam::PageRanges &pages = walk->options->pages;
    if (pages.isWholeDocument())
        return;
    PageCounter counter;
    walkPages(run, &counter);
    run->currentPage = 0;
    if (run->errorFlag)
        return;
    seam::ChosenPages chosen = seam::choosePages(pages, counter.count);
    walk->plan->fault = chosen.fault;
    walk->plan->warnings = chosen.warnings;
    if (!seam::isRising(chosen.numbers))
        walk->plan->fault = seam::notice(seam::Message::PagesNotInOrder, 0);
    walk->isChosen.resize((size_t)counter.count + 1);
    for (int number : chosen.numbers)
        walk->isChosen[(size_t)number] = true;
}

/* ---- what is shared */

/* Fonts first, since they have to be built, then what saves most. */
bool isBetterToShare(const PlannedResource &a, const PlannedResource &b)
{
    bool aIsFont = a.role == ROLE_FONT, bIsFont = b.role == ROLE_FONT;
    if (aIsFont != bIsFont)
        return aIsFont;
    return a.bytes * (a.uses - 1) > b.bytes * (b.uses - 1);
}

void chooseShared(Plan *plan, uint64_t budget)
{
    std::vector<uint32_t> wanted;
    for (uint32_t i = 0; i < plan->resources.size(); i++)
        if (plan->resources[i].uses > 1)
            wanted.push_back(i);
    std::stable_sort(wanted.begin(), wanted.end(), [&](uint32_t a, uint32_t b) {
        return isBetterToShare(plan->resources[a], plan->resources[b]);
    });
    for (uint32_t i : wanted) {
        PlannedResource &resource = plan->resources[i];
        if (resource.bytes > budget)
            continue;
        budget -= resource.bytes;
        resource.shared = 0;
    }
    for (uint32_t i = 0; i < plan->resources.size(); i++)
        if (plan->resources[i].shared == 0) {
            plan->calls.insert("UseShared");
            if (plan->resources[i].role == ROLE_CONTENT)
                plan->calls.insert("CallForm");
            plan->resources[i].shared = (int32_t)plan->shared.size();
            plan->shared.push_back(i);
        }
}

} // namespace

void walkPages(ConversionRun *run, PageSink *sink)
{
    SinkRedirect redirect(run, sink);
    checkCatalog(run); /* which leaves the input at the page tree */
    PageAttributes attributes = {};
    int64_t pageCounter = 0;
    walkPageTree(run, attributes, &pageCounter);
}

void recover(ConversionRun *run)
{
    if (!run->wasCancelled)
        run->errorFlag = 0;
    control_endRun(run->controller);
}

void makePlan(ConversionRun *run, const Options &options, Plan *plan)
{
    Walk walk(run, &options, plan);
    choose(run, &walk);
    if (run->errorFlag || plan->fault)
        return;
    walkPages(run, &walk);
    if (run->errorFlag)
        return;
    mergeEqual(run, plan);
    chooseShared(plan, options.printerMemory);
    if (options.level < 3 && plan->calls.contains("ExecType1C"))
        plan->calls.insert({"StyleOf", "Encodings"}); /* others take the place of such fonts */
    readLabels(run, plan);
    if (run->errorFlag)
        recover(run);
}

} // namespace job
