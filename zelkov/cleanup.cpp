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

/* The states stand together, so that a look at all of them touches one page of memory and not one
 * for each slot. */
constinit std::atomic<int> states[SLOTS];
char paths[SLOTS][PATH_MAX]; /* valid in the states FILE and DIRECTORY */

/* For the threads that change the list; the signal handler never takes it. */
std::mutex changing;

static_assert(std::atomic<int>::is_always_lock_free, "the signal handler reads these");

bool add(const std::string &path, SlotState kind)
{
    if (path.size() >= sizeof paths[0])
        return false;
    std::lock_guard lock(changing);
    for (size_t slot = 0; slot < SLOTS; slot++) {
        int expected = SLOT_FREE_TO_TAKE;
        if (!states[slot].compare_exchange_strong(expected, SLOT_BEING_FILLED))
            continue;
        memcpy(paths[slot], path.c_str(), path.size() + 1);
        states[slot].store(kind);
        return true;
    }
    return false;
}

bool holds(size_t slot, const std::string &path)
{
    int state = states[slot].load();
    return (state == SLOT_FILE || state == SLOT_DIRECTORY) && path == paths[slot];
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
    for (size_t slot = 0; slot < SLOTS; slot++)
        if (holds(slot, path))
            states[slot].store(SLOT_FREE_TO_TAKE);
}

void cleanup_forgetAll()
{
    for (std::atomic<int> &state : states)
        state.store(SLOT_FREE_TO_TAKE);
}

void cleanup_removeAll()
{
    for (SlotState kind : {SLOT_FILE, SLOT_DIRECTORY})
        for (size_t slot = 0; slot < SLOTS; slot++)
            if (states[slot].load() == kind) {
                kind == SLOT_FILE ? unlink(paths[slot]) : rmdir(paths[slot]);
                states[slot].store(SLOT_FREE_TO_TAKE);
            }
}
