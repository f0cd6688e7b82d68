/*
 * comments.h - the comments that give a job its structure
 */
#ifndef JOB_COMMENTS_H
#define JOB_COMMENTS_H

#include "job/sides.h"

namespace job {

/* A text for a comment: printable, at most 200 bytes, in parentheses. */
std::string commentText(const std::string &text);

/* The comments in front of the prolog. */
void writeHeader(ZFile *job, const Options &options, const Plan &plan);

/* What stands in front of the job and behind it where a printer's job language is wanted: its exit
 * from any language, the names of job and user, and that PostScript follows. */
void writePjlBegin(ZFile *job, const Options &options);
void writePjlEnd(ZFile *job, const Options &options);

/* Device settings: copies, duplex, what else is asked for, and the printer's own features. */
void writeDeviceSettings(ZFile *job, const Options &options);

/* The comments in front of a side, up to the end of its setup.  `ordinal` counts from 1. */
void writeSideComments(ZFile *job, const Options &options, const PlacedSide &side, size_t ordinal);

} // namespace job

#endif
