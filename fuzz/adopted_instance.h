/*
 * adopted_instance.h - an instance under a controller, for fuzz targets
 *
 * A fuzz target sets up no process: nobody listens, and so nothing is printed.
 */
#ifndef FUZZ_ADOPTED_INSTANCE_H
#define FUZZ_ADOPTED_INSTANCE_H

#include <cstdlib>

#include "zelkov/control.h"

/* An instance of the class, adopted by a controller that serves all runs of a target. */
class AdoptedInstance {
  public:
    explicit AdoptedInstance(ZelkovClass *cls) : instance(cls ? zelkov_create_inst(cls) : nullptr)
    {
        if (!instance)
            abort();
        control_adopt(controller(), instance);
    }
    ~AdoptedInstance()
    {
        control_endRun(controller());
        zelkov_free_inst(instance);
    }
    AdoptedInstance(const AdoptedInstance &) = delete;
    AdoptedInstance &operator=(const AdoptedInstance &) = delete;

    operator ZelkovInstance *() const { return instance; }

  private:
    static ZelkovController *controller()
    {
        static ZelkovController *made = zelkov_create_inst(control_baseclass_init());
        return made;
    }

    ZelkovInstance *instance;
};

/* The root class, which is enough for what works on any instance. */
inline ZelkovClass *rootClass()
{
    zelkov_class_init();
    return zelkov_rootclass;
}

#endif
