/*
 * spool.h - bytes that wait: first in memory, then in a temporary file
 */
#ifndef JOB_SPOOL_H
#define JOB_SPOOL_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "zelkov/file.h"

namespace job {

using Bytes = std::span<const uint8_t>;

/* Accepts bytes. */
struct ByteSink {
    virtual ~ByteSink() = default;
    virtual void write(Bytes bytes) = 0;
};

class Spool : public ByteSink {
  public:
    explicit Spool(uint64_t mostBytes = UINT64_MAX) : most(mostBytes) {}
    ~Spool() override;
    Spool(const Spool &) = delete;
    Spool &operator=(const Spool &) = delete;

    void write(Bytes bytes) override;
    uint64_t size() const { return total; }

    /* More than it may hold was written, and has not been kept. */
    bool isFull() const { return total > most; }
    uint64_t limit() const { return most; }

    /* All of it while it lies in memory; no data: it does not any more. */
    Bytes inMemory() const { return file ? Bytes() : Bytes(memory); }
    bool isInMemory() const { return !file; }

    /* Reading, from the beginning; 0 at the end. */
    void rewind();
    size_t read(uint8_t *to, size_t room);

    /* Hands all of it over, in pieces. */
    void forEach(const std::function<void(Bytes)> &take);

    /* errno of what went wrong; 0: nothing. */
    int failure() const { return error; }

  private:
    bool moveToFile();

    std::vector<uint8_t> memory = {};
    ZFile *file = nullptr;
    uint64_t most, total = 0;
    size_t readAt = 0; /* in memory */
    int error = 0;
};

} // namespace job

#endif
