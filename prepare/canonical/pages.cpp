/*
 * pages.cpp - a page's content and resources, made anew
 */
#include "prepare/canonical/pages.h"

#include "prepare/canonical/resources.h"
#include "prepare/document/spool.h"

namespace prepare {

namespace {

/* A page's content, and what is known of it. */
struct SettledContent {
    QPDFObjectHandle stream;
    std::set<std::string> names[CATEGORIES];
    LeftOut leftOut;
};

struct SettledPages {
    std::map<std::string, std::shared_ptr<SettledContent>> byStreams; /* pages may share them */
    std::map<int, std::shared_ptr<SettledContent>> byPage;            /* by number */
};

/* The streams of the page's content, as they are referred to. */
std::string streamsOf(QPDFObjectHandle contents)
{
    return contents.isStream() || contents.isArray() ? contents.unparse() : "";
}

/* The content as it is now, decoded. */
std::string textOf(Page *page, QPDFObjectHandle contents)
{
    if (page->contentOf.isInitialized() && contents.isSameObjectAs(page->contentOf))
        return std::move(page->content);
    bool isDamaged = false; /* the scan has said so, if it is */
    return readContent(contents, MAX_CONTENT_BYTES, &isDamaged);
}

std::shared_ptr<SettledContent> settle(Document *document, Page *page, QPDFObjectHandle contents)
{
    auto settled = std::make_shared<SettledContent>();
    bool isOurs = page->isContentOurs && contents.isSameObjectAs(page->contentOf);
    std::string text = textOf(page, contents);
    PlainContent plain = plainContentOf(document, text, &settled->leftOut);
    if (plain.mixesPaths)
        throw LimitReached{"Text stands within a path, or a path within text."};
    std::move(std::begin(plain.names), std::end(plain.names), std::begin(settled->names));
    settled->stream = isOurs ? contents : QPDFObjectHandle::newStream(&document->source.pdf);
    replaceWithClear(document, settled->stream, plain.isChanged ? plain.text : text);
    return settled;
}

} // namespace

void settlePage(Document *document, Page *page)
{
    SettledPages &pages = document->memos.of<SettledPages>();
    QPDFObjectHandle contents = page->object.getKey("/Contents");
    std::string streams = streamsOf(contents);
    std::shared_ptr<SettledContent> &known = pages.byStreams[streams];
    if (!known)
        known = settle(document, page, contents);
    page->object.replaceKey("/Contents", known->stream);
    pages.byPage[page->number] = known;
}

void settleResources(Document *document, Page *page)
{
    SettledPages &pages = document->memos.of<SettledPages>();
    std::shared_ptr<SettledContent> content = pages.byPage[page->number];
    if (!content)
        return clearPage(document, page);
    LeftOut leftOut = content->leftOut;
    QPDFObjectHandle resources = plainResources(
        document, page->number, page->object.getKey("/Resources"), content->names, &leftOut);
    page->object.replaceKey("/Resources", resources);
    if (leftOut.operations > 0)
        say(document, leftOut.lostPaint ? Message::ContentLost : Message::ContentMended,
            page->number, {std::to_string(leftOut.operations)});
}

void clearPage(Document *document, Page *page)
{
    page->content = {};
    page->contentOf = newClearStream(document, "");
    page->isContentOurs = true;
    page->object.replaceKey("/Contents", page->contentOf);
    page->object.replaceKey("/Resources", QPDFObjectHandle::newDictionary());
}

} // namespace prepare
