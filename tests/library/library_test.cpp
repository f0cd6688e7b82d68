/*
 * library_test.cpp - libpdf_to_ps through its public header, linked as a user links it
 */
#include <pdf_to_ps/pdf_to_ps.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/sample_document.h"
#include "tests/support/scratch_directory.h"

using pdf_to_ps::Input;
using pdf_to_ps::Message;
using pdf_to_ps::Options;
using pdf_to_ps::Output;
using pdf_to_ps::Result;
using pdf_to_ps::Severity;
using pdf_to_ps::Status;

namespace {

struct Heard {
    std::string module, key, text;
    Severity severity;
    int page;

    bool operator==(const Heard &) const = default;
};

void PrintTo(const Heard &heard, std::ostream *stream)
{
    *stream << heard.module << " " << (int)heard.severity << " " << heard.key << " page "
            << heard.page << ": " << heard.text;
}

Input memory(const std::string &bytes)
{
    Input input;
    input.bytes = bytes.data();
    input.byteCount = bytes.size();
    input.name = "doc.pdf";
    return input;
}

int appendTo(void *context, const void *bytes, size_t count)
{
    static_cast<std::string *>(context)->append(static_cast<const char *>(bytes), count);
    return 0;
}

Output sink(std::string *text)
{
    Output output;
    output.write = appendTo;
    output.context = text;
    return output;
}

Output file(const std::string &path)
{
    Output output;
    output.path = path.c_str();
    return output;
}

/* Options under which messages are kept. */
Options keeping(std::vector<Heard> *messages)
{
    Options options;
    options.message = [](void *context, const Message &m) {
        static_cast<std::vector<Heard> *>(context)->push_back(
            {m.module, m.key, m.text, m.severity, m.page});
    };
    options.messageContext = messages;
    return options;
}

/* What the program makes of the document, as doc.pdf. */
const std::string &expected()
{
    static const std::string output = convertForPrinting(sampleDocument()).output;
    return output;
}

} // namespace

TEST(Library, ConvertsFromMemoryAFileADescriptorAndAPipeAlike)
{
    const std::string sample = sampleDocument();
    ScratchDirectory directory;
    const std::string path = directory.write("doc.pdf", sample);

    std::string fromMemory, fromFile, fromDescriptor, fromPipe;
    Result result = pdf_to_ps::convert(memory(sample), sink(&fromMemory));
    EXPECT_EQ(result.status, Status::converted);
    EXPECT_EQ(result.pageCount, 2);
    EXPECT_EQ(result.byteCount, expected().size());
    EXPECT_TRUE(fromMemory == expected());

    Input byPath;
    byPath.path = path.c_str();
    EXPECT_EQ(pdf_to_ps::convert(byPath, sink(&fromFile)).status, Status::converted);
    EXPECT_TRUE(fromFile == expected());

    Input byDescriptor;
    byDescriptor.descriptor = open(path.c_str(), O_RDONLY);
    byDescriptor.name = "doc";
    lseek(byDescriptor.descriptor, 100, SEEK_SET);
    EXPECT_EQ(pdf_to_ps::convert(byDescriptor, sink(&fromDescriptor)).status, Status::converted);
    EXPECT_TRUE(fromDescriptor == expected());
    EXPECT_EQ(close(byDescriptor.descriptor), 0) << "it is still the caller's";

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::thread writer([&] {
        EXPECT_EQ(write(ends[1], sample.data(), sample.size()), (ssize_t)sample.size());
        close(ends[1]);
    });
    Input byPipe;
    byPipe.descriptor = ends[0];
    byPipe.name = "/some/where/doc.pdf";
    EXPECT_EQ(pdf_to_ps::convert(byPipe, sink(&fromPipe)).status, Status::converted);
    writer.join();
    close(ends[0]);
    EXPECT_TRUE(fromPipe == expected());
}

TEST(Library, ConvertsIntoAFileADescriptorAndASinkAlike)
{
    const std::string sample = sampleDocument();
    ScratchDirectory directory;
    /* Longer than any attribute of the program may be, and without an extension. */
    std::string folder = directory.path;
    for (int i = 0; i < 3; i++) {
        folder += "/" + std::string(120, 'x');
        ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
    }
    const std::string path = folder + "/output";
    EXPECT_EQ(pdf_to_ps::convert(memory(sample), file(path)).status, Status::converted);
    EXPECT_TRUE(readFile(path) == expected());

    Output byDescriptor;
    byDescriptor.descriptor = open((directory / "out").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_EQ(write(byDescriptor.descriptor, "before ", 7), 7);
    EXPECT_EQ(pdf_to_ps::convert(memory(sample), byDescriptor).status, Status::converted);
    EXPECT_EQ(close(byDescriptor.descriptor), 0) << "it is still the caller's";
    EXPECT_TRUE(readFile(directory / "out") == "before " + expected());
}

TEST(Library, TellsMessagesWithTheirPage)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 9 9]");
    pdf.addPage("/MediaBox [0 0 9 9] /Resources << /Pattern << >> >>");
    std::vector<Heard> messages;
    std::string output;
    Result result = pdf_to_ps::convert(memory(pdf.build()), sink(&output), keeping(&messages));
    EXPECT_EQ(result.status, Status::failed);
    EXPECT_EQ(result.byteCount, 0U);
    EXPECT_EQ(messages, (std::vector<Heard>{
                            {"ZOLAK", "INTRO", "This is a PDF v1.2 file.", Severity::info, 0},
                            {"ZOLAK", "PAGE", "Processing page 1", Severity::info, 1},
                            {"ZOLAK", "PAGE", "Processing page 2", Severity::info, 2},
                            {"ZOLAK", "BADXOBJ", "Patterns not supported", Severity::error, 2},
                        }));
}

TEST(Library, SaysWhatTheSystemSaysOfAFile)
{
    ScratchDirectory directory;
    const std::string absent = directory / "absent.pdf";
    Input input;
    input.path = absent.c_str();
    std::vector<Heard> messages;
    std::string output;
    EXPECT_EQ(pdf_to_ps::convert(input, sink(&output), keeping(&messages)).status, Status::failed);
    EXPECT_EQ(messages,
              (std::vector<Heard>{
                  {"SYSTEM", "FILE", absent + ": No such file or directory", Severity::info, 0},
                  {"ZOLAK", "BADFOPEN",
                   "Error occurred while opening the PDF file '" + absent + "' for reading.",
                   Severity::error, 0},
              }));
    EXPECT_EQ(output, "");
}

TEST(Library, AFailureLeavesAnOlderFileAndNoOther)
{
    ScratchDirectory directory;
    const std::string path = directory.write("out.ps", "older");
    EXPECT_EQ(pdf_to_ps::convert(memory("%PDF-1.2\n"), file(path)).status, Status::failed);
    EXPECT_EQ(readFile(path), "older");
    EXPECT_EQ(directory.names(), std::vector<std::string>{"out.ps"});
}

TEST(Library, ASinkThatFailsEndsTheConversion)
{
    Output output;
    output.write = [](void *context, const void *, size_t) {
        ++*static_cast<int *>(context);
        return ENOSPC;
    };
    int calls = 0;
    output.context = &calls;
    std::vector<Heard> messages;
    EXPECT_EQ(pdf_to_ps::convert(memory(sampleDocument()), output, keeping(&messages)).status,
              Status::failed);
    EXPECT_EQ(calls, 1);
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back().key, "BADFWRITE");
}

TEST(Library, OptionsChooseAPageAPrologAndATrailer)
{
    ScratchDirectory directory;
    const std::string prolog = directory.write("p", "P\n"), trailer = directory.write("t", "T\n");
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 1 1]");
    pdf.addPage("/MediaBox [0 0 2 2]");
    Options options;
    options.page = 2;
    options.prologPath = prolog.c_str();
    options.trailerPath = trailer.c_str();
    std::string output;
    Result result = pdf_to_ps::convert(memory(pdf.build()), sink(&output), options);
    EXPECT_EQ(result.status, Status::converted);
    EXPECT_EQ(result.pageCount, 1);
    EXPECT_EQ(output, "P\n/TmpFont (doctmpfont) def\nBeginPageDescription\n"
                      "<< /PageSize [ 2 2 ] >> setpagedevice\n0 0 translate\n0 rotate\n"
                      "EndPageDescription\nT\n");
}

TEST(Library, EncryptedDocumentsAreRefusedUnlessAccepted)
{
    PdfBuilder pdf;
    pdf.addPage("/MediaBox [0 0 9 9]");
    pdf.trailerEntries = "/Encrypt << >>";
    const std::string bytes = pdf.build();
    std::string output;
    EXPECT_EQ(pdf_to_ps::convert(memory(bytes), sink(&output)).status, Status::failed);
    Options options;
    options.acceptEncrypted = true;
    EXPECT_EQ(pdf_to_ps::convert(memory(bytes), sink(&output), options).status, Status::converted);
}

TEST(Library, ACallbackCancels)
{
    struct Page2 {
        std::atomic<bool> cancel = false;
        std::vector<std::string> keys;
    } state;
    Options options;
    options.cancel = &state.cancel;
    options.messageContext = &state;
    options.message = [](void *context, const Message &message) {
        Page2 *mine = static_cast<Page2 *>(context);
        mine->keys.push_back(message.key);
        mine->cancel = message.page == 2;
    };
    PdfBuilder pdf;
    for (int i = 0; i < 5; i++)
        pdf.addPage("/MediaBox [0 0 9 9]");
    ScratchDirectory directory;
    Result result = pdf_to_ps::convert(memory(pdf.build()), file(directory / "out.ps"), options);
    EXPECT_EQ(result.status, Status::cancelled);
    EXPECT_EQ(state.keys, (std::vector<std::string>{"INTRO", "PAGE", "PAGE"}));
    EXPECT_EQ(directory.names(), std::vector<std::string>{});
}

/* The sink waits until the other thread has cancelled: then nothing but the flag can end the run
 * before all pages are written. */
TEST(Library, AnotherThreadCancels)
{
    PdfBuilder pdf;
    int content = pdf.addStream("", std::string(1 << 20, ' '));
    for (int i = 0; i < 200; i++)
        pdf.addPage("/MediaBox [0 0 9 9] /Contents " + ref(content));
    struct Shared {
        std::atomic<bool> begun = false, cancel = false;
        size_t bytes = 0;
    } shared;
    Options options;
    options.cancel = &shared.cancel;
    Output output;
    output.context = &shared;
    output.write = [](void *context, const void *, size_t count) {
        Shared *mine = static_cast<Shared *>(context);
        mine->bytes += count;
        mine->begun = true;
        while (!mine->cancel)
            std::this_thread::yield();
        return 0;
    };
    std::thread other([&] {
        while (!shared.begun)
            std::this_thread::yield();
        shared.cancel = true;
    });
    const std::string bytes = pdf.build();
    EXPECT_EQ(pdf_to_ps::convert(memory(bytes), output, options).status, Status::cancelled);
    other.join();
    EXPECT_LT(shared.bytes, (size_t)4 << 20);
}

TEST(Library, MisuseIsToldAndNothingIsDone)
{
    std::string output;
    EXPECT_EQ(pdf_to_ps::convert({}, sink(&output)).status, Status::misused);
    EXPECT_EQ(pdf_to_ps::convert(memory("x"), {}).status, Status::misused);
    Options options;
    options.page = -1;
    EXPECT_EQ(pdf_to_ps::convert(memory("x"), sink(&output), options).status, Status::misused);
    EXPECT_EQ(output, "");
}

TEST(Library, LeavesTheProcessAsItIs)
{
    struct sigaction before[32], after[32];
    for (int s = 1; s < 32; s++)
        sigaction(s, nullptr, &before[s]);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    errno = 77;
    std::string output;
    pdf_to_ps::convert(memory("no document"), sink(&output));
    pdf_to_ps::convert(memory(sampleDocument()), sink(&output));
    EXPECT_EQ(errno, 77);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    for (int s = 1; s < 32; s++) {
        sigaction(s, nullptr, &after[s]);
        EXPECT_EQ(before[s].sa_handler, after[s].sa_handler) << s;
    }
}

TEST(Library, ThreadsDoNotKnowOfEachOther)
{
    const std::string good = sampleDocument(), bad = good.substr(0, good.size() / 2);
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int t = 0; t < 8; t++)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 20; i++) {
                std::string output;
                bool isGood = (i + t) % 3 != 0;
                Result r = pdf_to_ps::convert(memory(isGood ? good : bad), sink(&output));
                right += isGood ? r.status == Status::converted && output == expected()
                                : r.status == Status::failed;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 8 * 20);
}

TEST(Library, KnowsItsVersion)
{
    EXPECT_STREQ(pdf_to_ps::version(), "1.3");
}
