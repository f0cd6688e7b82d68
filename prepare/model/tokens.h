/*
 * tokens.h - page content as operations: operands and their operator, each with its source text
 *
 * Nothing is copied: every token is a piece of the content, and the pieces of all operations
 * together are the content, byte for byte.  So what nobody changes is written as it stood.
 */
#ifndef PREPARE_MODEL_TOKENS_H
#define PREPARE_MODEL_TOKENS_H

#include <string>
#include <string_view>
#include <vector>

#include "prepare/model/operators.h"

namespace prepare {

enum class TokenKind : unsigned char {
    NUMBER,
    STRING,     /* (...) */
    HEX_STRING, /* <...> */
    NAME,
    ARRAY_BEGIN,
    ARRAY_END,
    DICT_BEGIN,
    DICT_END,
    WORD, /* true, false, null; an operator is the last one of its operation */
    INLINE_DATA,
    JUNK, /* a byte that begins nothing */
    END,
};

struct Token {
    TokenKind kind;
    std::string_view source;
};

struct Operation {
    std::vector<Token> operands; /* arrays and dictionaries flat, with their brackets */
    std::string_view name;       /* "Tj"; "BI" for a whole inline image; empty: the end */
    const Operator *op = &operatorOf({}); /* what that is */
    std::string_view source;     /* from the end of the operation before */
    std::string_view leadingSpace() const;
};

struct ContentReader {
    std::string_view content;
    size_t at = 0;
};

/* Reads the next operation; false at the end (what is left is its source, and may have operands).
 * An operation with more than MAX_OPERANDS of them ends the content. */
constexpr size_t MAX_OPERANDS = 1u << 20;
bool readOperation(ContentReader *reader, Operation *operation);

/* The next token; for what is written in the same syntax (font programs' tables, CMaps). */
Token readToken(ContentReader *reader);

/* The last `count` operands when all of them are numbers; false else. */
bool numbersOf(const Operation &operation, double *values, size_t count);

double numberValue(const Token &token);
std::string stringValue(const Token &token);    /* of both kinds of strings */
std::string nameValue(std::string_view source); /* with its slash, #xx undone */
bool isWhite(char c);

/* Writers. */
std::string literalString(const std::string &bytes);
std::string numberText(double value, int places = 5); /* at most so many, no exponent */
std::string nameText(const std::string &name);

} // namespace prepare

#endif
