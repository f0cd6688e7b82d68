/*
 * html.cpp - the page that people look at
 */
#include "programs/pdf_print-preview/html.h"

#include <cstdint>

namespace {

constexpr char REPLACEMENT[] = "\xef\xbf\xbd";

/* The length of the UTF-8 character at a position; 0: there is none. */
size_t characterAt(const std::string &text, size_t at)
{
    auto byte = [&](size_t i) { return at + i < text.size() ? (uint8_t)text[at + i] : 0u; };
    unsigned first = byte(0);
    size_t length = first < 0x80                    ? 1
                    : first >= 0xC2 && first < 0xE0 ? 2
                    : first >= 0xE0 && first < 0xF0 ? 3
                    : first >= 0xF0 && first < 0xF5 ? 4
                                                    : 0;
    for (size_t i = 1; i < length; i++)
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    bool isOutside = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) >= 0xA0) ||
                     (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) >= 0x90);
    return isOutside ? 0 : length;
}

std::string listOf(const std::vector<std::string> &messages)
{
    if (messages.empty())
        return "";
    std::string html = "<ul class=\"messages\">\n";
    for (const std::string &message : messages)
        html += "<li>" + htmlOf(message) + "</li>\n";
    return html + "</ul>\n";
}

std::string figureOf(const std::string &address, const std::string &what, const std::string &page)
{
    std::string html = "<figure>";
    html += address.empty()
                ? "<p class=\"none\">no picture</p>"
                : "<img src=\"" + address + "\" alt=\"" + what + ", page " + page + "\">";
    return html + "<figcaption>" + what + "</figcaption></figure>\n";
}

} // namespace

std::string htmlOf(const std::string &text)
{
    std::string html;
    for (size_t at = 0; at < text.size();) {
        size_t length = characterAt(text, at);
        unsigned char c = (unsigned char)text[at];
        if (length == 0 || c < 32 || c == 127)
            html += REPLACEMENT;
        else if (c == '&')
            html += "&amp;";
        else if (c == '<')
            html += "&lt;";
        else if (c == '>')
            html += "&gt;";
        else if (c == '"')
            html += "&quot;";
        else if (c == '\'')
            html += "&#39;";
        else
            html.append(text, at, length);
        at += length ? length : 1;
    }
    return html;
}

std::string htmlBeginning(const std::string &title, const std::string &summary,
                          const std::vector<std::string> &messages,
                          const std::vector<PageView> &pages)
{
    std::string html =
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
        "style-src 'unsafe-inline'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width\">\n"
        "<title>" +
        htmlOf(title) +
        "</title>\n<style>\n"
        "body { font-family: sans-serif; margin: 1.5em; color: #222; background: #f4f4f4 }\n"
        "table { border-collapse: collapse; background: #fff }\n"
        "th, td { border: 1px solid #bbb; padding: .3em .8em; text-align: left }\n"
        ".pictures { display: flex; flex-wrap: wrap; gap: 1em }\n"
        "figure { margin: 0; flex: 1 1 16em; min-width: 12em; max-width: 50em }\n"
        "img { width: 100%; border: 1px solid #999; background: #fff }\n"
        "figcaption { color: #555; padding-top: .2em }\n"
        ".messages { color: #a00 }\n"
        "section { border-top: 2px solid #888; margin-top: 2em }\n"
        "</style>\n</head>\n<body>\n<h1>" +
        htmlOf(title) + "</h1>\n<p><strong>" + htmlOf(summary) + "</strong></p>\n" +
        listOf(messages);
    if (pages.empty())
        return html;
    html += "<table>\n<tr><th>Page</th><th>Difference</th><th>Messages</th></tr>\n";
    for (const PageView &page : pages) {
        std::string number = std::to_string(page.number);
        html += "<tr><td><a href=\"#page-" + page.anchor + "\">" + number + "</a></td><td>" +
                htmlOf(page.verdict) + "</td><td>" + std::to_string(page.messages.size()) +
                "</td></tr>\n";
    }
    return html + "</table>\n";
}

std::string htmlPage(const PageView &page)
{
    std::string number = std::to_string(page.number);
    return "<section id=\"page-" + page.anchor + "\">\n<h2>Page " + number + "</h2>\n<p>" +
           htmlOf(page.verdict) + "</p>\n" + listOf(page.messages) + "<div class=\"pictures\">\n" +
           figureOf(page.original, "The PDF", number) + figureOf(page.print, "The print", number) +
           figureOf(page.difference, "What differs, in red", number) + "</div>\n</section>\n";
}

std::string htmlEnd()
{
    return "</body>\n</html>\n";
}
