/*
 * zolak_class.cpp - the converter's class: its methods, keywords and attributes
 */
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"

#include <cstddef>
#include <cstring>
#include <mutex>

#include "tools/zolak1_3/pdf_to_ps/writer/pages.h"
#include "tools/zolak1_3/pdf_to_ps/writer/resources.h"
#include "zelkov/text.h"

ZelkovClass *zolak_baseclass;

namespace {

constexpr char CLASS_NAME[] = "ZOLAK";
constexpr uint32_t IDENTITY = 0x2000103; /* framework interface 2.0, class version 1.3 */

/* The instance's options and this table are two views of one storage. */
const AttributeEntry attributes[] = {
    {"DEB*UG", {TYPE_INTEGER, 0, AREA_INTEGERS, 2}, ATTRIBUTE_NUMERIC, 0, 256.0F},
    {"PA*GE", {TYPE_INTEGER, 0, AREA_INTEGERS, 1}, ATTRIBUTE_NUMERIC, 0, 65536.0F},
    {"ENC*RYPT", {TYPE_FLAG, 0, AREA_INTEGERS, 0}, ATTRIBUTE_NUMERIC, 0, 1.0F},
    {"FILE", {TYPE_TEXT, 0, AREA_TEXTS, 0}, 0, 0, 256.0F},
    {"OUT*SPEC", {TYPE_TEXT, 0, AREA_TEXTS, 1}, 0, 0, 256.0F},
    {"PRO*LOG", {TYPE_TEXT, 0, AREA_TEXTS, 2}, 0, 0, 256.0F},
    {"TRA*ILER", {TYPE_TEXT, 0, AREA_TEXTS, 3}, 0, 0, 256.0F},
    {"DEC*ODE", {TYPE_FLAG, 0, AREA_INTEGERS, 3}, ATTRIBUTE_NUMERIC, 0, 1.0F},
    {"LOG*FILE", {TYPE_TEXT, 0, AREA_TEXTS, 4}, 0, 0, 256.0F},
    {nullptr, {0, 0, 0, 0}, 0, 0, 0.0F},
};

constexpr size_t TEXTS = 5;
constexpr size_t INTEGERS = (TEXTS * TEXT_BYTES + 3) / 4 * 4;
static_assert(offsetof(ConverterOptions, LOGFILE) == (TEXTS - 1) * TEXT_BYTES);
static_assert(offsetof(ConverterOptions, ENCRYPT) == INTEGERS);
static_assert(offsetof(ConverterOptions, DECODE) == INTEGERS + 3 * sizeof(int32_t));

/* Methods that can be found by name. */
struct KeywordEntry {
    const char *keyword;
    intptr_t slot;
    intptr_t kind; /* 1: a method of the class */
};

const KeywordEntry keywords[] = {
    {"Name", SLOT_NAME, 1},
    {"Version", SLOT_VERSION, 1},
    {"Option", SLOT_OPTION, 1},
    {"Listen", SLOT_LISTEN, 1},
    {nullptr, 0, 0},
};

ConverterInstance *asConverter(ZelkovInstance *self)
{
    return reinterpret_cast<ConverterInstance *>(self);
}

void setInteger(ZelkovInstance *self, const char *name, int32_t type, int32_t value)
{
    instanceMethod<SLOT_OPTION>(self)(self, name, &value, type);
}

void setText(ZelkovInstance *self, const char *name, const char *value)
{
    instanceMethod<SLOT_OPTION>(self)(self, name, value, TYPE_TEXT);
}

int32_t zolakInit(ZelkovInstance *self)
{
    if (int32_t result = classMethod<SLOT_INIT>(zelkov_rootclass)(self))
        return result;
    ConversionRun *run = &asConverter(self)->run;
    run->errorFlag = 0;
    run->instance = self;
    run->sink = pageWriter();
    setInteger(self, "DEBUG", TYPE_INTEGER, 0);
    setInteger(self, "PAGE", TYPE_INTEGER, 0);
    setInteger(self, "ENCRYPT", TYPE_FLAG, 0);
    setText(self, "FILE", "");
    setText(self, "OUTSPEC", "noname.ps");
    setText(self, "PROLOG", "KV_DAT_PS:pdf_psprolog.ps");
    setText(self, "TRAILER", "KV_DAT_PS:pdf_pstrailer.ps");
    setInteger(self, "DECODE", TYPE_FLAG, 0);
    return 0;
}

uint32_t zolakIdentify(const char *name)
{
    auto rootIdentify = classMethod<SLOT_IDENTIFY>(zelkov_rootclass);
    if (name && cmpstr(name, CLASS_NAME) != 0)
        return rootIdentify(name);
    uint32_t root = rootIdentify(nullptr);
    return (root >> 8 & 0xFF) == 2 && (root & 0xFF) == 0 ? IDENTITY : 0;
}

ZelkovMethod zolakLookup(ZelkovInstance *self, const char *keyword)
{
    auto entry =
        static_cast<const KeywordEntry *>(findkeyword(keyword, keywords, sizeof(KeywordEntry)));
    if (entry && entry->kind == 1)
        return zolak_baseclass->methods[entry->slot];
    return classMethod<SLOT_LOOKUP>(zelkov_rootclass)(self, keyword);
}

int32_t zolakClassName(ZelkovInstance *self, char *buffer)
{
    if (!*buffer) {
        memcpy(buffer, CLASS_NAME, sizeof CLASS_NAME);
        return 1;
    }
    if (cmpstr(buffer, CLASS_NAME) == 0)
        return 1;
    return classMethod<SLOT_CLASS_NAME>(zelkov_rootclass)(self, buffer);
}

const char *zolakName(ZelkovInstance *)
{
    return "PDF to PS";
}

const char *zolakVersion(ZelkovInstance *)
{
    return "1.3";
}

int32_t zolakListen(ZelkovInstance *self, uint32_t code)
{
    if (code == MESSAGE_STOP)
        asConverter(self)->run.errorFlag = 1;
    return 0;
}

bool zolakStopped(const ZelkovInstance *self)
{
    return reinterpret_cast<const ConverterInstance *>(self)->run.errorFlag != 0;
}

int32_t zolakOption(ZelkovInstance *self, const char *name, const void *value, int32_t type)
{
    const char *title = instanceMethod<SLOT_NAME>(self)(self);
    classopt(title, attributes, &asConverter(self)->options, name, value, type);
    return 0;
}

ZelkovClass *buildClass()
{
    zelkov_class_init();
    if (!zelkov_rootclass)
        return nullptr;
    uint32_t root = classMethod<SLOT_IDENTIFY>(zelkov_rootclass)("ZELKOV");
    if (root == 0 || root >> 8 != 2)
        return nullptr;
    ZelkovClass *cls =
        zelkov_generic_subclass(zelkov_rootclass, sizeof(ConverterInstance), ZELKOV_METHOD_COUNT);
    if (!cls)
        return nullptr;
    overrideMethod<SLOT_INIT>(cls, zolakInit);
    overrideMethod<SLOT_IDENTIFY>(cls, zolakIdentify);
    overrideMethod<SLOT_LOOKUP>(cls, zolakLookup);
    overrideMethod<SLOT_CLASS_NAME>(cls, zolakClassName);
    overrideMethod<SLOT_NAME>(cls, zolakName);
    overrideMethod<SLOT_VERSION>(cls, zolakVersion);
    overrideMethod<SLOT_LISTEN>(cls, zolakListen);
    overrideMethod<SLOT_OPTION>(cls, zolakOption);
    overrideMethod<SLOT_STOPPED>(cls, zolakStopped);
    return cls;
}

} // namespace

ZelkovClass *zolak_baseclass_init()
{
    static std::mutex guard;
    std::lock_guard lock(guard);
    if (!zolak_baseclass)
        zolak_baseclass = buildClass();
    return zolak_baseclass;
}
