/*
 * prolog_parts.cpp - reads the prolog's source
 */
#include "tests/postscript/prolog_parts.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "tests/support/conversion.h"

namespace {

/* The words behind "% Needs:" and its like, and in the lines that go on with it. */
void readHead(PrologPart &part)
{
    Words *list = nullptr;
    for (const std::string &line : linesOf(part.text)) {
        if (!line.starts_with('%'))
            break;
        std::istringstream words(line.substr(1));
        std::string word;
        if (!(words >> word)) {
            list = nullptr;
            continue;
        }
        if (word == "Needs:")
            list = &part.needs;
        else if (word == "Later:")
            list = &part.later;
        else if (word == "Defines:")
            list = &part.defines;
        else if (list)
            list->insert(word);
        while (list && words >> word)
            list->insert(word);
    }
}

bool isBlank(char c)
{
    return std::string(" \t\r\n\f").find(c) != std::string::npos || c == 0;
}

bool isRegular(char c)
{
    return !isBlank(c) && std::string("()<>[]{}/%").find(c) == std::string::npos;
}

/* Behind the string that begins at `at`. */
size_t behindString(const std::string &text, size_t at)
{
    int depth = 0;
    for (; at < text.size(); at++) {
        if (text[at] == '\\')
            at++;
        else if (text[at] == '(')
            depth++;
        else if (text[at] == ')' && --depth == 0)
            return at + 1;
    }
    return at;
}

bool isNumber(const std::string &word)
{
    return word.find_first_not_of("0123456789+-.e#abcdefABCDEF") == std::string::npos &&
           word.find_first_of("0123456789") != std::string::npos &&
           std::string("0123456789+-.").find(word[0]) != std::string::npos;
}

} // namespace

namespace {

std::vector<PrologPart> partsIn(const std::string &folder)
{
    std::vector<std::string> files;
    for (const auto &entry : std::filesystem::directory_iterator(PDF_TO_PS_DATA_SOURCE + folder))
        files.push_back(entry.path().filename());
    std::sort(files.begin(), files.end());
    std::vector<PrologPart> parts;
    for (const std::string &file : files) {
        parts.push_back({file, readFile(PDF_TO_PS_DATA_SOURCE + folder + file), {}, {}, {}});
        readHead(parts.back());
    }
    return parts;
}

} // namespace

std::vector<PrologPart> prologParts()
{
    return partsIn("/prolog/");
}

std::vector<PrologPart> jobParts()
{
    return partsIn("/job/");
}

std::string prologSource()
{
    std::string all;
    for (const PrologPart &part : prologParts())
        all += part.text;
    return all;
}

std::vector<PostScriptToken> postScriptTokens(const std::string &text)
{
    std::vector<PostScriptToken> tokens;
    int depth = 0;
    for (size_t at = 0; at < text.size();) {
        char c = text[at];
        if (isBlank(c)) {
            at++;
        } else if (c == '%') {
            at = std::min(text.find('\n', at), text.size());
        } else if (c == '(') {
            size_t end = behindString(text, at);
            tokens.push_back({TokenKind::STRING, text.substr(at, end - at), depth});
            at = end;
        } else if (c == '{' || c == '}') {
            TokenKind kind = c == '{' ? TokenKind::OPEN : TokenKind::CLOSE;
            depth += c == '{' ? 1 : -1;
            tokens.push_back({kind, "", depth});
            at++;
        } else if (!isRegular(c) && c != '/') {
            size_t length = (c == '<' || c == '>') ? 2 : 1;
            tokens.push_back({TokenKind::EXECUTABLE, text.substr(at, length), depth});
            at += length;
        } else {
            TokenKind kind = TokenKind::EXECUTABLE;
            if (text.compare(at, 2, "//") == 0)
                kind = TokenKind::IMMEDIATE;
            else if (c == '/')
                kind = TokenKind::LITERAL;
            at += kind == TokenKind::IMMEDIATE ? 2 : kind == TokenKind::LITERAL ? 1 : 0;
            size_t end = at;
            while (end < text.size() && isRegular(text[end]))
                end++;
            std::string name = text.substr(at, end - at);
            if (kind == TokenKind::EXECUTABLE && isNumber(name))
                kind = TokenKind::NUMBER;
            tokens.push_back({kind, name, depth});
            at = end;
        }
    }
    return tokens;
}
