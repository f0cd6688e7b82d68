/*
 * recording_controller.cpp - a subclass of the controller whose report method records
 */
#include "tests/support/recording_controller.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <utility>

namespace {

std::map<const ZelkovInstance *, RecordingController *> &recorders()
{
    static std::map<const ZelkovInstance *, RecordingController *> byInstance;
    return byInstance;
}

void record(ZelkovInstance *self, const char *module, const char *source, int line,
            int32_t severity, const char *key, const char *format, va_list arguments)
{
    char *text = nullptr;
    va_list again;
    va_copy(again, arguments);
    if (vasprintf(&text, format, again) < 0)
        abort();
    va_end(again);
    recorders().at(self)->reports.push_back({module, source, line, severity, key, text});
    free(text);
    /* The inherited method stops the adopted instances (and prints the line). */
    if (severity == SEVERITY_ERROR)
        classMethod<SLOT_REPORT>(control_baseclass_init())(self, module, source, line, severity,
                                                           key, format, arguments);
}

ZelkovClass *recordingClass()
{
    static ZelkovClass *built;
    if (!built) {
        ZelkovClass *control = control_baseclass_init();
        built = zelkov_generic_subclass(control, control->instanceSize, ZELKOV_METHOD_COUNT);
        overrideMethod<SLOT_REPORT>(built, record);
    }
    return built;
}

} // namespace

RecordingController::RecordingController() : controller(zelkov_create_inst(recordingClass()))
{
    recorders()[controller] = this;
}

RecordingController::~RecordingController()
{
    recorders().erase(controller);
    zelkov_free_inst(controller);
}

std::vector<RecordedReport> RecordingController::take()
{
    return std::exchange(reports, {});
}

std::vector<std::string> RecordingController::takeTexts()
{
    std::vector<std::string> texts;
    for (const RecordedReport &r : take())
        texts.push_back(r.module + " " + std::to_string(r.severity) + " " + r.key + ": " + r.text);
    return texts;
}

std::vector<std::string> RecordingController::takeTextsWithLines()
{
    std::vector<std::string> texts;
    for (const RecordedReport &r : take())
        texts.push_back(r.module + ":" + std::to_string(r.line) + " " + std::to_string(r.severity) +
                        " " + r.key + ": " + r.text);
    return texts;
}
