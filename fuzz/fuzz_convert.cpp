/*
 * fuzz_convert.cpp - any bytes as a document, through a whole conversion
 *
 * The first byte holds the switches, and whether the rest is a file as it stands or the texts of
 * objects with a 0xFF between them.  Such texts get a correct cross-reference table, so that a
 * change of their length does not hide what is behind it; the first is the catalog.
 */
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/adopted_instance.h"
#include "fuzz/object_file.h"
#include "tools/zolak1_3/pdf_to_ps/frame/driver.h"
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"

namespace {

constexpr uint8_t WITH_DECODE = 1, WITH_ENCRYPT = 2, ONE_PAGE = 4, AS_OBJECTS = 8;

struct Scratch {
    std::string folder;

    Scratch()
    {
        char name[] = "/tmp/fuzz_convertXXXXXX";
        if (!mkdtemp(name))
            abort();
        folder = name;
        write("empty.ps", "");
    }
    ~Scratch()
    {
        remove((folder + "/doc.pdf").c_str());
        remove((folder + "/empty.ps").c_str());
        remove(folder.c_str());
    }
    std::string write(const char *name, const std::string &bytes) const
    {
        std::string path = folder + "/" + name;
        FILE *file = fopen(path.c_str(), "wb");
        if (!file || fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
            abort();
        fclose(file);
        return path;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static Scratch scratch;
    if (size == 0)
        return 0;
    std::string bytes(data + 1, data + size);
    std::string document =
        scratch.write("doc.pdf", data[0] & AS_OBJECTS ? documentOf(bytes) : bytes);
    AdoptedInstance adopted(zolak_baseclass_init());
    auto *inst = reinterpret_cast<ConverterInstance *>((ZelkovInstance *)adopted);
    inst->run.controller = inst->header.owner;
    snprintf(inst->options.FILE, sizeof inst->options.FILE, "%s", document.c_str());
    snprintf(inst->options.OUTSPEC, sizeof inst->options.OUTSPEC, "/dev/null");
    snprintf(inst->options.PROLOG, sizeof inst->options.PROLOG, "%s/empty.ps",
             scratch.folder.c_str());
    snprintf(inst->options.TRAILER, sizeof inst->options.TRAILER, "%s/empty.ps",
             scratch.folder.c_str());
    inst->options.DECODE = (data[0] & WITH_DECODE) != 0;
    inst->options.ENCRYPT = (data[0] & WITH_ENCRYPT) != 0;
    inst->options.PAGE = data[0] & ONE_PAGE ? 1 : 0;
    runConversion(inst);
    if (inst->run.input)
        abort();
    return 0;
}
