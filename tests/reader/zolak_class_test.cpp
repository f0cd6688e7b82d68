#include "tools/zolak1_3/pdf_to_ps/zolak_class.h"

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

TEST_F(ZolakClass, IsBuiltOnceWithTheEightMethods)
{
    ZelkovClass *cls = zolak_baseclass_init();
    EXPECT_EQ(cls, zolak_baseclass);
    EXPECT_EQ(zolak_baseclass_init(), cls);
    EXPECT_EQ(cls->instanceSize, sizeof(ConverterInstance));
    int overridden = 0;
    for (int slot = 0; slot < ZELKOV_METHOD_COUNT; slot++)
        overridden += cls->methods[slot] != zelkov_rootclass->methods[slot];
    EXPECT_EQ(overridden, 8);
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
    EXPECT_STREQ(inst->FILE, "");
    EXPECT_STREQ(inst->OUTSPEC, "noname.ps");
    EXPECT_STREQ(inst->PROLOG, "KV_DAT_PS:pdf_psprolog.ps");
    EXPECT_STREQ(inst->TRAILER, "KV_DAT_PS:pdf_pstrailer.ps");
    EXPECT_EQ(inst->PAGE, 0);
    EXPECT_EQ(inst->ENCRYPT, 0);
    EXPECT_EQ(inst->DEBUG, 0);
    EXPECT_EQ(inst->DECODE, 0);
    EXPECT_EQ(inst->errorFlag, 0);
}

TEST_F(ZolakClass, OnlyStopSetsTheErrorFlag)
{
    auto listen = instanceMethod<SLOT_LISTEN>(self);
    EXPECT_EQ(listen(self, 0x53544F51), 0);
    EXPECT_EQ(test.inst->errorFlag, 0);
    EXPECT_EQ(listen(self, 0x53544F50), 0);
    EXPECT_EQ(test.inst->errorFlag, 1);
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
    EXPECT_EQ(test.inst->PAGE, 7);
    EXPECT_EQ(test.inst->ENCRYPT, 1);
    EXPECT_EQ(test.inst->DECODE, 1);
    EXPECT_EQ(test.inst->DEBUG, 7);
    EXPECT_STREQ(test.inst->OUTSPEC, "x.ps");
    EXPECT_STREQ(test.inst->PROLOG, "p.ps");
    EXPECT_STREQ(test.inst->TRAILER, "t.ps");
    EXPECT_STREQ(test.inst->LOGFILE, "l.log");
    EXPECT_STREQ(test.inst->FILE, "f.pdf");
}

TEST_F(ZolakClass, TheRecordKeepsTheOrderOfItsFields)
{
    EXPECT_EQ(offsetof(ConverterInstance, header), 0U);
    const size_t offsets[] = {
        offsetof(ConverterInstance, FILE),        offsetof(ConverterInstance, OUTSPEC),
        offsetof(ConverterInstance, PROLOG),      offsetof(ConverterInstance, TRAILER),
        offsetof(ConverterInstance, LOGFILE),     offsetof(ConverterInstance, ENCRYPT),
        offsetof(ConverterInstance, PAGE),        offsetof(ConverterInstance, DEBUG),
        offsetof(ConverterInstance, DECODE),      offsetof(ConverterInstance, input),
        offsetof(ConverterInstance, output),      offsetof(ConverterInstance, xref),
        offsetof(ConverterInstance, xrefLoaded),  offsetof(ConverterInstance, rootPosition),
        offsetof(ConverterInstance, xrefSize),    offsetof(ConverterInstance, xrefPrevious),
        offsetof(ConverterInstance, pageWritten), offsetof(ConverterInstance, errorFlag),
        offsetof(ConverterInstance, liveStrings), offsetof(ConverterInstance, liveStreams),
        offsetof(ConverterInstance, baseName),    offsetof(ConverterInstance, controller),
    };
    for (size_t i = 1; i < std::size(offsets); i++)
        EXPECT_LT(offsets[i - 1], offsets[i]) << i;
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
