/*
 * spool.cpp - memory, and the temporary file behind it
 */
#include "job/spool.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

namespace job {

namespace {

constexpr size_t SPOOL_MEMORY = 4 << 20;
constexpr size_t PIECE_BYTES = 256 * 1024;

/* A handle reads no more of a file, whose positions are of 32 bits. */
constexpr uint64_t MOST_SPOOLED = UINT32_MAX;

} // namespace

Spool::~Spool()
{
    if (file)
        fclosx(file);
}

bool Spool::moveToFile()
{
    /* Several are open at a time: each has a name of its own. */
    std::string name = "section" + std::to_string((uintptr_t)this);
    file = fopent("", name.c_str(), "KV_TMP:.tmp", 0);
    if (!file)
        return false;
    fputm(file, memory.data(), memory.size());
    memory = {};
    return true;
}

void Spool::write(Bytes bytes)
{
    total += bytes.size();
    if (total > MOST_SPOOLED)
        error = EFBIG;
    if (error || isFull())
        return;
    if (!file && memory.size() + bytes.size() > SPOOL_MEMORY && !moveToFile())
        error = errno;
    else if (!file)
        memory.insert(memory.end(), bytes.begin(), bytes.end());
    else if (fputm(file, bytes.data(), bytes.size()) != 0)
        error = errno;
}

void Spool::rewind()
{
    readAt = 0;
    if (file)
        frewind(file);
}

size_t Spool::read(uint8_t *to, size_t room)
{
    size_t got;
    if (file) {
        got = fgetm(file, to, room);
        if (int failed = zfile_readError(file))
            error = failed;
    } else {
        got = std::min(room, memory.size() - readAt);
        memcpy(to, memory.data() + readAt, got);
        readAt += got;
    }
    return got;
}

void Spool::forEach(const std::function<void(Bytes)> &take)
{
    if (isInMemory()) {
        take(memory);
        return;
    }
    std::vector<uint8_t> buffer(PIECE_BYTES);
    rewind();
    while (size_t got = read(buffer.data(), buffer.size()))
        take(Bytes(buffer).first(got));
}

} // namespace job
