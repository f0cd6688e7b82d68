/*
 * load.cpp - opening a document
 *
 * libqpdf repairs the table of objects and decrypts.  A page tree that it cannot follow is left
 * aside, and every object that says it is a page counts as one.
 */
#include "prepare/document/load.h"

#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFLogger.hh>

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

bool openFile(Document *document, const std::string &path)
{
    QPDF &pdf = document->pdf;
    pdf.setSuppressWarnings(true);
    pdf.setLogger(QPDFLogger::create());
    pdf.getLogger()->setError(pdf.getLogger()->discard());
    try {
        pdf.processFile(path.c_str(), document->options.password.c_str());
        return true;
    } catch (const QPDFExc &error) {
        if (error.getErrorCode() == qpdf_e_password)
            notice(document, "ENCRYPTED", 0, "The document needs a password: --password-file.");
        else
            notice(document, "DAMAGED", 0, "The document cannot be read: " + reason(error, path));
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &error) {
        notice(document, "DAMAGED", 0, "The document cannot be read: " + reason(error, path));
    }
    return false;
}

std::vector<QPDFObjectHandle> pagesOfTree(Document *document)
{
    try {
        return document->pdf.getAllPages();
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
        for (QPDFObjectHandle object : document->pdf.getAllObjects())
            if (object.isDictionary() && nameOr(object.getKey("/Type")) == "/Page")
                pages.push_back(object);
    } catch (const std::bad_alloc &) {
        throw;
    } catch (const std::exception &) {
        pages.clear();
    }
    return pages;
}

bool isWanted(const Options &options, int number)
{
    if (options.pages.empty())
        return true;
    for (auto [first, last] : options.pages)
        if (number >= first && number <= last)
            return true;
    return false;
}

} // namespace

bool loadDocument(Document *document, const std::string &path)
{
    if (!openFile(document, path))
        return false;
    std::vector<QPDFObjectHandle> pages = pagesOfTree(document);
    if (pages.empty())
        pages = pagesAnywhere(document);
    for (size_t i = 0; i < pages.size(); i++) {
        if (!pages[i].isDictionary() || !isWanted(document->options, (int)i + 1))
            continue;
        Page page;
        page.object = pages[i];
        page.number = (int)i + 1;
        document->pages.push_back(std::move(page));
    }
    if (document->pages.empty()) {
        notice(document, "DAMAGED", 0,
               pages.empty() ? "The document has no pages." : "None of the pages wanted exists.");
        return false;
    }
    if (document->pages.size() < pages.size())
        document->needs |= NEED_STRUCTURE;
    return true;
}

} // namespace prepare
