/*
 * fuzz_canonical.cpp - whole documents, the way that pdf_print takes them
 *
 * The first byte holds the job's options; a document is behind it.  What prepare makes of it for a
 * job is printed, and nothing of that is refused.  Then a few of its bytes are changed, and it is
 * printed as it stands: whatever that is, it ends, and a job that is not written has its reason.
 */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

#include "job/job.h"
#include "prepare/prepare.h"
#include "zelkov/file.h"

namespace {

constexpr uint8_t BINARY = 1, PLAIN = 2, LEVEL_TWO = 4, LITTLE_MEMORY = 8;

int forget(void *, const uint8_t *, size_t)
{
    return 0;
}

struct Print {
    bool isWritten = false, hasError = false, hasRefused = false;
    std::string refused = {};
};

Print print(const std::string &path, uint8_t how)
{
    job::Options options;
    options.isBinary = how & BINARY;
    options.isCompressed = !(how & PLAIN);
    options.level = how & LEVEL_TWO ? 2 : 3;
    if (how & LITTLE_MEMORY)
        options.printerMemory = 2000;
    options.mostOutput = 16 << 20;
    Print print;
    job::Callbacks callbacks;
    callbacks.message = [&](const job::Message &message) {
        print.hasError |= message.severity == job::Severity::ERROR && message.page == 0;
        if (message.key == "REFUSEDPAGE" || message.key == "REFUSEDPART") {
            print.hasRefused = true;
            print.refused = message.text;
        }
    };
    print.isWritten = job::writeJob(
                          path,
                          [] {
                              return fopensink({forget, nullptr});
                          },
                          options, callbacks)
                          .isWritten;
    return print;
}

/* Changes some bytes, each time the same ones. */
std::string changed(std::string bytes, uint32_t seed)
{
    auto next = [&seed] { return (seed = seed * 1664525 + 1013904223) >> 8; };
    for (uint32_t changes = 1 + next() % 8; changes > 0 && !bytes.empty(); changes--) {
        size_t at = next() % bytes.size();
        switch (next() % 3) {
        case 0:
            bytes[at] = (char)next();
            break;
        case 1:
            bytes[at] = " \n()<>[]{}/%0-q"[next() % 15];
            break;
        default:
            bytes.replace(at, next() % 4, bytes.substr(next() % bytes.size(), next() % 16));
        }
    }
    return bytes;
}

uint32_t sumOf(const uint8_t *data, size_t size)
{
    uint32_t sum = 2166136261;
    for (size_t i = 0; i < size; i++)
        sum = (sum ^ data[i]) * 16777619;
    return sum;
}

void write(const std::string &path, const std::string &bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), (std::streamsize)bytes.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::string base = "/tmp/fuzz_canonical." + std::to_string(getpid());
    const std::string in = base + ".in.pdf", out = base + ".out.pdf";
    if (size == 0)
        return 0;
    write(in, std::string((const char *)data + 1, size - 1));
    seam::Notices notices;
    prepare::Options options;
    options.isCanonical = true;
    if (data[0] & LEVEL_TWO)
        options.level = 2;
    unlink(out.c_str());
    prepare::Outcome outcome = prepare::prepareFile(in, out, options, &notices);
    if (outcome != prepare::Outcome::REFUSED && access(out.c_str(), R_OK) == 0) {
        Print made = print(out, data[0]);
        if (made.hasRefused || (!made.isWritten && !made.hasError)) {
            fprintf(stderr, "what prepare has made is refused: %s\n", made.refused.c_str());
            abort();
        }
        std::ifstream file(out, std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(file), {}};
        write(out, changed(bytes, sumOf(data, size)));
        Print other = print(out, data[0]);
        if (!other.isWritten && !other.hasError)
            abort();
    }
    unlink(in.c_str());
    unlink(out.c_str());
    return 0;
}
