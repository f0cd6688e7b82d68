/*
 * resources.cpp - dropping what is not used
 *
 * A page may share its resources with others, so what is dropped is dropped from a copy.  The
 * converter writes every resource of a page: what is unused costs room, and a single unused one of
 * a kind that it does not take stops it.
 */
#include "prepare/page/resources.h"

#include <algorithm>

#include "prepare/colour/colours.h"
#include "prepare/colour/convert.h"
#include "prepare/fonts/store.h"
#include "prepare/images/convert.h"
#include "prepare/images/replaced.h"
#include "prepare/page/structure.h"

namespace prepare {

namespace {

/* Is this a kind of resource that the converter prints as it is? */
bool isHarmless(Document *document, int category, QPDFObjectHandle value)
{
    if (category == FONT)
        return !value.isDictionary() || fontNeed(document, value) == 0;
    if (category == XOBJECT && value.isStream())
        return !imageNeedsWork(value) && !value.getDict().getKey("/Filter").isOrHasName("/Crypt");
    return category != COLORSPACE || value.isName();
}

/* A graphics state without what content says itself by now: the font, and all that is transparent.
 */
QPDFObjectHandle withoutTransparency(QPDFObjectHandle state)
{
    QPDFObjectHandle kept = state;
    for (const char *key : {"/Font", "/CA", "/ca", "/BM", "/SMask", "/AIS"}) {
        if (!kept.hasKey(key))
            continue;
        if (kept.isSameObjectAs(state))
            kept = state.shallowCopy();
        kept.removeKey(key);
    }
    return kept;
}

/* A space that content does not select any more. */
bool isUnusedSpace(QPDFObjectHandle space)
{
    bool isPattern = space.isArray() && space.getArrayNItems() > 0 &&
                     nameOr(space.getArrayItem(0)) == "/Pattern";
    return isPattern || nameOr(space) == "/Pattern" || isConvertedSpace(space);
}

/* What remains of one kind of resources. */
QPDFObjectHandle keptOf(Document *document, QPDFObjectHandle entries, int category,
                        const Usage &usage)
{
    QPDFObjectHandle kept = QPDFObjectHandle::newDictionary();
    for (auto &[name, value] : entriesOf(entries)) {
        if (usage.complete && usage.names[category].count(name) == 0)
            continue;
        if (category == FONT && usage.complete && isRewrittenFont(document, value))
            continue; /* its text is shown through other fonts now */
        if (category == XOBJECT && imageNeedsWork(value))
            continue; /* nothing paints it, or it would have been converted */
        if (category == XOBJECT && usage.complete && isReplacedEverywhere(document, value))
            continue; /* what is painted is another one */
        if (category == COLORSPACE && usage.complete && isUnusedSpace(value))
            continue; /* its colours are written as device colours now */
        if (category == EXTGSTATE && hasLineParameters(value))
            value = withoutLineParameters(value);
        if (category == EXTGSTATE && value.isDictionary())
            value = withoutTransparency(value);
        kept.replaceKey(name, value);
    }
    return kept;
}

/* The resources without what is unused. */
QPDFObjectHandle keptResources(Document *document, QPDFObjectHandle resources, const Usage &usage)
{
    QPDFObjectHandle kept = QPDFObjectHandle::newDictionary();
    for (int category : {XOBJECT, FONT, EXTGSTATE, COLORSPACE}) {
        QPDFObjectHandle entries = resources.getKey(categoryKey(category));
        if (!entries.isDictionary())
            continue;
        QPDFObjectHandle left = keptOf(document, entries, category, usage);
        if (!left.getKeys().empty())
            kept.replaceKey(categoryKey(category), left);
    }
    return kept;
}

constexpr size_t MAX_NESTING = 60;

struct LoopSearch {
    bool cuts = true;
    bool found = false;
    std::set<QPDFObjGen> done;
    std::vector<QPDFObjGen> path;
};

void cutLoopsBelow(LoopSearch *search, QPDFObjectHandle resources);

/* False: the object is on the way to itself, or too deep. */
bool follow(LoopSearch *search, QPDFObjectHandle object, QPDFObjectHandle holder)
{
    QPDFObjGen key = object.getObjGen();
    if (std::find(search->path.begin(), search->path.end(), key) != search->path.end() ||
        search->path.size() > MAX_NESTING) {
        search->found = true;
        return !search->cuts;
    }
    if (!search->done.insert(key).second)
        return true;
    search->path.push_back(key);
    cutLoopsBelow(search, holder.getKey("/Resources"));
    search->path.pop_back();
    return true;
}

void cutLoopsBelow(LoopSearch *search, QPDFObjectHandle resources)
{
    if (!resources.isDictionary())
        return;
    QPDFObjectHandle objects = resources.getKey("/XObject"), fonts = resources.getKey("/Font");
    for (auto &[name, object] : entriesOf(objects))
        if (object.isStream() && nameOr(object.getDict().getKey("/Subtype")) == "/Form" &&
            !follow(search, object, object.getDict()))
            objects.removeKey(name);
    for (auto &[name, font] : entriesOf(fonts))
        if (font.isDictionary() && nameOr(font.getKey("/Subtype")) == "/Type3" &&
            !follow(search, font, font))
            fonts.removeKey(name);
}

} // namespace

void cutLoops(Document *document)
{
    LoopSearch search;
    for (const Page &page : document->pages)
        cutLoopsBelow(&search, entryOf(page, "/Resources"));
}

bool hasLoops(Document *document)
{
    LoopSearch search;
    search.cuts = false;
    for (const Page &page : document->pages)
        cutLoopsBelow(&search, entryOf(page, "/Resources"));
    return search.found;
}

bool resourcesNeedWork(Document *document, const Page &page)
{
    QPDFObjectHandle resources = entryOf(page, "/Resources");
    if (!resources.isDictionary())
        return false;
    if (resources.hasKey("/Pattern"))
        return true;
    for (int category : {XOBJECT, FONT, COLORSPACE})
        for (auto &[name, value] : entriesOf(resources.getKey(categoryKey(category)))) {
            bool isUsed = page.usage.names[category].count(name) > 0;
            if (!isUsed && page.usage.complete && !isHarmless(document, category, value))
                return true;
            if (isUsed && category == XOBJECT && imageNeedsWork(value))
                return true;
        }
    return formsHavePatterns(document);
}

void dropUnused(Document *document, Page *page)
{
    QPDFObjectHandle resources = page->object.getKey("/Resources");
    if (!resources.isDictionary())
        return;
    page->object.replaceKey("/Resources", keptResources(document, resources, page->usage));
}

void dropUnusedInForms(Document *document)
{
    for (auto &[key, usage] : usagesOfForms(document)) {
        QPDFObjectHandle resources = document->source.pdf.getObject(key);
        if (resources.isDictionary())
            document->source.pdf.replaceObject(key, keptResources(document, resources, usage));
    }
}

} // namespace prepare
