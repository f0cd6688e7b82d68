/*
 * preparation.cpp - pdf_prepare as a process of its own
 *
 * What stands in its place is called as it is.  Where that is this program under its other name,
 * the work is done by a fork of it, with the limits that it has there, and this process watches
 * over it: that saves the start of a program, and a process in between.
 */
#include "programs/printing/preparation.h"

#include <cerrno>
#include <cstring>

#include "programs/printing/process.h"
#include "seam/options.h"

namespace {

std::vector<std::string> commandLine(const PreparationOptions &options)
{
    std::vector<std::string> words = {ownProgram("pdf_prepare"), "--canonical"};
    for (const std::string &word : seam::pageWords(options.pages))
        words.push_back(word);
    if (!options.passwordFile.empty())
        words.push_back("--password-file=" + options.passwordFile);
    if (!options.annotations.empty())
        words.push_back("--annotations=" + options.annotations);
    if (!options.box.empty())
        words.push_back("--box=" + options.box);
    if (!options.pageMap.empty())
        words.push_back("--page-map=" + options.pageMap);
    if (!options.maxTime.empty())
        words.push_back("--max-time=" + options.maxTime);
    if (!options.level.empty())
        words.push_back("--level=" + options.level);
    return words;
}

ProcessResult runPreparation(const std::vector<std::string> &words, MakePreparation make,
                             const std::function<void(const seam::Notice &)> &hear)
{
    auto line = [&](const std::string &text) { hear(seam::readLine(text)); };
    if (!make || !isThisProgram(words[0]))
        return runProcess(words, line);
    std::unique_ptr<OwnPreparation> own = make(words);
    ProcessResult result = runInChild([&] { return own->work(); }, line, own->deadline);
    int reason = errno;
    if (result.isStarted)
        result.status = own->conclude(result.status, hear);
    own.reset();
    errno = reason;
    return result;
}

} // namespace

Preparation prepareDocument(const PreparationOptions &options, const std::string &input,
                            const std::string &plain, std::vector<int> *pageNumbers,
                            const std::function<void(const seam::Notice &)> &hear)
{
    bool hasError = false;
    auto pass = [&](const seam::Notice &notice) {
        hasError |= notice.severity == seam::Severity::ERROR;
        hear(notice);
    };
    std::vector<std::string> words = commandLine(options);

    if (!options.resolution.empty())
        words.push_back("--resolution=" + options.resolution);
    words.insert(words.end(), {"--", input, plain});
    ProcessResult result = runPreparation(words, options.own, pass);
    if (!result.isStarted && (errno == ENOENT || errno == EACCES)) {
        pass(notice(seam::Message::NoPreparation, 0));
        return Preparation::MISSING;
    }
    if (!result.isStarted) {
        pass(notice(seam::Message::PreparationNotStarted, 0, {strerror(errno)}));
        return Preparation::FAILED;
    }
    if (result.status == 0 && seam::readPageMapFile(options.pageMap, pageNumbers))
        return Preparation::DONE;
    if (!hasError)
        pass(notice(seam::Message::Unexplained, 0,
                    {"the program pdf_prepare (status " + std::to_string(result.status) + ")"}));
    return Preparation::FAILED;
}
