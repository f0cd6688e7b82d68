/*
 * run.cpp - one conversion on its way
 */
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

bool countResourceEntry(ConversionRun *run)
{
    if (run->errorFlag)
        return false;
    if (++run->written.resourceEntries <= RESOURCE_ENTRIES_LIMIT)
        return true;
    zolakReport(run, __LINE__, SEVERITY_ERROR, "BADXOBJ", "Too many nested resources.");
    return false;
}

void resetRun(ConversionRun *run)
{
    resetReader(run);
    run->pageWritten = run->currentPage = run->pagesWritten = 0;
    run->bytesWritten = 0;
    run->baseName[0] = 0;
    run->written = {};
}
