/*
 * instance.h - classes and instances
 *
 * A class is a table of 64 methods and the size of its instances' records.  A subclass begins
 * with a copy of the root's table and puts its own methods over the inherited ones.  An instance
 * record begins with a ZelkovInstance and is otherwise the class's own business.
 *
 * Every slot of the table has one signature, told by SlotMethod; classMethod and overrideMethod
 * are the only ways in, so that no method is called by a signature that it does not have.
 *
 * Classes are shared by all threads; an instance belongs to one at a time.
 */
#ifndef ZELKOV_INSTANCE_H
#define ZELKOV_INSTANCE_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>

struct ZelkovClass;
struct ZelkovInstance;

enum ZelkovSlot : int {
    SLOT_CREATE, /* the class's first method */
    SLOT_INIT,
    SLOT_FREE,
    SLOT_IDENTIFY,
    SLOT_LOOKUP,
    SLOT_CLASS_NAME,
    SLOT_NAME,
    SLOT_VERSION,
    SLOT_LISTEN,
    SLOT_OPTION,
    SLOT_STOPPED,

    /* the controller's, in the order in which a client uses them */
    SLOT_ADOPT,
    SLOT_REPORT,
    SLOT_SET_ATTRIBUTE,
    SLOT_END_RUN,
    SLOT_RELEASE,

    ZELKOV_METHOD_COUNT = 64
};

using ZelkovMethod = void (*)();

template <ZelkovSlot> struct SlotMethod;

/* A new instance: record zeroed, header filled, Init run.  Null when any of it fails. */
template <> struct SlotMethod<SLOT_CREATE> {
    using Type = ZelkovInstance *(*)(ZelkovClass *);
};
/* Makes a zeroed record ready; 0 on success. */
template <> struct SlotMethod<SLOT_INIT> {
    using Type = int32_t (*)(ZelkovInstance *);
};
/* Releases what the record owns, not the record itself. */
template <> struct SlotMethod<SLOT_FREE> {
    using Type = void (*)(ZelkovInstance *);
};
/* Interface and class version for the class of that name, or for the class itself when the name
 * is null; 0 when the name is not known. */
template <> struct SlotMethod<SLOT_IDENTIFY> {
    using Type = uint32_t (*)(const char *);
};
/* The instance's own method of that keyword, or null. */
template <> struct SlotMethod<SLOT_LOOKUP> {
    using Type = ZelkovMethod (*)(ZelkovInstance *, const char *);
};
/* Writes the class's name into an empty buffer and answers 1; otherwise answers whether the
 * buffer holds the name of this class or of one that it derives from. */
template <> struct SlotMethod<SLOT_CLASS_NAME> {
    using Type = int32_t (*)(ZelkovInstance *, char *);
};
template <> struct SlotMethod<SLOT_NAME> {
    using Type = const char *(*)(ZelkovInstance *);
};
template <> struct SlotMethod<SLOT_VERSION> {
    using Type = const char *(*)(ZelkovInstance *);
};
/* Takes a message, told by a four-character code such as MESSAGE_STOP; answers 0. */
template <> struct SlotMethod<SLOT_LISTEN> {
    using Type = int32_t (*)(ZelkovInstance *, uint32_t);
};
/* Sets the attribute of that name; the value is a text or a pointer to a 32-bit integer,
 * according to the type code. */
template <> struct SlotMethod<SLOT_OPTION> {
    using Type = int32_t (*)(ZelkovInstance *, const char *, const void *, int32_t);
};
/* Has the instance been told to stop?  Of a controller: has it sent "STOP" in this run? */
template <> struct SlotMethod<SLOT_STOPPED> {
    using Type = bool (*)(const ZelkovInstance *);
};
/* Takes an instance under control: from now on it gets the controller's messages. */
template <> struct SlotMethod<SLOT_ADOPT> {
    using Type = int32_t (*)(ZelkovInstance *, ZelkovInstance *);
};
/* A message: module key, source, line, severity, message key, format and its arguments. */
template <> struct SlotMethod<SLOT_REPORT> {
    using Type = void (*)(ZelkovInstance *, const char *, const char *, int, int32_t, const char *,
                          const char *, va_list);
};
template <> struct SlotMethod<SLOT_SET_ATTRIBUTE> {
    using Type = int32_t (*)(ZelkovInstance *, const char *, const void *, int32_t);
};
/* Prints what is left to say at the end of a run; the next one is not stopped. */
template <> struct SlotMethod<SLOT_END_RUN> {
    using Type = void (*)(ZelkovInstance *);
};
/* Lets an instance go that it has adopted. */
template <> struct SlotMethod<SLOT_RELEASE> {
    using Type = void (*)(ZelkovInstance *, ZelkovInstance *);
};

constexpr uint32_t MESSAGE_STOP = 0x53544F50; /* "STOP", big-endian */

struct ZelkovClass {
    size_t instanceSize; /* bytes of an instance record */
    ZelkovMethod methods[ZELKOV_METHOD_COUNT];
    ZelkovInstance *instances; /* every living one, newest first */
};

/* The words at the head of every instance record. */
struct ZelkovInstance {
    const ZelkovMethod *methods; /* the class's table */
    ZelkovClass *ownClass;
    ZelkovInstance *nextOfClass;
    ZelkovInstance *owner; /* the controller that adopted the instance, or null */
    bool told;             /* to stop; a class with a flag of its own leaves it alone */
};

template <ZelkovSlot slot> typename SlotMethod<slot>::Type classMethod(const ZelkovClass *cls)
{
    return reinterpret_cast<typename SlotMethod<slot>::Type>(cls->methods[slot]);
}

template <ZelkovSlot slot>
typename SlotMethod<slot>::Type instanceMethod(const ZelkovInstance *instance)
{
    return reinterpret_cast<typename SlotMethod<slot>::Type>(instance->methods[slot]);
}

template <ZelkovSlot slot>
void overrideMethod(ZelkovClass *cls, typename SlotMethod<slot>::Type method)
{
    cls->methods[slot] = reinterpret_cast<ZelkovMethod>(method);
}

/* The root class; null until zelkov_class_init has made it.  It answers to the name "ZELKOV" with
 * interface 2.0 (0x200). */
extern ZelkovClass *zelkov_rootclass;

/* Makes sure that the root class exists. */
void zelkov_class_init();

/* A new class with the root's methods, or null.  `instanceSize` is at least the size of a
 * ZelkovInstance and `methodCount` at most ZELKOV_METHOD_COUNT.  Lives as long as the process. */
ZelkovClass *zelkov_generic_subclass(const ZelkovClass *root, size_t instanceSize, int methodCount);

/* Makes an instance of the class through its create method; null on failure.  The framework owns
 * it until zelkov_free_inst. */
ZelkovInstance *zelkov_create_inst(ZelkovClass *cls);

/* Ends an instance, which its controller then knows no more; null is accepted. */
void zelkov_free_inst(ZelkovInstance *instance);

/* Has the instance been told to stop?  Nothing more is read or written then. */
inline bool zelkov_stopped(const ZelkovInstance *instance)
{
    return instanceMethod<SLOT_STOPPED>(instance)(instance);
}

/* Makes a running instance known under a global name; null takes the name back. */
void zelkov_register_inst(const char *globalName, ZelkovInstance *instance);

/* The running instance registered under the global name, when it is of the class `className` and
 * identifies itself with the same interface and at least the class version of `number` (interface
 * in the high, version in the low 16 bits); else null.  `flags` is 1. */
ZelkovInstance *load_zelkov_inst(const char *globalName, const char *className, uint32_t number,
                                 int flags);

#endif
