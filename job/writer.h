/*
 * writer.h - the second walk: shared parts, then page after page
 */
#ifndef JOB_WRITER_H
#define JOB_WRITER_H

#include "job/plan.h"
#include "job/section.h"

namespace job {

struct PageWriter {
    ConversionRun *run;
    const Options *options;
    const Callbacks *callbacks;
    const Plan *plan;
    ZFile *job;
    Encoding encoding;
    Account account;                       /* of what pages cost */
    size_t written = 0;                    /* pages */
    uint32_t lines = 0;                    /* of the page being written */
    SectionWriter *section = nullptr;      /* being written */
    const PlannedResource *part = nullptr; /* the shared part being written */
    bool isWhole = true;                   /* no page lacks a part */
};

/* Writes the section with what pages share, when there is any. */
void writeShared(PageWriter *writer);

/* Writes the chosen pages, one section each. */
void writePages(PageWriter *writer);

} // namespace job

#endif
