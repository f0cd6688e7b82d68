/*
 * verify.h - the one place that every section passes before it is in a job
 *
 * The text of a section is a program to the interpreter, and most of it comes from a document.  The
 * verifier reads all of it by the language's own rules and accepts a fixed grammar, nothing else:
 * plain names as operands, numbers, strings, known keys with values of their types, the words of
 * docs/output.md, operators of content with their operands, and data that is counted.  It repairs
 * nothing.  The encoder of sections takes what it hands on, and nothing else.
 */
#ifndef JOB_VERIFY_H
#define JOB_VERIFY_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "job/budget.h"
#include "job/spool.h"
#include "job/tokens.h"

namespace job {

enum class SectionKind {
    PAGE,   /* resources, where the page lies, contents */
    SHARED, /* parts that pages share, each with its number and its length */
    PART,   /* the definition of one of them */
};

struct Verdict {
    std::string cause = {};   /* in plain words; empty: accepted */
    std::string surplus = {}; /* what there is too much of; empty: nothing */
    uint64_t at = 0;          /* where it was refused */

    bool isAccepted() const { return cause.empty() && surplus.empty(); }
};

/* Text of a section that may be encoded. */
class AcceptedText {
  public:
    Spool &text() const { return *spool; }

    /* The runtime for a job that calls these names, which is our own. */
    static AcceptedText ofRuntime(const std::set<std::string> &names, Spool *spool);

  private:
    friend std::optional<AcceptedText> accept(Spool *, SectionKind, Account *, Verdict *);
    explicit AcceptedText(Spool *accepted) : spool(accepted) {}

    Spool *spool;
};

/* Verifies a text, which stays the caller's, and counts in the account what it costs. */
Verdict verify(Spool *text, SectionKind kind, Account *account);
Verdict verify(Bytes text, SectionKind kind, Account *account);
Verdict verify(const ReadBytes &read, SectionKind kind, Account *account);

/* The same; nothing where the text is refused, and then the verdict says why. */
std::optional<AcceptedText> accept(Spool *text, SectionKind kind, Account *account,
                                   Verdict *verdict);

} // namespace job

#endif
