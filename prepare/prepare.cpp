/*
 * prepare.cpp - the order of the passes
 *
 * A page goes through all of them before the next one is looked at:
 *
 *   structure     attributes, content and resources in order       (page/structure)
 *   annotations   appearances as forms                           (page/annotations)
 *   boxes         one box, quarter turns, unit                     (page/boxes)
 *   evaluation    what the content uses and needs                  (content/evaluate)
 *   images        such that the converter does not accept          (images/convert)
 *   content       the passes that rewrite content, in their order  (content/rewrite)
 *   regions       what these have asked to be drawn                (paint/region)
 *
 *   settling      what nobody may interpret but by our tables  (canonical/pages), if that is wanted
 *
 * and when all pages are done: the fonts' programs (fonts/store), unused resources (page/resources)
 * or, in a canonical document, those of the content (canonical/), and the file (document/write).  A
 * pass that adds to a page by its dictionary stands before the scan; one that rewrites operations
 * is a row of contentPasses.
 */
#include "prepare/prepare.h"

#include <memory>

#include "prepare/canonical/pages.h"
#include "prepare/colour/colours.h"
#include "prepare/content/rewrite.h"
#include "prepare/content/evaluate.h"
#include "prepare/document/document.h"
#include "prepare/document/load.h"
#include "prepare/document/write.h"
#include "prepare/fonts/store.h"
#include "prepare/images/colours.h"
#include "prepare/images/convert.h"
#include "prepare/page/annotations.h"
#include "prepare/page/boxes.h"
#include "prepare/page/layers.h"
#include "prepare/page/names.h"
#include "prepare/page/resources.h"
#include "prepare/page/structure.h"
#include "prepare/paint/patterns.h"
#include "prepare/paint/region.h"
#include "prepare/paint/transparency.h"
#include "tools/zolak1_3/pdf_to_ps/reader/plaintables.h"

namespace prepare {

namespace {

/* Who watches the walk over a page. */
constexpr const Observer *observers[] = {&layerObserver,       &nameObserver,  &fontObserver,
                                         &colourObserver,      &imageObserver, &patternObserver,
                                         &transparencyObserver};

/* A pass over a page that works on its dictionary. */
struct PagePass {
    const char *name;
    void (*run)(Document *, Page *);
};

void boxPass(Document *document, Page *page)
{
    if (!boxesNeedWork(*page))
        return;
    page->needs |= NEED_BOXES;
    normaliseBoxes(document, page);
}

void evaluatePass(Document *document, Page *page)
{
    evaluatePage(document, page, observers);
    if (resourcesNeedWork(document, *page))
        page->needs |= NEED_RESOURCES;
}

/* ORDER: each may rely on those before it. */
constexpr PagePass lookPasses[] = {
    {"structure", repairPage},
    {"annotations", drawAnnotations},
    {"boxes", boxPass},
    {"evaluation", evaluatePass},
};

/* ORDER: layers first, so that nothing is done for what is off; fonts behind everything that adds
 * or changes text; names last. */
const ContentPass *const contentPasses[] = {&layerPass,   &inlineImagePass, &transparencyPass,
                                            &patternPass, &colourPass,      &inlineColourPass,
                                            &fontPass,    &namePass};

void runContentPasses(Document *document, Page *page)
{
    std::vector<const ContentPass *> wanted;
    for (const ContentPass *pass : contentPasses)
        if (page->needs & pass->wanted)
            wanted.push_back(pass);
    if (!wanted.empty())
        rewritePage(document, page, wanted);
    else if ((page->needs & NEED_CONTENT) && !document->options.isCanonical)
        page->object.replaceKey("/Contents", newFlateStream(&document->source.pdf, page->content));
}

/* What goes wrong in a run; empty: nothing. */
template <class Run> std::string faultOf(Run run)
{
    try {
        run();
        return "";
    } catch (const LimitReached &limit) {
        return limit.text;
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        return *error.what() ? error.what() : "It is not known why.";
    }
}

/* Runs something on a page.  What goes wrong there costs the page its preparation, no more; where
 * nothing may be written as it stands, it costs the page. */
template <class Run> void guarded(Document *document, Page *page, Run run)
{
    if (!page->fault.empty())
        return;
    std::string fault = faultOf(run);
    if (fault.empty())
        return;
    if (document->options.isCanonical) {
        page->fault = fault;
        return;
    }
    say(document, Message::PageUndone, page->number, {fault});
    page->usage.complete = false;
    recordAllShown(document, page->object.getKeyIfDict("/Resources"));
}

void lookAt(Document *document, Page *page)
{
    document->pageInWork = page->number;
    guarded(document, page, [&] {
        for (const PagePass &pass : lookPasses)
            pass.run(document, page);
    });
    document->needs |= page->needs;
}

/* Has libqpdf met damage so far?  Then the file needs its repairs. */
void recordDamage(Document *document)
{
    if (!isDamaged(&document->source))
        return;
    document->needs |= NEED_STRUCTURE;
    say(document, Message::Damaged, 0);
}

bool open(Document *document, const std::string &in, const Options &options, seam::Notices *notices)
{
    document->options = options;
    document->diagnostics.notices = notices;
    if (!loadDocument(document, in))
        return false;
    if (!tablesArePlain(in.c_str()) || document->source.pdf.isEncrypted())
        document->needs |= NEED_STRUCTURE;
    if (options.level == 2 || options.rewrites)
        document->needs |= NEED_STRUCTURE; /* at level 2, streams are written without Flate */
    loadLayers(document);
    recordDamage(document);
    return true;
}

/* ---- canonical documents */

/* A picture of the page in its place, or nothing. */
void drawPage(Document *document, Page *page)
{
    std::string reason = std::move(page->fault);
    page->fault = {};
    bool isDrawn = false;
    std::string fault = faultOf([&] {
        clearPage(document, page);
        normaliseBoxes(document, page);
        page->regions.clear();
        addRegion(document, page, paperBox(*page), "the page");
        isDrawn = paintRegions(document, page);
    });
    if (!isDrawn)
        clearPage(document, page);
    say(document, isDrawn ? Message::PageDrawn : Message::PageBlank, page->number, {reason});
}

void settle(Document *document, Page *page)
{
    guarded(document, page, [&] {
        normaliseBoxes(document, page);
        settlePage(document, page);
    });
    if (page->fault.empty())
        return;
    drawPage(document, page);
    settlePage(document, page);
}

void finishCanonical(Document *document)
{
    for (Page &page : document->pages) {
        document->pageInWork = page.number;
        std::string fault = faultOf([&] { settleResources(document, &page); });
        if (fault.empty())
            continue;
        clearPage(document, &page);
        say(document, Message::PageBlank, page.number, {fault});
    }
}

void finish(Document *document, const std::string &out)
{
    document->pageInWork = 0;
    finishFonts(document);
    if (document->options.isCanonical) {
        finishCanonical(document);
        return writeDocument(document, out);
    }
    for (Page &page : document->pages)
        guarded(document, &page, [&] {
            normaliseBoxes(document, &page);
            dropUnused(document, &page);
        });
    dropUnusedInForms(document);
    cutLoops(document);
    writeDocument(document, out);
}

/* Turns what a library throws into an error. */
template <class Run> Outcome refusing(seam::Notices *notices, Run run)
{
    std::string text;
    try {
        return run();
    } catch (const LimitReached &limit) {
        text = limit.text;
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        text = error.what();
    }
    notices->add(seam::notice(Message::NotPrepared, 0, {text}));
    return Outcome::REFUSED;
}

void destroy(Document *document)
{
    delete document;
}

/* Of a large document giving its objects back one by one takes a tenth of the time. */
void leave(Document *)
{
}

} // namespace

Outcome prepareFile(const std::string &in, const std::string &out, const Options &options,
                    seam::Notices *notices, std::vector<int> *pageMap)
{
    return refusing(notices, [&] {
        std::unique_ptr<Document, void (*)(Document *)> owned(
            new Document, options.endsProcess ? leave : destroy);
        Document &document = *owned;
        if (!open(&document, in, options, notices))
            return Outcome::REFUSED;
        if (pageMap)
            *pageMap = pageNumbers(document);
        for (Page &page : document.pages) {
            lookAt(&document, &page);
            guarded(&document, &page, [&] { convertImages(&document, &page); });
            guarded(&document, &page, [&] { runContentPasses(&document, &page); });
            guarded(&document, &page, [&] {
                if (!isEmpty(page.leftOut))
                    addRegion(&document, &page, page.leftOut, "forms");
                paintRegions(&document, &page);
            });
            if (options.isCanonical)
                settle(&document, &page);
            page.content = {};
        }
        recordDamage(&document);
        if (!options.isCanonical && document.needs == 0 && !hasLoops(&document))
            return Outcome::UNCHANGED;
        finish(&document, out);
        return Outcome::REWRITTEN;
    });
}

Outcome probeFile(const std::string &in, const Options &options, seam::Notices *notices)
{
    if (!tablesArePlain(in.c_str()))
        return Outcome::REWRITTEN;
    return refusing(notices, [&] {
        Document document;
        if (!open(&document, in, options, notices))
            return Outcome::REFUSED;
        for (Page &page : document.pages) {
            if (document.needs != 0)
                break;
            lookAt(&document, &page);
            page.content = {};
        }
        recordDamage(&document);
        bool isNeeded = document.needs != 0 || hasLoops(&document);
        return isNeeded ? Outcome::REWRITTEN : Outcome::UNCHANGED;
    });
}

} // namespace prepare
