/*
 * preparation.cpp - pdf_prepare as a process of its own
 */
#include "programs/printing/preparation.h"

#include <cerrno>
#include <cstdlib>

#include "programs/printing/process.h"
#include "seam/options.h"

namespace {

constexpr int STATUS_UNNEEDED = 4; /* of --if-needed */

std::vector<std::string> commandLine(const PreparationOptions &options)
{
    std::vector<std::string> words = {ownProgram("pdf_prepare")};
    for (const std::string &word : seam::pageWords(options.pages))
        words.push_back(word);
    if (!options.passwordFile.empty())
        words.push_back("--password-file=" + options.passwordFile);
    if (!options.annotations.empty())
        words.push_back("--annotations=" + options.annotations);
    if (!options.pageMap.empty())
        words.push_back("--page-map=" + options.pageMap);
    if (!options.level.empty())
        words.push_back("--level=" + options.level);
    return words;
}

/* "PREPARE-W-KEY: Page 3: text"; what is no notice has an empty key. */
Notice readNotice(const std::string &line)
{
    const std::string mark = "PREPARE-W-", page = "Page ";
    size_t colon = line.find(": ");
    if (!line.starts_with(mark) || colon == std::string::npos)
        return {"", line, 0};
    Notice notice = {line.substr(mark.size(), colon - mark.size()), line.substr(colon + 2), 0};
    if (notice.text.starts_with(page)) {
        char *end;
        long number = strtol(notice.text.c_str() + page.size(), &end, 10);
        if (number > 0 && end[0] == ':' && end[1] == ' ') {
            notice.page = (int)number;
            notice.text = end + 2;
        }
    }
    return notice;
}

} // namespace

Preparation prepareDocument(const PreparationOptions &options, const std::string &input,
                            const std::string &plain, std::vector<int> *pageNumbers,
                            const std::function<void(const Notice &)> &notice)
{
    auto pass = [&](const std::string &line) { notice(readNotice(line)); };
    std::vector<std::string> words = commandLine(options);

    if (!options.resolution.empty())
        words.push_back("--resolution=" + options.resolution);
    words.insert(words.end(), {"--if-needed", "--", input, plain});
    ProcessResult result = runProcess(words, pass);
    if (!result.isStarted)
        return errno == ENOENT || errno == EACCES ? Preparation::MISSING : Preparation::FAILED;
    if (result.status == STATUS_UNNEEDED)
        return Preparation::UNNEEDED;
    if (result.status != 0)
        return Preparation::FAILED;
    bool isMapped = seam::readPageMapFile(options.pageMap, pageNumbers);
    return isMapped ? Preparation::DONE : Preparation::NO_PAGE_MAP;
}
