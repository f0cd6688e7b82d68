/*
 * plan.h - the first walk over a document: its pages, and what they have in common
 */
#ifndef JOB_PLAN_H
#define JOB_PLAN_H

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "job/job.h"
#include "tools/zolak1_3/pdf_to_ps/writer/pages.h"
#include "tools/zolak1_3/pdf_to_ps/writer/run.h"

namespace job {

/* A page of the job. */
struct PlannedPage {
    int inDocument;      /* from 1 on */
    int number;          /* what messages and comments call it */
    Rectangle rectangle; /* see pageRectangle */
    std::string label;

    int64_t width() const { return rectangle.x2 - rectangle.x1; }
    int64_t height() const { return rectangle.y2 - rectangle.y1; }
    bool isEmpty() const { return width() <= 0 || height() <= 0; }
};

/* What a resource is to the plan; the first four are kinds of the resource dictionary. */
enum ResourceRole { ROLE_XOBJECT, ROLE_FONT, ROLE_EXTGSTATE, ROLE_COLORSPACE, ROLE_CONTENT };

/* A resource, or a stream of page content. */
struct PlannedResource {
    ValuePosition position;   /* where its text begins in the input */
    ValuePosition nested = 0; /* its own resource dictionary; 0: it has none */
    uint32_t uses = 0;        /* how often it is defined */
    int32_t shared = -1;      /* number of the shared part */
    uint8_t role;
    uint64_t bytes = 0; /* about what its definition takes */
    int firstPage = 0;  /* as messages call it */
    std::string name;   /* there */
};

struct Plan {
    std::vector<PlannedPage> pages;
    std::optional<seam::Notice> fault;                 /* why the list of pages cannot be had */
    std::vector<seam::Notice> warnings;                /* parts of it that name no page */
    std::vector<PlannedResource> resources;            /* in the order in which they are met */
    std::unordered_map<ValuePosition, uint32_t> index; /* by position; content by its data's */
    std::vector<uint32_t> shared;                      /* resources by number of the shared part */
    std::set<std::string> residentFonts;               /* that the printer has to bring */
    std::set<std::string> calls;                       /* names of the runtime, see runtimeFor */

    const PlannedResource *find(ValuePosition key) const
    {
        auto found = index.find(key);
        return found == index.end() ? nullptr : &resources[found->second];
    }
};

/* Resource lines that one page may come to; forms that share their resources multiply. */
constexpr uint32_t LINES_LIMIT = 1000000;

/* Walks over the pages that the options choose.  What is wrong with a page is left to be told
 * when it is written.  The run's error flag is set when the document itself cannot be read. */
void makePlan(ConversionRun *run, const Options &options, Plan *plan);

/* After a fault of a page, not of the document: the run goes on.  The fault is met again, and told,
 * when the page is written. */
void recover(ConversionRun *run);

/* Hands each page of the document to the sink; the run's error flag is set when the tree cannot be
 * read. */
void walkPages(ConversionRun *run, PageSink *sink);

} // namespace job

#endif
