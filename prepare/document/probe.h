/*
 * probe.h - can the converter find its way in a file as it stands?
 */
#ifndef PREPARE_DOCUMENT_PROBE_H
#define PREPARE_DOCUMENT_PROBE_H

#include <string>

namespace prepare {

/* Has the file a header at its first byte, "startxref" among its last lines, and classic
 * cross-reference tables from there to the oldest one, without encryption?  Reads these places
 * alone. */
bool hasPlainTables(const std::string &path);

} // namespace prepare

#endif
