/*
 * zolak_class_test.cpp - the converter as a class: attributes, defaults, messages that it listens
 * to
 */
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <map>

#include "tests/support/test_instance.h"

namespace {

struct ZolakClass : testing::Test {
    TestInstance test{"x"};
    ZelkovInstance *self = &test.inst->header;
};

} // namespace

TEST_F(ZolakClass, IsBuiltOnceWithNineMethodsOfItsOwn)
{
    ZelkovClass *cls = zolak_baseclass_init();
    EXPECT_EQ(cls, zolak_baseclass);
    EXPECT_EQ(zolak_baseclass_init(), cls);
    EXPECT_EQ(cls->instanceSize, sizeof(ConverterInstance));
    int overridden = 0;
    for (int slot = 0; slot < ZELKOV_METHOD_COUNT; slot++)
        overridden += cls->methods[slot] != zelkov_rootclass->methods[slot];
    EXPECT_EQ(overridden, 9);
}

TEST_F(ZolakClass, Identifies)
{
    auto identify = classMethod<SLOT_IDENTIFY>(zolak_baseclass);
    EXPECT_EQ(identify("ZOLAK"), 0x2000103U);
    EXPECT_EQ(identify(nullptr), 0x2000103U);
    EXPECT_EQ(identify("ZELKOV"), 0x200U) << "other names are the root's business";
    EXPECT_EQ(identify("OTHER"), 0U);
}

TEST_F(ZolakClass, AnswersToItsNames)
{
    char buffer[32] = "";
    auto className = instanceMethod<SLOT_CLASS_NAME>(self);
    EXPECT_EQ(className(self, buffer), 1);
    EXPECT_STREQ(buffer, "ZOLAK");
    EXPECT_EQ(className(self, buffer), 1);
    strcpy(buffer, "ZELKOV");
    EXPECT_EQ(className(self, buffer), 1) << "it derives from the root";
    strcpy(buffer, "OTHER");
    EXPECT_EQ(className(self, buffer), 0);
    EXPECT_STREQ(instanceMethod<SLOT_NAME>(self)(self), "PDF to PS");
    EXPECT_STREQ(instanceMethod<SLOT_VERSION>(self)(self), "1.3");
}

TEST_F(ZolakClass, FindsMethodsByKeyword)
{
    auto lookup = instanceMethod<SLOT_LOOKUP>(self);
    EXPECT_EQ(lookup(self, "Name"), self->methods[SLOT_NAME]);
    EXPECT_EQ(lookup(self, "Version"), self->methods[SLOT_VERSION]);
    EXPECT_EQ(lookup(self, "Option"), self->methods[SLOT_OPTION]);
    EXPECT_EQ(lookup(self, "Listen"), self->methods[SLOT_LISTEN]);
    EXPECT_EQ(lookup(self, "Init"), nullptr);
    EXPECT_EQ(lookup(self, "name"), nullptr) << "keywords are exact";
}

TEST_F(ZolakClass, BeginsWithItsDefaults)
{
    const ConverterInstance *inst = test.inst;
    EXPECT_STREQ(inst->options.FILE, "");
    EXPECT_STREQ(inst->options.OUTSPEC, "noname.ps");
    EXPECT_STREQ(inst->options.PROLOG, "KV_DAT_PS:pdf_psprolog.ps");
    EXPECT_STREQ(inst->options.TRAILER, "KV_DAT_PS:pdf_pstrailer.ps");
    EXPECT_EQ(inst->options.PAGE, 0);
    EXPECT_EQ(inst->options.ENCRYPT, 0);
    EXPECT_EQ(inst->options.DEBUG, 0);
    EXPECT_EQ(inst->options.DECODE, 0);
    EXPECT_EQ(inst->run.errorFlag, 0);
}

TEST_F(ZolakClass, OnlyStopSetsTheErrorFlag)
{
    auto listen = instanceMethod<SLOT_LISTEN>(self);
    EXPECT_EQ(listen(self, 0x53544F51), 0);
    EXPECT_EQ(test.inst->run.errorFlag, 0);
    EXPECT_EQ(listen(self, 0x53544F50), 0);
    EXPECT_EQ(test.inst->run.errorFlag, 1);
}

TEST_F(ZolakClass, OptionsMayBeAbbreviated)
{
    auto option = instanceMethod<SLOT_OPTION>(self);
    int32_t seven = 7, one = 1;
    option(self, "PA", &seven, TYPE_INTEGER);
    option(self, "enc", &one, TYPE_FLAG);
    option(self, "DECO", &one, TYPE_FLAG);
    option(self, "DEB", &seven, TYPE_INTEGER);
    option(self, "OUT", "x.ps", TYPE_TEXT);
    option(self, "PRO", "p.ps", TYPE_TEXT);
    option(self, "TRA", "t.ps", TYPE_TEXT);
    option(self, "LOG", "l.log", TYPE_TEXT);
    option(self, "FILE", "f.pdf", TYPE_TEXT);
    EXPECT_EQ(test.inst->options.PAGE, 7);
    EXPECT_EQ(test.inst->options.ENCRYPT, 1);
    EXPECT_EQ(test.inst->options.DECODE, 1);
    EXPECT_EQ(test.inst->options.DEBUG, 7);
    EXPECT_STREQ(test.inst->options.OUTSPEC, "x.ps");
    EXPECT_STREQ(test.inst->options.PROLOG, "p.ps");
    EXPECT_STREQ(test.inst->options.TRAILER, "t.ps");
    EXPECT_STREQ(test.inst->options.LOGFILE, "l.log");
    EXPECT_STREQ(test.inst->options.FILE, "f.pdf");
}

/* Do the fields stand in this order in the record? */
bool rise(std::initializer_list<const void *> fields)
{
    return std::is_sorted(fields.begin(), fields.end(), std::less<const void *>());
}

TEST_F(ZolakClass, TheRecordKeepsTheOrderOfItsFields)
{
    const ConverterOptions &o = test.inst->options;
    const ConversionRun &r = test.inst->run;
    EXPECT_EQ((const void *)test.inst, (const void *)&test.inst->header);
    EXPECT_TRUE(rise({&test.inst->header, &o.FILE, &o.OUTSPEC, &o.PROLOG, &o.TRAILER, &o.LOGFILE,
                      &o.ENCRYPT, &o.PAGE, &o.DEBUG, &o.DECODE, &r.input}));
    EXPECT_TRUE(rise({&r.input, &r.xref, &r.xrefLoaded, &r.rootPosition, &r.xrefSize,
                      &r.xrefPrevious, &r.errorFlag, &r.liveStrings, &r.liveNames, &r.liveArrays,
                      &r.liveDicts, &r.liveStreams, &r.controller}));
    EXPECT_TRUE(rise({&r.output, &r.pageWritten, &r.baseName}));
}

TEST_F(ZolakClass, IsNotIdentifiedOnAnotherInterfaceOfTheFramework)
{
    static uint32_t rootAnswer;
    auto identify = classMethod<SLOT_IDENTIFY>(zolak_baseclass);
    auto original = classMethod<SLOT_IDENTIFY>(zelkov_rootclass);
    overrideMethod<SLOT_IDENTIFY>(zelkov_rootclass, [](const char *) { return rootAnswer; });
    for (auto [answer, identity] : std::map<uint32_t, uint32_t>{
             {0x200, 0x2000103}, {0x300, 0}, {0x201, 0}, {0x100, 0}, {0, 0}}) {
        rootAnswer = answer;
        EXPECT_EQ(identify("ZOLAK"), identity) << answer;
        EXPECT_EQ(identify("OTHER"), answer) << "other names are forwarded";
    }
    overrideMethod<SLOT_IDENTIFY>(zelkov_rootclass, original);
}
