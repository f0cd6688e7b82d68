/*
 * second_reading.cpp - a scanner, and three tables
 */
#include "tests/job/second_reading.h"

#include <cctype>
#include <cstdint>
#include <deque>
#include <set>
#include <vector>

namespace {

using Names = std::set<std::string, std::less<>>;

/* What a section executes outside of procedures. */
const Names IN_SECTION = {"[",
                          "]",
                          "<<",
                          ">>",
                          "true",
                          "false",
                          "null",
                          "ReadCount",
                          "ReadContent",
                          "AddCreatedFile",
                          "CallImage",
                          "CallForm",
                          "UseShared",
                          "UseContents",
                          "OpenResources",
                          "CloseResources",
                          "Place",
                          "PageClip",
                          "translate",
                          "rotate",
                          "PageContents",
                          "AppendCount",
                          "ExecType1C",
                          "AdjFont",
                          "T3AdjEnc",
                          "T3DefFnct",
                          "definefont",
                          "findRes",
                          "defineRes",
                          "SetIndexed",
                          "SetFilter",
                          "_defaulthalftone",
                          "file",
                          "currentfile",
                          "string",
                          "readstring",
                          "pop",
                          "dict",
                          "begin",
                          "end",
                          "def",
                          "exch",
                          "bind",
                          "dup",
                          "currentdict",
                          "CharProcs"};

/* Functions and what decodes colours: arithmetic, and the names that functions give to values. */
const Names IN_PROCEDURE = {
    "[",        "]",       "add",   "sub", "mul",         "div",       "exp",  "and",   "or",
    "bitshift", "ceiling", "floor", "cvi", "dup",         "exch",      "pop",  "index", "roll",
    "get",      "aload",   "eq",    "ge",  "gt",          "le",        "lt",   "if",    "ifelse",
    "for",      "repeat",  "begin", "end", "def",         "bind",      "int",  "limit", "rnd",
    "_i",       "_j",      "_x",    "_y",  "xmin",        "xmax",      "ymin", "ymax",  "px",
    "py",       "f1",      "f2",    "f3",  "byte-offset", "bit-offset"};
const Names IMMEDIATE_IN_PROCEDURE = {"local-dict", "Sample"};

/* Outlines, which are not even executed. */
const Names IN_OUTLINE = {
    "[",    "]",      "moveto",        "lineto",    "curveto", "closepath", "setcachedevice",
    "fill", "matrix", "currentmatrix", "setmatrix", "concat"};

const Names IN_CONTENT = {
    "[",  "]",  "<<", ">>", "true", "false", "null", "q",   "Q",   "cm",  "w",  "J",  "j",
    "M",  "d",  "ri", "i",  "gs",   "m",     "l",    "c",   "v",   "y",   "h",  "re", "S",
    "s",  "f",  "F",  "f*", "B",    "B*",    "b",    "b*",  "n",   "W",   "W*", "BT", "ET",
    "Tc", "Tw", "Tz", "TL", "Tf",   "Tr",    "Ts",   "Td",  "TD",  "Tm",  "T*", "Tj", "TJ",
    "'",  "\"", "d0", "d1", "CS",   "cs",    "SC",   "SCN", "sc",  "scn", "G",  "g",  "RG",
    "rg", "K",  "k",  "sh", "Do",   "MP",    "DP",   "BMC", "BDC", "EMC", "BX", "EX"};

/* The two procedures of a converted font that call others, which are its own. */
const std::string_view BUILDERS[] = {
    "exch /CharProcs get exch 2 copy known not { pop /.notdef } if get exec ",
    "1 index /Encoding get exch get 1 index /BuildGlyph get exec "};

/* ---- the scanner */

enum Kind { END, NUMBER, WHOLE, LITERAL, EXECUTABLE, IMMEDIATE, STRING, OPEN, CLOSE, BAD };

struct Item {
    Kind kind = END;
    std::string text = {}; /* of names, without slashes; of numbers; why it is bad */
};

bool isBlank(unsigned char c)
{
    return c == 0 || c == 9 || c == 10 || c == 12 || c == 13 || c == 32;
}

bool isSpecial(unsigned char c)
{
    return std::string_view("()<>[]{}/%").find((char)c) != std::string_view::npos;
}

class Text {
  public:
    explicit Text(std::string_view all) : text(all) {}

    Item next();
    std::vector<std::string_view> comments = {}; /* in front of the token */

    /* The bytes behind a count: a line end, and so many. */
    bool data(size_t count, std::string_view *bytes);
    /* As the operator readline takes it, into a string of 256 bytes. */
    bool line(std::string_view *bytes);
    bool upTo(std::string_view mark, std::string_view *bytes);
    /* One blank between a number and what it counts, and so many bytes. */
    bool part(size_t count, std::string_view *bytes);
    size_t position() const { return at; }

  private:
    char look(size_t ahead = 0) const { return at + ahead < text.size() ? text[at + ahead] : '\0'; }
    bool isOver() const { return at >= text.size(); }
    Item string();
    Item hexString();
    Item word(int slashes);

    std::string_view text;
    size_t at = 0;
};

Item bad(std::string why)
{
    return {BAD, std::move(why)};
}

Item Text::string()
{
    size_t bytes = 0;
    for (int open = 1;;) {
        if (isOver())
            return bad("a string does not end");
        char c = text[at++];
        if (c == ')' && --open == 0)
            break;
        if (c == '(')
            open++;
        if (c == '\\') {
            if (isOver())
                return bad("a string does not end");
            char escaped = text[at++];
            for (int digits = 1; escaped >= '0' && escaped <= '7' && digits < 3; digits++, at++)
                if (look() < '0' || look() > '7')
                    break;
            if (escaped == '\r' && look() == '\n')
                at++;
            if (escaped == '\n' || escaped == '\r')
                continue;
        }
        bytes++;
    }
    return bytes > 65535 ? bad("a string is too long") : Item{STRING};
}

Item Text::hexString()
{
    size_t digits = 0;
    for (;; at++) {
        if (isOver())
            return bad("a hexadecimal string does not end");
        if (look() == '>')
            break;
        if (isxdigit((unsigned char)look()))
            digits++;
        else if (!isBlank((unsigned char)look()))
            return bad("a hexadecimal string holds something else");
    }
    at++;
    return digits > 2 * 65535 ? bad("a string is too long") : Item{STRING};
}

/* Is it a number by the book: whole, real, with an exponent?  Radix numbers are not ours. */
Kind numberKind(std::string_view word)
{
    size_t i = 0, digits = 0;
    auto run = [&] {
        size_t begin = i;
        while (i < word.size() && isdigit((unsigned char)word[i]))
            i++;
        return i - begin;
    };
    if (word[0] == '+' || word[0] == '-')
        i++;
    digits = run();
    if (i == word.size() && digits > 0)
        return WHOLE;
    if (word[i] == '.') {
        i++;
        digits += run();
    }
    if (digits > 0 && i < word.size() && (word[i] == 'e' || word[i] == 'E')) {
        i++;
        if (i < word.size() && (word[i] == '+' || word[i] == '-'))
            i++;
        if (run() == 0)
            return EXECUTABLE;
    }
    return digits > 0 && i == word.size() ? NUMBER : EXECUTABLE;
}

Item Text::word(int slashes)
{
    size_t begin = at;
    while (!isOver() && !isBlank((unsigned char)look()) && !isSpecial((unsigned char)look()))
        at++;
    std::string name(text.substr(begin, at - begin));
    if (name.size() > 127)
        return bad("a name is too long");
    for (char c : name)
        if ((unsigned char)c >= 128)
            return bad("a name has a byte above 127");
    if (slashes == 2)
        return {IMMEDIATE, name};
    if (slashes == 1)
        return {LITERAL, name};
    if (name.find('#') != std::string::npos)
        return bad("a number with a base: " + name);
    return {numberKind(name), name};
}

Item Text::next()
{
    comments.clear();
    for (;;) {
        while (!isOver() && isBlank((unsigned char)look()))
            at++;
        if (isOver() || look() != '%')
            break;
        size_t begin = at;
        while (!isOver() && look() != '\n' && look() != '\r' && look() != '\f')
            at++;
        if (look() != '\n')
            return bad("a comment ends with other than a line feed");
        comments.push_back(text.substr(begin, at - begin));
    }
    if (isOver())
        return {END};
    char c = look();
    switch (c) {
    case '(':
        at++;
        return string();
    case '<':
        at++;
        if (look() == '~')
            return bad("a string in ASCII85");
        if (look() != '<')
            return hexString();
        at++;
        return {EXECUTABLE, "<<"};
    case '>':
        if (look(1) != '>')
            return bad("a bracket without its string");
        at += 2;
        return {EXECUTABLE, ">>"};
    case '[':
    case ']':
        at++;
        return {EXECUTABLE, std::string(1, c)};
    case '{':
    case '}':
        at++;
        return {c == '{' ? OPEN : CLOSE};
    case ')':
        return bad("a bracket without its string");
    case '/': {
        int slashes = look(1) == '/' ? 2 : 1;
        at += (size_t)slashes;
        return word(slashes);
    }
    default:
        return word(0);
    }
}

bool Text::data(size_t count, std::string_view *bytes)
{
    if (isOver() || look() != '\n')
        return false; /* what else could end the word is not the same to all */
    return part(count, bytes);
}

bool Text::part(size_t count, std::string_view *bytes)
{
    if (isOver() || count > text.size() - at - 1)
        return false;
    *bytes = text.substr(at + 1, count);
    at += 1 + count;
    return true;
}

bool Text::line(std::string_view *bytes)
{
    size_t end = at;
    while (end < text.size() && text[end] != '\n' && text[end] != '\r')
        end++;
    if (end == text.size() || end - at > 256 || text[end] == '\r')
        return false;
    *bytes = text.substr(at, end - at);
    at = end + 1;
    return true;
}

bool Text::upTo(std::string_view mark, std::string_view *bytes)
{
    size_t end = text.find(mark, at);
    if (end == std::string_view::npos)
        return false;
    *bytes = text.substr(at, end - at);
    at = end + mark.size();
    return true;
}

/* ---- who reads it */

class Reading {
  public:
    explicit Reading(std::string_view all) : text(all) {}
    void section();
    void shared();
    void content();

    std::string fault;

  private:
    bool fail(const std::string &why);
    bool takeComments();
    bool check(const Item &item, const Names &table, const char *where);
    bool execute(const std::string &name);
    bool passData(size_t count, bool isContent);
    bool procedure();
    bool outlines();
    const Item &operand(size_t back) const;
    bool whole(size_t back, size_t *count);

    Text text;
    std::deque<Item> past; /* the last tokens */
    size_t length = 0;     /* the last /Length */
    bool hasLength = false;
    bool isConverted = false; /* in a converted font, which has comments */
};

bool Reading::fail(const std::string &why)
{
    if (fault.empty())
        fault = why + " (in front of byte " + std::to_string(text.position()) + ")";
    return false;
}

const Item &Reading::operand(size_t back) const
{
    static const Item none = {};
    return back <= past.size() ? past[past.size() - back] : none;
}

bool Reading::whole(size_t back, size_t *count)
{
    const Item &item = operand(back);
    long long value = item.kind == WHOLE && item.text.size() < 18 ? std::stoll(item.text) : -1;
    if (value < 0)
        return fail("there is no count");
    *count = (size_t)value;
    return true;
}

bool Reading::check(const Item &item, const Names &table, const char *where)
{
    if (item.kind == BAD)
        return fail(item.text);
    if (!text.comments.empty())
        return fail(std::string("a comment in ") + where);
    if (item.kind == IMMEDIATE)
        return fail("//" + item.text + " in " + where);
    if (item.kind == EXECUTABLE && !table.contains(item.text))
        return fail("\"" + item.text + "\" in " + where);
    return true;
}

void Reading::content()
{
    for (Item item; (item = text.next()).kind != END;) {
        if (!check(item, IN_CONTENT, "content"))
            return;
        if (item.kind == OPEN || item.kind == CLOSE) {
            fail("a procedure in content");
            return;
        }
    }
    if (!text.comments.empty())
        fail("a comment in content");
}

bool Reading::passData(size_t count, bool isContent)
{
    std::string_view bytes;
    if (!text.data(count, &bytes))
        return fail("there is less data than its count says");
    if (!isContent)
        return true;
    Reading inner(bytes);
    inner.content();
    return inner.fault.empty() || fail(inner.fault);
}

/* A procedure outside of content; its first bracket has been read.  A glyph of a font is content
 * between `save` and `restore`. */
bool Reading::procedure()
{
    std::string whole;
    std::deque<Item> items;
    for (int open = 1;;) {
        Item item = text.next();
        if (item.kind == END)
            return fail("a procedure does not end");
        if (item.kind == BAD)
            return fail(item.text);
        if (!text.comments.empty() && !isConverted)
            return fail("a comment in a procedure");
        text.comments.clear();
        open += (item.kind == OPEN) - (item.kind == CLOSE);
        if (open == 0)
            break;
        whole += (item.kind == OPEN      ? "{"
                  : item.kind == CLOSE   ? "}"
                  : item.kind == LITERAL ? "/" + item.text
                                         : item.text) +
                 " ";
        items.push_back(std::move(item));
    }
    if (whole == BUILDERS[0] || whole == BUILDERS[1])
        return true;
    bool isGlyph = !items.empty() && items.front().kind == EXECUTABLE &&
                   items.front().text == "save" && items.back().kind == EXECUTABLE &&
                   items.back().text == "restore";
    if (isGlyph) {
        items.pop_front();
        items.pop_back();
    }
    bool isNotdef = whole == "250 0 d0 ";
    for (const Item &item : items) {
        if (isGlyph && (item.kind == OPEN || item.kind == CLOSE))
            return fail("a procedure in the content of a glyph");
        bool isNamed = item.kind == IMMEDIATE && !isGlyph;
        if (isNamed && !IMMEDIATE_IN_PROCEDURE.contains(item.text))
            return fail("//" + item.text + " in a procedure");
        if (!isNamed && !check(item, isGlyph || isNotdef ? IN_CONTENT : IN_PROCEDURE,
                               isGlyph ? "a glyph" : "a procedure"))
            return false;
    }
    return true;
}

/* The glyphs of a converted font, by lines as the runtime reads them, up to the line "end". */
bool Reading::outlines()
{
    std::string_view line, outline;
    if (!text.data(0, &line))
        return fail("the glyphs of a converted font do not begin with a line");
    for (;;) {
        if (!text.line(&line))
            return fail("a line of a converted font has no end, or is too long");
        if (line == "end")
            return true;
        if (line.find(" { % ") == std::string_view::npos)
            return fail("a line of a converted font begins no glyph");
        if (!text.upTo(" } bind def\n", &outline))
            return fail("a glyph of a converted font does not end");
        Text glyph(outline);
        for (Item item; (item = glyph.next()).kind != END;) {
            bool isPath = item.kind == NUMBER || item.kind == WHOLE ||
                          (item.kind == EXECUTABLE && IN_OUTLINE.contains(item.text));
            if (!isPath)
                return fail("\"" + item.text + "\" in an outline");
        }
    }
}

bool Reading::execute(const std::string &name)
{
    size_t count = 0;
    if (name == "ReadCount" || name == "ReadContent") {
        size_t back = operand(1).kind == EXECUTABLE ? 3 : 2; /* behind AddCreatedFile */
        return whole(back, &count) && passData(count, name == "ReadContent");
    }
    if (name == "AppendCount")
        return whole(1, &count) && passData(count, false);
    if (name == "readstring")
        return operand(1).text == "string" && operand(3).text == "currentfile"
                   ? whole(2, &count) && passData(count, false)
                   : fail("readstring without its count");
    if (name == "SetIndexed" || name == "PageContents") {
        if (!hasLength)
            return fail("there is no /Length");
        hasLength = false;
        return passData(length, name == "PageContents");
    }
    if (name == "CharProcs" && operand(1).text != "def")
        return fail("CharProcs in a section");
    if (name == "begin" && operand(1).kind == EXECUTABLE && operand(1).text == "CharProcs")
        return outlines();
    return true;
}

/* A converted font, and nothing else, has comments. */
bool Reading::takeComments()
{
    for (std::string_view comment : text.comments) {
        isConverted = isConverted || comment == "%!PS-Adobe-3.0 Resource-Font";
        if (!isConverted)
            return fail("a comment in a section");
        if (comment == "%%%%EndFont")
            isConverted = false;
    }
    text.comments.clear();
    return true;
}

void Reading::section()
{
    for (;;) {
        Item item = text.next();
        if (!takeComments() || item.kind == END)
            return;
        if (item.kind == OPEN) {
            if (!procedure())
                return;
            past.clear();
            continue;
        }
        if (item.kind == CLOSE) {
            fail("a bracket without its procedure");
            return;
        }
        if (!check(item, IN_SECTION, "a section"))
            return;
        hasLength = hasLength && item.text != "<<";
        if (operand(1).kind == LITERAL && operand(1).text == "Length" && item.kind == WHOLE) {
            past.push_back(item);
            hasLength = whole(1, &length);
            past.pop_back();
        }
        if (item.kind == EXECUTABLE && !execute(item.text))
            return;
        past.push_back(std::move(item));
        if (past.size() > 8)
            past.pop_front();
    }
}

void Reading::shared()
{
    for (;;) {
        Item number = text.next();
        if (number.kind == END)
            return;
        Item bytes = text.next();
        past = {bytes};
        size_t count;
        std::string_view part;
        if (number.kind != WHOLE || !text.comments.empty() || !whole(1, &count)) {
            fail("a part without its number and its length");
            return;
        }
        if (!text.part(count, &part)) {
            fail("a part is shorter than its count");
            return;
        }
        Reading inner(part);
        inner.section();
        if (!inner.fault.empty()) {
            fail(inner.fault);
            return;
        }
    }
}

} // namespace

std::string secondReading(std::string_view section, SectionPart part)
{
    Reading reading(section);
    if (part == SectionPart::SHARED)
        reading.shared();
    else
        reading.section();
    return reading.fault;
}
