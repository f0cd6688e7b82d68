/*
 * cmdline.h - the command line: switches, one plain argument, a prompt when there is neither
 *
 * A switch is "-NAME=value", "-NAME value", or the same with two dashes.  Names match without
 * regard to case, and a '*' in the table marks the shortest abbreviation.  "--" ends the
 * switches.
 */
#ifndef ZELKOV_CMDLINE_H
#define ZELKOV_CMDLINE_H

#include <cstdint>

/* Converts a switch's text to its value; false when the text is not one. */
using SwitchConverter = bool (*)(const char *text, int32_t *value);

/* One row of a switch table; a row with a null name ends it. */
struct SwitchEntry {
    const char *name;
    int32_t *present;          /* set to 1 when the switch was given */
    SwitchConverter converter; /* null: a text */
    void *value;               /* int32_t * with a converter, else const char ** */
};

/* Text to a 32-bit integer, held to the range. */
bool convai(const char *text, int32_t *value);

/* Hands over the process arguments, which must outlive every use of what fspec answers, and the
 * prompt "TITLE:>" that is shown when there are no arguments. */
void getcmd_arg(const char *prompt, int argc, char **argv);

/* Parses the switches into the table and answers the first plain argument, or null.  With no
 * arguments the prompt is written to standard output and one line is read from standard input.
 *
 * A fault is one line on standard error, `message` being the one for an unknown switch, and ends
 * the process with status 1; --help and --version are answered on standard output and end it
 * with status 0. */
const char *fspec(const SwitchEntry *table, const char *message);

#endif
