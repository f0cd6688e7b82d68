/*
 * pdf_to_ps.h - a PDF document becomes a PostScript program that prints it
 *
 *     pdf_to_ps::Input input;
 *     input.path = "report.pdf";
 *     pdf_to_ps::Output output;
 *     output.path = "report.ps";
 *     pdf_to_ps::Result result = pdf_to_ps::convert(input, output);
 *
 * One call converts one document.  Calls may go on in several threads at once; none of them knows
 * of the others.  The library writes nothing to the standard streams, reads no environment,
 * installs no signal handler and ends no process.  (A program whose output is a pipe handles
 * SIGPIPE itself; where that is ignored, a closed pipe is a write error like others.)
 *
 * All texts are terminated and belong to whoever hands them over: what the caller passes must live
 * until convert returns, what a callback is handed lives until the callback returns.
 */
#ifndef PDF_TO_PS_PDF_TO_PS_H
#define PDF_TO_PS_PDF_TO_PS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#define PDF_TO_PS_API __attribute__((visibility("default")))

namespace pdf_to_ps {

/* The document: a file, or a descriptor, or bytes in memory; the first of them that is given. */
struct Input {
    /* A regular file of less than 4 GiB, by the very path. */
    const char *path = nullptr;

    /* A descriptor that stays the caller's: a regular file is read from its beginning, anything
     * else (a pipe) from where it is to its end, into memory.  -1: none. */
    int descriptor = -1;

    /* Less than 4 GiB in memory, which are not copied. */
    const void *bytes = nullptr;
    size_t byteCount = 0;

    /* What the document is called in the output where it has no path; its directory and extension
     * are dropped.  Null: "document". */
    const char *name = nullptr;
};

/* Where the PostScript program goes: a file, or a descriptor, or a sink; the first of them that is
 * given. */
struct Output {
    /* The file appears when it is whole: after a failure an older one under the path stands as it
     * was.  A path that names no regular file (a pipe, a device) is written as it stands. */
    const char *path = nullptr;

    /* A descriptor that stays the caller's, written from where it is.  -1: none. */
    int descriptor = -1;

    /* Called with piece after piece, in order, in the thread that called convert.  Answers 0, or an
     * errno value, which ends the conversion.  After a failure it has got a part of the output. */
    int (*write)(void *context, const void *bytes, size_t count) = nullptr;
    void *context = nullptr;
};

enum class Severity : int {
    info = 1,
    warning = 2, /* the output may not be what was meant */
    fault = 3,   /* damaged data, survived */
    error = 4,   /* the conversion ends; the first one names the cause */
};

struct Message {
    const char *module; /* "ZOLAK", "DECODE"; "SYSTEM" for what the system says of a file */
    Severity severity;
    const char *key;  /* such as "NOXREF"; for programs to tell messages apart */
    const char *text; /* for people; control characters in it are written as \xNN */
    int page;         /* the page that is being written, from 1 on; 0 before the first */
};

struct Options {
    int page = 0;                 /* 0: all pages; n: only page n */
    bool decodeContent = false;   /* decode page content here instead of at the printer */
    bool acceptEncrypted = false; /* convert an encrypted document as it stands */

    /* PostScript files that take the place of the built-in prolog and trailer. */
    const char *prologPath = nullptr;
    const char *trailerPath = nullptr;

    /* Where a private directory for temporary files is made when one is needed; it is gone when
     * convert returns.  Null: /tmp. */
    const char *temporaryDirectory = nullptr;

    /* Hears every message, in the thread that called convert; it must not throw.  A place in the
     * program that reports the same again and again is heard 100 times. */
    void (*message)(void *context, const Message &message) = nullptr;
    void *messageContext = nullptr;

    /* The conversion ends soon after this becomes true, set by a callback or by another thread. */
    const std::atomic<bool> *cancel = nullptr;
};

enum class Status : int {
    converted, /* there may have been warnings and faults */
    failed,    /* an error was reported */
    cancelled,
    misused, /* no input or no output was given, or a page below 0; nothing was done */
};

struct Result {
    Status status;
    int pageCount;      /* pages that were written */
    uint64_t byteCount; /* bytes of output; 0 unless converted */
};

/* Converts one document.  It does not throw. */
PDF_TO_PS_API Result convert(const Input &input, const Output &output,
                             const Options &options = {}) noexcept;

/* The library's version, such as "1.3". */
PDF_TO_PS_API const char *version() noexcept;

} // namespace pdf_to_ps

#endif
