/*
 * silent_controller.h - a controller that prints nothing, for fuzz targets
 *
 * It stops at severity 4 as the real one does.  One serves all runs of a target: silentReset
 * makes it run again.
 */
#ifndef FUZZ_SILENT_CONTROLLER_H
#define FUZZ_SILENT_CONTROLLER_H

#include <cstdarg>
#include <cstdlib>

#include "zelkov/control.h"

inline bool silentStopped;
inline ZelkovInstance *silentListener; /* is told of the stop, when there is one */

inline void silentReport(ZelkovInstance *, const char *, const char *, int, int32_t severity,
                         const char *, const char *, va_list)
{
    if (severity != SEVERITY_ERROR)
        return;
    silentStopped = true;
    if (silentListener)
        instanceMethod<SLOT_LISTEN>(silentListener)(silentListener, MESSAGE_STOP);
}

inline bool silentIsStopped(const ZelkovInstance *)
{
    return silentStopped;
}

inline void silentReset()
{
    silentStopped = false;
}

/* An instance of the root class under such a controller; it lives as long as the process. */
inline ZelkovInstance *silentInstance()
{
    zelkov_class_init();
    ZelkovClass *control = control_baseclass_init();
    ZelkovClass *silent =
        zelkov_generic_subclass(control, control->instanceSize, ZELKOV_METHOD_COUNT);
    overrideMethod<SLOT_REPORT>(silent, silentReport);
    overrideMethod<SLOT_STOPPED>(silent, silentIsStopped);
    ZelkovController *controller = zelkov_create_inst(silent);
    ZelkovInstance *instance = zelkov_create_inst(zelkov_rootclass);
    if (!controller || !instance)
        abort();
    control_adopt(controller, instance);
    return instance;
}

#endif
