/*
 * fuzz_job.cpp - any bytes as the objects of a document, through a whole print job
 *
 * The first byte holds the options; then come the texts of objects with a 0xFF between them, the
 * first of which is the catalog.
 */
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/object_file.h"
#include "job/job.h"
#include "zelkov/file.h"

namespace {

constexpr uint8_t BINARY = 1, PLAIN = 2, LEVEL_TWO = 4, FIRST_PAGE = 8, LITTLE_MEMORY = 16,
                  ON_PAPER = 32;

int forget(void *, const uint8_t *, size_t)
{
    return 0;
}

/* A file of its own for this process. */
struct ScratchFile {
    std::string path;

    ScratchFile()
    {
        char name[] = "/tmp/fuzz_jobXXXXXX";
        int file = mkstemp(name);
        if (file < 0)
            abort();
        fclose(fdopen(file, "w"));
        path = name;
    }
    ~ScratchFile() { remove(path.c_str()); }
    void write(const std::string &bytes) const
    {
        FILE *file = fopen(path.c_str(), "wb");
        if (!file || fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
            abort();
        fclose(file);
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static ScratchFile scratch;
    if (size == 0)
        return 0;
    scratch.write(documentOf(std::string((const char *)data + 1, size - 1)));
    job::Options options;
    std::string fault;
    options.isBinary = data[0] & BINARY;
    options.isCompressed = !(data[0] & PLAIN);
    options.level = data[0] & LEVEL_TWO ? 2 : 3;
    if (data[0] & FIRST_PAGE)
        seam::readPageRanges("1", &options.pages, &fault);
    if (data[0] & LITTLE_MEMORY)
        options.printerMemory = 2000;
    if (data[0] & ON_PAPER)
        options.paper = {595, 842, job::Scaling::FIT, true};
    options.mostOutput = 16 << 20;
    bool hasError = false; /* which there is when nothing is printed */
    job::Callbacks callbacks;
    callbacks.message = [&](const job::Message &message) {
        hasError |= message.severity == job::Severity::ERROR && message.page == 0;
    };
    job::Result result = job::writeJob(
        scratch.path,
        [] {
            return fopensink({forget, nullptr});
        },
        options, callbacks);
    if (!result.isWritten && !hasError)
        abort();
    return 0;
}
