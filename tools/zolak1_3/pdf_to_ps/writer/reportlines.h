/*
 * reportlines.h - the line numbers of the writers' reports
 *
 * The line of a report names its place to users, who look it up and whose scripts match it (the
 * messages have it when tracing is on, and repeated ones are told apart by it): so these are fixed
 * and do not follow the lines of our files.  A report that is not here has no number of its own and
 * gives __LINE__; the reader has only such.
 */
#ifndef PDF_TO_PS_REPORTLINES_H
#define PDF_TO_PS_REPORTLINES_H

enum WriterReportLine : int {
    LINE_UNKNOWN_XOBJECT = 2014,
    LINE_NO_TEMPORARY_FONT = 2084,
    LINE_UNSUPPORTED_FONT = 2200,
    LINE_MULTIPLE_MASTER = 2209,
    LINE_TRUETYPE = 2213,
    LINE_NO_BASE_FONT = 2240,
    LINE_BAD_WIDTHS = 2279,
    LINE_FUNCTION_MEMORY = 2331,
    LINE_FUNCTION_ARRAY = 2335,
    LINE_BAD_FUNCTION1 = 2517,
    LINE_BAD_FUNCTION2 = 2702,
    LINE_UNSUPPORTED_HALFTONE = 2827,
    LINE_BAD_STATE = 2849,
    LINE_BAD_TRANSFER = 2864,
};

#endif
