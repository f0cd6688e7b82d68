/*
 * hostile_test.cpp - one small document, cut and changed at every byte
 *
 * Whatever the bytes, a run ends, with status 0 or 1 and a message; one that does not end is ended
 * by the suite's time limit and fails.  Under the sanitizers the same test finds what a plain run
 * survives.  The conversion is called in the test's own process: there are some thousand damaged
 * files, dealt out to parts that can run side by side.
 */
#include <algorithm>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/support/conversion.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/sample_document.h"
#include "tests/support/test_instance.h"
#include "tools/zolak1_3/pdf_to_ps/frame/driver.h"
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"

namespace {

/* Converts the bytes in this process; the reports, or a fault of the test when there are none. */
std::vector<RecordedReport> convertHere(const ScratchDirectory &directory, const std::string &bytes,
                                        int32_t decode)
{
    directory.write("doc.pdf", bytes);
    unlink((directory / "out.ps").c_str());
    RecordingController controller;
    auto *inst = reinterpret_cast<ConverterInstance *>(zelkov_create_inst(zolak_baseclass_init()));
    inst->run.controller = controller;
    control_adopt(controller, &inst->header);
    snprintf(inst->options.FILE, sizeof inst->options.FILE, "%s", (directory / "doc.pdf").c_str());
    snprintf(inst->options.OUTSPEC, sizeof inst->options.OUTSPEC, "%s",
             (directory / "out.ps").c_str());
    snprintf(inst->options.PROLOG, sizeof inst->options.PROLOG, "%s",
             (directory / "empty.ps").c_str());
    snprintf(inst->options.TRAILER, sizeof inst->options.TRAILER, "%s",
             (directory / "empty.ps").c_str());
    inst->options.DECODE = decode;
    runConversion(inst);
    EXPECT_EQ(fileExists(directory / "out.ps"), inst->run.errorFlag == 0);
    EXPECT_EQ(inst->run.input, nullptr);
    zelkov_free_inst(&inst->header);
    return controller.take();
}

/* Silences what the controller prints for errors; thousands are expected. */
struct Hostile : testing::Test {
    ScratchDirectory directory;
    void SetUp() override
    {
        directory.write("empty.ps", "");
        testing::internal::CaptureStderr();
    }
    void TearDown() override { testing::internal::GetCapturedStderr(); }
};

/* Every PARTS-th place in the document belongs to one part. */
constexpr size_t PARTS = 8;

struct HostilePart : Hostile, testing::WithParamInterface<size_t> {
    const std::string bytes = sampleDocument();

    void forEachPlace(const std::function<void(size_t)> &work)
    {
        for (size_t at = GetParam(); at < bytes.size(); at += PARTS)
            work(at);
    }
};

} // namespace

TEST_F(Hostile, TheSampleItselfIsGood)
{
    for (int32_t decode : {0, 1}) {
        auto reports = convertHere(directory, sampleDocument(), decode);
        for (const RecordedReport &r : reports)
            EXPECT_LT(r.severity, 3) << r.text;
        EXPECT_EQ(std::count_if(reports.begin(), reports.end(),
                                [](const RecordedReport &r) { return r.key == "PAGE"; }),
                  2);
    }
}

INSTANTIATE_TEST_SUITE_P(Sample, HostilePart, testing::Range<size_t>(0, PARTS));

TEST_P(HostilePart, CutAtEveryByte)
{
    forEachPlace([this](size_t length) {
        EXPECT_FALSE(convertHere(directory, bytes.substr(0, length), length / PARTS % 2).empty())
            << length;
    });
}

TEST_P(HostilePart, ChangedAtEveryByte)
{
    /* Every bit pattern that matters to the lexer: all bits, one bit, a delimiter, a digit. */
    forEachPlace([this](size_t at) {
        for (char to : {(char)(bytes[at] ^ 0xFF), (char)(bytes[at] ^ 1), '<', '9'}) {
            std::string changed = bytes;
            changed[at] = to;
            EXPECT_FALSE(convertHere(directory, changed, to == '9').empty()) << at;
        }
    });
}

TEST_P(HostilePart, WithAByteLeftOutOrDoubledAnywhere)
{
    forEachPlace([this](size_t at) {
        std::string shorter = bytes, longer = bytes;
        shorter.erase(at, 1);
        longer.insert(at, 1, bytes[at]);
        EXPECT_FALSE(convertHere(directory, shorter, 0).empty()) << at;
        EXPECT_FALSE(convertHere(directory, longer, 0).empty()) << at;
    });
}

TEST(HostileProgram, EndsWithStatusZeroOrOneOnTheWorstCuts)
{
    const std::string bytes = sampleDocument();
    for (size_t length = 0; length < bytes.size(); length += 97) {
        ProgramOptions options;
        options.timeoutSeconds = 20;
        Conversion c = convertPdf(bytes.substr(0, length), {}, options);
        EXPECT_TRUE(c.status == 0 || c.status == 1) << length << " " << c.status;
        EXPECT_FALSE(c.messages.empty());
        EXPECT_EQ(c.hasOutput, c.status == 0);
    }
}
