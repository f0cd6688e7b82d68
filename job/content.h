/*
 * content.h - page content, operator by operator
 */
#ifndef JOB_CONTENT_H
#define JOB_CONTENT_H

#include <vector>

#include "job/budget.h"
#include "job/tokens.h"

namespace job {

/* How content stands between the pieces that it comes in. */
struct ContentState {
    explicit ContentState(Content *sum) : counted(sum) {}

    /* Takes over what a piece that was counted elsewhere has done; null, or what is wrong. */
    const char *follow(const Content &piece);
    /* Is all closed that was opened? */
    const char *finish() const;

    Content *counted;
    int64_t saved = 0; /* q without its Q; below 0 only where the piece may begin within some */
    bool mayBeginSaved = false;
    bool isInText = false; /* BT without its ET */
    uint64_t path = 0;     /* pieces of the path */
    uint64_t longestPath = 0;
    Calls *font = nullptr;           /* of `counted`; null: the caller's */
    std::vector<Calls *> fonts = {}; /* of the states that are saved */
};

/* Reads content to the end of the scanner's text, or, of a glyph, through the word that ends it.
 * Null, or what is wrong. */
const char *readContent(Scanner &in, ContentState *state, bool isGlyph = false);

} // namespace job

#endif
