/*
 * ascii.h - texts of people in the letters that every printer knows
 */
#ifndef JOB_ASCII_H
#define JOB_ASCII_H

#include <string>
#include <string_view>

namespace job {

/* A text in UTF-8 as printable ASCII: Latin letters without their marks, plain quotation marks and
 * dashes, "?" for each other character and for what is no UTF-8. */
std::string asAscii(std::string_view text);

} // namespace job

#endif
