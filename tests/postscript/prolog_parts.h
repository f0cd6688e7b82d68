/*
 * prolog_parts.h - the prolog's source: its parts, and the tokens that they are made of
 */
#ifndef TESTS_POSTSCRIPT_PROLOG_PARTS_H
#define TESTS_POSTSCRIPT_PROLOG_PARTS_H

#include <set>
#include <string>
#include <vector>

using Words = std::set<std::string>;

/* One part, with what its head says. */
struct PrologPart {
    std::string file;
    std::string text;
    Words needs;   /* names of parts before it, and variables that these set */
    Words later;   /* the same of parts behind it: used when pages are read */
    Words defines; /* what it adds to the prolog's dictionary */
};

/* The parts in their order. */
std::vector<PrologPart> prologParts();

/* The same of the runtime of jobs. */
std::vector<PrologPart> jobParts();

/* All parts joined: the prolog with its comments. */
std::string prologSource();

/* What a token of PostScript is.  The name of a string is its text with the parentheses. */
enum class TokenKind { EXECUTABLE, IMMEDIATE, LITERAL, OPEN, CLOSE, STRING, NUMBER };

struct PostScriptToken {
    TokenKind kind;
    std::string name; /* without slashes */
    int depth;        /* in how many procedures it stands */
};

std::vector<PostScriptToken> postScriptTokens(const std::string &text);

#endif
