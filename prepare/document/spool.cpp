/*
 * spool.cpp - a temporary file, and the pieces of it
 */
#include "prepare/document/spool.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <qpdf/Pipeline.hh>
#include <unistd.h>

namespace prepare {

namespace {

[[noreturn]] void fail()
{
    throw std::runtime_error(std::string("No room for temporary data: ") + strerror(errno) + ".");
}

/* A file that no directory has. */
int openNameless()
{
    const char *variable = getenv("TMPDIR");
    std::string path =
        std::string(variable && *variable ? variable : "/tmp") + "/pdf_prepare.XXXXXX";
    int file = mkostemp(path.data(), O_CLOEXEC);
    if (file >= 0)
        unlink(path.c_str());
    return file;
}

struct SpoolFile {
    int file = openNameless();
    uint64_t size = 0;

    SpoolFile()
    {
        if (file < 0)
            fail();
    }
    ~SpoolFile() { close(file); }
    SpoolFile(const SpoolFile &) = delete;
    SpoolFile &operator=(const SpoolFile &) = delete;

    void append(std::string_view data)
    {
        while (!data.empty()) {
            ssize_t written = pwrite(file, data.data(), data.size(), (off_t)size);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                fail();
            size += (uint64_t)written;
            data.remove_prefix((size_t)written);
        }
    }
};

struct SpoolMemo {
    std::shared_ptr<SpoolFile> file; /* null: all has stayed in memory so far */
    size_t inMemory = 0;
};

/* A piece of the file, for whoever writes the stream. */
struct SpoolPiece : QPDFObjectHandle::StreamDataProvider {
    SpoolPiece(std::shared_ptr<SpoolFile> of, uint64_t from, uint64_t bytes)
        : spool(std::move(of)), begin(from), count(bytes)
    {
    }

    void provideStreamData(QPDFObjGen const &, Pipeline *pipeline) override
    {
        constexpr size_t PART = 256u << 10;
        std::string part(PART, '\0');
        for (uint64_t at = 0; at < count;) {
            ssize_t got = pread(spool->file, part.data(),
                                (size_t)std::min<uint64_t>(PART, count - at), (off_t)(begin + at));
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                fail();
            pipeline->write(reinterpret_cast<const unsigned char *>(part.data()), (size_t)got);
            at += (uint64_t)got;
        }
        pipeline->finish();
    }

    std::shared_ptr<SpoolFile> spool;
    uint64_t begin, count;
};

} // namespace

void replaceWithClear(Document *document, QPDFObjectHandle stream, std::string_view data)
{
    SpoolMemo &memo = document->memos.of<SpoolMemo>();
    QPDFObjectHandle none = QPDFObjectHandle::newNull();
    if (data.size() <= MOST_IN_MEMORY - memo.inMemory) {
        memo.inMemory += data.size();
        stream.replaceStreamData(std::string(data), none, none);
        return;
    }
    if (!memo.file)
        memo.file = std::make_shared<SpoolFile>();
    uint64_t begin = memo.file->size;
    memo.file->append(data);
    stream.replaceStreamData(std::make_shared<SpoolPiece>(memo.file, begin, data.size()), none,
                             none);
}

QPDFObjectHandle newClearStream(Document *document, std::string_view data)
{
    QPDFObjectHandle stream = QPDFObjectHandle::newStream(&document->source.pdf);
    replaceWithClear(document, stream, data);
    return stream;
}

} // namespace prepare
