/*
 * driver_test.cpp - the version header, prolog and trailer, what is left after a failure
 */
#include <gtest/gtest.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"

namespace {

using Texts = std::vector<std::string>;

const char UNKNOWN_VERSION[] =
    "ZOLAK-W-PDFVRSN: This is an unknown version of the PDF format.  Output may be incorrect.  "
    "Please check thoroughly the result.";

/* The messages of a document with that header line. */
Texts messagesOf(const std::string &header)
{
    PdfBuilder pdf;
    pdf.header = header + "\n";
    return convertPdf(pdf.build()).messages;
}

/* Runs in `directory` and answers the result. */
ProgramResult runIn(const ScratchDirectory &directory, const Texts &arguments)
{
    ProgramOptions options;
    options.directory = directory.path;
    Texts command = {programPath()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return runProgram(command, options);
}

} // namespace

TEST(Driver, TheOutputIsPrologTmpFontPagesTrailer)
{
    Conversion c = convertPdf(onePagePdf("0 0 m\n"));
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(c.output, "P\n/TmpFont (doctmpfont) def\n"
                        "BeginPageDescription\n"
                        "<< /PageSize [ 200 200 ] >> setpagedevice\n"
                        "0 0 translate\n"
                        "0 rotate\n"
                        "<<\n/Length 6 \n>>\n"
                        "PageContents\n"
                        "0 0 m\n\n"
                        "EndPageDescription\n"
                        "T\n");
    EXPECT_EQ(c.messages, (Texts{"ZOLAK-I-INTRO: This is a PDF v1.2 file.",
                                 "ZOLAK-I-PAGE: Processing page 1"}));
}

TEST(Driver, PrologAndTrailerAreCopiedByteForByte)
{
    std::string prolog;
    for (int i = 0; i < 3 * 1024; i++)
        prolog += (char)i;
    for (size_t size : {0U, 1U, 1023U, 1024U, 1025U, 3072U}) {
        ScratchDirectory directory;
        directory.write("doc.pdf", PdfBuilder().build());
        directory.write("p.ps", prolog.substr(0, size));
        directory.write("t.ps", "T");
        EXPECT_EQ(runIn(directory, {"doc", "-PROLOG=./p", "-TRAILER=./t.ps"}).status, 0);
        EXPECT_TRUE(readFile(directory / "noname.ps") ==
                    prolog.substr(0, size) + "/TmpFont (doctmpfont) def\nT")
            << size;
    }
}

TEST(Driver, TheBaseNameLosesWhatWouldEndAString)
{
    const std::pair<const char *, const char *> names[] = {
        {"a(b).pdf", "ab"},
        {"x\\(y.pdf", "xy"},
        {"two words.pdf", "two_words"},
        {"abcdefghijklmnopqrstuvwxyz0123456789.pdf", "abcdefghijklmnopqrstuvwxyz01234"},
        {"(((((((((((((((((((((((((((((((((x.pdf", ""},
    };
    for (const auto &[file, base] : names) {
        ScratchDirectory directory;
        directory.write(file, PdfBuilder().build());
        directory.write("e.ps", "");
        EXPECT_EQ(runIn(directory, {file, "-PROLOG=./e", "-TRAILER=./e"}).status, 0);
        EXPECT_EQ(readFile(directory / "noname.ps"),
                  std::string("/TmpFont (") + base + "tmpfont) def\n");
    }
}

TEST(Driver, AFileThatCannotBeOpenedLeavesNoOutput)
{
    ScratchDirectory directory;
    ProgramResult result = runIn(directory, {"absent"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ZOLAK-E-BADFOPEN: Error occurred while opening the PDF file 'absent' "
                          "for reading.\n");
    EXPECT_TRUE(directory.names().empty());
    EXPECT_EQ(runIn(directory, {"."}).status, 1) << "nor a directory";
}

TEST(Driver, AnOutputThatCannotBeOpenedIsReported)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", PdfBuilder().build());
    ProgramResult result = runIn(directory, {"doc", "-OUTSPEC=absent/out.ps"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ZOLAK-E-BADFOPEN: Error occurred while opening the file "
                          "absent/out.ps for writing.\n");
}

TEST(Driver, AMissingPrologStopsTheRunBeforeTheVersionIsRead)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", PdfBuilder().build());
    ProgramResult result = runIn(directory, {"doc", "-PROLOG=./absent"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(
        linesOf(result.err),
        (Texts{"ZOLAK-E-BADFOPEN: Error occurred while opening the file ./absent for reading.",
               "ZOLAK-E-PDFVRSN: This is not a PDF file"}));
    EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
}

TEST(Driver, AMissingTrailerStopsTheRunAfterThePages)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", onePagePdf("n\n"));
    directory.write("noname.ps", "an older result");
    ProgramResult result = runIn(directory, {"doc", "-TRAILER=./absent"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(linesOf(result.err).back(),
              "ZOLAK-E-BADFOPEN: Error occurred while opening the file ./absent for reading.");
    EXPECT_EQ(directory.names(), Texts{"doc.pdf"}) << "a failed run leaves no output";
}

TEST(Driver, APrologNameWithoutDirectoryIsLookedUpInTheDataDirectory)
{
    ScratchDirectory directory, data;
    directory.write("doc.pdf", PdfBuilder().build());
    data.write("mine.ps", "M\n");
    ProgramOptions options;
    options.directory = directory.path;
    options.environment = {{"KV_DAT_PS", data.path}};
    ProgramResult result =
        runProgram({programPath(), "doc", "-PROLOG=mine", "-TRAILER=mine"}, options);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(readFile(directory / "noname.ps"), "M\n/TmpFont (doctmpfont) def\nM\n");
}

TEST(Driver, KnownVersionsAreSilent)
{
    for (const char *version : {"1.0", "1.1", "1.2"})
        EXPECT_EQ(messagesOf(std::string("%PDF-") + version)[0],
                  std::string("ZOLAK-I-INTRO: This is a PDF v") + version + " file.");
    EXPECT_EQ(messagesOf("%PDF-1.2")[1], "ZOLAK-W-NOPAGE: Page not found.");
}

TEST(Driver, OtherVersionsDrawAWarning)
{
    const std::pair<const char *, const char *> headers[] = {
        {"%PDF-1.3", "1.3"},   {"%PDF-1.4", "1.4"},      {"%PDF-2.0", "2.0"}, {"%PDF-1.23", "1.2"},
        {"%PDF-1.234", "1.2"}, {"%PDF-1.4 text", "1.4"}, {"%PDF-1", "1.0"},   {"%PDF-", "0.0"},
        {"%PDF-12", "12.0"},   {"%PDF-1..3", "1.3"},
    };
    for (const auto &[header, version] : headers) {
        Texts messages = messagesOf(header);
        ASSERT_GE(messages.size(), 2U) << header;
        EXPECT_EQ(messages[0], std::string("ZOLAK-I-INTRO: This is a PDF v") + version + " file.");
        EXPECT_EQ(messages[1], UNKNOWN_VERSION) << header;
    }
    EXPECT_EQ(messagesOf("%PDF-1.2 and more")[1], "ZOLAK-W-NOPAGE: Page not found.")
        << "a blank ends the number";
    EXPECT_EQ(messagesOf("%PDF-1.")[1], "ZOLAK-W-NOPAGE: Page not found.") << "1. is 1.0";
}

TEST(Driver, WhatIsNoPdfHeaderIsRefused)
{
    for (const char *header : {"%!PS", "%PDF", "%PDX-1.2", "%PDF1.2", "PDF-1.2", "%PDF-1.x",
                               "%PDF-a", "", "%PDF-99999999999"}) {
        Conversion c = convertPdf(std::string(header) + "\nmore\n");
        EXPECT_EQ(c.status, 1) << header;
        EXPECT_EQ(c.messages, Texts{"ZOLAK-E-PDFVRSN: This is not a PDF file"}) << header;
        EXPECT_FALSE(c.hasOutput) << header;
    }
    for (const char *file : {"", "%", "%PDF", "%PDF-1.2"})
        EXPECT_EQ(convertPdf(file).messages[0], "ZOLAK-E-PDFVRSN: This is not a PDF file")
            << "a file without a line end";
}

TEST(Driver, AHeaderLineIsCutAt31Bytes)
{
    /* The letter behind would make the header no version; it is the 32nd byte. */
    EXPECT_EQ(messagesOf("%PDF-1.2" + std::string(23, ' ') + "x")[0],
              "ZOLAK-I-INTRO: This is a PDF v1.2 file.");
    std::string zeros = "%PDF-" + std::string(26, '0');
    EXPECT_EQ(messagesOf(zeros + "x")[0], "ZOLAK-I-INTRO: This is a PDF v0.0 file.");
    EXPECT_EQ(messagesOf(zeros.substr(0, 30) + "x")[0], "ZOLAK-E-PDFVRSN: This is not a PDF file");
}

TEST(Driver, ADocumentWithoutPagesKeepsItsOutput)
{
    Conversion c = convertPdf(PdfBuilder().build());
    EXPECT_EQ(c.status, 0);
    EXPECT_EQ(c.pages, "");
    EXPECT_EQ(faults(c), Texts{"ZOLAK-W-NOPAGE: Page not found."});
}

TEST(Driver, EncryptionStopsTheRunUnlessItIsAllowed)
{
    PdfBuilder pdf;
    pdf.trailerEntries = "/Encrypt << /Filter /Standard >>";
    pdf.addPage("/MediaBox [0 0 10 10]");
    std::string bytes = pdf.build();
    Conversion refused = convertPdf(bytes);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(faults(refused), Texts{"ZOLAK-E-ENCRYPTED: Cannot process encrypted PDF document."});
    EXPECT_FALSE(refused.hasOutput);
    Conversion allowed = convertPdf(bytes, {"-ENCRYPT"});
    EXPECT_EQ(allowed.status, 0);
    EXPECT_EQ(faults(allowed)[0],
              "ZOLAK-W-ENCRYPTED: PDF document is encrypted and might not be readable.");
    EXPECT_NE(allowed.pages.find("EndPageDescription"), std::string::npos);
}

TEST(Driver, TwoConversionsOfFilesWithOneNameDoNotMeet)
{
    ScratchDirectory directory;
    ProgramOptions options;
    options.environment = {{"KV_TMP", directory.path}};
    EXPECT_EQ(convertPdf(onePagePdf("n\n"), {}, options).status, 0);
    EXPECT_TRUE(directory.names().empty()) << "the private directory is gone";
}

TEST(Driver, WithoutMemoryItReportsAndLeavesNothing)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's own memory has no limit";
#endif
    ScratchDirectory directory;
    std::string text(40000000, 'x');
    directory.write(
        "doc.pdf",
        onePagePdf("n\n", "/MediaBox [0 0 9 9] /Resources << /ExtGState << /G << /HTP (" + text +
                              ") >> >> >>"));
    ProgramOptions options;
    options.directory = directory.path;
    options.environment["KV_TMP"] = directory.path;
    int converted = 0;
    for (long megabytes : {20, 60, 80, 100, 130, 160, 1000}) {
        options.memoryMegabytes = megabytes;
        ProgramResult result = runProgram({programPath(), "doc.pdf", "-OUTSPEC=out.ps"}, options);
        if (result.status == 0) {
            converted++;
            continue;
        }
        EXPECT_EQ(result.status, 1) << megabytes << ": " << result.err;
        EXPECT_NE(result.err.find("ZOLAK-E-out of memory: Out of memory\n"), std::string::npos)
            << megabytes << ": " << result.err;
        EXPECT_EQ(directory.names(), Texts{"doc.pdf"}) << megabytes;
    }
    EXPECT_GT(converted, 0);
}
