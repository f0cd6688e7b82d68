/*
 * quiet_controller.h - a controller that prints and keeps nothing
 */
#ifndef TESTS_COMPRESS_QUIET_CONTROLLER_H
#define TESTS_COMPRESS_QUIET_CONTROLLER_H

#include <cstdint>

#include "zelkov/control.h"

class QuietController {
  public:
    QuietController() : controller(zelkov_create_inst(quietClass())) {}
    ~QuietController() { zelkov_free_inst(controller); }
    QuietController(const QuietController &) = delete;
    QuietController &operator=(const QuietController &) = delete;

    operator ZelkovController *() const { return controller; }

  private:
    static ZelkovClass *quietClass()
    {
        static ZelkovClass *built;
        if (!built) {
            ZelkovClass *control = control_baseclass_init();
            built = zelkov_generic_subclass(control, control->instanceSize, ZELKOV_METHOD_COUNT);
            overrideMethod<SLOT_REPORT>(built, ignore);
        }
        return built;
    }

    static void ignore(ZelkovInstance *, const char *, const char *, int, int32_t, const char *,
                       const char *, va_list)
    {
    }

    ZelkovController *controller;
};

#endif
