/*
 * failing_allocations.cpp - allocations that fail on purpose
 *
 * All forms are replaced, so that each block is released by the counterpart of what made it.
 */
#include "tests/compress/failing_allocations.h"

#include <cstdlib>
#include <new>

int successesLeft = ALWAYS;

static void *allocateOrFail(size_t size)
{
    if (successesLeft == 0)
        return nullptr;
    if (successesLeft > 0)
        successesLeft--;
    return malloc(size ? size : 1);
}

void *operator new(size_t size)
{
    void *block = malloc(size ? size : 1);
    if (!block)
        abort();
    return block;
}

void *operator new[](size_t size)
{
    return operator new(size);
}

void *operator new(size_t size, const std::nothrow_t &) noexcept
{
    return allocateOrFail(size);
}

void *operator new[](size_t size, const std::nothrow_t &) noexcept
{
    return allocateOrFail(size);
}

void operator delete(void *block) noexcept
{
    free(block);
}

void operator delete[](void *block) noexcept
{
    free(block);
}

void operator delete(void *block, size_t) noexcept
{
    free(block);
}

void operator delete[](void *block, size_t) noexcept
{
    free(block);
}
