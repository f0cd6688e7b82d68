/*
 * runtime.h - the PostScript in front of the pages of a job
 */
#ifndef JOB_RUNTIME_H
#define JOB_RUNTIME_H

#include <cstddef>

namespace job {

struct RuntimeFile {
    const unsigned char *bytes;
    size_t count;
};

/* Made from data/ps when the program is built. */
extern const RuntimeFile builtinRuntime;

/* The same as a Flate stream: it goes in front of every job. */
extern const RuntimeFile deflatedRuntime;

/* n filter|null  LOADER  -    runs the section behind it, before there is a runtime: n bytes of the
 * job, or ASCII85 when n is negative. */
inline constexpr char LOADER[] = "{ exch currentfile exch dup 0 lt { pop /ASCII85Decode filter } "
                                 "{ () /SubFileDecode filter } ifelse "
                                 "dup 3 -1 roll filter cvx exec flushfile } exec";

} // namespace job

#endif
