/*
 * fuzz_print_options.cpp - a job's options, a printer description and the head of a document,
 * with a 0xFF between them
 */
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "programs/pdf_to_ps-cups/options.h"

namespace {

std::string nextPart(std::string *rest)
{
    size_t end = std::min(rest->find('\xFF'), rest->size());
    std::string part = rest->substr(0, end);
    rest->erase(0, end + 1);
    return part;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string rest(reinterpret_cast<const char *>(data), size);
    JobOptions options = readJobOptions(nextPart(&rest));
    PrinterDescription printer = readPrinterDescription(nextPart(&rest));
    EarlierFilters earlier = readEarlierFilters(nextPart(&rest), "");
    asksForLayout(options);
    PrintRequest request;
    std::string fault;
    bool isGood = applyOptions(options, printer, earlier, 1, &request, &fault);
    const job::Options &job = request.job;
    bool isSound = job.copies >= 1 && job.copies <= MOST_COPIES && job.paper.width >= 0 &&
                   job.paper.width <= 100000 && job.paper.height >= 0 &&
                   job.paper.height <= 100000 && (job.level == 2 || job.level == 3);
    constexpr int MOST_PAGES = 20;
    for (int number : seam::choosePages(job.pages, MOST_PAGES).numbers)
        isSound = isSound && number >= 1 && number <= MOST_PAGES;
    if (isGood && !isSound)
        abort();
    return 0;
}
