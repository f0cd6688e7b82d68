/*
 * command.h - the command pdf_prepare, for the program that is called so
 */
#ifndef PREPARING_COMMAND_H
#define PREPARING_COMMAND_H

#include <memory>
#include <string>
#include <vector>

#include "programs/printing/preparation.h"

/* Does what `pdf_prepare` is asked for by these arguments, the first of which is its name; answers
 * the exit status.  The document is read in a process of its own, with limits; wrong arguments and
 * --help end this process. */
int prepareCommand(int argc, char **argv);

/* The same for a program that prepares documents for itself.  Its output is a file that is removed
 * by whoever has named it, whatever happens. */
std::unique_ptr<OwnPreparation> makePreparation(std::vector<std::string> words);

#endif
