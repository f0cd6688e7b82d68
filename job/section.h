/*
 * section.h - a section of a job: bytes on their way through compression and ASCII85
 *
 * Bytes that are compressed already pass as they are, as stored blocks of the same stream.
 */
#ifndef JOB_SECTION_H
#define JOB_SECTION_H

#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>

#include "zelkov/file.h"

namespace job {

using Bytes = std::span<const uint8_t>;

/* How sections are encoded in a job. */
struct Encoding {
    bool isBinary = false;
    bool isCompressed = true;
    int level = 3;
};

/* Accepts bytes. */
struct ByteSink {
    virtual ~ByteSink() = default;
    virtual void write(Bytes bytes) = 0;
};

/* A part of the job behind the name of a procedure that reads it: "PdfPage", "PdfShared".
 *
 *     SectionWriter section(job, encoding, "PdfPage");
 *     { OutputRedirect redirect(run, section.file()); ... }
 *     section.finish();
 *
 * With `isEncoded` what is written has been compressed as the encoding says.  What is not finished
 * leaves nothing in the job when it is binary; else a part. */
class SectionWriter {
  public:
    SectionWriter(ZFile *job, const Encoding &encoding, const char *procedure,
                  bool isEncoded = false);
    ~SectionWriter();
    SectionWriter(const SectionWriter &) = delete;
    SectionWriter &operator=(const SectionWriter &) = delete;

    /* Where the section's bytes are written. */
    ZFile *file() { return input; }

    /* What is written to the file from now on is compressed already, or is not. */
    void passThrough(bool isCompressedAlready);

    /* Ends the section; false when something could not be written, and errno says why. */
    bool finish();

  private:
    static int accept(void *context, const uint8_t *bytes, size_t count);
    void forward(Bytes bytes);

    struct Stages;
    struct Switch {
        uint64_t at; /* byte of the file */
        bool isCompressedAlready;
    };
    std::unique_ptr<Stages> stages;
    std::deque<Switch> switches;
    uint64_t accepted = 0;
    ZFile *input = nullptr;
};

/* Do these bytes look as if nothing could be gained by compressing them? */
bool looksCompressed(Bytes bytes);

} // namespace job

#endif
