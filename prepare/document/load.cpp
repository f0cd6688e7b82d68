/*
 * load.cpp - opening a document
 *
 * libqpdf decrypts, and repairs most tables of objects; where it does not find its way, recover.h
 * finds the objects.  A page tree that gives no page is left aside, and every object that says it
 * is a page counts as one.
 */
#include "prepare/document/load.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>

#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFLogger.hh>

#include "prepare/document/fileinput.h"
#include "prepare/document/recover.h"
#include "prepare/document/tree.h"

namespace prepare {

namespace {

/* The first line of what a library says, without the file's name in front. */
std::string reason(const std::exception &error, const std::string &path)
{
    std::string text = error.what();
    if (text.compare(0, path.size() + 2, path + ": ") == 0)
        text.erase(0, path.size() + 2);
    return text.substr(0, text.find('\n'));
}

/* Why a document does not open; empty: it does. */
struct OpenFault {
    std::optional<Message> message;
    std::string reason;
};

OpenFault openFile(Document *document)
{
    Source &source = document->source;
    const char *path = source.path.c_str(), *password = document->options.password.c_str();
    source.pdf.setSuppressWarnings(true);
    source.pdf.setLogger(QPDFLogger::create());
    source.pdf.getLogger()->setError(source.pdf.getLogger()->discard());
    try {
        if (source.repaired.empty())
            source.pdf.processInputSource(openFileInput(source.path), password);
        else
            source.pdf.processMemoryFile(path, source.repaired.data(), source.repaired.size(),
                                         password);
        return {};
    } catch (const QPDFExc &error) {
        bool isSecret = error.getErrorCode() == qpdf_e_password;
        bool isMissing = document->options.password.empty();
        if (isSecret)
            return {isMissing ? Message::PasswordNeeded : Message::PasswordWrong, ""};
        return {Message::DocumentUnreadable, reason(error, path)};
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        return {Message::DocumentUnreadable, reason(error, path)};
    }
}

/* A document whose trailer names no catalogue gets the last one that there is, or a new one. */
void findCatalogue(Document *document)
{
    QPDF &pdf = document->source.pdf;
    if (pdf.getTrailer().getKeyIfDict("/Root").isDictionary())
        return;
    QPDFObjectHandle root;
    for (QPDFObjectHandle object : pdf.getAllObjects())
        if (object.isDictionary() && nameOr(object.getKey("/Type")) == "/Catalog")
            root = object;
    if (!root.isInitialized())
        root = pdf.makeIndirectObject(QPDFObjectHandle::parse("<< /Type /Catalog >>"));
    pdf.getTrailer().replaceKey("/Root", root);
}

PageTree pagesOfTree(Document *document)
{
    try {
        return walkPageTree(document);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        return {};
    }
}

/* Every object that says it is a page, in the order of their numbers. */
PageTree pagesAnywhere(Document *document)
{
    PageTree tree;
    tree.hasLosses = tree.isIrregular = true;
    try {
        for (QPDFObjectHandle object : document->source.pdf.getAllObjects())
            if (object.isDictionary() && nameOr(object.getKey("/Type")) == "/Page")
                tree.pages.push_back(object);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        tree.pages.clear();
    }
    return tree;
}

/* A tree with no more than these pages, for what libqpdf asks of one. */
void flattenTree(Document *document, std::vector<QPDFObjectHandle> &pages)
{
    QPDF &pdf = document->source.pdf;
    QPDFObjectHandle root = pdf.getTrailer().getKeyIfDict("/Root");
    if (!root.isDictionary())
        return;
    for (QPDFObjectHandle &page : pages)
        page = page.isIndirect() ? page : pdf.makeIndirectObject(page);
    QPDFObjectHandle tree = QPDFObjectHandle::newDictionary();
    tree.replaceKey("/Type", QPDFObjectHandle::newName("/Pages"));
    tree.replaceKey("/Kids", QPDFObjectHandle::newArray(pages));
    tree.replaceKey("/Count", QPDFObjectHandle::newInteger((long long)pages.size()));
    root.replaceKey("/Pages", pdf.makeIndirectObject(tree));
}

/* Does the file's end say where its table is? */
bool hasTableAtEnd(const std::string &path)
{
    constexpr long TAIL = 2048;
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    long size = file ? (long)file.tellg() : 0;
    file.seekg(std::max(0l, size - TAIL));
    std::string tail(std::istreambuf_iterator<char>(file), {});
    return tail.find("startxref") != std::string::npos;
}

/* Has libqpdf made a table of its own, in which it has only what begins a line? */
bool isReconstructed(Source *source)
{
    if (!isDamaged(source))
        return false;
    for (const QPDFExc &warning : source->pdf.getWarnings())
        if (warning.getMessageDetail().find("reconstruct") != std::string::npos)
            return true;
    return false;
}

/* Opens the document again by what is found in the file; false: it stays as it was.  Where libqpdf
 * has got to pages by itself, that is done only for objects that it has not found. */
bool openByObjects(Document *document, OpenFault *fault, bool hasPages)
{
    Source &source = document->source;
    FoundObjects found = findObjects(source.path);
    if (hasPages) {
        std::map<QPDFObjGen, QPDFXRefEntry> table = source.pdf.getXRefTable();
        if (std::ranges::all_of(found.objects, [&](const auto &object) {
                return table.count(QPDFObjGen(object.first, object.second.generation)) > 0;
            }))
            return false;
    }
    if (found.objects.empty())
        return false;
    std::string repaired;
    try {
        findCompressedObjects(&found, document->options.password);
        repaired = withNewTable(found);
    } catch (const LimitReached &) {
        return false;
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        return false;
    }
    std::destroy_at(&source.pdf); /* one that has failed cannot open another file */
    std::construct_at(&source.pdf);
    source.isDamaged = true;
    source.repaired = std::move(repaired);
    document->needs |= NEED_STRUCTURE;
    *fault = openFile(document);
    if (!fault->message)
        findCatalogue(document);
    return true;
}

/* Opens the document by its tables, or without them; nothing, with an error: there is no way. */
std::optional<std::vector<QPDFObjectHandle>> openPages(Document *document)
{
    OpenFault fault;
    bool isByObjects =
        !hasTableAtEnd(document->source.path) && openByObjects(document, &fault, false);
    if (!isByObjects)
        fault = openFile(document);
    bool isSecret = fault.message && fault.message != Message::DocumentUnreadable;
    PageTree tree = fault.message ? PageTree() : pagesOfTree(document);
    bool hasPages = !tree.pages.empty();
    bool isOtherWanted = !hasPages || isReconstructed(&document->source);
    if (isOtherWanted && !isByObjects && !isSecret && openByObjects(document, &fault, hasPages))
        tree = fault.message ? PageTree() : pagesOfTree(document);
    if (tree.pages.empty() && !fault.message)
        tree = pagesAnywhere(document);
    if (fault.message && tree.pages.empty()) {
        say(document, *fault.message, 0, {fault.reason});
        return std::nullopt;
    }
    if (tree.isIrregular)
        document->needs |= NEED_STRUCTURE;
    flattenTree(document, tree.pages);
    if (!tree.pages.empty() && tree.hasLosses)
        say(document, Message::TreeDamaged, 0);
    return std::move(tree.pages);
}

/* A page with nothing on it, as large as that one. */
Page blankPage(Document *document, QPDFObjectHandle like)
{
    QPDFObjectHandle blank = QPDFObjectHandle::newDictionary();
    blank.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    for (const char *key : {"/MediaBox", "/CropBox", "/Rotate", "/UserUnit"})
        if (like.hasKey(key)) /* the inherited ones, too, see pagesOfTree */
            blank.replaceKey(key, like.getKey(key));
    blank.replaceKey("/Resources", QPDFObjectHandle::newDictionary());
    Page page;
    page.object = document->source.pdf.makeIndirectObject(blank);
    page.number = seam::BLANK_PAGE;
    return page;
}

/* Keeps the pages that are chosen: each once into `pages`, whatever is done to it is done once, and
 * all of them in their order into `order`. */
void selectPages(Document *document, std::vector<QPDFObjectHandle> &all,
                 const std::vector<int> &chosen)
{
    constexpr size_t NOT_CHOSEN = SIZE_MAX;
    std::vector<size_t> places(all.size(), NOT_CHOSEN);
    for (int number : chosen)
        if (number != seam::BLANK_PAGE)
            places[(size_t)number - 1] = 0;
    for (size_t i = 0; i < all.size(); i++) {
        if (places[i] == NOT_CHOSEN || !all[i].isDictionary()) {
            places[i] = NOT_CHOSEN;
            continue;
        }
        places[i] = document->pages.size();
        Page page;
        page.object = all[i];
        page.number = (int)i + 1;
        document->pages.push_back(std::move(page));
    }
    const size_t blank = document->pages.size();
    if (blank > 0 && std::find(chosen.begin(), chosen.end(), seam::BLANK_PAGE) != chosen.end())
        document->pages.push_back(blankPage(document, document->pages[0].object));
    for (int number : chosen) {
        size_t place = number == seam::BLANK_PAGE ? blank : places[(size_t)number - 1];
        if (place < document->pages.size())
            document->order.push_back(place);
    }
}

} // namespace

bool loadDocument(Document *document, const std::string &path)
{
    document->source.path = path;
    std::optional<std::vector<QPDFObjectHandle>> opened = openPages(document);
    if (!opened)
        return false;
    std::vector<QPDFObjectHandle> &pages = *opened;
    seam::ChosenPages chosen = seam::choosePages(document->options.pages, (int)pages.size());
    for (const seam::Notice &warning : chosen.warnings)
        document->diagnostics.notices->add(warning);
    selectPages(document, pages, chosen.numbers);
    if (document->order.empty()) {
        if (chosen.fault)
            document->diagnostics.notices->add(*chosen.fault);
        else
            say(document, Message::NoPages, 0);
        return false;
    }
    if (document->order.size() != pages.size() || !seam::isRising(chosen.numbers))
        document->needs |= NEED_STRUCTURE;
    return true;
}

} // namespace prepare
