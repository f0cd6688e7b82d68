/*
 * write.cpp - a new page tree with only what printing needs, and the file
 */
#include "prepare/document/write.h"

#include <qpdf/QPDFPageLabelDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include "prepare/document/canonicalfile.h"

namespace prepare {

namespace {

constexpr char VERSION[] = "1.2"; /* the last one that the converter knows */

/* What remains of a page. */
QPDFObjectHandle plainPage(const Page &page, QPDFObjectHandle parent)
{
    QPDFObjectHandle plain = QPDFObjectHandle::newDictionary();
    plain.replaceKey("/Type", QPDFObjectHandle::newName("/Page"));
    plain.replaceKey("/Parent", parent);
    QPDFObjectHandle object = page.object;
    for (const char *key : {"/MediaBox", "/Rotate", "/Resources", "/Contents"})
        if (object.hasKey(key))
            plain.replaceKey(key, object.getKey(key));
    return plain;
}

/* The labels of the pages that remain. */
void keepLabels(Document *document, QPDFObjectHandle root)
{
    QPDFPageLabelDocumentHelper labels(document->source.pdf);
    if (!labels.hasPageLabels())
        return;
    std::vector<QPDFObjectHandle> numbers;
    long long place = 0;
    for (int number : pageNumbers(*document))
        labels.getLabelsForPageRange(number - 1, number - 1, place++, numbers);
    root.replaceKey("/PageLabels", QPDFObjectHandle::newDictionary(
                                       {{"/Nums", QPDFObjectHandle::newArray(numbers)}}));
}

QPDFObjectHandle newRoot(Document *document)
{
    QPDF &pdf = document->source.pdf;
    QPDFObjectHandle tree = pdf.makeIndirectObject(QPDFObjectHandle::newDictionary());
    std::vector<QPDFObjectHandle> kids;
    for (size_t index : document->order) /* a page that comes again is a dictionary of its own */
        kids.push_back(pdf.makeIndirectObject(plainPage(document->pages[index], tree)));
    tree.replaceKey("/Type", QPDFObjectHandle::newName("/Pages"));
    tree.replaceKey("/Count", QPDFObjectHandle::newInteger((long long)kids.size()));
    tree.replaceKey("/Kids", QPDFObjectHandle::newArray(kids));
    QPDFObjectHandle root = QPDFObjectHandle::newDictionary();
    root.replaceKey("/Type", QPDFObjectHandle::newName("/Catalog"));
    root.replaceKey("/Pages", tree);
    keepLabels(document, root);
    return pdf.makeIndirectObject(root);
}

/* Leads the file to the new tree and to nothing else. */
void replaceRoot(Document *document, QPDFObjectHandle root)
{
    QPDF &pdf = document->source.pdf;
    pdf.getTrailer().replaceKey("/Root", root);
    QPDFObjectHandle trailer = pdf.getTrailer();
    for (const std::string &key : trailer.getKeys()) {
        bool isInfo = key == "/Info" && trailer.getKey(key).isDictionary();
        if (!isInfo && key != "/Root" && key != "/Size" && key != "/ID" && key != "/Encrypt")
            trailer.removeKey(key);
    }
    trailer.replaceKey("/Size", QPDFObjectHandle::newInteger(0)); /* the writer sets it right */
    pdf.updateAllPagesCache();
}

} // namespace

void writeDocument(Document *document, const std::string &path)
{
    QPDFObjectHandle root = newRoot(document);
    if (document->options.isCanonical && document->options.level > 2)
        return writeCanonicalFile(root, path);
    replaceRoot(document, root);
    QPDFWriter writer(document->source.pdf, path.c_str());
    writer.setObjectStreamMode(qpdf_o_disable);
    if (document->options.level == 2) {
        writer.setDecodeLevel(qpdf_dl_generalized);
        writer.setStreamDataMode(qpdf_s_uncompress);
    } else {
        writer.setStreamDataMode(qpdf_s_preserve);
    }
    writer.setPreserveEncryption(false);
    writer.setNewlineBeforeEndstream(true);
    writer.setDeterministicID(true);
    writer.forcePDFVersion(VERSION);
    writer.write();
}

} // namespace prepare
