/*
 * runtime.h - the PostScript in front of the pages of a job
 *
 * It is made of parts; a job has those that define what it calls, and what these need.
 */
#ifndef JOB_RUNTIME_H
#define JOB_RUNTIME_H

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

namespace job {

struct RuntimePart {
    const unsigned char *bytes;
    size_t count;
    uint32_t needs;      /* a bit for each part */
    const char *defines; /* names, a blank in front of each and behind the last */
};

/* Made from data/ps/job when the program is built, in their order. */
extern const RuntimePart runtimeParts[];
extern const size_t runtimePartCount;

/* The runtime for a job that calls these names of it; without any, the smallest.  Where several
 * parts define a name, the last one is meant. */
std::string runtimeFor(const std::set<std::string> &names);

/* n filter|null  LOADER  -    runs the section behind it, before there is a runtime: n bytes of the
 * job, or ASCII85 when n is negative. */
inline constexpr char LOADER[] = "{ exch currentfile exch dup 0 lt { pop /ASCII85Decode filter } "
                                 "{ () /SubFileDecode filter } ifelse "
                                 "dup 3 -1 roll filter cvx exec flushfile } exec";

} // namespace job

#endif
