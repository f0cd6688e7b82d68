/*
 * cleanup.cpp - the list of temporary files
 *
 * A signal handler may call only a few functions and must not meet a half-changed list: so the
 * list is a fixed array whose slots hold their texts themselves, and one store makes a slot count
 * or not count.  Nothing is ever freed under the handler.
 */
#include "zelkov/cleanup.h"

#include <atomic>
#include <climits>
#include <cstring>
#include <mutex>
#include <unistd.h>

namespace {

constexpr size_t SLOTS = 64;

enum SlotState : int { SLOT_FREE_TO_TAKE, SLOT_BEING_FILLED, SLOT_FILE, SLOT_DIRECTORY };

struct Slot {
    std::atomic<int> state = SLOT_FREE_TO_TAKE;
    char path[PATH_MAX] = {}; /* valid in the states FILE and DIRECTORY */
};

/* 64 pages of memory, of which a run touches one or two. */
constinit Slot slots[SLOTS];

/* For the threads that change the list; the signal handler never takes it. */
std::mutex changing;

static_assert(std::atomic<int>::is_always_lock_free, "the signal handler reads these");

bool add(const std::string &path, SlotState kind)
{
    if (path.size() >= sizeof slots[0].path)
        return false;
    std::lock_guard lock(changing);
    for (Slot &slot : slots) {
        int expected = SLOT_FREE_TO_TAKE;
        if (!slot.state.compare_exchange_strong(expected, SLOT_BEING_FILLED))
            continue;
        memcpy(slot.path, path.c_str(), path.size() + 1);
        slot.state.store(kind);
        return true;
    }
    return false;
}

bool holds(const Slot &slot, const std::string &path)
{
    int state = slot.state.load();
    return (state == SLOT_FILE || state == SLOT_DIRECTORY) && path == slot.path;
}

} // namespace

bool cleanup_add(const std::string &path)
{
    return add(path, SLOT_FILE);
}

bool cleanup_addDirectory(const std::string &path)
{
    return add(path, SLOT_DIRECTORY);
}

void cleanup_forget(const std::string &path)
{
    std::lock_guard lock(changing);
    for (Slot &slot : slots)
        if (holds(slot, path))
            slot.state.store(SLOT_FREE_TO_TAKE);
}

void cleanup_forgetAll()
{
    for (Slot &slot : slots)
        if (slot.state.load() != SLOT_FREE_TO_TAKE)
            slot.state.store(SLOT_FREE_TO_TAKE);
}

void cleanup_removeAll()
{
    for (SlotState kind : {SLOT_FILE, SLOT_DIRECTORY})
        for (Slot &slot : slots)
            if (slot.state.load() == kind) {
                kind == SLOT_FILE ? unlink(slot.path) : rmdir(slot.path);
                slot.state.store(SLOT_FREE_TO_TAKE);
            }
}
