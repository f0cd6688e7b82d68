/*
 * driver_test.cpp - the version header, prolog and trailer, what is left after a failure
 */
#include "tools/zolak1_3/pdf_to_ps/frame/driver.h"

#include <algorithm>
#include <cstdio>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/compress/zlib_encoder.h"
#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"

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
    EXPECT_EQ(result.err, "absent.pdf: No such file or directory\n"
                          "ZOLAK-E-BADFOPEN: Error occurred while opening the PDF file 'absent' "
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
    EXPECT_EQ(result.err, "absent/out.ps: No such file or directory\n"
                          "ZOLAK-E-BADFOPEN: Error occurred while opening the file "
                          "absent/out.ps for writing.\n");
}

TEST(Driver, OfTwoFilesThatCannotBeOpenedTheInputIsTold)
{
    ScratchDirectory directory;
    directory.write("noname.ps", "an older result");
    ProgramResult result = runIn(directory, {"absent", "-PROLOG=./absent"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "absent.pdf: No such file or directory\n"
                          "ZOLAK-E-BADFOPEN: Error occurred while opening the PDF file 'absent' "
                          "for reading.\n");
    EXPECT_EQ(readFile(directory / "noname.ps"), "an older result")
        << "an output that was never opened stays";
}

TEST(Driver, AnOutputThatIsADirectoryIsLeftAlone)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", PdfBuilder().build());
    ASSERT_EQ(mkdir((directory / "out.ps").c_str(), 0700), 0);
    ProgramResult result = runIn(directory, {"doc", "-OUTSPEC=out"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "out.ps: Is a directory\n"
                          "ZOLAK-E-BADFOPEN: Error occurred while opening the file out for "
                          "writing.\n");
    EXPECT_EQ(directory.names(), (Texts{"doc.pdf", "out.ps"}));
}

TEST(Driver, AFailedRunLeavesWhatAPipeHasTaken)
{
    ScratchDirectory directory;
    std::string prolog(200000, 'p');
    directory.write("doc.pdf", "%!PS\n");
    directory.write("p.ps", prolog);
    ProgramResult result = runIn(directory, {"doc", "-OUTSPEC=/dev/stdout", "-PROLOG=./p"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ZOLAK-E-PDFVRSN: This is not a PDF file\n");
    EXPECT_FALSE(result.out.empty());
    EXPECT_TRUE(prolog.starts_with(result.out)) << "and writes nothing more";
    EXPECT_EQ(directory.names(), (Texts{"doc.pdf", "p.ps"}));
}

TEST(Driver, AMissingPrologStopsTheRunBeforeTheVersionIsRead)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", PdfBuilder().build());
    ProgramResult result = runIn(directory, {"doc", "-PROLOG=./absent"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(
        linesOf(result.err),
        (Texts{"./absent.ps: No such file or directory",
               "ZOLAK-E-BADFOPEN: Error occurred while opening the file ./absent for reading."}));
    EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
}

TEST(Driver, AnOutputThatAnyFileOfTheRunIsReadFromIsRefused)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", onePagePdf("n\n"));
    directory.write("X.ps", "% mine\n");
    for (const char *part : {"-PROLOG=./X", "-TRAILER=./X.ps"}) {
        ProgramResult result = runIn(directory, {"doc", part, "-OUTSPEC=X"});
        EXPECT_EQ(result.status, 1) << part;
        EXPECT_EQ(result.err, "X.ps: File exists\n"
                              "ZOLAK-E-BADFOPEN: Error occurred while opening the file X for "
                              "writing.\n");
        EXPECT_EQ(readFile(directory / "X.ps"), "% mine\n");
    }
}

TEST(Driver, MoreOutputThanAllowedEndsTheRun)
{
    ScratchDirectory directory;
    directory.write("doc.pdf", onePagePdf("n\n"));
    directory.write("p.ps", std::string(5000, 'p'));
    ProgramOptions options;
    options.directory = directory.path;
    auto run = [&](const std::string &most) {
        options.environment["KV_MAX_OUTPUT"] = most;
        return runProgram({programPath(), "doc", "-PROLOG=./p", "-TRAILER=./p", "-OUTSPEC=out"},
                          options);
    };
    ASSERT_EQ(run("").status, 0);
    const std::string whole = readFile(directory / "out.ps");
    unlink((directory / "out.ps").c_str());
    EXPECT_EQ(run(std::to_string(whole.size())).status, 0) << "exactly as much is allowed";
    unlink((directory / "out.ps").c_str());
    for (const std::string &most : {std::to_string(whole.size() - 1), std::string("1")}) {
        ProgramResult result = run(most);
        EXPECT_EQ(result.status, 1) << most;
        EXPECT_EQ(linesOf(result.err).back(), "ZOLAK-E-BADFWRITE: Output is too large.");
        EXPECT_FALSE(fileExists(directory / "out.ps")) << most;
    }
    EXPECT_EQ(run("0").status, 0) << "0 is no bound";
    EXPECT_EQ(readFile(directory / "out.ps"), whole);
}

TEST(Driver, ThingsSharedFromManyPlacesDoNotFillTheDisk)
{
    /* One image under each of many keys: written for every one of them. */
    PdfBuilder pdf;
    int image = pdf.addStream("/Type /XObject /Subtype /Image /Width 1000 /Height 1000 "
                              "/BitsPerComponent 8 /ColorSpace /DeviceGray",
                              std::string(1000000, 'i'));
    std::string entries;
    for (int i = 0; i < 5000; i++)
        entries += "/I" + std::to_string(i) + " " + ref(image) + " ";
    int content = pdf.addStream("", "n");
    pdf.addPage("/MediaBox [0 0 9 9] /Contents " + ref(content) + " /Resources << /XObject << " +
                entries + ">> >>");
    ScratchDirectory directory;
    directory.write("doc.pdf", pdf.build());
    ProgramResult result = runIn(directory, {"doc", "-OUTSPEC=/dev/null"});
    EXPECT_EQ(result.status, 1) << "5 GB of 1 MB";
    EXPECT_EQ(linesOf(result.err).back(), "ZOLAK-E-BADFWRITE: Output is too large.");
}

TEST(Driver, AStreamIsDecodedInto64MiBAnd200TimesTheInputAtMost)
{
    auto convert = [](size_t decoded) {
        PdfBuilder pdf;
        int content =
            pdf.addStream("/Filter /FlateDecode", encodeFlate(std::string(decoded, 'n'), 9));
        pdf.addPage("/MediaBox [0 0 9 9] /Contents " + ref(content));
        std::string bytes = pdf.build();
        EXPECT_LT(bytes.size(), decoded / 900);
        return convertPdf(bytes, {"-DECODE"});
    };
    EXPECT_EQ(convert(64 << 20).status, 0);
    Conversion c = convert(100 << 20);
    EXPECT_EQ(c.status, 1);
    EXPECT_EQ(c.messages.back(), "ZOLAK-E-FILTER: Stream data is too large.");
    EXPECT_FALSE(c.hasOutput);
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
    EXPECT_EQ(readFile(directory / "noname.ps"), "an older result")
        << "a failed run changes nothing";
    EXPECT_EQ(directory.names(), (Texts{"doc.pdf", "noname.ps"}));
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
    for (const char *file : {"", "%", "%PDF", "%PDF-1.2"}) {
        Conversion c = convertPdf(file);
        EXPECT_EQ(c.status, 1) << file;
        EXPECT_EQ(c.messages, Texts{"ZOLAK-E-PDFVRSN: This is not a PDF file"})
            << "a file without a line end";
        EXPECT_FALSE(c.hasOutput);
    }
}

TEST(Driver, TheLargestVersionThatFits)
{
    EXPECT_EQ(messagesOf("%PDF-2147483639")[0], "ZOLAK-I-INTRO: This is a PDF v2147483639.0 file.");
    EXPECT_EQ(messagesOf("%PDF-2147483640"), Texts{"ZOLAK-E-PDFVRSN: This is not a PDF file"});
    EXPECT_EQ(messagesOf("%PDF-21474836.39")[0], "ZOLAK-I-INTRO: This is a PDF v21474836.4 file.");
    EXPECT_EQ(messagesOf("%PDF-21474836.4")[0], "ZOLAK-E-PDFVRSN: This is not a PDF file")
        << "the hundredths do not fit";
    EXPECT_EQ(messagesOf("%PDF-\t1.2"), Texts{"ZOLAK-E-PDFVRSN: This is not a PDF file"});
    EXPECT_EQ(messagesOf("%PDF- 1.2")[0], "ZOLAK-I-INTRO: This is a PDF v0.0 file.")
        << "a blank ends the number before it begins";
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
    EXPECT_EQ(faults(allowed).size(), 3U) << "one for each reading of the trailer";
    pdf.trailerEntries = "";
    EXPECT_EQ(allowed.pages, convertPdf(pdf.build()).pages) << "as if it were not encrypted";
    EXPECT_NE(allowed.pages.find("EndPageDescription"), std::string::npos);
}

TEST(Driver, AConversionLeavesNoTemporaryFiles)
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

TEST(Driver, ReportsThatRepeatAreCountedAtTheEndOfTheRun)
{
    for (int odd : {100, 101, 150}) {
        PdfBuilder pdf;
        std::string objects, object = ref(pdf.addStream("/Subtype /PS", "x"));
        for (int i = 0; i < odd; i++)
            objects += "/X" + std::to_string(i) + " " + object + " ";
        pdf.addPage("/MediaBox [0 0 9 9] /Resources << /XObject << " + objects + ">> >>");
        Conversion c = convertPdf(pdf.build());
        EXPECT_EQ(c.status, 0);
        Texts expected(100, "ZOLAK-W-badobj: Unknown XObject type");
        if (odd > 100)
            expected.push_back("ZOLAK-I-REPEATED: " + std::to_string(odd - 100) +
                               " more reports of ZOLAK-W-badobj were not shown");
        EXPECT_EQ(faults(c), expected);
    }
}

TEST(Driver, NamesOfTheDocumentCannotDriveTheTerminal)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 9 9] /Resources << /Font << /F << /Subtype /TrueType /BaseFont "
                "/A#1B#5B2J#0A#25s#25n#9B >> >> >>");
    EXPECT_EQ(faults(convertPdf(pdf.build())),
              Texts{"ZOLAK-I-TTYPE: Defining TrueType Font /A\\x1B[2J\\x0A%s%n\\x9B"});
}

TEST(Driver, AVersionHeaderThatCannotBeReadIsToldBeforeAnyOtherFault)
{
    /* Three faults: the header, the missing table, the missing trailer file. */
    ScratchDirectory directory;
    directory.write("doc.pdf", "%!PS\nno table\n");
    ProgramResult result = runIn(directory, {"doc", "-TRAILER=./absent"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "ZOLAK-E-PDFVRSN: This is not a PDF file\n");
    directory.write("doc.pdf", "%PDF-1.2\nno table\n");
    result = runIn(directory, {"doc", "-TRAILER=./absent"});
    EXPECT_EQ(linesOf(result.err), (Texts{"ZOLAK-I-INTRO: This is a PDF v1.2 file.",
                                          "ZOLAK-E-NOXREF: Couldn't create cross-reference table.",
                                          "doc.pdf: pdf_print can convert this document"}));
    EXPECT_EQ(directory.names(), Texts{"doc.pdf"});
}

TEST(Driver, TellsWhoCanConvertADocumentOfANewerKind)
{
    const std::string advice = "doc.pdf: pdf_print can convert this document";
    PdfBuilder pattern;
    pattern.addPage("/MediaBox [0 0 9 9] /Resources << /Pattern << >> >>");
    EXPECT_EQ(convertPdf(pattern.build()).advice, advice);
    PdfBuilder image;
    image.addPage("/MediaBox [0 0 9 9] /Resources << /XObject << /I " +
                  ref(image.addStream("/Subtype /Image /Filter /JPXDecode", "x")) + " >> >>");
    EXPECT_EQ(convertPdf(image.build()).advice, advice);
    PdfBuilder encrypted;
    encrypted.trailerEntries = "/Encrypt << >>";
    encrypted.addPage("/MediaBox [0 0 9 9]");
    EXPECT_EQ(convertPdf(encrypted.build()).advice, advice);
    EXPECT_EQ(convertPdf("%PDF-1.5\n1 0 obj\n<< >>\nendobj\nstartxref\n9\n%%EOF\n").advice, advice);
}

TEST(Driver, GivesNoAdviceWhereItWouldNotHelp)
{
    EXPECT_EQ(convertPdf("a letter").advice, "");
    EXPECT_EQ(convertPdf(onePagePdf("0 0 9 9 re f")).advice, "");
    ScratchDirectory directory;
    EXPECT_EQ(linesOf(runIn(directory, {"none"}).err).back(),
              "ZOLAK-E-BADFOPEN: Error occurred while opening the PDF file 'none' for reading.");
}

namespace {

/* Converts in this process, under a controller that notes the keys of reports and sends "STOP"
 * when so many have come. */
class StoppedRun : public testing::Test {
  protected:
    StoppedRun()
    {
        ZelkovClass *control = control_baseclass_init();
        cls = zelkov_generic_subclass(control, control->instanceSize, ZELKOV_METHOD_COUNT);
        overrideMethod<SLOT_REPORT>(cls, note);
        controller = zelkov_create_inst(cls);
        inst = reinterpret_cast<ConverterInstance *>(zelkov_create_inst(zolak_baseclass_init()));
        inst->run.controller = controller;
        control_adopt(controller, &inst->header);
        keys.clear();
    }
    ~StoppedRun() override
    {
        zelkov_free_inst(&inst->header);
        zelkov_free_inst(controller);
        delete cls;
    }

    /* Converts a document of three pages; `stopAfter` reports come before the "STOP". */
    Texts run(size_t stopAfter)
    {
        PdfBuilder pdf;
        for (int i = 0; i < 3; i++)
            pdf.addPage("/MediaBox [0 0 9 9]");
        std::string empty = directory.write("empty.ps", "");
        directory.write("out.ps", "an older result");
        setText(inst->options.FILE, directory.write("doc.pdf", pdf.build()));
        setText(inst->options.OUTSPEC, directory / "out.ps");
        setText(inst->options.PROLOG, empty);
        setText(inst->options.TRAILER, empty);
        stopAt = stopAfter;
        if (stopAfter == 0)
            stop();
        runConversion(inst);
        return keys;
    }

    static void setText(char *attribute, const std::string &text)
    {
        snprintf(attribute, TEXT_BYTES, "%s", text.c_str());
    }

    static void stop() { instanceMethod<SLOT_LISTEN> (&inst->header)(&inst->header, MESSAGE_STOP); }

    static void note(ZelkovInstance *, const char *, const char *, int, int32_t, const char *key,
                     const char *, va_list)
    {
        keys.push_back(key);
        if (keys.size() == stopAt)
            stop();
    }

    static inline Texts keys;
    static inline size_t stopAt;
    static inline ConverterInstance *inst;

    ScratchDirectory directory;
    ZelkovClass *cls;
    ZelkovController *controller;
};

} // namespace

TEST_F(StoppedRun, AStopAtAnyReportEndsTheRunAndLeavesTheOlderOutput)
{
    const Texts all = {"INTRO", "PAGE", "PAGE", "PAGE"};
    EXPECT_EQ(run(SIZE_MAX), all);
    EXPECT_EQ(inst->run.errorFlag, 0);
    EXPECT_TRUE(fileExists(directory / "out.ps"));
    for (size_t reports = 0; reports <= all.size(); reports++) {
        inst->run.errorFlag = 0;
        keys.clear();
        /* The header is read even when the stop came before. */
        size_t expected = std::max<size_t>(reports, 1);
        EXPECT_EQ(run(reports), Texts(all.begin(), all.begin() + (ptrdiff_t)expected)) << reports;
        EXPECT_EQ(inst->run.errorFlag, 1);
        EXPECT_EQ(inst->run.input, nullptr) << "both files are closed";
        EXPECT_EQ(inst->run.output, nullptr);
        EXPECT_EQ(directory.names(), (Texts{"doc.pdf", "empty.ps", "out.ps"})) << reports;
        EXPECT_EQ(readFile(directory / "out.ps"), "an older result");
    }
}
