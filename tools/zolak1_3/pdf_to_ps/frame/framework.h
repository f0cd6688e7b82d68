/*
 * framework.h - the controller and the instance of one conversion that is no program's
 */
#ifndef PDF_TO_PS_FRAMEWORK_H
#define PDF_TO_PS_FRAMEWORK_H

#include "tools/zolak1_3/pdf_to_ps/frame/zolak_class.h"

struct Framework {
    ZelkovController *controller = nullptr;
    ConverterInstance *instance = nullptr;

    /* False without memory. */
    bool create()
    {
        if (ZelkovClass *cls = control_baseclass_init())
            controller = zelkov_create_inst(cls);
        if (ZelkovClass *cls = zolak_baseclass_init())
            instance = reinterpret_cast<ConverterInstance *>(zelkov_create_inst(cls));
        return controller && instance;
    }

    /* The instance's run under the controller, whose messages the listener hears. */
    ConversionRun *begin(ControlListener listener, void *context)
    {
        control_adopt(controller, &instance->header);
        control_listen(controller, listener, context);
        instance->run.controller = controller;
        return &instance->run;
    }

    Framework() = default;
    ~Framework()
    {
        zelkov_free_inst(reinterpret_cast<ZelkovInstance *>(instance));
        zelkov_free_inst(controller);
    }
    Framework(const Framework &) = delete;
    Framework &operator=(const Framework &) = delete;
};

#endif
