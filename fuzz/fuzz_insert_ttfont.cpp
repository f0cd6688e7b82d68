/*
 * fuzz_insert_ttfont.cpp - any bytes as a font file
 *
 * The font lies in a temporary file, as in a conversion, and the text goes to /dev/null.
 */
#include <cstddef>
#include <cstdint>

#include "fuzz/adopted_instance.h"
#include "tools/zolak1_3/truetype/truetype.h"
#include "zelkov/file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    AdoptedInstance instance(rootClass());
    static ZFile *output = fopenw("", "/dev/null", "", 0);
    ZFile *input = fopent("", "fuzz_insert_ttfont", "KV_TMP:.tmp", 0);
    if (!input || !output)
        abort();
    fputm(input, data, size);
    frewind(input);
    insert_ttfont(instance, input, output);
    fcldelete(input);
    return 0;
}
