/*
 * reader.h - what the reader keeps of the document that it reads, and how it reports
 *
 * The input file stays the store of all values.  A value is known by the byte offset where its text
 * begins; every routine of the reader takes the reader's state, reads the input from its current
 * position and does nothing once the error flag is set.
 */
#ifndef PDF_TO_PS_READER_H
#define PDF_TO_PS_READER_H

#include <atomic>
#include <cstdint>
#include <memory>

#include "tools/zolak1_3/pdf_to_ps/reader/containermemo.h"
#include "zelkov/control.h"
#include "zelkov/file.h"

struct XrefEntry;

/* Where a value's text begins. */
using ValuePosition = uint32_t;
constexpr ValuePosition POSITION_NONE = 0;            /* a reference, before the table is loaded */
constexpr ValuePosition POSITION_FAILED = 0xFFFFFFFF; /* as a result: failure */

/* How deep and how much hostile input has made the reader go. */
struct ReaderLimits {
    int32_t parsedDepth;     /* arrays and dictionaries being parsed; the outermost is 1 */
    int32_t deepestParsed;   /* the greatest parsedDepth inside the one being parsed */
    uint64_t containerBytes; /* memory of the arrays and dictionaries that live */
    uint64_t bytesScanned;   /* white space, names, strings, runs of digits, and every token */
};

/* A run of digits and points, as it was scanned last.  The lexer takes 255 characters of it at a
 * time, and to classify each of these numbers the rest of the run would be scanned again. */
struct DigitRun {
    uint32_t start, end; /* equal: none */
    uint32_t pointEnd;   /* behind its last point; 0: it has none */
};

struct PdfReader {
    ZFile *input;

    /* cross-reference table */
    XrefEntry *xref;       /* one entry per object number, xrefCapacity of them */
    int32_t xrefLoaded;    /* 1 when the whole /Prev chain has been read */
    uint32_t rootPosition; /* value position of the catalog */
    int32_t xrefSize;      /* /Size of the newest trailer, 0 until read */
    int64_t xrefPrevious;  /* /Prev of the trailer read last, -1 when it has none */
    int32_t xrefCapacity;  /* entries of the table, whatever a later trailer says */
    bool namesOtherTable;  /* a trailer has /XRefStm: there are objects that the table lacks */

    int32_t errorFlag;      /* set by "STOP": nothing more is read or written */
    const char *firstError; /* key of the report that stopped the run; null: none, or not ours */
    const char *firstErrorText; /* its text, with what arguments would fill */

    /* parser allocations that live */
    int32_t liveStrings;
    int32_t liveNames;
    int32_t liveArrays;
    int32_t liveDicts;
    int32_t liveStreams;

    ZelkovController *controller;
    ZelkovInstance *instance; /* whose document it is; it is told to stop */
    bool acceptsEncrypted;    /* an encrypted document is read as it stands */

    const std::atomic<bool> *cancel; /* true: the run shall end; null: nobody asks */
    bool wasCancelled;               /* it ended for that, without a report */

    ReaderLimits limits;
    ContainerMemo memo;
    DigitRun digits;
};

/* Ready for a document: nothing read, nothing counted.  The error flag, the controller and what is
 * accepted stay. */
void resetReader(PdfReader *reader);

/* Reports a message of the converter: module "ZOLAK", source "tools/zolak1_3/pdf_to_ps".  `line`
 * is __LINE__ except where a report carries a number of its own. */
void zolakReport(PdfReader *reader, int line, Severity severity, const char *key,
                 const char *format, ...) __attribute__((format(printf, 5, 6)));

/* "out of memory": the report of every allocation that fails. */
void reportOutOfMemory(PdfReader *reader, int line);

/* Stops the run when it shall end.  Asked now and then, wherever the work is. */
void stopWhenCancelled(PdfReader *reader);

constexpr int32_t NESTING_LIMIT = 256;

/* One level of a kind of nesting, which `counter` counts, for as long as it lives.  Beyond
 * NESTING_LIMIT the fault is reported, once, and `tooDeep` is true. */
class NestingLevel {
  public:
    NestingLevel(PdfReader *reader, int32_t &counter);
    ~NestingLevel();
    NestingLevel(const NestingLevel &) = delete;
    NestingLevel &operator=(const NestingLevel &) = delete;

    bool tooDeep;

  private:
    int32_t &depth;
};

/* Owning pointers: each releases through its own routine. */
template <typename T, void (*release)(PdfReader *, T *)> struct Release {
    PdfReader *reader;
    void operator()(T *record) const { release(reader, record); }
};
template <typename T, void (*release)(PdfReader *, T *)>
using Owned = std::unique_ptr<T, Release<T, release>>;

#endif
