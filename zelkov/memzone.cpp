/*
 * memzone.cpp - memory zones
 *
 * A zone is a chain of chunks; an allocation is cut from the newest one.  A request that is large
 * beside a chunk gets a chunk to itself, put behind the newest, so that the room left there is
 * not lost.
 */
#include "zelkov/memzone.h"

#include <cstdint>
#include <cstdlib>
#include <limits>

namespace {

constexpr size_t CHUNK_BYTES = 64 * 1024;
constexpr size_t ALIGNMENT = alignof(std::max_align_t);

struct Chunk {
    Chunk *older;
    size_t used; /* bytes handed out, from the start of the data */
    size_t room; /* bytes of data in all */
};

/* The data of a chunk follows its header, at the next aligned address. */
constexpr size_t HEADER_BYTES = (sizeof(Chunk) + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;

uint8_t *chunkData(Chunk *chunk)
{
    return reinterpret_cast<uint8_t *>(chunk) + HEADER_BYTES;
}

Chunk *newChunk(size_t room)
{
    if (room > std::numeric_limits<size_t>::max() - HEADER_BYTES)
        return nullptr;
    Chunk *chunk = static_cast<Chunk *>(malloc(HEADER_BYTES + room));
    if (chunk)
        *chunk = {nullptr, 0, room};
    return chunk;
}

} // namespace

struct MemZone {
    Chunk *newest;
};

MemZone *zcreate(size_t firstBytes)
{
    MemZone *zone = static_cast<MemZone *>(malloc(sizeof(MemZone)));
    if (!zone)
        return nullptr;
    zone->newest = newChunk(firstBytes ? firstBytes : CHUNK_BYTES);
    if (!zone->newest) {
        free(zone);
        return nullptr;
    }
    return zone;
}

void *zalloc(MemZone *zone, size_t size)
{
    if (size > std::numeric_limits<size_t>::max() - ALIGNMENT)
        return nullptr;
    size = (size + ALIGNMENT - 1) / ALIGNMENT * ALIGNMENT;

    Chunk *newest = zone->newest;
    if (size > newest->room - newest->used) {
        bool large = size > CHUNK_BYTES / 4;
        Chunk *chunk = newChunk(large ? size : CHUNK_BYTES);
        if (!chunk)
            return nullptr;
        if (large) {
            chunk->older = newest->older;
            newest->older = chunk;
            chunk->used = size;
            return chunkData(chunk);
        }
        chunk->older = newest;
        zone->newest = newest = chunk;
    }
    uint8_t *bytes = chunkData(newest) + newest->used;
    newest->used += size;
    return bytes;
}

int zdelete(MemZone *zone)
{
    if (!zone)
        return 0;
    for (Chunk *chunk = zone->newest; chunk;) {
        Chunk *older = chunk->older;
        free(chunk);
        chunk = older;
    }
    free(zone);
    return 0;
}
