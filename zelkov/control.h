/*
 * control.h - the controller: owns instances, prints their messages, stops them
 *
 * A message is one line on standard error, "ZOLAK-W-PDFVRSN: text".  Severity 4 also sends "STOP"
 * to every instance that the controller has adopted; after that only messages of severity 4 are
 * still printed, until the run ends or an adopted instance does.  Whether a run goes on is asked of
 * its instance (zelkov_stopped), never of the controller.
 */
#ifndef ZELKOV_CONTROL_H
#define ZELKOV_CONTROL_H

#include <cstdarg>
#include <cstdint>
#include <string>

#include "zelkov/instance.h"

using ZelkovController = ZelkovInstance;

enum Severity : int32_t {
    SEVERITY_INFO = 1,
    SEVERITY_WARNING = 2, /* the run goes on */
    SEVERITY_FAULT = 3,   /* a fault in the data that the run survives */
    SEVERITY_ERROR = 4,   /* the run stops */
};

/* The controller class, built at the first call, or null.  Its first method creates a
 * controller. */
ZelkovClass *control_baseclass_init();

/* Takes an instance under the controller's control; its `owner` is the controller from now on,
 * until one of the two is freed. */
void control_adopt(ZelkovController *controller, ZelkovInstance *instance);

/* A message as a listener gets it. */
struct ControlMessage {
    std::string module;
    int32_t severity; /* a Severity */
    std::string key, text;
};
using ControlListener = void (*)(void *context, const ControlMessage &message);

/* From now on messages go to the listener and are not printed. */
void control_listen(ZelkovController *controller, ControlListener listener, void *context);

/* Reports a message through the controller's report method.  `module`, `key` and the format are
 * the program's own; what the arguments bring from a document is made harmless when it is
 * printed: control bytes come out as \xNN.  errno is left as it was. */
void control_report(ZelkovController *controller, const char *module, const char *source, int line,
                    int32_t severity, const char *key, const char *format, ...)
    __attribute__((format(printf, 7, 8)));

/* The same with the arguments in a list. */
void control_reportArguments(ZelkovController *controller, const char *module, const char *source,
                             int line, int32_t severity, const char *key, const char *format,
                             va_list arguments);

/* Has the controller sent "STOP" in this run? */
bool control_stopped(const ZelkovController *controller);

/* Ends a run: prints how many repeated messages were not shown.  The next one begins anew. */
void control_endRun(ZelkovController *controller);

#endif
