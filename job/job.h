/*
 * job.h - a document as a print job: structured, its resources shared, safe for any channel
 *
 * The page descriptions are those of the converter.  Around them stand the comments of a
 * structured document, so that print systems can take single pages, put several on a sheet and
 * count them; what more than one page uses stands once, in front of the pages; and each page is a
 * section that nothing in the document can end.
 */
#ifndef JOB_JOB_H
#define JOB_JOB_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "seam/pages.h"

struct ZFile;

namespace job {

enum class Scaling {
    ACTUAL, /* as it is */
    SHRINK, /* smaller where it is larger than the paper */
    FIT,    /* as large as fits on the paper */
};

enum class Duplex { UNSET, OFF, LONG_EDGE, SHORT_EDGE };

/* The paper, in points; 0: each page asks for its own size. */
struct Paper {
    int width = 0, height = 0;
    Scaling scaling = Scaling::SHRINK;
    bool isCentred = true; /* else in the lower left corner */
    double factor = 0;     /* of the page's own size, whatever `scaling` is; 0: as that says */
    double top = 0, right = 0, bottom = 0, left = 0; /* margins, points */
};

/* How pages lie on the sides of the paper. */
struct Arrangement {
    int perSide = 1;          /* pages on a side: 1, 2, 4, 6, 9 or 16 */
    bool isBooklet = false;   /* the two of a side stand beside each other */
    bool isLeftwards = false; /* in a row the next one stands on the left */
    bool isUpwards = false;   /* the next row stands above */
    bool isByColumns = false; /* columns are filled before the next one is begun */
    bool hasBorders = false;
    int tilesAcross = 1, tilesDown = 1; /* sides of which each page covers one after the other; it
                                         * comes so often in the document */
    int rotation = 0;                   /* of each page, clockwise: 0, 90, 180 or 270 */
    bool isMirrored = false;

    int tiles() const { return tilesAcross * tilesDown; }
};

/* A setting of the device: entries of the dictionary for `setpagedevice`. */
struct DeviceSetting {
    std::string feature; /* as comments call it */
    std::string entries;
};

struct Options {
    seam::PageRanges pages; /* wanted: in the document's order, each once; see isRising */
    /* What page n of the input is called in messages and comments: entry n - 1; n beyond them. */
    std::vector<int> pageNumbers;

    std::string title, user; /* `user` may be empty */
    bool hasPjl = false;     /* the job stands between commands of PJL */
    std::vector<DeviceSetting> settings;
    std::string features; /* PostScript for the setup, from the printer's description */
    int copies = 1;
    bool isCollated = false;
    Duplex duplex = Duplex::UNSET;
    Paper paper;
    Arrangement arrangement;

    bool isBinary = false;       /* bytes of 8 bits; else ASCII alone */
    bool isCompressed = true;    /* by Flate, at level 2 by LZW or run lengths */
    int level = 3;               /* of the language: 2 or 3 */
    bool isEncapsulated = false; /* one page, to be placed in another document */

    uint64_t printerMemory = 16u << 20; /* bytes that shared resources may take there */
    uint64_t workFactor = 1;            /* times the limits of what a page may cost a printer */
    uint64_t mostOutput = 0;            /* bytes; 0: 64 MB and 200 times the input */
};

enum class Severity { INFO = 1, WARNING = 2, FAULT = 3, ERROR = 4 };

struct Message {
    Severity severity;
    std::string key, text;
    int page; /* 0: the document */
};

struct Callbacks {
    std::function<void(const Message &)> message;
    std::function<void(int page, int count)> progress; /* page of the job, from 1, begins */
    const std::atomic<bool> *cancel = nullptr;
};

struct Result {
    bool isWritten = false; /* else there is no output, and a message of severity ERROR said why */
    bool isWhole = true;    /* false: a page is missing in parts, which a message told */
    int pageCount = 0;
    std::vector<int> pageNumbers; /* of the pages that are written, as messages call them */
    uint64_t byteCount = 0;
};

/* Writes the job of a plain document, a file of the kind that the converter accepts.  `openOutput`
 * is called once it is known that there is something to write; what it answers is closed, or
 * thrown away after a failure.  Throws nothing but std::bad_alloc. */
Result writeJob(const std::string &path, const std::function<ZFile *()> &openOutput,
                const Options &options, const Callbacks &callbacks);

} // namespace job

#endif
