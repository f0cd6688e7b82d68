/*
 * memzone.h - memory zones: many allocations, one release
 *
 * A zone belongs to whoever created it.  Nothing in it is freed piecemeal.
 */
#ifndef ZELKOV_MEMZONE_H
#define ZELKOV_MEMZONE_H

#include <cstddef>

struct MemZone;

/* A new, empty zone; null when there is no memory.  `firstBytes` is how much to set aside at
 * once; 0 leaves that to the zone. */
MemZone *zcreate(size_t firstBytes);

/* `size` bytes, aligned for any type, contents undefined; valid until zdelete.  Null when there
 * is no memory. */
void *zalloc(MemZone *zone, size_t size);

/* Releases the zone with everything in it; null is accepted.  Answers 0. */
int zdelete(MemZone *zone);

#endif
