/*
 * run.h - one conversion on its way: the document being read and the output being written
 */
#ifndef PDF_TO_PS_RUN_H
#define PDF_TO_PS_RUN_H

#include <cstdint>

#include "tools/zolak1_3/pdf_to_ps/reader/reader.h"
#include "tools/zolak1_3/pdf_to_ps/writer/pagesink.h"

/* How deep and how much hostile input has made the writers go.  Each kind of nesting is counted
 * apart; the outermost level is 1. */
struct WriterLimits {
    int32_t writtenDepth;     /* arrays and dictionaries being written */
    int32_t pageTreeDepth;    /* nodes of the page tree */
    int32_t resourceDepth;    /* resource dictionaries: a page's, its forms', their fonts' */
    int32_t colorSpaceDepth;  /* colour spaces inside colour spaces */
    int32_t halftoneDepth;    /* halftones inside halftones */
    uint32_t valuesWritten;   /* by the serializer for the value that it was handed */
    uint32_t resourceEntries; /* of the page description being written */
    uint64_t nodesVisited;    /* of the page tree */
};

/* A run is a reader with an output. */
struct ConversionRun : PdfReader {
    ZFile *output;

    int32_t selectedPage;   /* 0: all pages; n: only page n */
    int32_t decodesContent; /* page content is decoded instead of passed through */

    int32_t pageWritten;   /* set for every page, one without area included */
    int32_t currentPage;   /* number of the page being written, 0 before the first */
    int32_t pagesWritten;  /* how many have been */
    uint64_t bytesWritten; /* of output, once the run has ended */

    /* the input file's name without directory, extension, parentheses and backslashes */
    char baseName[32];

    WriterLimits written;

    PageSink *sink; /* takes the pages; not owned */
};

/* Resource entries that one page description may come to, nested ones included: forms that share
 * their resources multiply. */
constexpr uint32_t RESOURCE_ENTRIES_LIMIT = 65536;

/* Counts an entry of a resource dictionary before it is written; false, reported, beyond the
 * limit and when the error flag is set. */
bool countResourceEntry(ConversionRun *run);

/* Ready for a document; what belongs to the instance and the options stay. */
void resetRun(ConversionRun *run);

#endif
