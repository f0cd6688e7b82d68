/*
 * instance.h - the converter instance: the one record that every part of the converter works on
 *
 * The framework creates it from zolak_baseclass and owns it.  Everything here is plain data: the
 * record comes into being zeroed, and the framework's attribute machinery writes into it by
 * position.
 */
#ifndef PDF_TO_PS_INSTANCE_H
#define PDF_TO_PS_INSTANCE_H

#include <cstdint>

#include "tools/zolak1_3/pdf_to_ps/containermemo.h"
#include "zelkov/attribute.h"
#include "zelkov/control.h"
#include "zelkov/file.h"
#include "zelkov/instance.h"

struct XrefEntry;

/* How deep and how much hostile input has made the converter go.  Each kind of nesting is counted
 * apart; the outermost level is 1. */
struct ReaderLimits {
    int32_t parsedDepth;      /* arrays and dictionaries being parsed */
    int32_t deepestParsed;    /* the greatest parsedDepth inside the one being parsed */
    int32_t writtenDepth;     /* arrays and dictionaries being written */
    int32_t pageTreeDepth;    /* nodes of the page tree */
    int32_t resourceDepth;    /* resource dictionaries: a page's, its forms', their fonts' */
    int32_t colorSpaceDepth;  /* colour spaces inside colour spaces */
    int32_t halftoneDepth;    /* halftones inside halftones */
    uint32_t valuesWritten;   /* by the serializer for the value that it was handed */
    uint32_t resourceEntries; /* of the page description being written */
    uint64_t nodesVisited;    /* of the page tree */
    uint64_t containerBytes;  /* memory of the arrays and dictionaries that live */
    uint64_t bytesScanned;    /* white space, names, strings, runs of digits, and every token */
};

struct ConverterInstance {
    ZelkovInstance header;

    /* Attributes: five texts, then four 32-bit integers, in the order of the attribute table. */
    char FILE[TEXT_BYTES];
    char OUTSPEC[TEXT_BYTES];
    char PROLOG[TEXT_BYTES];
    char TRAILER[TEXT_BYTES];
    char LOGFILE[TEXT_BYTES]; /* stored, not used */
    int32_t ENCRYPT;          /* convert encrypted documents undecrypted */
    int32_t PAGE;             /* 0: all pages; n: only page n */
    int32_t DEBUG;            /* stored, not used */
    int32_t DECODE;           /* decode page content instead of passing it through */

    ZFile *input;
    ZFile *output;

    /* cross-reference table */
    XrefEntry *xref;       /* one entry per object number, xrefCapacity of them */
    int32_t xrefLoaded;    /* 1 when the whole /Prev chain has been read */
    uint32_t rootPosition; /* value position of the catalog */
    int32_t xrefSize;      /* /Size of the newest trailer, 0 until read */
    int64_t xrefPrevious;  /* /Prev of the trailer read last, -1 when it has none */

    int32_t pageWritten; /* set for every page, one without area included */
    int32_t errorFlag;   /* set by "STOP": nothing more is read or written */

    /* parser allocations that live */
    int32_t liveStrings;
    int32_t liveNames;
    int32_t liveArrays;
    int32_t liveDicts;
    int32_t liveStreams;

    /* the input file's name without directory, extension, parentheses and backslashes */
    char baseName[32];

    ZelkovController *controller;

    int32_t xrefCapacity; /* entries of the table, whatever a later trailer says */
    ReaderLimits limits;
    ContainerMemo memo;
};

/* Reports a message of the converter: module "ZOLAK", source "tools/zolak1_3/pdf_to_ps".  `line`
 * is __LINE__ except where a report carries a number of its own. */
void zolakReport(ConverterInstance *inst, int line, Severity severity, const char *key,
                 const char *format, ...) __attribute__((format(printf, 5, 6)));

/* "out of memory": the report of every allocation that fails. */
void reportOutOfMemory(ConverterInstance *inst, int line);

constexpr int32_t NESTING_LIMIT = 256;

/* One level of a kind of nesting, for as long as it lives.  Beyond NESTING_LIMIT the fault is
 * reported, once, and `tooDeep` is true. */
class NestingLevel {
  public:
    NestingLevel(ConverterInstance *inst, int32_t ReaderLimits::*kind);
    ~NestingLevel();
    NestingLevel(const NestingLevel &) = delete;
    NestingLevel &operator=(const NestingLevel &) = delete;

    bool tooDeep;

  private:
    int32_t &depth;
};

#endif
