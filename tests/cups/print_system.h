/*
 * print_system.h - a print system of a test's own: programs, configuration, scheduler, printer
 *
 * Everything stands in a scratch directory and on the loopback interface; the machine's own print
 * system is not touched.
 */
#ifndef TESTS_CUPS_PRINT_SYSTEM_H
#define TESTS_CUPS_PRINT_SYSTEM_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/run_program.h"
#include "tests/support/scratch_directory.h"

/* The filter as it was built, and the printer description that comes with it. */
std::string filterPath();
std::string printerDescription();

/* A document of A4 pages, numbered by boxes. */
std::string boxedPages(int count);

/* Are these the pages of the document, in that order (from 1)?  Each job page is compared with
 * the document's own picture of it. */
void expectPages(const std::string &job, const std::string &document,
                 const std::vector<int> &numbers);

/* Waits until it is so; false when that takes longer than anything that still works. */
bool waitUntil(const std::function<bool()> &isSo);

/* A program that goes on while the test does. */
class RunningProgram {
  public:
    /* `output` is what its standard output becomes; -1: none. */
    RunningProgram(const std::vector<std::string> &command,
                   const std::map<std::string, std::string> &environment, int input = -1,
                   int output = -1);
    ~RunningProgram();
    RunningProgram(const RunningProgram &) = delete;
    RunningProgram &operator=(const RunningProgram &) = delete;

    void terminate();
    /* Its status as in ProgramResult. */
    int wait();
    bool hasEnded();
    /* Is there a process of it, or one that it has started? */
    bool hasProcesses() const;

  private:
    int child;
    bool isOver = false;
    int status = 0;
};

/* Programs and data of a print system, with the filter among its own. */
class PrintSystem {
  public:
    PrintSystem();

    /* Only these conversions are known from here on. */
    void setConversions(const std::string &text);
    /* The ones that come with the filter. */
    static std::string ownConversions();

    /* The filter of this tree. */
    std::string filter() const { return root / "lib/cups/filter/pdf_to_ps-cups"; }
    std::string filesConfiguration() const { return root / "etc/cups-files.conf"; }
    std::string temporary() const { return root / "spool/tmp"; }

    /* Runs cupsfilter in this tree. */
    ProgramResult convert(std::vector<std::string> arguments) const;

    ScratchDirectory root;
};

/* A printer that listens on a port and keeps what arrives. */
class SocketPrinter {
  public:
    SocketPrinter();
    ~SocketPrinter();
    SocketPrinter(const SocketPrinter &) = delete;
    SocketPrinter &operator=(const SocketPrinter &) = delete;

    /* Takes a few bytes of a job and then no more, until it is released. */
    void hold() { isHeld = true; }
    void release() { isHeld = false; }

    size_t begunCount() const { return begun; }
    std::vector<std::string> jobs() const; /* that have ended, in their order */
    int port() const { return number; }

  private:
    void work();
    void takeJob(int connection);

    int listener, number;
    std::atomic<bool> isHeld = false, isOver = false;
    std::atomic<size_t> begun = 0;
    mutable std::mutex guard;
    std::vector<std::string> finished;
    std::thread thread;
};

/* A scheduler with one queue, "office", to a printer. */
class Scheduler {
  public:
    /* When it cannot be started at all, `trouble` says why. */
    Scheduler(const PrintSystem &system, const SocketPrinter &printer);

    /* Hands a file in; its number, 0 on failure. */
    int print(const std::string &file, const std::vector<std::string> &options = {});
    ProgramResult run(const std::vector<std::string> &command) const;

    /* What became of the jobs: state and reasons, by number. */
    std::map<int, std::string> states() const;
    bool waitForState(int job, const std::string &state) const;
    /* Lines of the log about a job. */
    std::string logOf(int job) const;

    std::string trouble;

  private:
    bool start();
    void addQueue(const SocketPrinter &printer);

    const PrintSystem *system;
    std::string address;
    std::unique_ptr<RunningProgram> process;
};

#endif
