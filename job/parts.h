/*
 * parts.h - the definition of one resource by itself
 */
#ifndef JOB_PARTS_H
#define JOB_PARTS_H

#include "job/plan.h"
#include "tools/zolak1_3/pdf_to_ps/reader/streams.h"

namespace job {

/* The stream's content undone, where that is cheap: it is compressed again with the text around it.
 * False: it has to go as it stands. */
bool undoneContent(ConversionRun *run, const PdfStream *stream, std::string *content);

/* Writes the definition of a resource under a name, with its slash, into the sink; without the
 * resources that it may have itself: those are parts of their own, or stand in the pages. */
void definePart(ConversionRun *run, const PlannedResource &resource, const char *name,
                ZFileSink sink);

/* Resources whose definitions have the same bytes become one, wherever they stand in the file. */
void mergeEqual(ConversionRun *run, Plan *plan);

} // namespace job

#endif
