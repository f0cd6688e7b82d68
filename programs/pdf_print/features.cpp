/*
 * features.cpp - the options that ask for features of the printer
 */
#include "programs/pdf_print/features.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "programs/printing/document.h"
#include "programs/printing/process.h"
#include "seam/options.h"

namespace {

constexpr seam::Program PROGRAM = seam::PRINT;

/* The keywords under which descriptions have what an option asks for. */
constexpr char TRAY[] = "InputSlot|MediaSource", MEDIA_TYPE[] = "MediaType",
               OUTPUT_BIN[] = "OutputBin|OutputMode", STAPLE[] = "StapleLocation|Staple|Stapling";

void add(Arguments *arguments, const char *names, const char *value)
{
    arguments->features.push_back(std::string(names) + "=" + value);
}

/* A string of PostScript. */
std::string quoted(const std::string &text)
{
    std::string out = "(";
    for (char c : text) {
        char octal[8];
        bool isPlain = c >= ' ' && c <= '~' && c != '(' && c != ')' && c != '\\';
        snprintf(octal, sizeof octal, "\\%03o", (unsigned)(unsigned char)c);
        out += isPlain ? std::string(1, c) : std::string(octal);
    }
    return out + ")";
}

std::string trayEntries(const std::string &tray)
{
    if (tray == "manual")
        return "/ManualFeed true";
    constexpr long MOST_TRAYS = 1000;
    long number = seam::readNumber(PROGRAM, tray.c_str(), "Without --ppd a tray", 0, MOST_TRAYS);
    return "/ManualFeed false /MediaPosition " + std::to_string(number);
}

/* What the language itself has for an option. */
job::DeviceSetting plainSetting(const std::string &feature)
{
    constexpr char AT_THE_END[] = "/Staple 2";
    size_t equals = feature.find('=');
    std::string name = feature.substr(0, equals), value = feature.substr(equals + 1);
    if (name == TRAY)
        return {"InputSlot", trayEntries(value)};
    if (name == MEDIA_TYPE)
        return {"MediaType", "/MediaType " + quoted(value)};
    if (name == OUTPUT_BIN)
        return {"OutputBin", "/OutputType " + quoted(value)};
    if (name == STAPLE)
        return {"Staple", AT_THE_END};
    seam::misuse(PROGRAM, "--option needs the printer's description: --ppd=FILE.");
}

/* What the description says of the features. */
std::string describedFeatures(const Arguments &arguments)
{
    std::string said, output = privateFile("features");
    std::vector<std::string> words = {ownProgram("pdf_print-ppd"), arguments.ppd};
    words.insert(words.end(), arguments.features.begin(), arguments.features.end());
    ProcessResult result = runProcess(
        words, [&](const std::string &line) { said = line; }, output);
    if (!result.isStarted && (errno == ENOENT || errno == EACCES))
        seam::misuse(PROGRAM, "--ppd needs the program pdf_print-ppd, which is not installed.");
    if (!result.isStarted || result.status != 0)
        seam::misuse(PROGRAM, said.empty() ? "The printer's description cannot be read." : said);
    std::ostringstream text;
    text << std::ifstream(output, std::ios::binary).rdbuf();
    return text.str();
}

} // namespace

bool readFeature(seam::Option option, const char *value, Arguments *arguments)
{
    using seam::Option;
    switch (option) {
    case Option::PPD:
        arguments->ppd = value;
        return true;
    case Option::TRAY:
        add(arguments, TRAY, value);
        return true;
    case Option::MEDIA_TYPE:
        add(arguments, MEDIA_TYPE, value);
        return true;
    case Option::OUTPUT_BIN:
        add(arguments, OUTPUT_BIN, value);
        return true;
    case Option::STAPLE:
        add(arguments, STAPLE, value);
        return true;
    case Option::FEATURE:
        arguments->features.push_back(value);
        return true;
    case Option::USER:
        arguments->job.user = value;
        return true;
    case Option::PJL:
        arguments->job.hasPjl = true;
        return true;
    default:
        return false;
    }
}

void completeFeatures(Arguments *arguments)
{
    if (arguments->job.isEncapsulated && (!arguments->features.empty() || arguments->job.hasPjl))
        seam::misuse(PROGRAM, "A page that is placed elsewhere (--eps) asks nothing of a printer.");
    if (arguments->features.empty())
        return;
    if (!arguments->ppd.empty()) {
        arguments->job.features = describedFeatures(*arguments);
        return;
    }
    for (const std::string &feature : arguments->features)
        arguments->job.settings.push_back(plainSetting(feature));
}
