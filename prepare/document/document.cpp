/*
 * document.cpp - notices
 */
#include "prepare/document/document.h"

#include <algorithm>

namespace prepare {

bool isDamaged(Source *source)
{
    return source->isDamaged |= source->pdf.anyWarnings();
}

namespace {

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

void say(Document *document, Message message, int page,
         std::initializer_list<std::string_view> values)
{
    document->diagnostics.notices->add(seam::notice(message, page, values));
}

} // namespace prepare
