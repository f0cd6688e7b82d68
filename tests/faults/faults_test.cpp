/*
 * faults_test.cpp - every read, write and allocation of a conversion fails once
 *
 * Whichever it is: status 1, a first message that names the cause, no file left behind, and the
 * older output untouched.  Or the fault did not matter, and the output is what it is without.
 */
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/support/conversion.h"

namespace {

constexpr char OLDER[] = "an older result";

struct Faults : testing::Test {
    ScratchDirectory directory;
    std::string whole; /* the output without a fault */

    void SetUp() override
    {
        directory.write("doc.pdf", readFile(EXAMPLE));
        ProgramResult result = convert({}, 0);
        ASSERT_EQ(result.status, 0) << result.err;
        whole = readFile(directory / "out.ps");
    }

    ProgramResult convert(const std::string &call, int at, bool rest = false)
    {
        directory.write("out.ps", OLDER);
        unlink((directory / "mark").c_str());
        ProgramOptions options;
        options.directory = directory.path;
        options.environment = {{"LD_PRELOAD", FAULT_INJECTOR},
                               {"FAULT_CALL", call},
                               {"FAULT_AT", std::to_string(at)},
                               {"FAULT_MARK", directory / "mark"},
                               {"KV_TMP", directory.path}};
        if (rest)
            options.environment["FAULT_REST"] = "1";
        options.timeoutSeconds = 60;
        return runProgram({programPath(), "doc.pdf", "-OUTSPEC=out.ps"}, options);
    }

    bool faultHappened() const { return fileExists(directory / "mark"); }

    /* What holds after any fault; `first` answers whether the first error tells the cause. */
    void expectOutcome(const ProgramResult &result, const std::string &what,
                       const std::function<bool(const std::string &)> &first)
    {
        std::vector<std::string> names = directory.names();
        EXPECT_EQ(names, (std::vector<std::string>{"doc.pdf", "mark", "out.ps"})) << what;
        if (result.status == 0) {
            EXPECT_TRUE(readFile(directory / "out.ps") == whole) << what;
            return;
        }
        EXPECT_EQ(result.status, 1) << what << "\n" << result.err;
        EXPECT_EQ(readFile(directory / "out.ps"), OLDER) << what;
        for (const std::string &line : linesOf(result.err))
            if (!line.starts_with("ZOLAK-I-") && !line.starts_with("ZOLAK-W-")) {
                EXPECT_TRUE(first(line)) << what << ": " << result.err;
                return;
            }
        ADD_FAILURE() << what << ": no message: " << result.err;
    }
};

bool tellsOfMemory(const std::string &line)
{
    return line.find("ut of memory") != std::string::npos ||
           line.find("Cannot allocate memory") != std::string::npos ||
           line.ends_with("Bye !"); /* what makes a controller or an instance has no other cause */
}

} // namespace

TEST_F(Faults, EveryReadThatFailsEndsTheRun)
{
    int at = 1;
    for (;; at++) {
        ProgramResult result = convert("read", at);
        if (!faultHappened())
            break;
        EXPECT_EQ(result.status, 1) << at;
        expectOutcome(result, "read " + std::to_string(at), [](const std::string &line) {
            return line.ends_with(": Input/output error");
        });
        EXPECT_NE(result.err.find("ZOLAK-E-BADFREAD: Error occurred while reading the file "),
                  std::string::npos)
            << result.err;
        EXPECT_LT(result.err.find("ZOLAK-E-BADFREAD"), result.err.find("ZOLAK-E-BADSPACE"));
    }
    EXPECT_GT(at, 10) << "the document, the prolog and the trailer are read in pieces";
    RecordProperty("reads", at - 1);
}

TEST_F(Faults, EveryWriteThatFailsEndsTheRun)
{
    int at = 1;
    for (;; at++) {
        ProgramResult result = convert("write", at);
        if (!faultHappened())
            break;
        EXPECT_EQ(result.status, 1) << at;
        expectOutcome(result, "write " + std::to_string(at), [](const std::string &line) {
            return line.ends_with(": No space left on device");
        });
    }
    EXPECT_GT(at, 2);
    RecordProperty("writes", at - 1);
}

TEST_F(Faults, EveryAllocationThatFailsIsSurvivedOrTold)
{
    int at = 1;
    for (;; at++) {
        ProgramResult result = convert("memory", at);
        if (!faultHappened())
            break;
        expectOutcome(result, "allocation " + std::to_string(at), tellsOfMemory);
    }
    EXPECT_GT(at, 100);
    RecordProperty("allocations", at - 1);
}

TEST_F(Faults, NoMemoryFromAnyPointOnEndsTheRun)
{
    /* The first is what the language's library sets aside for exceptions. */
    int at = 2;
    for (;; at += 7) {
        ProgramResult result = convert("memory", at, true);
        if (!faultHappened())
            break;
        expectOutcome(result, "all allocations from " + std::to_string(at), tellsOfMemory);
    }
    EXPECT_GT(at, 100);
}
