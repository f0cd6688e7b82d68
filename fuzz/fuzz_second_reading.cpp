/*
 * fuzz_second_reading.cpp - what the verifier accepts holds no executable name of anybody else's
 *
 * The first byte chooses the kind of section and where its text comes from: the bytes as they are,
 * or a grammar that they drive, which writes what sections hold with other things in between.  What
 * the verifier accepts the second reading has to accept.
 */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/section_grammar.h"
#include "job/verify.h"
#include "tests/job/second_reading.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr job::SectionKind kinds[] = {job::SectionKind::PAGE, job::SectionKind::SHARED,
                                          job::SectionKind::PART};
    constexpr SectionPart parts[] = {SectionPart::PAGE, SectionPart::SHARED,
                                     SectionPart::DEFINITION};
    if (size == 0)
        return 0;
    size_t kind = data[0] % 3;
    bool isOfGrammar = data[0] / 3 % 2;
    std::string text = isOfGrammar ? SectionGrammar(data + 1, size - 1).section(kind == 1)
                                   : std::string((const char *)data + 1, size - 1);
    job::Account account;
    job::Verdict verdict =
        job::verify(job::Bytes((const uint8_t *)text.data(), text.size()), kinds[kind], &account);
    if (!verdict.isAccepted())
        return 0;
    std::string fault = secondReading(text, parts[kind]);
    if (!fault.empty()) {
        fprintf(stderr, "the second reading: %s\n", fault.c_str());
        fwrite(text.data(), 1, text.size(), stderr);
        abort();
    }
    return 0;
}
