/*
 * fuzz_prepare_recover.cpp - files whose tables lead nowhere: their objects, found one by one
 */
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <stdio.h>
#include <unistd.h>

#include "prepare/document/document.h"
#include "prepare/document/recover.h"

namespace {

/* A file of its own for this process. */
struct ScratchFile {
    char path[32] = "/tmp/fuzz_recover.XXXXXX";

    ScratchFile()
    {
        int file = mkstemp(path);
        if (file < 0)
            abort();
        close(file);
    }
    ~ScratchFile() { unlink(path); }
    ScratchFile(const ScratchFile &) = delete;
    ScratchFile &operator=(const ScratchFile &) = delete;

    void write(const uint8_t *data, size_t size) const
    {
        FILE *file = fopen(path, "wb");
        if (!file || fwrite(data, 1, size, file) != size || fclose(file) != 0)
            abort();
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const ScratchFile file;
    file.write(data, size);
    prepare::FoundObjects found = prepare::findObjects(file.path);
    try {
        prepare::findCompressedObjects(&found, "");
    } catch (const std::exception &) { /* it cannot be read even so */
    } catch (const prepare::LimitReached &) {
    }
    for (const auto &[number, object] : found.objects)
        if (object.container == 0 && object.offset >= found.text.size())
            abort();
    if (!std::string_view(prepare::withNewTable(found)).starts_with(found.text))
        abort();
    return 0;
}
