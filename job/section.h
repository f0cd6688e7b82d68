/*
 * section.h - a section of a job: text on its way through the verifier, compression and ASCII85
 *
 * Bytes that are compressed already pass as they are, as stored blocks of the same stream.
 */
#ifndef JOB_SECTION_H
#define JOB_SECTION_H

#include <cstdint>
#include <memory>
#include <vector>

#include "job/deflate.h"
#include "job/verify.h"
#include "zelkov/file.h"

namespace job {

/* How sections are encoded in a job. */
struct Encoding {
    bool isBinary = false;
    bool isCompressed = true;
    int level = 3;
    std::shared_ptr<Deflater> deflater =
        std::make_shared<Deflater>(); /* of one section at a time */
};

/* Where in a text bytes begin that are compressed already, or end. */
struct CompressionSwitch {
    uint64_t at;
    bool isCompressedAlready;
};

/* Writes an accepted text behind the name of the procedure that reads it; false when something
 * could not be written, and errno says why. */
bool encodeSection(ZFile *job, const Encoding &encoding, const char *procedure,
                   const AcceptedText &text, const std::vector<CompressionSwitch> &switches = {});

/* A section of a document, which is in the job when it has been accepted, as a whole or not at all.
 *
 *     SectionWriter section(job, encoding, SectionKind::PAGE, "PdfPage", account);
 *     { OutputRedirect redirect(run, section.file()); ... }
 *     section.finish(&verdict);
 */
class SectionWriter {
  public:
    /* `procedure` is the name in front of it.  All of them stay the caller's. */
    SectionWriter(ZFile *job, const Encoding &encoding, SectionKind kind, const char *procedure,
                  Account *account);
    ~SectionWriter();
    SectionWriter(const SectionWriter &) = delete;
    SectionWriter &operator=(const SectionWriter &) = delete;

    /* Where the section's bytes are written. */
    ZFile *file() { return input; }

    /* What is written to the file from now on is compressed already, or is not. */
    void passThrough(bool isCompressedAlready);

    /* Ends the section; false when something could not be written, and errno says why.  What the
     * verifier has refused is not in the job. */
    bool finish(Verdict *verdict);

  private:
    static int keep(void *context, const uint8_t *bytes, size_t count);

    ZFile *job;
    Encoding encoding;
    SectionKind kind;
    const char *procedure;
    Account *account;
    Spool text;
    std::vector<CompressionSwitch> switches = {};
    ZFile *input = nullptr;
};

/* Do these bytes look as if nothing could be gained by compressing them? */
bool looksCompressed(Bytes bytes);

} // namespace job

#endif
