/*
 * main.cpp - the command: switches into attributes, one conversion, an exit status
 */
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "tools/zolak1_3/pdf_to_ps/frame/driver.h"
#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"
#include "zelkov/cmdline.h"
#include "zelkov/host.h"
#include "zelkov/process.h"

namespace {

constexpr char PROMPT[] = "PDF to PS v1.3:>";

/* The switches: whether each was given, and its value. */
int32_t debugGiven, pageGiven, encryptGiven, outspecGiven, prologGiven, trailerGiven, decodeGiven,
    logfileGiven;
int32_t debugValue, pageValue, encryptValue, decodeValue;
const char *outspecValue, *prologValue, *trailerValue, *logfileValue;

/* Only "DEBUG" and "LOGFILE" may be abbreviated on the command line. */
const SwitchEntry switches[] = {
    {"DEB*UG", &debugGiven, convai, &debugValue},
    {"PAGE", &pageGiven, convai, &pageValue},
    {"ENCRYPT", &encryptGiven, convai, &encryptValue},
    {"OUTSPEC", &outspecGiven, nullptr, &outspecValue},
    {"PROLOG", &prologGiven, nullptr, &prologValue},
    {"TRAILER", &trailerGiven, nullptr, &trailerValue},
    {"DECODE", &decodeGiven, convai, &decodeValue},
    {"LOG*FILE", &logfileGiven, nullptr, &logfileValue},
    {nullptr, nullptr, nullptr, nullptr},
};

ZelkovController *findController()
{
    ZelkovController *controller = load_zelkov_inst("ZELKOV_GBL_CONTROLLER", "Control", 0x30102, 1);
    if (controller)
        return controller;
    ZelkovClass *base = control_baseclass_init();
    return base ? zelkov_create_inst(base) : nullptr;
}

/* A name in double quotes, as some shells hand it on, without them. */
std::string unquote(const char *argument)
{
    if (*argument != '"')
        return argument;
    argument++;
    return std::string(argument, strcspn(argument, "\""));
}

ConverterInstance *createInstance()
{
    ZelkovClass *cls = zolak_baseclass_init();
    return reinterpret_cast<ConverterInstance *>(cls ? zelkov_create_inst(cls) : nullptr);
}

/* A text that is too long is told of by the class and not stored; nothing is converted then. */
void setOption(ConverterInstance *inst, const char *name, const void *value, ZelkovType type)
{
    instanceMethod<SLOT_OPTION> (&inst->header)(&inst->header, name, value, type);
    if (type == TYPE_TEXT && strlen(static_cast<const char *>(value)) >= TEXT_BYTES)
        process_exit(EXIT_FAILURE);
}

void setOptions(ConverterInstance *inst, const std::string &file)
{
    setOption(inst, "FILE", file.c_str(), TYPE_TEXT);
    if (debugGiven)
        setOption(inst, "DEBUG", &debugValue, TYPE_INTEGER);
    if (outspecGiven)
        setOption(inst, "OUTSPEC", outspecValue, TYPE_TEXT);
    if (prologGiven)
        setOption(inst, "PROLOG", prologValue, TYPE_TEXT);
    if (trailerGiven)
        setOption(inst, "TRAILER", trailerValue, TYPE_TEXT);
    if (pageGiven)
        setOption(inst, "PAGE", &pageValue, TYPE_INTEGER);
    if (encryptGiven)
        setOption(inst, "ENCRYPT", &encryptValue, TYPE_FLAG);
    if (decodeGiven)
        setOption(inst, "DECODE", &decodeValue, TYPE_FLAG);
}

/* Failures of documents that the stage before the converter makes plain; by key, and by the text
 * where the key alone does not tell. */
struct PreparableError {
    const char *key, *text;
};
constexpr PreparableError preparableErrors[] = {
    {"NOTRAILER", nullptr},    {"NOXREF", nullptr},  {"ENCRYPTED", nullptr},
    {"UNSUPPFILTER", nullptr}, {"BADFNCT", nullptr}, {"BADXOBJ", "Patterns not supported"},
};

/* Tells who can print the document that could not be converted. */
void recommend(const ConversionRun &run, const std::string &file)
{
    if (!run.errorFlag || !run.firstError)
        return;
    for (const PreparableError &error : preparableErrors) {
        if (strcmp(run.firstError, error.key) != 0 ||
            (error.text && strcmp(run.firstErrorText, error.text) != 0))
            continue;
        bool isComplete = file.find('.', file.find_last_of("/:") + 1) != std::string::npos;
        host_say(file + (isComplete ? "" : ".pdf") + ": pdf_print can convert this document");
        return;
    }
}

int convertAsTold(int argc, char **argv)
{
    process_begin();
    ZelkovController *controller = findController();
    if (!controller)
        process_fail(
            "No global controller found and could not use the base controller either.  Bye !");
    instanceMethod<SLOT_SET_ATTRIBUTE>(controller)(controller, "PROMPT", "ZOLAK", TYPE_TEXT);

    getcmd_arg(PROMPT, argc, argv);
    const char *argument = fspec(switches, "Invalid switch");
    if (!argument || !*argument)
        return EXIT_SUCCESS;
    std::string file = unquote(argument);

    ConverterInstance *inst = createInstance();
    if (!inst)
        process_fail("Can not create instance ZOLAK.  Bye !");
    inst->run.controller = controller;
    control_adopt(controller, &inst->header);
    setOptions(inst, file);

    runConversion(inst);
    control_endRun(controller);
    recommend(inst->run, file);
    return inst->run.errorFlag ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        return convertAsTold(argc, argv);
    } catch (const std::bad_alloc &) {
        process_failWithoutMemory("ZOLAK-E-out of memory: Out of memory\n");
    }
}
