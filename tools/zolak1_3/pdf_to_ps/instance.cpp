/*
 * instance.cpp - reports and nesting limits of the converter instance
 */
#include "tools/zolak1_3/pdf_to_ps/instance.h"

#include <cstdarg>

namespace {

constexpr char MODULE[] = "ZOLAK";
constexpr char SOURCE[] = "tools/zolak1_3/pdf_to_ps";

} // namespace

void zolakReport(ConverterInstance *inst, int line, Severity severity, const char *key,
                 const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    control_reportArguments(inst->controller, MODULE, SOURCE, line, severity, key, format,
                            arguments);
    va_end(arguments);
}

void reportOutOfMemory(ConverterInstance *inst, int line)
{
    zolakReport(inst, line, SEVERITY_ERROR, "out of memory", "Out of memory");
}

NestingLevel::NestingLevel(ConverterInstance *inst, int32_t ReaderLimits::*kind)
    : tooDeep(false), depth(inst->limits.*kind)
{
    if (++depth <= NESTING_LIMIT)
        return;
    tooDeep = true;
    zolakReport(inst, __LINE__, SEVERITY_ERROR, "BADOBJ", "Objects are nested too deeply.");
}

NestingLevel::~NestingLevel()
{
    --depth;
}
