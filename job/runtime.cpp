/*
 * runtime.cpp - the parts of the runtime that a job needs
 */
#include "job/runtime.h"

#include <cstring>

namespace job {

namespace {

constexpr size_t FIRST_PARTS = 4; /* are always there, as is the last one */

} // namespace

std::string runtimeFor(const std::set<std::string> &names)
{
    uint32_t wanted = (((uint32_t)1 << FIRST_PARTS) - 1) | (uint32_t)1 << (runtimePartCount - 1);
    for (const std::string &name : names) {
        size_t part = runtimePartCount;
        while (part > 0 && !strstr(runtimeParts[part - 1].defines, (" " + name + " ").c_str()))
            part--;
        if (part > 0)
            wanted |= (uint32_t)1 << (part - 1);
    }
    for (size_t i = runtimePartCount; i-- > 0;) /* what a part needs stands before it */
        if (wanted >> i & 1)
            wanted |= runtimeParts[i].needs;
    std::string runtime;
    for (size_t i = 0; i < runtimePartCount; i++)
        if (wanted >> i & 1)
            runtime.append((const char *)runtimeParts[i].bytes, runtimeParts[i].count);
    return runtime;
}

} // namespace job
