/*
 * options.h - the command line of pdf_print
 */
#ifndef PDF_PRINT_OPTIONS_H
#define PDF_PRINT_OPTIONS_H

#include <string>
#include <vector>

#include "job/job.h"
#include "programs/printing/preparation.h"
#include "seam/options.h"

enum Status {
    STATUS_DONE = 0,
    STATUS_FAILED = 1, /* nothing was printed */
    STATUS_USAGE = 2,
    STATUS_INCOMPLETE = 3, /* printed, but something is missing or replaced */
};

enum class Progress { AUTO, NEVER, ALWAYS };

struct Arguments {
    job::Options job;
    std::string input;   /* "-": standard input */
    std::string output;  /* "-": standard output; empty: beside the input, or the printer's */
    std::string printer; /* empty: none */
    std::string pageMap; /* a file for the numbers of the job's pages; empty: none is wanted */
    std::string ppd;     /* the printer's description; empty: none */
    std::vector<std::string> features; /* of it: "NAME=VALUE", NAME may be "A|B" */
    PreparationOptions preparation;
    bool prepares = true;
    bool isScalingGiven = false; /* --fit, --shrink, --actual or --scale */
    bool isStrict = false;
    bool isQuiet = false, isVerbose = false;
    Progress progress = Progress::AUTO;
};

/* Reads the command line.  Ends the process after --help and --version, and, with STATUS_USAGE,
 * when it cannot be understood. */
Arguments readArguments(int argc, char **argv);

#endif
