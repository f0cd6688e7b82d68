/*
 * document.h - a document through its stages: kept, prepared, written as a job
 */
#ifndef PRINTING_DOCUMENT_H
#define PRINTING_DOCUMENT_H

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "job/job.h"
#include "programs/printing/preparation.h"

/* What is to be printed.  Its pages are those of `job`. */
struct PrintRequest {
    std::string input; /* "-": standard input */
    job::Options job;
    PreparationOptions preparation;
    bool isPrepared = true; /* else it is taken as it stands */
};

struct PrintListener {
    std::function<void(const seam::Notice &)> remark;
    std::function<void(int page, int count)> progress; /* page of the job, from 1, begins */
    std::function<void(const std::vector<int> &numbers)> pageMap; /* of what has been printed */
    std::function<void()> missingPreparation;  /* what else is to be done when pdf_prepare is not
                                                * installed; empty: nothing */
    const std::atomic<bool> *cancel = nullptr; /* nothing is printed once it is set */
};

enum class Printed { WHOLE, INCOMPLETE, NOTHING };

/* Prints a document.  When NOTHING is printed an ERROR has been remarked, unless it was cancelled;
 * after a LOSS the answer is never WHOLE.
 * `openOutput` is called as writeJob does. */
Printed printDocument(PrintRequest request, const std::function<ZFile *()> &openOutput,
                      const PrintListener &listener);

/* The output that is this process's standard output. */
ZFile *openStandardOutput();

/* A file in the private directory, which goes when the process ends; empty, with errno set, when
 * there is none to be had. */
std::string privateFile(const char *name);

/* "What: why.", with what errno says. */
std::string withReason(const std::string &what);

/* The same for a message whose only place is the reason. */
std::string withReason(seam::Message message);

#endif
