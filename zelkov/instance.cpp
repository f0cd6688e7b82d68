/*
 * instance.cpp - the root class, subclasses, instances and their registry
 */
#include "zelkov/instance.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <string>

#include "zelkov/text.h"

ZelkovClass *zelkov_rootclass;

namespace {

constexpr char ROOT_NAME[] = "ZELKOV";
constexpr uint32_t ROOT_INTERFACE = 0x200;

/* Guards the root class while it is made, the registry, and the classes' lists of instances. */
std::mutex &shared()
{
    static std::mutex guard;
    return guard;
}

std::map<std::string, ZelkovInstance *> &registry()
{
    static std::map<std::string, ZelkovInstance *> byName;
    return byName;
}

ZelkovInstance *findRegistered(const char *globalName)
{
    std::lock_guard lock(shared());
    auto found = registry().find(globalName);
    return found == registry().end() ? nullptr : found->second;
}

ZelkovInstance *rootCreate(ZelkovClass *cls)
{
    ZelkovInstance *instance = static_cast<ZelkovInstance *>(calloc(1, cls->instanceSize));
    if (!instance)
        return nullptr;
    instance->methods = cls->methods;
    instance->ownClass = cls;
    if (instanceMethod<SLOT_INIT>(instance)(instance) != 0) {
        free(instance);
        return nullptr;
    }
    std::lock_guard lock(shared());
    instance->nextOfClass = cls->instances;
    cls->instances = instance;
    return instance;
}

int32_t rootInit(ZelkovInstance *)
{
    return 0;
}

void rootFree(ZelkovInstance *)
{
}

uint32_t rootIdentify(const char *name)
{
    return !name || cmpstr(name, ROOT_NAME) == 0 ? ROOT_INTERFACE : 0;
}

ZelkovMethod rootLookup(ZelkovInstance *, const char *)
{
    return nullptr;
}

int32_t rootClassName(ZelkovInstance *, char *buffer)
{
    if (*buffer)
        return cmpstr(buffer, ROOT_NAME) == 0;
    memcpy(buffer, ROOT_NAME, sizeof ROOT_NAME);
    return 1;
}

const char *rootText(ZelkovInstance *)
{
    return "";
}

int32_t rootListen(ZelkovInstance *self, uint32_t code)
{
    if (code == MESSAGE_STOP)
        self->told = true;
    return 0;
}

bool rootStopped(const ZelkovInstance *self)
{
    return self->told;
}

void takeOffList(ZelkovInstance *instance)
{
    std::lock_guard lock(shared());
    ZelkovInstance **link = &instance->ownClass->instances;
    while (*link && *link != instance)
        link = &(*link)->nextOfClass;
    if (*link)
        *link = instance->nextOfClass;
}

/* The root has no attributes: 1 is "unknown name". */
int32_t rootOption(ZelkovInstance *, const char *, const void *, int32_t)
{
    return 1;
}

} // namespace

void zelkov_class_init()
{
    static ZelkovClass root;
    std::lock_guard lock(shared());
    if (zelkov_rootclass)
        return;
    root.instanceSize = sizeof(ZelkovInstance);
    overrideMethod<SLOT_CREATE>(&root, rootCreate);
    overrideMethod<SLOT_INIT>(&root, rootInit);
    overrideMethod<SLOT_FREE>(&root, rootFree);
    overrideMethod<SLOT_IDENTIFY>(&root, rootIdentify);
    overrideMethod<SLOT_LOOKUP>(&root, rootLookup);
    overrideMethod<SLOT_CLASS_NAME>(&root, rootClassName);
    overrideMethod<SLOT_NAME>(&root, rootText);
    overrideMethod<SLOT_VERSION>(&root, rootText);
    overrideMethod<SLOT_LISTEN>(&root, rootListen);
    overrideMethod<SLOT_OPTION>(&root, rootOption);
    overrideMethod<SLOT_STOPPED>(&root, rootStopped);
    zelkov_rootclass = &root;
}

ZelkovClass *zelkov_generic_subclass(const ZelkovClass *root, size_t instanceSize, int methodCount)
{
    if (!root || instanceSize < sizeof(ZelkovInstance) || methodCount > ZELKOV_METHOD_COUNT)
        return nullptr;
    ZelkovClass *cls = new (std::nothrow) ZelkovClass(*root);
    if (cls) {
        cls->instanceSize = instanceSize;
        cls->instances = nullptr;
    }
    return cls;
}

ZelkovInstance *zelkov_create_inst(ZelkovClass *cls)
{
    return classMethod<SLOT_CREATE>(cls)(cls);
}

void zelkov_free_inst(ZelkovInstance *instance)
{
    if (!instance)
        return;
    if (instance->owner)
        instanceMethod<SLOT_RELEASE>(instance->owner)(instance->owner, instance);
    takeOffList(instance);
    instanceMethod<SLOT_FREE>(instance)(instance);
    free(instance);
}

void zelkov_register_inst(const char *globalName, ZelkovInstance *instance)
{
    std::lock_guard lock(shared());
    if (instance)
        registry()[globalName] = instance;
    else
        registry().erase(globalName);
}

ZelkovInstance *load_zelkov_inst(const char *globalName, const char *className, uint32_t number,
                                 int)
{
    ZelkovInstance *found = findRegistered(globalName);
    if (!found)
        return nullptr;
    uint32_t identity = instanceMethod<SLOT_IDENTIFY>(found)(className);
    bool sameInterface = identity >> 16 == number >> 16;
    return sameInterface && (identity & 0xFFFF) >= (number & 0xFFFF) ? found : nullptr;
}
