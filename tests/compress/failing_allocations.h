/*
 * failing_allocations.h - allocations that fail on purpose
 *
 * A program that is linked with this has its allocations that may answer null (new (std::nothrow))
 * replaced by ones that fail after a number of successes.
 */
#ifndef TESTS_COMPRESS_FAILING_ALLOCATIONS_H
#define TESTS_COMPRESS_FAILING_ALLOCATIONS_H

constexpr int ALWAYS = -1;

/* How many allocations succeed from now on. */
extern int successesLeft;

#endif
