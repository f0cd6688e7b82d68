/*
 * driver.cpp - one conversion, as the attributes of an instance say
 */
#include "tools/zolak1_3/pdf_to_ps/frame/driver.h"

#include "tools/zolak1_3/pdf_to_ps/frame/conversion.h"

namespace {

/* The options, as the run has them. */
void takeOptions(ConverterInstance *inst)
{
    inst->run.acceptsEncrypted = inst->options.ENCRYPT != 0;
    inst->run.selectedPage = inst->options.PAGE;
    inst->run.decodesContent = inst->options.DECODE;
}

} // namespace

void runConversion(ConverterInstance *inst)
{
    const ConverterOptions &options = inst->options;
    takeOptions(inst);
    ConversionFiles files;
    files.inputName = options.FILE;
    files.outputName = options.OUTSPEC;
    files.prolog = {options.PROLOG, nullptr, 0};
    files.trailer = {options.TRAILER, nullptr, 0};
    files.openInput = [&options] { return fopenr("", options.FILE, ".pdf", 0); };
    files.openOutput = [&options] { return fopenw("", options.OUTSPEC, ".ps", 0); };
    convertDocument(&inst->run, files);
}
