/*
 * process.h - what belongs to the process and not to a run
 *
 * Signals, the environment, standard error and the end of the process.  Only programs come here:
 * main functions and the command line that works for them.
 */
#ifndef ZELKOV_PROCESS_H
#define ZELKOV_PROCESS_H

#include <string>

/* First call of a main function.  Lines for the user go to standard error from here on; a closed
 * pipe and a file that may not grow are write errors like others (SIGPIPE and SIGXFSZ are
 * ignored); temporary files are removed when the process exits, and before SIGINT, SIGTERM,
 * SIGHUP, SIGQUIT, SIGXCPU or SIGALRM ends it.  A signal that was ignored when the process began
 * stays ignored.  Reads the environment. */
void process_begin();

/* Takes the settings of the environment: KV_DAT_PS (data), KV_TMP, else TMPDIR (temporary files),
 * ZELKOV_TRACE (source lines in messages), KV_MAX_OUTPUT (bytes of output; 0: no bound). */
void process_readEnvironment();

/* First call of a child that goes on with this program: what its parent has to remove is not the
 * child's business, and signals have the effect that they had before process_begin.  One that was
 * ignored stays ignored. */
void process_forked();

/* Ends the process, its temporary files removed. */
[[noreturn]] void process_exit(int status);

/* The same with status 1, behind a line on standard error. */
[[noreturn]] void process_fail(const std::string &line);

/* The same when there is no memory: the line has its end already and is written as it stands. */
[[noreturn]] void process_failWithoutMemory(const char *line);

#endif
