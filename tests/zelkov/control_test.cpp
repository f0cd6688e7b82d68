/*
 * control_test.cpp - the controller: what it prints, whom it stops, what it does not repeat
 */
#include "zelkov/control.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <utility>

#include "zelkov/attribute.h"
#include "zelkov/host.h"

namespace {

int stops;

/* A controller with one adopted instance that counts its stops. */
struct Controller : testing::Test {
    ZelkovController *controller = zelkov_create_inst(control_baseclass_init());
    ZelkovClass *cls = zelkov_generic_subclass(zelkov_rootclass, sizeof(ZelkovInstance), 64);
    ZelkovInstance *instance = nullptr;

    void SetUp() override
    {
        stops = 0;
        overrideMethod<SLOT_LISTEN>(cls, [](ZelkovInstance *, uint32_t code) -> int32_t {
            stops += code == 0x53544F50;
            return 0;
        });
        instance = zelkov_create_inst(cls);
        control_adopt(controller, instance);
    }
    void TearDown() override
    {
        zelkov_free_inst(instance);
        zelkov_free_inst(controller);
        delete cls;
    }
    template <typename Argument>
    std::string report(int32_t severity, const char *key, const char *format, Argument argument)
    {
        testing::internal::CaptureStderr();
        control_report(controller, "ZOLAK", "some/source", 12, severity, key, format, argument);
        return testing::internal::GetCapturedStderr();
    }
    std::string report(int32_t severity, const char *key, const char *text)
    {
        return report(severity, key, "%s", text);
    }
    std::string endRun()
    {
        testing::internal::CaptureStderr();
        control_endRun(controller);
        return testing::internal::GetCapturedStderr();
    }
};

} // namespace

TEST_F(Controller, AReportIsOneLineOnStandardError)
{
    EXPECT_EQ(instance->owner, controller);
    EXPECT_EQ(report(1, "INTRO", "v%3.1f", 1.2), "ZOLAK-I-INTRO: v1.2\n");
    EXPECT_EQ(report(2, "PDFVRSN", "text"), "ZOLAK-W-PDFVRSN: text\n");
    EXPECT_EQ(report(3, "TTFONT", "text"), "ZOLAK-F-TTFONT: text\n");
    EXPECT_EQ(report(4, "out of memory", "Out of memory"),
              "ZOLAK-E-out of memory: Out of memory\n");
}

TEST_F(Controller, SourceAndLineAreAddedForTracing)
{
    host().trace = true;
    EXPECT_EQ(report(1, "K", "text"), "ZOLAK-I-K: text [some/source:12]\n");
    host().trace = false;
}

TEST_F(Controller, OnlySeverity4StopsTheAdoptedInstances)
{
    for (int32_t severity : {1, 2, 3})
        report(severity, "K", "text");
    EXPECT_EQ(stops, 0);
    EXPECT_FALSE(control_stopped(controller));
    report(4, "K", "text");
    EXPECT_EQ(stops, 1);
    EXPECT_TRUE(control_stopped(controller));
}

TEST_F(Controller, AFreedInstanceIsNotToldToStop)
{
    ZelkovInstance *other = zelkov_create_inst(cls);
    control_adopt(controller, other);
    zelkov_free_inst(other);
    report(4, "K", "text");
    EXPECT_EQ(stops, 1) << "the one that lives";
}

TEST_F(Controller, AStopEndsWithTheRunAndWithTheInstance)
{
    report(4, "K", "text");
    EXPECT_EQ(endRun(), "");
    EXPECT_FALSE(control_stopped(controller));
    EXPECT_EQ(report(1, "K", "text"), "ZOLAK-I-K: text\n");

    report(4, "K", "text");
    zelkov_free_inst(std::exchange(instance, nullptr));
    EXPECT_FALSE(control_stopped(controller));
    EXPECT_EQ(report(1, "K", "text"), "ZOLAK-I-K: text\n");
}

TEST_F(Controller, AnInstanceMayOutliveItsController)
{
    zelkov_free_inst(std::exchange(controller, nullptr));
    EXPECT_EQ(instance->owner, nullptr);
}

TEST_F(Controller, AfterAStopOnlySeverity4IsPrinted)
{
    report(4, "FIRST", "text");
    EXPECT_EQ(report(1, "K", "text"), "");
    EXPECT_EQ(report(2, "K", "text"), "");
    EXPECT_EQ(report(3, "K", "text"), "");
    EXPECT_EQ(report(4, "SECOND", "text"), "ZOLAK-E-SECOND: text\n");
}

TEST_F(Controller, WhatADocumentBringsCannotDriveTheTerminal)
{
    EXPECT_EQ(report(1, "K", "%s", "a\x1B[2Jb\nc\x7F"), "ZOLAK-I-K: a\\x1B[2Jb\\x0Ac\\x7F\n");
    EXPECT_EQ(report(1, "K", "%s",
                     "\x9B"
                     "1m"),
              "ZOLAK-I-K: \\x9B1m\n")
        << "an 8-bit control";
    EXPECT_EQ(report(1, "K", "%s",
                     "\xC2\x9B"
                     "1m"),
              "ZOLAK-I-K: \\xC2\\x9B1m\n")
        << "the same in UTF-8";
    EXPECT_EQ(report(1, "K", "%s", "\xE0\x82\x9B|\xF0\x80\x82\x9B|\xE0\xA0\x80"),
              "ZOLAK-I-K: \\xE0\\x82\\x9B|\\xF0\\x80\\x82\\x9B|\xE0\xA0\x80\n")
        << "and in more bytes than it takes";
    EXPECT_EQ(report(1, "K", "%s", "\xC3\xA4\xE2\x82\xAC"), "ZOLAK-I-K: \xC3\xA4\xE2\x82\xAC\n")
        << "other UTF-8 stays readable";
    EXPECT_EQ(report(1, "K", "%s", "100%d%n"), "ZOLAK-I-K: 100%d%n\n");
}

TEST_F(Controller, AMessageIsAsLongAsItsArguments)
{
    std::string name(100000, 'n');
    EXPECT_EQ(report(1, "K", "%s", name.c_str()), "ZOLAK-I-K: " + name + "\n");
}

TEST_F(Controller, RepeatedFaultsOfOnePlaceAreShown100Times)
{
    instanceMethod<SLOT_SET_ATTRIBUTE>(controller)(controller, "PROMPT", "ZOLAK", TYPE_TEXT);
    for (int i = 0; i < 100; i++)
        EXPECT_NE(report(3, "TTFONT", "fault %d", i), "");
    for (int i = 0; i < 4711; i++)
        EXPECT_EQ(report(3, "TTFONT", "fault %d", i), "");
    EXPECT_NE(report(3, "OTHER", "text"), "") << "another key counts for itself";
    for (int i = 0; i < 150; i++)
        EXPECT_NE(report(1, "PAGE", "Processing page %d", i), "") << "information is not limited";
    EXPECT_EQ(endRun(), "ZOLAK-I-REPEATED: 4711 more reports of ZOLAK-F-TTFONT were not shown\n");
    EXPECT_EQ(endRun(), "");
}

TEST_F(Controller, ReportsLeaveErrnoAlone)
{
    errno = ENOSPC;
    report(4, "K", "text");
    EXPECT_EQ(errno, ENOSPC);
}

TEST_F(Controller, HasThePromptAttribute)
{
    auto set = instanceMethod<SLOT_SET_ATTRIBUTE>(controller);
    EXPECT_EQ(set(controller, "PROMPT", "ZOLAK", TYPE_TEXT), CLASSOPT_STORED);
    EXPECT_EQ(set(controller, "COLOUR", "red", TYPE_TEXT), CLASSOPT_UNKNOWN);
    char name[32] = "";
    EXPECT_EQ(instanceMethod<SLOT_CLASS_NAME>(controller)(controller, name), 1);
    EXPECT_STREQ(name, "Control");
}

TEST_F(Controller, EveryAdoptedInstanceIsStopped)
{
    ZelkovInstance *second = zelkov_create_inst(cls), *stranger = zelkov_create_inst(cls);
    control_adopt(controller, second);
    report(4, "K", "text");
    EXPECT_EQ(stops, 2) << "and not the one that was never adopted";
    report(4, "K", "text");
    EXPECT_EQ(stops, 4) << "a second error stops them again";
    zelkov_free_inst(second);
    zelkov_free_inst(stranger);
}

TEST_F(Controller, RepeatedReportsAreToldApartByModuleSourceLineAndKey)
{
    auto say = [this](const char *module, const char *source, int line, const char *key) {
        testing::internal::CaptureStderr();
        control_report(controller, module, source, line, 2, key, "%s", "text");
        return testing::internal::GetCapturedStderr();
    };
    for (int i = 0; i < 101; i++)
        say("ZOLAK", "source", 1, "K");
    EXPECT_EQ(say("ZOLAK", "source", 1, "K"), "");
    EXPECT_EQ(say("DECODE", "source", 1, "K"), "DECODE-W-K: text\n");
    EXPECT_EQ(say("ZOLAK", "other", 1, "K"), "ZOLAK-W-K: text\n");
    EXPECT_EQ(say("ZOLAK", "source", 2, "K"), "ZOLAK-W-K: text\n");
    EXPECT_EQ(say("ZOLAK", "source", 1, "k"), "ZOLAK-W-k: text\n");
}

TEST_F(Controller, ErrorsAreNeverLeftOut)
{
    for (int i = 0; i < 150; i++)
        EXPECT_EQ(report(4, "K", "text"), "ZOLAK-E-K: text\n") << i;
}
