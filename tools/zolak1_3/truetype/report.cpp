/*
 * report.cpp - the report that every allocation shares
 */
#include "tools/zolak1_3/truetype/report.h"

void reportOutOfMemory(ZelkovInstance *instance, TTReportLine line)
{
    control_report(instance->owner, TT_MODULE, TT_SOURCE, line, SEVERITY_ERROR, "out of memory",
                   "Out of memory");
}
