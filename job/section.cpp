/*
 * section.cpp - the stages of a section: a spool, the verifier, a compressor, ASCII85 or another
 * spool, the job
 */
#include "job/section.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <vector>

#include "job/lzw.h"
#include "zelkov/format.h"

namespace job {

namespace {

constexpr size_t LINE_LENGTH = 100;            /* of ASCII85; far below what any printer takes */
constexpr uint64_t LARGEST_SECTION = 2u << 30; /* bytes of text, which a temporary file holds */

/* ---- ASCII85 */

/* Lines of ASCII85 into the job.  No line begins with a percent sign: it would look like a comment
 * of the document's structure. */
class Ascii85 : public ByteSink {
  public:
    explicit Ascii85(ZFile *to) : job(to) {}

    void write(Bytes bytes) override
    {
        while (inGroup != 0 && !bytes.empty()) {
            putByte(bytes[0]);
            bytes = bytes.subspan(1);
        }
        for (; bytes.size() >= 4; bytes = bytes.subspan(4)) {
            group = (uint32_t)bytes[0] << 24 | (uint32_t)bytes[1] << 16 | (uint32_t)bytes[2] << 8 |
                    bytes[3];
            writeGroup();
        }
        for (uint8_t byte : bytes)
            putByte(byte);
    }

    void finish()
    {
        if (inGroup > 0) {
            int digits = inGroup + 1;
            group <<= 8 * (4 - inGroup);
            char text[5];
            digitsOf(text);
            for (int i = 0; i < digits; i++)
                put(text[i]);
        }
        fputm(job, line, filled);
        fputstr(job, filled + 2 > LINE_LENGTH ? "\n~>" : "~>");
    }

  private:
    void digitsOf(char *text) const
    {
        uint32_t rest = group;
        for (int i = 4; i >= 0; i--, rest /= 85)
            text[i] = (char)('!' + rest % 85);
    }

    void putByte(uint8_t byte)
    {
        group = group << 8 | byte;
        if (++inGroup == 4)
            writeGroup();
    }

    void writeGroup()
    {
        if (group == 0) {
            put('z');
        } else if (filled > 0 && filled + 5 < LINE_LENGTH) {
            digitsOf(line + filled);
            filled += 5;
        } else {
            char text[5];
            digitsOf(text);
            for (char c : text)
                put(c);
        }
        group = 0;
        inGroup = 0;
    }

    void put(char c)
    {
        if (filled == 0 && c == '%')
            line[filled++] = ' ';
        line[filled++] = c;
        if (filled >= LINE_LENGTH) {
            line[filled++] = '\n';
            fputm(job, line, filled);
            filled = 0;
        }
    }

    ZFile *job;
    uint32_t group = 0;
    int inGroup = 0;
    size_t filled = 0;
    char line[LINE_LENGTH + 2];
};

/* ---- what ends a job */

/* Looks for the bytes with which a printer leaves its language (UEL), whatever is being printed:
 * what stands behind them is a command to the printer itself. */
class ExitWatch {
  public:
    void look(Bytes bytes)
    {
        while (!bytes.empty() && !isFound) {
            if (matched == 0) {
                const void *at = memchr(bytes.data(), SEQUENCE[0], bytes.size());
                if (!at)
                    return;
                bytes = bytes.subspan((size_t)((const uint8_t *)at - bytes.data()));
            }
            /* No beginning of the sequence stands within it, but its first byte. */
            bool isNext = bytes[0] == (uint8_t)SEQUENCE[matched];
            matched = isNext ? matched + 1 : bytes[0] == (uint8_t)SEQUENCE[0];
            isFound = matched == LENGTH;
            bytes = bytes.subspan(1);
        }
    }

    bool hasFound() const { return isFound; }

  private:
    static constexpr char SEQUENCE[] = "\033%-12345X";
    static constexpr size_t LENGTH = sizeof SEQUENCE - 1;
    size_t matched = 0;
    bool isFound = false;
};

/* ---- bytes that are counted */

/* A section of bytes, until it is known how many they are. */
struct Counted : ByteSink {
    void write(Bytes bytes) override
    {
        exits.look(bytes);
        kept.write(bytes);
    }

    Spool kept;
    ExitWatch exits;
};

/* ---- compression */

/* A stage that compresses; `finish` writes what is left. */
struct Compressor : ByteSink {
    virtual void passThrough(bool) {}
    virtual void finish() {}
};

class Plain : public Compressor {
  public:
    explicit Plain(ByteSink &to) : next(to) {}
    void write(Bytes bytes) override { next.write(bytes); }

  private:
    ByteSink &next;
};

class Flate : public Compressor {
  public:
    Flate(Deflater *by, ByteSink &to) : deflater(by) { deflater->begin(&to); }
    void write(Bytes bytes) override { deflater->write(bytes); }
    void passThrough(bool isCompressedAlready) override
    {
        deflater->passThrough(isCompressedAlready);
    }
    void finish() override { deflater->finish(); }

  private:
    Deflater *deflater;
};

/* What Level 2 has: everything is kept, and then LZW or run lengths written, what is shorter. */
class LevelTwo : public Compressor {
  public:
    explicit LevelTwo(ByteSink &to) : next(to) {}
    void write(Bytes bytes) override { kept.write(bytes); }

    /* Decides. */
    const char *filterName()
    {
        uint64_t lzw = 0, runs = 0;
        {
            LzwEncoder encoder([&](Bytes bytes) { lzw += bytes.size(); });
            RunLengthEncoder runEncoder([&](Bytes bytes) { runs += bytes.size(); });
            kept.forEach([&](Bytes bytes) {
                encoder.write(bytes);
                runEncoder.write(bytes);
            });
            encoder.finish();
            runEncoder.finish();
        }
        isLzw = lzw < runs;
        return isLzw ? "/LZWDecode" : "/RunLengthDecode";
    }

    void finish() override
    {
        auto forward = [&](Bytes bytes) { next.write(bytes); };
        if (isLzw)
            encode(LzwEncoder(forward));
        else
            encode(RunLengthEncoder(forward));
    }

    int failure() const { return kept.failure(); }

  private:
    template <class Encoder> void encode(Encoder &&encoder)
    {
        kept.forEach([&](Bytes bytes) { encoder.write(bytes); });
        encoder.finish();
    }

    ByteSink &next;
    Spool kept;
    bool isLzw = true;
};

/* ---- the stages */

struct Stages {
    ZFile *job;
    Encoding encoding;
    std::string procedure;
    std::unique_ptr<Ascii85> ascii; /* one of these two */
    std::unique_ptr<Counted> counted;
    std::unique_ptr<Compressor> compressor;
    LevelTwo *levelTwo = nullptr;

    Stages(ZFile *to, const Encoding &how, const char *name)
        : job(to), encoding(how), procedure(name)
    {
        if (encoding.isBinary)
            counted = std::make_unique<Counted>();
        else
            ascii = std::make_unique<Ascii85>(job);
        ByteSink &next = counted ? static_cast<ByteSink &>(*counted) : *ascii;
        if (!encoding.isCompressed) {
            compressor = std::make_unique<Plain>(next);
        } else if (encoding.level >= 3) {
            compressor = std::make_unique<Flate>(encoding.deflater.get(), next);
        } else {
            auto made = std::make_unique<LevelTwo>(next);
            levelTwo = made.get();
            compressor = std::move(made);
        }
        if (ascii && !levelTwo)
            writeCall(filterName(), -1);
    }

    const char *filterName()
    {
        if (levelTwo)
            return levelTwo->filterName();
        return encoding.isCompressed ? "/FlateDecode" : "null";
    }

    void writeCall(const char *filter, int64_t count)
    {
        fputstr_arg(job, "%lld %s %s", (long long)count, filter, procedure.c_str());
    }

    void finish()
    {
        const char *filter = filterName();
        if (ascii && levelTwo)
            writeCall(filter, -1);
        compressor->finish();
        if (ascii) {
            ascii->finish();
            return;
        }
        if (counted->exits.hasFound()) { /* in these digits it cannot stand */
            writeCall(filter, -1);
            Ascii85 digits(job);
            counted->kept.forEach([&](Bytes bytes) { digits.write(bytes); });
            digits.finish();
            return;
        }
        /* The count of the brackets holds all that stands between them. */
        uint64_t size = counted->kept.size();
        std::string call = std::to_string(size) + " " + filter + " " + procedure + "\n";
        fputstr_arg(job, "%%%%BeginBinary: %llu", (unsigned long long)(call.size() + size + 1));
        fputm(job, call.data(), call.size());
        counted->kept.forEach([&](Bytes bytes) { fputm(job, bytes.data(), bytes.size()); });
        fputstr(job, "");
        fputstr(job, "%%EndBinary");
    }

    int failure() const
    {
        if (counted && counted->kept.failure())
            return counted->kept.failure();
        if (levelTwo && levelTwo->failure())
            return levelTwo->failure();
        return zfile_writeError(job);
    }
};

/* Hands text on in pieces, between which the compression changes. */
struct Forwarder {
    Stages *stages;
    std::span<const CompressionSwitch> switches;
    uint64_t passed = 0;

    void forward(Bytes bytes)
    {
        while (!bytes.empty() && stages->failure() == 0) {
            while (!switches.empty() && switches.front().at <= passed) {
                stages->compressor->passThrough(switches.front().isCompressedAlready);
                switches = switches.subspan(1);
            }
            size_t count = bytes.size();
            if (!switches.empty())
                count = (size_t)std::min<uint64_t>(count, switches.front().at - passed);
            stages->compressor->write(bytes.first(count));
            passed += count;
            bytes = bytes.subspan(count);
        }
    }
};

} // namespace

bool encodeSection(ZFile *job, const Encoding &encoding, const char *procedure,
                   const AcceptedText &text, const std::vector<CompressionSwitch> &switches)
{
    Stages stages(job, encoding, procedure);
    Forwarder forwarder = {&stages, switches};
    text.text().forEach([&](Bytes bytes) { forwarder.forward(bytes); });
    if (stages.failure() == 0 && text.text().failure() == 0)
        stages.finish();
    errno = text.text().failure() ? text.text().failure() : stages.failure();
    return errno == 0;
}

/* ---- the section */

SectionWriter::SectionWriter(ZFile *to, const Encoding &how, SectionKind what, const char *name,
                             Account *counts)
    : job(to), encoding(how), kind(what), procedure(name), account(counts),
      text(std::min(counts->most(DECODED_BYTES), LARGEST_SECTION)), input(fopensink({keep, this}))
{
    if (!input)
        throw std::bad_alloc();
}

SectionWriter::~SectionWriter()
{
    if (input)
        fcldelete(input);
}

int SectionWriter::keep(void *context, const uint8_t *bytes, size_t count)
{
    SectionWriter *self = static_cast<SectionWriter *>(context);
    self->text.write({bytes, count});
    return self->text.failure();
}

void SectionWriter::passThrough(bool isCompressedAlready)
{
    switches.push_back({zfile_written(input), isCompressedAlready});
}

bool SectionWriter::finish(Verdict *verdict)
{
    int result = fclosx(input);
    input = nullptr;
    if (result != 0) {
        errno = text.failure();
        return false;
    }
    std::optional<AcceptedText> accepted = accept(&text, kind, account, verdict);
    if (!accepted) {
        errno = text.failure();
        return errno == 0;
    }
    return encodeSection(job, encoding, procedure, *accepted, switches);
}

bool looksCompressed(Bytes bytes)
{
    constexpr double MOST_BITS = 7.2; /* a byte of text has 4 or 5, of an image some 6 */
    if (bytes.size() < 256)
        return false;
    return bitsPerByte(bytes) > MOST_BITS;
}

} // namespace job
