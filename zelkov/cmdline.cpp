/*
 * cmdline.cpp - parses the command line
 */
#include "zelkov/cmdline.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "zelkov/process.h"
#include "zelkov/text.h"

namespace {

/* Words are kept here for the life of the process: values that fspec hands out point to them. */
struct CommandLine {
    std::string prompt;
    std::string program;
    std::vector<std::string> words;
    bool fromArguments = false;
};

CommandLine &commandLine()
{
    static CommandLine line;
    return line;
}

/* The prompt without its ":>", such as "PDF to PS v1.3". */
std::string title()
{
    const std::string &prompt = commandLine().prompt;
    return prompt.substr(0, prompt.rfind(":>"));
}

/* Ends the process behind an answer on standard output, which must have arrived. */
[[noreturn]] void endAnswer()
{
    if (fflush(stdout) != 0 || ferror(stdout))
        process_fail("Error occurred while writing to standard output.");
    process_exit(EXIT_SUCCESS);
}

[[noreturn]] void showVersion()
{
    printf("%s\n", title().c_str());
    endAnswer();
}

[[noreturn]] void showHelp(const SwitchEntry *table)
{
    printf("%s\n\nUsage: %s [switches] file\n\nSwitches:\n", title().c_str(),
           commandLine().program.c_str());
    for (; table->name; table++)
        printf("  -%s%s\n", plainKeyword(table->name).c_str(),
               table->converter ? "[=integer]" : "=text");
    printf("  --help\n  --version\n  --  ends the switches\n");
    endAnswer();
}

/* Splits a line at blanks; double quotes hold a word together and are dropped. */
std::vector<std::string> splitWords(const std::string &line)
{
    std::vector<std::string> words;
    std::string word;
    bool inWord = false, quoted = false;
    for (char c : line) {
        if (c == '"') {
            quoted = !quoted;
            inWord = true;
        } else if (isSpaceByte(c) && !quoted) {
            if (inWord)
                words.push_back(word);
            word.clear();
            inWord = false;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord)
        words.push_back(word);
    return words;
}

/* One line of standard input, its end not included; empty at the end of input. */
std::string readLine()
{
    std::string line;
    for (int c; (c = getchar()) != EOF && c != '\n';)
        line += (char)c;
    return line;
}

void askForWords()
{
    CommandLine &line = commandLine();
    fputs(line.prompt.c_str(), stdout);
    fflush(stdout);
    line.words = splitWords(readLine());
}

const SwitchEntry *findSwitch(const SwitchEntry *table, const std::string &name)
{
    for (; table->name; table++)
        if (matchesKeyword(name.c_str(), table->name))
            return table;
    return nullptr;
}

/* One switch: its dashes, its name and, behind '=', its value. */
struct GivenSwitch {
    std::string name;
    std::string shown; /* name with its dashes */
    const char *value; /* null when there is no '=' */
};

GivenSwitch cutSwitch(const std::string &word)
{
    size_t dashes = word.compare(0, 2, "--") == 0 ? 2 : 1;
    size_t equals = word.find('=', dashes);
    GivenSwitch given;
    given.shown = word.substr(0, equals);
    given.name = given.shown.substr(dashes);
    given.value = equals == std::string::npos ? nullptr : word.c_str() + equals + 1;
    return given;
}

/* The value of an integer switch: the text behind '=', else the next word when it is an integer,
 * else 1. */
void storeInteger(const SwitchEntry *entry, const GivenSwitch &given, size_t *next)
{
    const std::vector<std::string> &words = commandLine().words;
    int32_t *value = static_cast<int32_t *>(entry->value);
    if (given.value) {
        if (!entry->converter(given.value, value))
            process_fail("Bad value for switch " + plainKeyword(entry->name) + ": " + given.value);
        return;
    }
    *value = 1;
    if (*next < words.size() && entry->converter(words[*next].c_str(), value))
        ++*next;
}

void storeText(const SwitchEntry *entry, const GivenSwitch &given, size_t *next)
{
    const std::vector<std::string> &words = commandLine().words;
    const char *text = given.value;
    if (!text && *next < words.size())
        text = words[(*next)++].c_str();
    if (!text || !*text)
        process_fail("Missing value for switch " + plainKeyword(entry->name));
    *static_cast<const char **>(entry->value) = text;
}

void parseSwitch(const SwitchEntry *table, const char *message, const std::string &word,
                 size_t *next)
{
    GivenSwitch given = cutSwitch(word);
    const SwitchEntry *entry = findSwitch(table, given.name);
    if (!entry && given.shown == "--help")
        showHelp(table);
    if (!entry && given.shown == "--version")
        showVersion();
    if (!entry)
        process_fail(std::string(message) + ": " + given.shown);
    *entry->present = 1;
    if (entry->converter)
        storeInteger(entry, given, next);
    else
        storeText(entry, given, next);
}

} // namespace

bool convai(const char *text, int32_t *value)
{
    return textToInteger(text, value);
}

void getcmd_arg(const char *prompt, int argc, char **argv)
{
    CommandLine &line = commandLine();
    line.prompt = prompt;
    line.program = argc > 0 ? argv[0] : "";
    line.program = line.program.substr(line.program.rfind('/') + 1);
    line.words.assign(argv + (argc > 0), argv + argc);
    line.fromArguments = argc > 1;
}

const char *fspec(const SwitchEntry *table, const char *message)
{
    CommandLine &line = commandLine();
    if (!line.fromArguments)
        askForWords();

    const char *plain = nullptr;
    bool switchesEnded = false;
    for (size_t next = 0; next < line.words.size();) {
        const std::string &word = line.words[next++];
        if (!switchesEnded && word == "--")
            switchesEnded = true;
        else if (!switchesEnded && word.size() > 1 && word[0] == '-')
            parseSwitch(table, message, word, &next);
        else if (plain)
            process_fail("Unexpected argument: " + word);
        else
            plain = word.c_str();
    }
    return plain;
}
