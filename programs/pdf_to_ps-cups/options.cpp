/*
 * options.cpp - what the print system says about a job
 */
#include "programs/pdf_to_ps-cups/options.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "programs/printing/values.h"

namespace {

std::string small(std::string text)
{
    for (char &c : text)
        c = (char)tolower((unsigned char)c);
    return text;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/* ---- the option string */

struct OptionReader {
    const std::string &text;
    size_t at = 0;

    bool isAtEnd() const { return at >= text.size(); }

    void skipBlanks()
    {
        while (!isAtEnd() && isBlank(text[at]))
            at++;
    }

    std::string name()
    {
        size_t begin = at;
        while (!isAtEnd() && !isBlank(text[at]) && text[at] != '=')
            at++;
        return text.substr(begin, at - begin);
    }

    /* Up to a blank outside of quotes and braces; quotes go, a backslash lets a character stand. */
    std::string value()
    {
        std::string out;
        char quote = 0;
        int braces = 0;
        for (; !isAtEnd(); at++) {
            char c = text[at];
            if (c == '\\' && at + 1 < text.size()) {
                out += text[++at];
            } else if (quote && c == quote) {
                quote = 0;
            } else if (!quote && (c == '"' || c == '\'')) {
                quote = c;
            } else {
                if (!quote && isBlank(c) && braces <= 0)
                    break;
                braces += quote ? 0 : (c == '{') - (c == '}');
                out += c;
            }
        }
        return out;
    }
};

/* The option's value, in small letters; empty: it was not given. */
std::string valueOf(const JobOptions &options, const char *name)
{
    auto found = options.find(name);
    return found == options.end() ? "" : small(found->second);
}

bool isTrue(const std::string &value)
{
    return value == "true" || value == "yes" || value == "on" || value == "1";
}

/* ---- paper */

/* "x-dimension=21000 y-dimension=29700", in hundredths of a millimetre. */
bool readMediaSize(const std::string &collection, job::Paper *paper)
{
    auto dimension = [&](const char *name) {
        size_t at = collection.find(name);
        return at == std::string::npos ? 0L : strtol(collection.c_str() + at + 12, nullptr, 10);
    };
    static_assert(sizeof "x-dimension=" - 1 == 12);
    char size[64];
    snprintf(size, sizeof size, "%.2fx%.2fmm", (double)dimension("x-dimension=") / 100,
             (double)dimension("y-dimension=") / 100);
    return readPaperSize(size, "mm", &paper->width, &paper->height);
}

/* "A4", "A4.Borderless", "iso_a4_210x297mm", "Custom.210x297mm". */
bool readMedium(std::string name, const PrinterDescription &printer, job::Paper *paper)
{
    const std::string custom = "custom.";
    name = small(name);
    auto find = [&](const std::string &which) {
        auto found = printer.papers.find(which);
        if (found != printer.papers.end()) {
            paper->width = found->second.first;
            paper->height = found->second.second;
            return true;
        }
        return readPaperSize(which, "pt", &paper->width, &paper->height);
    };
    if (name.starts_with(custom))
        return find(name.substr(custom.size()));
    if (find(name))
        return true;
    size_t size = name.rfind('_'), variant = name.find('.');
    if (size != std::string::npos && find(name.substr(size + 1)))
        return true;
    return variant != std::string::npos && variant > 0 &&
           readMedium(name.substr(0, variant), printer, paper);
}

/* One of a list such as "A4,Tray1" is a paper's name. */
bool readMedia(const std::string &list, const PrinterDescription &printer, job::Paper *paper)
{
    for (size_t at = 0; at <= list.size();) {
        size_t end = std::min(list.find(',', at), list.size());
        if (readMedium(list.substr(at, end - at), printer, paper))
            return true;
        at = end + 1;
    }
    return false;
}

bool choosePaper(const JobOptions &options, const PrinterDescription &printer, job::Paper *paper)
{
    if (std::string size = valueOf(options, "media-col"); !size.empty())
        if (readMediaSize(size, paper))
            return true;
    for (const char *name : {"pagesize", "media"})
        if (std::string media = valueOf(options, name); !media.empty())
            if (readMedia(media, printer, paper))
                return true;
    return !printer.defaultPaper.empty() && readMedium(printer.defaultPaper, printer, paper);
}

job::Scaling scalingOf(const JobOptions &options)
{
    std::string scaling = valueOf(options, "print-scaling");
    if (scaling == "none")
        return job::Scaling::ACTUAL;
    if (scaling == "fit" || scaling == "fill")
        return job::Scaling::FIT;
    if (isTrue(valueOf(options, "fit-to-page")) || isTrue(valueOf(options, "fitplot")))
        return job::Scaling::FIT;
    return job::Scaling::SHRINK;
}

/* ---- both sides, copies */

job::Duplex duplexOf(const std::string &value)
{
    if (value == "two-sided-long-edge" || value == "duplexnotumble")
        return job::Duplex::LONG_EDGE;
    if (value == "two-sided-short-edge" || value == "duplextumble")
        return job::Duplex::SHORT_EDGE;
    if (value == "one-sided" || value == "none")
        return job::Duplex::OFF;
    return job::Duplex::UNSET;
}

job::Duplex chooseDuplex(const JobOptions &options, const PrinterDescription &printer)
{
    for (const std::string &value :
         {valueOf(options, "sides"), valueOf(options, "duplex"), small(printer.defaultDuplex)})
        if (job::Duplex duplex = duplexOf(value); duplex != job::Duplex::UNSET)
            return duplex;
    return job::Duplex::UNSET;
}

bool isCollated(const JobOptions &options)
{
    std::string handling = valueOf(options, "multiple-document-handling");
    if (!handling.empty())
        return handling != "separate-documents-uncollated-copies";
    return isTrue(valueOf(options, "collate"));
}

/* ---- what lines begin with */

/* What stands behind a mark at the beginning of a line, without blanks around it. */
bool readAfter(const std::string &line, const std::string &mark, std::string *rest)
{
    if (!line.starts_with(mark))
        return false;
    size_t begin = mark.size(), end = line.size();
    while (begin < end && (isBlank(line[begin]) || line[begin] == ':'))
        begin++;
    while (end > begin && isBlank(line[end - 1]))
        end--;
    *rest = line.substr(begin, end - begin);
    return true;
}

/* `A4/ISO A4: "595 842"` */
void readPaperDimension(const std::string &text, PrinterDescription *printer)
{
    constexpr double LARGEST = 100000;
    size_t quote = text.find('"');
    if (quote == std::string::npos)
        return;
    char *end;
    double width = strtod(text.c_str() + quote + 1, &end), height = strtod(end, nullptr);
    if (width >= 1 && width <= LARGEST && height >= 1 && height <= LARGEST)
        printer->papers[small(text.substr(0, text.find_first_of("/: \t")))] = {
            (int)std::lround(width), (int)std::lround(height)};
}

} // namespace

int readCount(const std::string &text, int highest)
{
    char *end;
    errno = 0;
    long value = strtol(text.c_str(), &end, 10);
    bool isGood = end != text.c_str() && *end == 0 && errno == 0 && value >= 1 && value <= highest;
    return isGood ? (int)value : 0;
}

JobOptions readJobOptions(const std::string &text)
{
    JobOptions options;
    OptionReader reader = {text};
    for (reader.skipBlanks(); !reader.isAtEnd(); reader.skipBlanks()) {
        std::string name = small(reader.name());
        if (!reader.isAtEnd() && text[reader.at] == '=') {
            reader.at++;
            options[name] = reader.value();
        } else if (name.starts_with("no") && name.size() > 2) {
            options[name.substr(2)] = "false";
        } else if (!name.empty()) {
            options[name] = "true";
        }
    }
    return options;
}

PrinterDescription readPrinterDescription(const std::string &text)
{
    PrinterDescription printer;
    std::string rest;
    for (size_t at = 0; at < text.size();) {
        size_t end = std::min(text.find_first_of("\r\n", at), text.size());
        std::string line = text.substr(at, end - at);
        at = end + 1;
        if (readAfter(line, "*PaperDimension ", &rest))
            readPaperDimension(rest, &printer);
        else if (readAfter(line, "*DefaultPageSize:", &rest))
            printer.defaultPaper = rest;
        else if (readAfter(line, "*DefaultDuplex:", &rest))
            printer.defaultDuplex = rest;
        else if (readAfter(line, "*LanguageLevel:", &rest))
            printer.level = rest.starts_with("\"2") ? 2 : 3;
    }
    return printer;
}

EarlierFilters readEarlierFilters(const std::string &head, const std::string &type)
{
    constexpr int MOST_LINES = 20;
    EarlierFilters earlier;
    if (type == LAID_OUT_TYPE) {
        earlier.isLaidOut = true;
        earlier.copies = 1;
    }
    size_t at = 0;
    /* Comments of the whole document, in front of its first object. */
    for (int count = 0; count < MOST_LINES && at < head.size() && head[at] == '%'; count++) {
        size_t end = std::min(head.find_first_of("\r\n", at), head.size());
        std::string line = head.substr(at, end - at), rest;
        at = std::min(head.find_first_not_of("\r\n", end), head.size());
        if (readAfter(line, "%%PDFTOPDFNumCopies", &rest))
            earlier.copies = std::max(1, readCount(rest, MOST_COPIES));
        else if (readAfter(line, "%%PDFTOPDFCollate", &rest))
            earlier.isCollated = rest == "true";
        else if (!readAfter(line, "% This file was generated by pdftopdf", &rest) &&
                 !readAfter(line, "% This file was generated by imagetopdf", &rest))
            continue;
        earlier.isLaidOut = true;
    }
    return earlier;
}

bool asksForLayout(const JobOptions &options)
{
    /* Each with the values that change nothing. */
    static const std::map<std::string, std::string> layouts = {
        {"number-up", " 1 "},
        {"orientation-requested", " 0 3 "},
        {"landscape", " false no off "},
        {"mirror", " false no off "},
        {"page-border", " none "},
        {"page-set", " all "},
        {"outputorder", " normal "},
        {"booklet", " none no off false "},
        {"scaling", " 100 "},
        {"natural-scaling", " 100 "},
        {"position", " center "},
    };
    return std::any_of(layouts.begin(), layouts.end(), [&](const auto &layout) {
        std::string value = valueOf(options, layout.first.c_str());
        return !value.empty() && layout.second.find(" " + value + " ") == std::string::npos;
    });
}

bool applyOptions(const JobOptions &options, const PrinterDescription &printer,
                  const EarlierFilters &earlier, int copies, PrintRequest *request,
                  std::string *fault)
{
    job::Options &job = request->job;
    choosePaper(options, printer, &job.paper);
    job.duplex = chooseDuplex(options, printer);
    job.level = printer.level;
    job.copies = earlier.copies > 0 ? earlier.copies : copies;
    job.isCollated = earlier.copies > 0 ? earlier.isCollated : isCollated(options);
    if (earlier.isLaidOut)
        return true;
    job.paper.scaling = scalingOf(options);
    std::string list = valueOf(options, "page-ranges");
    if (list.empty())
        return true;
    return seam::readPageRanges(list, &job.pages, fault);
}
