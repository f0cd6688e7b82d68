/*
 * second_reading.h - another reading of a section, beside the verifier's
 *
 * A scanner by the lexical rules of the language's book, and what it finds: the names that an
 * interpreter would execute, and where.  It shares no line with the verifier and knows nothing of
 * types and operands; what it answers is only whether each executable name stands in the table of
 * its place.  Data behind a count is passed over as the job's runtime passes over it.
 */
#ifndef TESTS_JOB_SECOND_READING_H
#define TESTS_JOB_SECOND_READING_H

#include <string>
#include <string_view>

enum class SectionPart { PAGE, SHARED, DEFINITION };

/* What is executed that has no business there, or what no interpreter reads for sure; empty:
 * nothing. */
std::string secondReading(std::string_view section, SectionPart part);

#endif
