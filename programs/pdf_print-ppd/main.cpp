/*
 * main.cpp - what a printer's description (PPD) says must be sent for options of that printer
 *
 *     pdf_print-ppd FILE NAME=VALUE...
 *
 * writes the code of these choices on standard output, each between the comments of a feature, in
 * the order in which the description wants them.  Names and values may be the description's
 * keywords or its texts for people, in capitals or not.  Status 2, with a sentence on standard
 * error: the description cannot be read, or there is no such option or choice, or they exclude each
 * other.
 */
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <strings.h>

#include <cups/ppd.h>

namespace {

struct ClosePpd {
    void operator()(ppd_file_t *ppd) const { ppdClose(ppd); }
};
using Ppd = std::unique_ptr<ppd_file_t, ClosePpd>;

[[noreturn]] void fail(const std::string &text)
{
    fprintf(stderr, "%s\n", text.c_str());
    exit(2);
}

bool isNamed(const char *keyword, const char *text, const std::string &name)
{
    return strcasecmp(keyword, name.c_str()) == 0 || strcasecmp(text, name.c_str()) == 0;
}

std::string withCommas(const std::vector<std::string> &words)
{
    std::string all;
    for (const std::string &word : words)
        all.append(all.empty() ? "" : ", ").append(word);
    return all.empty() ? "none" : all;
}

/* What a description is searched for: the option itself, or all there are. */
ppd_option_t *findOption(ppd_group_t *groups, int count, const std::string &name,
                         std::vector<std::string> *all)
{
    for (int i = 0; i < count; i++) {
        for (int k = 0; k < groups[i].num_options; k++) {
            ppd_option_t *option = &groups[i].options[k];
            if (isNamed(option->keyword, option->text, name))
                return option;
            all->push_back(option->keyword);
        }
        if (ppd_option_t *found =
                findOption(groups[i].subgroups, groups[i].num_subgroups, name, all))
            return found;
    }
    return nullptr;
}

const ppd_choice_t *findChoice(const ppd_option_t *option, const std::string &name)
{
    std::vector<std::string> all;
    for (int i = 0; i < option->num_choices; i++) {
        const ppd_choice_t *choice = &option->choices[i];
        if (isNamed(choice->choice, choice->text, name))
            return choice;
        all.push_back(choice->choice);
    }
    fail("The printer's " + std::string(option->keyword) + " is one of " + withCommas(all) +
         ", not: " + name);
}

struct Choice {
    std::string option, value;
};

/* "NAME=VALUE"; NAME may have several, the first that the description knows counts: "A|B". */
Choice chosen(ppd_file_t *ppd, const std::string &word)
{
    size_t equals = word.find('=');
    if (equals == std::string::npos || equals == 0)
        fail("A printer's option is NAME=VALUE, not: " + word);
    std::string names = word.substr(0, equals);
    std::vector<std::string> all;
    for (size_t at = 0; at <= names.size();) {
        size_t bar = std::min(names.find('|', at), names.size());
        all.clear();
        if (const ppd_option_t *option =
                findOption(ppd->groups, ppd->num_groups, names.substr(at, bar - at), &all))
            return {option->keyword, findChoice(option, word.substr(equals + 1))->choice};
        at = bar + 1;
    }
    fail("The printer has no option " + names.substr(0, names.find('|')) + "; it has " +
         withCommas(all));
}

/* With all that is not chosen as the printer has it by default. */
void refuseConflicts(ppd_file_t *ppd, const std::vector<Choice> &choices)
{
    ppdMarkDefaults(ppd);
    for (const Choice &choice : choices)
        ppdMarkOption(ppd, choice.option.c_str(), choice.value.c_str());
    if (ppdConflicts(ppd) == 0)
        return;
    std::string all;
    for (const Choice &choice : choices)
        all += (all.empty() ? "" : ", ") + choice.option + "=" + choice.value;
    fail("The printer cannot have these together: " + all);
}

/* Only what has been chosen. */
void writeFeatures(const char *path, const std::vector<Choice> &choices)
{
    Ppd ppd(ppdOpenFile(path));
    for (const Choice &choice : choices)
        ppdMarkOption(ppd.get(), choice.option.c_str(), choice.value.c_str());
    for (ppd_section_t section : {PPD_ORDER_ANY, PPD_ORDER_DOCUMENT, PPD_ORDER_PAGE})
        if (char *text = ppdEmitString(ppd.get(), section, 0)) {
            fputs(text, stdout);
            free(text);
        }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        fail("Usage: pdf_print-ppd FILE NAME=VALUE...");
    Ppd ppd(ppdOpenFile(argv[1]));
    if (!ppd) {
        int line;
        ppd_status_t status = ppdLastError(&line);
        fail("The printer's description " + std::string(argv[1]) + " cannot be read: " +
             ppdErrorString(status) + (line > 0 ? ", line " + std::to_string(line) : "") + ".");
    }
    std::vector<Choice> choices;
    for (int i = 2; i < argc; i++)
        choices.push_back(chosen(ppd.get(), argv[i]));
    refuseConflicts(ppd.get(), choices);
    writeFeatures(argv[1], choices);
    return fflush(stdout) == 0 && !ferror(stdout) ? 0 : 1;
}
