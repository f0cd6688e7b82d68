/*
 * hostile_job.h - pages that try to run code, and the pages between them that must not notice
 *
 *     HostileJob job;
 *     job.add("a name", pageDescription(...));
 *     job.expectHarmless();
 *
 * Behind each of them a clean page is printed.  Ghostscript runs without its own protection, in an
 * empty folder: nothing but the prolog stands between the pages and the machine.
 */
#ifndef TESTS_POSTSCRIPT_HOSTILE_JOB_H
#define TESTS_POSTSCRIPT_HOSTILE_JOB_H

#include <string>
#include <vector>

#include "tests/postscript/print_job.h"

/* PostScript that leaves its mark when it runs: in userdict, in a file, and in what is printed. */
extern const char *const MARKING;

class HostileJob {
  public:
    /* One page description, or several. */
    void add(const std::string &name, const std::string &pages);

    /* A PDF file, converted by the program; one that it refuses adds nothing and answers false. */
    bool addPdf(const std::string &name, const std::string &pdf,
                const std::vector<std::string> &switches = {});

    /* Prints everything in one job: no mark, no file, no error that ends the job, every clean page
     * there, both stacks at the same height before each page. */
    void expectHarmless();

    /* The same for the PDF files as jobs of pdf_print, taken as they stand and prepared, and each
     * job by itself between tripwires; expectHarmless does it, too. */
    void expectHarmlessJobs();

    int timeoutSeconds = 240; /* a job that takes longer hangs */
    size_t size() const { return names.size(); }

  private:
    std::vector<std::string> names;
    std::vector<std::string> texts;
    std::vector<std::string> jobNames, jobs;
};

#endif
