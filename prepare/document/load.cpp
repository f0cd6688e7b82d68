/*
 * load.cpp - opening a document
 *
 * libqpdf repairs the table of objects and decrypts.  A page tree that gives no page is left
 * aside, and every object that says it is a page counts as one.
 */
#include "prepare/document/load.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>

#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFLogger.hh>

#include "prepare/document/fileinput.h"
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

/* A file that has lost its end is given a trailer that names its catalogue; empty: it has its end,
 * or no catalogue.  A trailer that can be read still comes first. */
std::string withTrailer(const std::string &path)
{
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    constexpr long TAIL = 2048, LARGEST = 256l << 20;
    long size = file ? (long)file.tellg() : 0;
    if (size <= 0 || size > LARGEST)
        return "";
    file.seekg(std::max(0l, size - TAIL));
    std::string tail(std::istreambuf_iterator<char>(file), {});
    if (tail.find("startxref") != std::string::npos)
        return "";
    file.clear();
    file.seekg(0);
    std::string text(std::istreambuf_iterator<char>(file), {});
    size_t catalog = text.rfind("/Catalog");
    size_t object = catalog == std::string::npos ? catalog : text.rfind("obj", catalog);
    if (text.find("/XRef") != std::string::npos || object == std::string::npos)
        return "";
    size_t line = text.find_last_of("\r\n", object);
    size_t begin = line == std::string::npos ? 0 : line + 1;
    return text + "\ntrailer << /Root " + text.substr(begin, object - begin) + " R >>\n";
}

void process(Document *document, const std::string &path)
{
    const char *password = document->options.password.c_str();
    document->source.repaired = withTrailer(path);
    if (document->source.repaired.empty())
        document->source.pdf.processInputSource(openFileInput(path), password);
    else
        document->source.pdf.processMemoryFile(path.c_str(), document->source.repaired.data(),
                                               document->source.repaired.size(), password);
}

bool openFile(Document *document, const std::string &path)
{
    QPDF &pdf = document->source.pdf;
    pdf.setSuppressWarnings(true);
    pdf.setLogger(QPDFLogger::create());
    pdf.getLogger()->setError(pdf.getLogger()->discard());
    try {
        process(document, path);
        return true;
    } catch (const QPDFExc &error) {
        if (error.getErrorCode() == qpdf_e_password)
            say(document,
                document->options.password.empty() ? Message::PasswordNeeded
                                                   : Message::PasswordWrong,
                0);
        else
            say(document, Message::DocumentUnreadable, 0, {reason(error, path)});
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        say(document, Message::DocumentUnreadable, 0, {reason(error, path)});
    }
    return false;
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
std::vector<QPDFObjectHandle> pagesAnywhere(Document *document)
{
    std::vector<QPDFObjectHandle> pages;
    try {
        for (QPDFObjectHandle object : document->source.pdf.getAllObjects())
            if (object.isDictionary() && nameOr(object.getKey("/Type")) == "/Page")
                pages.push_back(object);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        pages.clear();
    }
    return pages;
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

/* The pages of the tree; of a document whose tree has none, all that there are. */
std::vector<QPDFObjectHandle> allPages(Document *document)
{
    PageTree tree = pagesOfTree(document);
    bool isWhole = !tree.pages.empty();
    if (!isWhole)
        tree.pages = pagesAnywhere(document);
    if (tree.isIrregular || !isWhole)
        document->needs |= NEED_STRUCTURE;
    flattenTree(document, tree.pages);
    if (!tree.pages.empty() && (tree.hasLosses || !isWhole))
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
    if (!openFile(document, path))
        return false;
    std::vector<QPDFObjectHandle> pages = allPages(document);
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
