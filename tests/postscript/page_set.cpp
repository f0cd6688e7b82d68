/*
 * page_set.cpp - converts, prints and compares a set of pages
 */
#include "tests/postscript/page_set.h"

#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"
#include "tests/support/picture.h"
#include "tests/support/printing.h"

namespace {

using Names = std::vector<std::string>;

void expectPictures(const PrintedJob &job, const std::vector<Picture> &reference,
                    const Names &names, const std::string &run)
{
    ASSERT_EQ(job.pages.size() % names.size(), 0U) << run << ": pages are missing";
    ASSERT_FALSE(job.pages.empty()) << run;
    for (size_t i = 0; i < job.pages.size(); i++) {
        const std::string &name = names[i % names.size()];
        PictureDifference d = comparePictures(job.pages[i], reference[i % names.size()]);
        EXPECT_TRUE(isRight(d)) << name << " (" << run << "): " << describe(d);
    }
}

} // namespace

void PageSet::add(const std::string &name, const std::string &content, const std::string &entries)
{
    addLike(name, content, entries, content, entries);
}

void PageSet::addLike(const std::string &name, const std::string &content,
                      const std::string &entries, const std::string &otherContent,
                      const std::string &otherEntries)
{
    pages.push_back({name, content, entries, otherContent, otherEntries});
}

std::string PageSet::document(bool reference)
{
    PdfBuilder document = pdf;
    for (const Page &page : pages) {
        const std::string &content = reference ? page.referenceContent : page.content;
        std::string entries = reference ? page.referenceEntries : page.entries;
        if (entries.find("/Contents") == std::string::npos)
            entries += " /Contents " + ref(document.addStream("", content));
        document.addPage("/MediaBox [0 0 200 200] " + entries);
    }
    return document.build();
}

/* As a print job, binary and shared as it may be, the pages are the same to the last pixel; or, where
 * preparation makes something else of them, as they are to look. */
void PageSet::expectSameJob(const PrintedJob &exact, const std::vector<Picture> &reference,
                            const Names &names)
{
    PrintedJob job = printFile(preparedJobOf(document(false), {"--binary"}), dpi);
    if (faultless) {
        EXPECT_EQ(faultsOf(job), Names{});
    }
    ASSERT_EQ(job.pages.size(), names.size()) << "pages of the job are missing";
    std::vector<Picture> rendered; /* what others make of the document as it stands */
    for (size_t i = 0; i < names.size(); i++) {
        if (job.pages[i].rgb == exact.pages[i].rgb ||
            isRight(comparePictures(job.pages[i], reference[i])))
            continue;
        if (rendered.empty())
            rendered = renderPdf(document(false), dpi);
        PictureDifference difference = comparePictures(job.pages[i], rendered[i]);
        EXPECT_TRUE(isRight(difference))
            << names[i] << " (as a job): " << describe(difference);
    }
}

void PageSet::expectRight()
{
    Names names;
    for (const Page &page : pages)
        names.push_back(page.name);
    std::vector<Picture> reference = renderPdf(document(true), dpi);
    ASSERT_EQ(reference.size(), names.size());
    for (size_t i = 0; i < names.size(); i++)
        EXPECT_FALSE(isBlank(reference[i])) << names[i] << ": the reference shows nothing";

    Conversion conversion = convertPdf(document(false));
    EXPECT_EQ(conversion.status, 0);
    auto expectNoFaults = [this](const PrintedJob &job) {
        if (faultless) {
            EXPECT_EQ(faultsOf(job), Names{});
        }
    };
    if (faultless) {
        for (const std::string &message : faults(conversion))
            EXPECT_TRUE(message.starts_with("ZOLAK-I")) << message;
    }

    PrintOptions options;
    options.strict = faultless;
    options.probe = probe;
    options.dpi = dpi;
    PrintedJob job = printPages(conversion.pages, options);
    expectNoFaults(job);
    expectPictures(job, reference, names, "as it is");
    PrintedJob first = job;

    options.strict = options.probe = false;
    job = printPages(conversion.pages + conversion.pages, options);
    expectNoFaults(job);
    EXPECT_EQ(job.pages.size(), 2 * names.size());
    expectPictures(job, reference, names, "twice in one job");

    if (!levelThree) {
        options.levelTwo = true;
        job = printPages(conversion.pages, options);
        expectNoFaults(job);
        expectPictures(job, reference, names, "Level 2");
    }
    if (hasJob)
        expectSameJob(first, reference, names);
}
