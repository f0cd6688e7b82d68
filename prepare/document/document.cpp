/*
 * document.cpp - notices
 */
#include "prepare/document/document.h"

#include <algorithm>

namespace prepare {

namespace {

constexpr size_t MAX_NOTICES = 200;

} // namespace

std::vector<int> pageNumbers(const Document &document)
{
    std::vector<int> numbers;
    for (size_t index : document.order)
        numbers.push_back(document.pages[index].number);
    return numbers;
}

QPDFObjectHandle entryOf(const Page &page, const char *key)
{
    QPDFObjectHandle object = page.object;
    return object.getKeyIfDict(key);
}

int newNumber(Document *document)
{
    return ++document->names;
}

std::string newName(Document *document, const std::string &prefix)
{
    return prefix + std::to_string(newNumber(document));
}

void notice(Document *document, const std::string &key, int page, const std::string &text)
{
    auto same = [&](const Notice &n) { return n.key == key && n.page == page && n.text == text; };
    std::vector<Notice> &all = *document->diagnostics.notices;
    if (all.size() < MAX_NOTICES && std::none_of(all.begin(), all.end(), same))
        all.push_back({key, page, text});
}

} // namespace prepare
