/*
 * message_table.cpp - the tables of messages in docs/printing.md, made from seam/messages.def
 */
#include <cctype>
#include <cstdio>
#include <string>

#include "seam/messages.h"

namespace {

/* What stands for a place in braces: "{reason}" is REASON. */
std::string withPlaces(const char *sentence)
{
    std::string text;
    bool isPlace = false;
    for (const char *at = sentence; *at; at++) {
        bool isBrace = *at == '{' || *at == '}';
        isPlace = isBrace ? *at == '{' : isPlace;
        if (!isBrace)
            text += isPlace ? (char)toupper((unsigned char)*at) : *at;
    }
    return text;
}

void printTable(seam::Severity severity, const char *title)
{
    printf("\n### %s\n\n| Key | Message | What to do |\n|---|---|---|\n", title);
    for (const seam::MessageRow &row : seam::messages())
        if (row.severity == severity)
            printf("| `%s` | `%s` | %s |\n", row.key, withPlaces(row.sentence).c_str(), row.advice);
}

void printConverterTable()
{
    constexpr const char *SAID[] = {"", "info", "warning", "fault", "error"};
    constexpr const char *SEVERITIES[] = {"detail", "warning", "loss", "error"};
    printf("\n### From the converter\n\n"
           "| Key | It says | That is | Message | What to do |\n|---|---|---|---|---|\n");
    for (const seam::ConverterRow &row : seam::converterRows())
        printf("| `%s` | %s | %s | `%s` | %s |\n", row.key, SAID[(size_t)row.said],
               SEVERITIES[(size_t)row.severity], withPlaces(row.sentence).c_str(), row.advice);
}

} // namespace

int main()
{
    printTable(seam::Severity::ERROR, "Nothing is printed (E, status 1)");
    printTable(seam::Severity::LOSS, "Printed, with something missing or replaced (L, status 3)");
    printTable(seam::Severity::WARNING, "Worth knowing (W, status 0)");
    printTable(seam::Severity::DETAIL, "Of use to few (D, with `-v`)");
    printConverterTable();
    putchar('\n');
}
