/*
 * control.cpp - the controller
 *
 * Messages about the data (severity 2 and 3) can come by the million from one damaged font.  Each
 * place in the program gets 100 of them printed; the rest are counted and named once at the end.
 */
#include "zelkov/control.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "zelkov/attribute.h"
#include "zelkov/host.h"
#include "zelkov/text.h"

namespace {

constexpr char CONTROL_NAME[] = "Control";
constexpr uint32_t CONTROL_IDENTITY = 0x30102;
constexpr unsigned REPEATS_SHOWN = 100;
constexpr char SEVERITY_LETTERS[] = "?IWFE";

/* The messages of severity 2 or 3 from one place in the program. */
struct Repeated {
    std::string module, source, key;
    int line;
    int32_t severity;
    uint64_t count;
};

struct ControlState {
    std::vector<ZelkovInstance *> adopted;
    std::vector<Repeated> repeated;
    bool stopped = false;
    ControlListener listener = nullptr;
    void *listenerContext = nullptr;
};

struct Control {
    ZelkovInstance header;
    char PROMPT[TEXT_BYTES];
    ControlState *state;
};

const AttributeEntry attributes[] = {
    {"PROMPT", {TYPE_TEXT, 0, AREA_TEXTS, 0}, 0, 0, 256.0F},
    {nullptr, {0, 0, 0, 0}, 0, 0, 0.0F},
};

Control *asControl(const ZelkovInstance *instance)
{
    return reinterpret_cast<Control *>(const_cast<ZelkovInstance *>(instance));
}

ControlState *stateOf(const ZelkovInstance *instance)
{
    return asControl(instance)->state;
}

int32_t controlInit(ZelkovInstance *self)
{
    if (int32_t result = classMethod<SLOT_INIT>(zelkov_rootclass)(self))
        return result;
    asControl(self)->state = new (std::nothrow) ControlState;
    return asControl(self)->state ? 0 : -1;
}

void controlFree(ZelkovInstance *self)
{
    for (ZelkovInstance *instance : stateOf(self)->adopted)
        instance->owner = nullptr;
    delete stateOf(self);
}

uint32_t controlIdentify(const char *name)
{
    if (!name || cmpstr(name, CONTROL_NAME) == 0)
        return CONTROL_IDENTITY;
    return classMethod<SLOT_IDENTIFY>(zelkov_rootclass)(name);
}

int32_t controlClassName(ZelkovInstance *self, char *buffer)
{
    if (!*buffer) {
        memcpy(buffer, CONTROL_NAME, sizeof CONTROL_NAME);
        return 1;
    }
    return cmpstr(buffer, CONTROL_NAME) == 0 ||
           classMethod<SLOT_CLASS_NAME>(zelkov_rootclass)(self, buffer);
}

int32_t controlAdopt(ZelkovInstance *self, ZelkovInstance *instance)
{
    stateOf(self)->adopted.push_back(instance);
    instance->owner = self;
    return 0;
}

void controlRelease(ZelkovInstance *self, ZelkovInstance *instance)
{
    ControlState *state = stateOf(self);
    std::erase(state->adopted, instance);
    instance->owner = nullptr;
    state->stopped = false;
}

int32_t controlSetAttribute(ZelkovInstance *self, const char *name, const void *value, int32_t type)
{
    return classopt("Controller", attributes, asControl(self)->PROMPT, name, value, type);
}

/* ---- messages */

std::string formatText(const char *format, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0)
        return format;
    std::string text((size_t)length + 1, '\0');
    vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

/* Length of the valid UTF-8 sequence at `at`, 0 when there is none. */
size_t utf8Length(const std::string &text, size_t at)
{
    unsigned char lead = (unsigned char)text[at];
    size_t length = lead >= 0xF0 && lead <= 0xF4   ? 4
                    : lead >= 0xE0 && lead <= 0xEF ? 3
                    : lead >= 0xC2 && lead <= 0xDF ? 2
                                                   : 0;
    if (length == 0 || at + length > text.size())
        return 0;
    for (size_t i = 1; i < length; i++)
        if (((unsigned char)text[at + i] & 0xC0) != 0x80)
            return 0;
    /* Some terminals decode what is longer than it must be, control characters among it. */
    unsigned char second = length > 2 ? (unsigned char)text[at + 1] : 0xBF;
    bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    return overlong ? 0 : length;
}

/* Control bytes as \xNN, so that a document cannot drive the terminal.  The C1 set counts, as
 * single bytes and as UTF-8; other UTF-8 text stays readable. */
std::string harmless(const std::string &text)
{
    std::string clean;
    auto escape = [&clean](unsigned char byte) {
        char code[5];
        snprintf(code, sizeof code, "\\x%02X", byte);
        clean += code;
    };
    for (size_t i = 0; i < text.size();) {
        unsigned char byte = (unsigned char)text[i];
        size_t length = byte < 0x80 ? 1 : utf8Length(text, i);
        bool control = byte < ' ' || byte == 0x7F || length == 0 ||
                       (byte == 0xC2 && (unsigned char)text[i + 1] < 0xA0);
        if (length == 0)
            length = 1;
        if (control)
            for (size_t k = 0; k < length; k++)
                escape((unsigned char)text[i + k]);
        else
            clean.append(text, i, length);
        i += length;
    }
    return clean;
}

std::string messageHead(const std::string &module, int32_t severity, const std::string &key)
{
    bool known = severity >= SEVERITY_INFO && severity <= SEVERITY_ERROR;
    return module + "-" + SEVERITY_LETTERS[known ? severity : 0] + "-" + key;
}

void deliver(const ControlState *state, const ControlMessage &message, const std::string &trace)
{
    if (state->listener)
        state->listener(state->listenerContext, message);
    else
        host_say(messageHead(message.module, message.severity, message.key) + ": " + message.text +
                 trace);
}

/* Counts a message of severity 2 or 3; false once its place has had its share. */
bool mayShow(ControlState *state, const char *module, const char *source, int line,
             int32_t severity, const char *key)
{
    for (Repeated &r : state->repeated)
        if (r.line == line && r.module == module && r.source == source && r.key == key)
            return ++r.count <= REPEATS_SHOWN;
    state->repeated.push_back({module, source, key, line, severity, 1});
    return true;
}

void sendStop(ControlState *state)
{
    state->stopped = true;
    for (ZelkovInstance *instance : state->adopted)
        instanceMethod<SLOT_LISTEN>(instance)(instance, MESSAGE_STOP);
}

void controlReport(ZelkovInstance *self, const char *module, const char *source, int line,
                   int32_t severity, const char *key, const char *format, va_list arguments)
{
    ControlState *state = stateOf(self);
    bool shown = !state->stopped || severity == SEVERITY_ERROR;
    try {
        if (shown && (severity == SEVERITY_WARNING || severity == SEVERITY_FAULT))
            shown = mayShow(state, module, source, line, severity, key);
        if (shown) {
            std::string trace;
            if (host().trace)
                trace = std::string(" [") + source + ":" + std::to_string(line) + "]";
            deliver(state, {module, severity, key, harmless(formatText(format, arguments))}, trace);
        }
    } catch (const std::bad_alloc &) {
        /* A message that cannot even be put together: short enough to need no memory. */
        host_say("Out of memory");
        severity = SEVERITY_ERROR;
    }
    if (severity == SEVERITY_ERROR)
        sendStop(state);
}

bool controlStopped(const ZelkovInstance *self)
{
    return stateOf(self)->stopped;
}

void controlEndRun(ZelkovInstance *self)
{
    ControlState *state = stateOf(self);
    const char *prompt = asControl(self)->PROMPT;
    for (const Repeated &r : state->repeated)
        if (r.count > REPEATS_SHOWN)
            deliver(state,
                    {*prompt ? prompt : "CONTROL", SEVERITY_INFO, "REPEATED",
                     std::to_string(r.count - REPEATS_SHOWN) + " more reports of " +
                         messageHead(r.module, r.severity, r.key) + " were not shown"},
                    "");
    state->repeated.clear();
    state->stopped = false;
}

ZelkovClass *buildClass()
{
    zelkov_class_init();
    ZelkovClass *cls =
        zelkov_generic_subclass(zelkov_rootclass, sizeof(Control), ZELKOV_METHOD_COUNT);
    if (!cls)
        return nullptr;
    overrideMethod<SLOT_INIT>(cls, controlInit);
    overrideMethod<SLOT_FREE>(cls, controlFree);
    overrideMethod<SLOT_IDENTIFY>(cls, controlIdentify);
    overrideMethod<SLOT_CLASS_NAME>(cls, controlClassName);
    overrideMethod<SLOT_ADOPT>(cls, controlAdopt);
    overrideMethod<SLOT_REPORT>(cls, controlReport);
    overrideMethod<SLOT_SET_ATTRIBUTE>(cls, controlSetAttribute);
    overrideMethod<SLOT_STOPPED>(cls, controlStopped);
    overrideMethod<SLOT_END_RUN>(cls, controlEndRun);
    overrideMethod<SLOT_RELEASE>(cls, controlRelease);
    return cls;
}

} // namespace

ZelkovClass *control_baseclass_init()
{
    static std::mutex guard;
    static ZelkovClass *built;
    std::lock_guard lock(guard);
    if (!built)
        built = buildClass();
    return built;
}

void control_adopt(ZelkovController *controller, ZelkovInstance *instance)
{
    instanceMethod<SLOT_ADOPT>(controller)(controller, instance);
}

void control_listen(ZelkovController *controller, ControlListener listener, void *context)
{
    stateOf(controller)->listener = listener;
    stateOf(controller)->listenerContext = context;
}

void control_report(ZelkovController *controller, const char *module, const char *source, int line,
                    int32_t severity, const char *key, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    control_reportArguments(controller, module, source, line, severity, key, format, arguments);
    va_end(arguments);
}

void control_reportArguments(ZelkovController *controller, const char *module, const char *source,
                             int line, int32_t severity, const char *key, const char *format,
                             va_list arguments)
{
    int saved = errno;
    instanceMethod<SLOT_REPORT>(controller)(controller, module, source, line, severity, key, format,
                                            arguments);
    errno = saved;
}

bool control_stopped(const ZelkovController *controller)
{
    return instanceMethod<SLOT_STOPPED>(controller)(controller);
}

void control_endRun(ZelkovController *controller)
{
    int saved = errno;
    instanceMethod<SLOT_END_RUN>(controller)(controller);
    errno = saved;
}
