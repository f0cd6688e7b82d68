/*
 * report.h - how the conversion reports
 *
 * Every report goes to the instance's controller under one module and source.
 */
#ifndef TRUETYPE_REPORT_H
#define TRUETYPE_REPORT_H

#include "zelkov/control.h"

/* The line of a report names its place to users, who look it up and whose scripts match it: so
 * these are fixed and do not follow the lines of our files. */
enum TTReportLine : int {
    LINE_NO_FONT_NAMES = 604,
    LINE_CMAP_ENCODING = 671,
    LINE_CMAP_GLYPH = 706,
    LINE_NO_CMAP = 802,
    LINE_LOCA_FORMAT = 830,
    LINE_UNITS_PER_EM = 835,
    LINE_NO_GLYPH = 869,
    LINE_NESTED_COMPOSITE = 883,
    LINE_DAMAGED_GLYPH = 900,
    LINE_TOO_LARGE = 910,
    LINE_CUSTOM_NAME_TABLE = 1235,
    LINE_CUSTOM_NAME = 1263,
    LINE_GENERATED_NAME = 1287,
    LINE_GENERATED_LAST_NAMES = 1299,
    LINE_POST_FORMAT = 1320,
    LINE_FONT_MEMORY = 1365,
    LINE_FONT_READ = 1368,
    LINE_SFNT_VERSION = 1381,
    LINE_GLYPH_TABLE = 1431,
    LINE_MISSING_TABLE = 1440,
};

/* Is the instance's error flag set?  Nothing more is read or written then. */
inline bool tt_stopped(const ZelkovInstance *instance)
{
    return zelkov_stopped(instance);
}

/* Reports under the key "TTFONT": a fault that the conversion survives, or the error that ends
 * it. */
void tt_reportFault(ZelkovInstance *instance, TTReportLine line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));
void tt_reportError(ZelkovInstance *instance, TTReportLine line, const char *format, ...)
    __attribute__((format(printf, 3, 4)));

/* The error of a font that is larger, or would write more, than any honest one. */
void tt_reportTooLarge(ZelkovInstance *instance);

/* Errors with keys of their own. */
void tt_reportOutOfMemory(ZelkovInstance *instance, TTReportLine line);
void tt_reportReadError(ZelkovInstance *instance, TTReportLine line);

#endif
