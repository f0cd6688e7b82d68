/*
 * fuzz_verify.cpp - any bytes as the text of a section
 *
 * The first byte chooses the kind of section.  What is read in one piece and what comes in small
 * ones has the same verdict, and what is accepted stays so with white space behind it; a word
 * behind it is refused.
 */
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "job/verify.h"

namespace {

job::Verdict whole(const std::string &text, job::SectionKind kind)
{
    job::Account account;
    return job::verify(job::Bytes((const uint8_t *)text.data(), text.size()), kind, &account);
}

job::Verdict inPieces(const std::string &text, job::SectionKind kind, size_t piece)
{
    job::Account account;
    size_t at = 0;
    auto read = [&](uint8_t *to, size_t room) {
        size_t count = std::min({room, piece, text.size() - at});
        memcpy(to, text.data() + at, count);
        at += count;
        return count;
    };
    return job::verify(read, kind, &account);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr job::SectionKind kinds[] = {job::SectionKind::PAGE, job::SectionKind::SHARED,
                                          job::SectionKind::PART};
    if (size == 0)
        return 0;
    job::SectionKind kind = kinds[data[0] % 3];
    std::string text((const char *)data + 1, size - 1);
    job::Verdict verdict = whole(text, kind), again = inPieces(text, kind, 1 + size % 7);
    if (verdict.cause != again.cause || verdict.surplus != again.surplus || verdict.at != again.at)
        abort();
    if (verdict.isAccepted() && !whole(text + " \n", kind).isAccepted())
        abort();
    if (verdict.isAccepted() && whole(text + " quit", kind).isAccepted())
        abort();
    return 0;
}
