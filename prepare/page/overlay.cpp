/*
 * overlay.cpp - closing what a page's content leaves open
 */
#include "prepare/page/overlay.h"

#include "prepare/content/evaluate.h"
#include "prepare/model/tokens.h"

namespace prepare {

namespace {

/* How far content is from closing what it opens. */
struct Balance {
    size_t saves = 0, marks = 0, lostRestores = 0;
    bool inText = false;
    std::string kept; /* the content without restores that restore nothing, if it has any */
};

Balance balanceOf(const std::string &content)
{
    Balance balance;
    ContentReader reader{content};
    Operation operation;
    while (readOperation(&reader, &operation)) {
        std::string_view name = operation.name;
        bool isLost = name == "Q" && balance.saves == 0;
        balance.lostRestores += isLost;
        balance.saves += name == "q";
        balance.saves -= name == "Q" && !isLost;
        balance.marks += name == "BMC" || name == "BDC";
        balance.marks -= name == "EMC" && balance.marks > 0;
        if (name == "BT" || name == "ET")
            balance.inText = name == "BT";
        if (isLost)
            balance.kept.push_back('\n');
        else
            balance.kept += operation.source;
    }
    balance.kept += operation.source;
    return balance;
}

std::string repeated(const char *text, size_t count)
{
    std::string all;
    for (size_t i = 0; i < count; i++)
        all += text;
    return all;
}

} // namespace

void surroundContent(Document *document, Page *page, std::string front, const std::string &back)
{
    QPDF *pdf = &document->source.pdf;
    QPDFObjectHandle contents = page->object.getKey("/Contents");
    std::vector<QPDFObjectHandle> streams;
    if (contents.isStream())
        streams.push_back(contents);
    else if (contents.isArray())
        streams = contents.getArrayAsVector();
    if (!back.empty()) {
        bool damaged = false; /* the scan says so, if it is */
        Balance balance = balanceOf(readContent(contents, MAX_CONTENT_BYTES, &damaged));
        if (balance.lostRestores > 0)
            streams = {newFlateStream(pdf, balance.kept)};
        front += "q\n";
        std::string closing = std::string(balance.inText ? "\nET\n" : "\n") +
                              repeated("EMC\n", balance.marks) + repeated("Q\n", balance.saves + 1);
        streams.push_back(newFlateStream(pdf, closing + back));
    }
    streams.insert(streams.begin(), newFlateStream(pdf, front));
    page->object.replaceKey("/Contents", QPDFObjectHandle::newArray(streams));
}

} // namespace prepare
