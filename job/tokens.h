/*
 * tokens.h - the tokens of a section, by PostScript's own lexical rules
 *
 * What this scanner takes for one token, every interpreter takes for the same one.  Where the rules
 * leave doubt, or have an object for which our text has no use (comments, radix numbers, ASCII85
 * strings, binary tokens), the scanner says so and takes nothing.
 */
#ifndef JOB_TOKENS_H
#define JOB_TOKENS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>

namespace job {

using Bytes = std::span<const uint8_t>;

constexpr size_t LONGEST_NUMBER = 32, LONGEST_NAME = 127; /* characters, without a slash */
constexpr size_t MOST_ITEMS = 65535;                      /* bytes of a string, items of an array */
constexpr size_t LONGEST_TOKEN = 4 * MOST_ITEMS + 4;      /* bytes: a string of octal numbers */

enum class TokenKind : uint8_t {
    END,
    FAULT, /* no token that we write; Scanner::fault says what is wrong */
    INTEGER,
    REAL,
    NAME,      /* literal, plain: letters, digits and . _ - + */
    IMMEDIATE, /* with two slashes */
    WORD,      /* executable */
    STRING,
    OPEN_ARRAY,
    CLOSE_ARRAY,
    OPEN_DICT,
    CLOSE_DICT,
    OPEN_PROCEDURE,
    CLOSE_PROCEDURE,
};

struct Token {
    TokenKind kind = TokenKind::END;
    bool hasExponent = false;   /* of a number */
    size_t stringBytes = 0;     /* of a string, decoded */
    std::string_view text = {}; /* as it stands, good until the next token */

    bool is(std::string_view same) const { return text == same; }
    bool isNumber() const { return kind == TokenKind::INTEGER || kind == TokenKind::REAL; }
    std::string_view name() const { return text.substr(1); } /* of a name */
};

/* Reads up to so many bytes to that place; 0: there are no more. */
using ReadBytes = std::function<size_t(uint8_t *to, size_t room)>;

class Scanner {
  public:
    explicit Scanner(Bytes all) : at(all.data()), filled(all.data() + all.size()), isAll(true)
    {
        begun = at;
        cut();
    }
    explicit Scanner(ReadBytes more);

    const Token &next();
    /* The next token is the last one once more. */
    void again() { isAgain = true; }
    const Token &last() const { return token; }

    /* Do just these bytes follow?  They are passed over. */
    bool follows(std::string_view bytes);
    /* Does a comment follow, one that is taken?  It is passed over, but for its line end. */
    bool comment();
    /* Passes over counted data; false: there is less. */
    bool skip(uint64_t count);

    /* The text ends `count` bytes from here, or where it ended before; answers the earlier end,
     * with which it goes on behind them. */
    uint64_t limit(uint64_t count);
    void unlimit(uint64_t earlier);
    bool isLimitReached() const { return position() == limitAt; }

    /* The last white space before the last token; 0: there was none. */
    uint8_t whiteBefore() const { return white; }

    uint64_t position() const { return passed + (uint64_t)(at - begun); }

    bool takesComments = false; /* those of a converted font */
    const char *fault = nullptr;

  private:
    void fill(size_t wanted);
    void cut();
    const Token &made(TokenKind kind, const uint8_t *from);
    const Token &failed(const char *why);
    const Token &number(const uint8_t *from);
    const Token &name(const uint8_t *from);
    const Token &word(const uint8_t *from);
    const Token &string(const uint8_t *from);
    const Token &hexString(const uint8_t *from);
    const Token &bracket(const uint8_t *from);
    bool passWhite();
    bool passComment();
    bool escape();

    Token token;
    bool isAgain = false;
    const uint8_t *at, *end = nullptr, *filled; /* end: of the window or of what is limited */
    const uint8_t *begun = nullptr;             /* of the window */
    bool isAll = false;                         /* the window holds the rest */
    uint64_t passed = 0;                        /* bytes before the window */
    uint64_t limitAt = UINT64_MAX;
    uint8_t white = 0;
    ReadBytes read = {};
    std::unique_ptr<uint8_t[]> window = {};
};

} // namespace job

#endif
