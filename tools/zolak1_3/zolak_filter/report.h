/*
 * report.h - how the decoding chain and `filter` report
 */
#ifndef ZOLAK_FILTER_REPORT_H
#define ZOLAK_FILTER_REPORT_H

constexpr char FILTER_MODULE[] = "ZOLAK";
constexpr char FILTER_SOURCE[] = "tools/zolak1_3/zolak_filter";
constexpr char FILTER_KEY[] = "FILTER";

/* The line of a report names its place to users, who look it up and whose scripts match it: so
 * these are fixed and do not follow the lines of our files. */
enum FilterReportLine : int {
    LINE_SETUP = 100,
    LINE_UNKNOWN = 111,
    LINE_COPY = 233,
    LINE_NO_CHAIN = 237,
    LINE_DECODE = 258,
    LINE_WRITE = 263,
    LINE_DATA_ENDED = 270,
    LINE_TOO_LARGE = 271,
};

#endif
