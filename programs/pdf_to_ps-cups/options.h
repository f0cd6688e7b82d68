/*
 * options.h - what the print system says about a job: options, printer description, earlier filters
 */
#ifndef PDF_TO_PS_CUPS_OPTIONS_H
#define PDF_TO_PS_CUPS_OPTIONS_H

#include <map>
#include <string>

#include "programs/printing/document.h"

constexpr int MOST_COPIES = 9999;

/* The type of documents that a filter has laid out. */
constexpr char LAID_OUT_TYPE[] = "application/vnd.cups-pdf";

/* Options of a job by their names in small letters; one that is only named is "true", with "no" in
 * front of its name "false". */
using JobOptions = std::map<std::string, std::string>;

/* Reads `name=value name='two words' name={collection} noname`. */
JobOptions readJobOptions(const std::string &text);

/* What a queue's printer description says of what we need. */
struct PrinterDescription {
    std::map<std::string, std::pair<int, int>> papers; /* points, by name in small letters */
    std::string defaultPaper, defaultDuplex;
    int level = 3;
};

/* Reads a printer description; of an empty text nothing is known of the printer. */
PrinterDescription readPrinterDescription(const std::string &text);

/* What the filters before this one have done, as their output tells. */
struct EarlierFilters {
    bool isLaidOut = false; /* pages are chosen and lie on sheets as they have to */
    int copies = 0;         /* to ask the printer for; 0: as the job says */
    bool isCollated = false;
};

/* `head` is the beginning of the document, `type` the job's own (CONTENT_TYPE). */
EarlierFilters readEarlierFilters(const std::string &head, const std::string &type);

/* A whole number in a text; 0 when it is none, or not between 1 and `highest`. */
int readCount(const std::string &text, int highest);

/* Does the job ask for a layout that is another filter's work: pages on one sheet, mirrored, in
 * another order, ...? */
bool asksForLayout(const JobOptions &options);

/* Sets what the job asks for.  `copies` is the print system's number.  False when the options
 * cannot be understood: `fault` then says which. */
bool applyOptions(const JobOptions &options, const PrinterDescription &printer,
                  const EarlierFilters &earlier, int copies, PrintRequest *request,
                  std::string *fault);

#endif
