/*
 * messages.h - what the programs say of a document: codes, lines between programs, their bounds
 *
 * A message is raised by its code with a page and values; key, severity and sentence are those of
 * its row in messages.def.  From one program to another it goes as a line
 *
 *     PREPARE-L-NOFONT: Page 3: Text in font ...
 *
 * whose letter is the severity: D, W, L, E.  Values come from documents.  They are cut and cleaned
 * on their way into the sentence, so nothing in a document begins a line or drives a terminal.
 */
#ifndef SEAM_MESSAGES_H
#define SEAM_MESSAGES_H

#include <cstddef>
#include <initializer_list>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace seam {

enum class Severity {
    DETAIL,  /* of use to few */
    WARNING, /* done, and worth knowing */
    LOSS,    /* something is missing on paper, or other than it was */
    ERROR,   /* nothing is printed */
};

/* D, W, L, E */
char letterOf(Severity severity);

enum class Message {
#define MESSAGE(code, key, severity, sentence, advice) code,
#define CONVERTER(key, said, severity, sentence, advice)
#include "seam/messages.def"
#undef MESSAGE
#undef CONVERTER
};

struct MessageRow {
    Message message;
    const char *code, *key;
    Severity severity;
    const char *sentence; /* with places: "{name}" */
    const char *advice;   /* what to do; may be empty */
};

/* The rows in the order of the codes. */
std::span<const MessageRow> messages();
const MessageRow &rowOf(Message message);

/* A message of a document. */
struct Notice {
    Severity severity;
    std::string key;
    int page; /* from 1; 0: the document */
    std::string text;
    bool operator==(const Notice &) const = default;
};

constexpr size_t MAX_VALUE_BYTES = 300; /* of a value in a sentence */

/* A message with the values of its places in their order. */
Notice notice(Message message, int page, std::initializer_list<std::string_view> values = {});

/* The sentence alone. */
std::string sentence(Message message, std::initializer_list<std::string_view> values = {});

/* A value as it may stand in a line: UTF-8 without control characters, '?' for what is not, and no
 * longer than `most` bytes. */
std::string plainText(std::string_view value, size_t most = MAX_VALUE_BYTES);

/* ---- all messages of a document */

/* Each message once, at most 200 in all.  Beyond that a worse one takes the place of a lesser one,
 * so that no bound hides the first loss or error. */
class Notices {
  public:
    void add(Notice notice);

    size_t size() const { return shown.size(); }
    bool empty() const { return shown.empty(); }
    const Notice &operator[](size_t i) const { return shown[i]; }
    auto begin() const { return shown.begin(); }
    auto end() const { return shown.end(); }

    /* Messages that found no room. */
    size_t moreCount() const { return more.size(); }

    /* Is there one of this severity, or a worse one? */
    bool hasAny(Severity least) const;

  private:
    void leaveOut(const Notice &notice);

    std::vector<Notice> shown;
    std::set<size_t> more; /* hashes of those left out */
};

/* ---- lines between programs */

/* "PREPARE-W-KEY: Page 3: text", without an end of line. */
std::string lineOf(const Notice &notice);

/* The lines of all messages, and one more that counts what found no room. */
std::vector<std::string> linesOf(const Notices &notices);

/* What a line says.  One that is no message, or whose letter is not known, is a LOSS. */
Notice readLine(std::string_view line);

/* ---- the converter's messages */

/* As the converter gives them. */
enum class Said { INFO = 1, WARNING = 2, FAULT = 3, ERROR = 4 };

struct ConverterRow {
    const char *key;
    Said said;
    Severity severity;
    const char *sentence; /* {text}: its own */
    const char *advice;
};

std::span<const ConverterRow> converterRows();

/* What a message of the converter is taken as.  An error that has a page costs that page a part
 * and not the job: it becomes PageCut. */
Notice fromConverter(Said said, std::string_view key, int page, std::string_view text);

} // namespace seam

#endif
