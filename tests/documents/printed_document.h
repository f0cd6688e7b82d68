/*
 * printed_document.h - a document, converted, printed, and compared with its own picture
 */
#ifndef TESTS_DOCUMENTS_PRINTED_DOCUMENT_H
#define TESTS_DOCUMENTS_PRINTED_DOCUMENT_H

#include <gtest/gtest.h>

#include "tests/postscript/print_job.h"
#include "tests/support/conversion.h"

/* Prints what the program makes of a document; the conversion must be without a fault, the job
 * without an error. */
inline std::vector<Picture> printDocument(const std::string &bytes,
                                          const std::vector<std::string> &switches = {})
{
    Conversion c = convertForPrinting(bytes, switches);
    EXPECT_EQ(c.status, 0);
    for (const std::string &message : faults(c))
        EXPECT_TRUE(message.starts_with("ZOLAK-I-")) << message;
    PrintedJob job = printFile(c.output, 100);
    EXPECT_EQ(job.status, 0);
    EXPECT_EQ(faultsOf(job), std::vector<std::string>{});
    return job.pages;
}

/* The document as two independent renderers draw it.  They turn CMYK into RGB differently, so a
 * page is right when it looks like one of them. */
struct References {
    explicit References(const std::string &bytes)
        : mupdf(renderPdf(bytes)), ghostscript(printFile(bytes, 100).pages)
    {
    }

    void expectAlike(const Picture &printed, size_t page) const
    {
        EXPECT_FALSE(isBlank(mupdf.at(page - 1))) << "page " << page << " would test nothing";
        PictureDifference first = comparePictures(printed, mupdf.at(page - 1));
        PictureDifference second = comparePictures(printed, ghostscript.at(page - 1));
        EXPECT_TRUE(isRight(first) || isRight(second))
            << "page " << page << ": " << describe(first) << "; " << describe(second);
    }

    std::vector<Picture> mupdf, ghostscript;
};

/* Every page must look as it does in the document. */
inline void expectPrintsAsItLooks(const std::string &bytes, size_t pages,
                                  const std::vector<std::string> &switches = {})
{
    std::vector<Picture> printed = printDocument(bytes, switches);
    References references(bytes);
    ASSERT_EQ(references.mupdf.size(), pages);
    ASSERT_EQ(references.ghostscript.size(), pages);
    ASSERT_EQ(printed.size(), pages);
    for (size_t i = 0; i < pages; i++)
        references.expectAlike(printed[i], i + 1);
}

/* The same for each page alone, selected with PAGE; pages count from 1. */
inline void expectPagesAlonePrintAsTheyLook(const std::string &bytes, size_t pages)
{
    References references(bytes);
    for (size_t page = 1; page <= pages; page++) {
        std::vector<Picture> printed = printDocument(bytes, {"-PAGE=" + std::to_string(page)});
        ASSERT_EQ(printed.size(), 1U);
        references.expectAlike(printed[0], page);
    }
}

#endif
