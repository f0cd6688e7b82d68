/*
 * report.cpp - how the conversion reports
 */
#include "tools/zolak1_3/truetype/report.h"

#include <cstdarg>

namespace {

constexpr char MODULE[] = "ZOLAK";
constexpr char SOURCE[] = "tools/zolak1_3/truetype";
constexpr char KEY[] = "TTFONT";

} // namespace

void tt_reportFault(ZelkovInstance *instance, TTReportLine line, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    control_reportArguments(instance->owner, MODULE, SOURCE, line, SEVERITY_FAULT, KEY, format,
                            arguments);
    va_end(arguments);
}

void tt_reportError(ZelkovInstance *instance, TTReportLine line, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    control_reportArguments(instance->owner, MODULE, SOURCE, line, SEVERITY_ERROR, KEY, format,
                            arguments);
    va_end(arguments);
}

void tt_reportTooLarge(ZelkovInstance *instance)
{
    tt_reportError(instance, LINE_TOO_LARGE, "Font program is too large");
}

void tt_reportOutOfMemory(ZelkovInstance *instance, TTReportLine line)
{
    if (!tt_stopped(instance))
        control_report(instance->owner, MODULE, SOURCE, line, SEVERITY_ERROR, "out of memory",
                       "Out of memory");
}

void tt_reportReadError(ZelkovInstance *instance, TTReportLine line)
{
    control_report(instance->owner, MODULE, SOURCE, line, SEVERITY_ERROR, "READERR",
                   "Reading error.");
}
