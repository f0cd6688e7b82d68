/*
 * fuzz_prepare.cpp - whole documents
 *
 * Whatever comes in, what comes out is a document that needs nothing more.  Every second one, by its
 * size, is prepared for a job.
 */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <unistd.h>

#include "prepare/prepare.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::string base = "/tmp/fuzz_prepare." + std::to_string(getpid());
    const std::string in = base + ".in.pdf", out = base + ".out.pdf";
    std::ofstream(in, std::ios::binary).write(reinterpret_cast<const char *>(data), (long)size);
    seam::Notices notices;
    prepare::Options options;
    options.isCanonical = size % 2 == 1;
    prepare::Outcome outcome = prepare::prepareFile(in, out, options, &notices);
    if (outcome == prepare::Outcome::REFUSED && !notices.hasAny(seam::Severity::ERROR))
        abort();
    unlink(in.c_str());
    unlink(out.c_str());
    return 0;
}
