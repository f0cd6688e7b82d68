/*
 * runs_test.cpp - many conversions in one process: one after the other, in threads, each as if it
 * were alone
 *
 * What a run must give is what the program gives for the same document, in a process of its own.
 */
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/sample_document.h"
#include "tests/support/scratch_directory.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/frame/driver.h"
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"
#include "tools/zolak1_3/pdf_to_ps/reader/xref.h"
#include "tools/zolak1_3/pdf_to_ps/writer/pagetree.h"
#include "tools/zolak1_3/pdf_to_ps/writer/redirect.h"
#include "zelkov/host.h"

namespace {

/* What became of a run. */
struct Outcome {
    int status;
    std::string output; /* "(none)" when there is no file */
    std::vector<std::string> messages;

    bool operator==(const Outcome &) const = default;
};

void PrintTo(const Outcome &outcome, std::ostream *stream)
{
    *stream << "status " << outcome.status << ", " << outcome.output.size() << " bytes";
    for (const std::string &message : outcome.messages)
        *stream << "\n  " << message;
}

struct Document {
    std::string bytes;
    Outcome alone; /* from the program */
};

Outcome convertAlone(const std::string &bytes)
{
    Conversion c = convertPdf(bytes);
    return {c.status, c.hasOutput ? c.output : "(none)", c.messages};
}

/* Documents that fail in several ways among some that use all that a run keeps. */
std::vector<Document> documents()
{
    const std::string sample = sampleDocument();
    PdfBuilder encrypted;
    encrypted.addPage("/MediaBox [0 0 9 9]");
    encrypted.trailerEntries = "/Encrypt << >>";
    std::vector<Document> all;
    for (const std::string &bytes :
         {sample, sample.substr(0, sample.size() / 2), sample, encrypted.build(), std::string("no"),
          onePagePdf("0 0 m 1 1 l S\n"), onePagePdf("", "/Resources << /Pattern << >> >>"),
          onePagePdf("", "/Resources << /Font << /F1 << /Subtype /Type0 >> >> >>"), sample})
        all.push_back({bytes, convertAlone(bytes)});
    return all;
}

/* A process's own surroundings for one thread: a directory, and lines that are kept. */
class Surroundings {
  public:
    Surroundings() : scope(here)
    {
        here.temporaryParent = directory.path;
        here.listener = keep;
        here.listenerContext = &messages;
        directory.write("prolog.ps", "P\n");
        directory.write("trailer.ps", "T\n");
    }

    /* Converts under the controller, whose run it is alone for that time. */
    Outcome convert(ZelkovController *controller, const std::string &bytes)
    {
        messages.clear();
        remove((directory / "out.ps").c_str());
        directory.write("doc.pdf", bytes);
        auto *inst =
            reinterpret_cast<ConverterInstance *>(zelkov_create_inst(zolak_baseclass_init()));
        inst->run.controller = controller;
        control_adopt(controller, &inst->header);
        setText(inst->options.FILE, directory / "doc.pdf");
        setText(inst->options.OUTSPEC, directory / "out.ps");
        setText(inst->options.PROLOG, directory / "prolog.ps");
        setText(inst->options.TRAILER, directory / "trailer.ps");
        runConversion(inst);
        control_endRun(controller);
        int status = inst->run.errorFlag;
        zelkov_free_inst(&inst->header);
        bool written = fileExists(directory / "out.ps");
        return {status, written ? readFile(directory / "out.ps") : "(none)", messages};
    }

  private:
    static void setText(char *attribute, const std::string &text)
    {
        snprintf(attribute, TEXT_BYTES, "%s", text.c_str());
    }

    static void keep(void *context, const std::string &line)
    {
        static_cast<std::vector<std::string> *>(context)->push_back(line);
    }

    ScratchDirectory directory;
    std::vector<std::string> messages;
    Host here;
    HostScope scope;
};

/* Pages as the converter writes them, each into a buffer of its own. */
struct PagesInBuffers : PageSink {
    std::vector<std::pair<std::string, uint64_t>> pages; /* the text, and how much was counted */

    bool beginPage(ConversionRun *run, const PageAttributes &attributes) override
    {
        auto append = [](void *context, const uint8_t *bytes, size_t count) {
            static_cast<std::string *>(context)->append((const char *)bytes, count);
            return 0;
        };
        std::string text;
        ZFile *buffer = fopensink({append, &text});
        {
            SinkRedirect written(run, pageWriter());
            OutputRedirect redirect(run, buffer);
            describePage(run, attributes);
        }
        uint64_t written = zfile_written(buffer);
        EXPECT_EQ(fclosx(buffer), 0);
        pages.emplace_back(text, written);
        fputstr(run->output, "one page");
        return false;
    }
    void resources(ConversionRun *, const PdfDict *) override {}
    void contents(ConversionRun *, const PdfStream *) override {}
    void endPage(ConversionRun *, const PageAttributes &, bool) override {}
};

} // namespace

TEST(Runs, OneAfterTheOtherUnderOneControllerEachAsIfAlone)
{
    Surroundings surroundings;
    ZelkovController *controller = zelkov_create_inst(control_baseclass_init());
    const std::vector<Document> all = documents();
    EXPECT_EQ(all.front().alone.status, 0);
    for (size_t i = 0; i < all.size(); i++)
        EXPECT_EQ(surroundings.convert(controller, all[i].bytes), all[i].alone) << i;
    zelkov_free_inst(controller);
}

TEST(Runs, InEightThreadsAtOnceEachAsIfAlone)
{
    const std::vector<Document> all = documents();
    std::vector<std::thread> threads;
    std::vector<std::vector<Outcome>> outcomes(8);
    for (size_t t = 0; t < outcomes.size(); t++)
        threads.emplace_back([&all, &mine = outcomes[t], t] {
            Surroundings surroundings;
            ZelkovController *controller = zelkov_create_inst(control_baseclass_init());
            for (size_t i = 0; i < 3 * all.size(); i++)
                mine.push_back(surroundings.convert(controller, all[(i + t) % all.size()].bytes));
            zelkov_free_inst(controller);
        });
    for (std::thread &thread : threads)
        thread.join();
    for (size_t t = 0; t < outcomes.size(); t++)
        for (size_t i = 0; i < outcomes[t].size(); i++)
            EXPECT_EQ(outcomes[t][i], all[(i + t) % all.size()].alone) << t << " " << i;
}

TEST(Runs, APageGoesIntoABufferAndIsCounted)
{
    TestInstance test(sampleDocument());
    test.openIndex();
    snprintf(test.run->baseName, sizeof test.run->baseName, "doc");
    PagesInBuffers sink;
    test.run->sink = &sink;
    checkCatalog(test.run);
    PageAttributes attributes = {};
    int64_t counter = 0;
    walkPageTree(test.run, attributes, &counter);

    ASSERT_EQ(sink.pages.size(), 2U);
    EXPECT_EQ(test.written(), "one page\none page\n");
    for (const auto &[text, written] : sink.pages) {
        EXPECT_TRUE(text.starts_with("BeginPageDescription\n"));
        EXPECT_TRUE(text.ends_with("EndPageDescription\n"));
        EXPECT_EQ(text.size(), written);
    }
    EXPECT_EQ(sink.pages[0].first + sink.pages[1].first, convertPdf(sampleDocument()).pages);
}
