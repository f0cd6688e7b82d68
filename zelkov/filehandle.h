/*
 * filehandle.h - what the kinds of file handle share; no business of anybody else's
 *
 * A handle is a window for reading or a buffer for writing (file.h), and behind them a body: a
 * descriptor or a sink, and the kind, which says how a full buffer leaves and how the handle ends.
 *   input       fileinput.cpp    a regular file, read through a cache of blocks; or bytes in memory
 *   output      fileoutput.cpp   a hidden file renamed into place; a pipe; a sink
 *   temporary   filetemp.cpp     written and read back, gone when it is closed
 */
#ifndef ZELKOV_FILEHANDLE_H
#define ZELKOV_FILEHANDLE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>

#include "zelkov/file.h"

enum class FileAccess { READ, WRITE, READ_WRITE };

/* How a kind of handle ends: what it does with what was written, then nothing of it is left but
 * memory and descriptor.  `keep` is false for a handle that is thrown away.  Answers 0, or -1 with
 * errno set when what should be kept could not be. */
using FileEnding = int (*)(ZFileBody *body, bool keep);

/* A piece of the file in memory. */
struct FileBlock {
    std::unique_ptr<uint8_t[]> bytes;
    uint32_t number; /* valid when fill > 0 */
    uint32_t fill;
};

constexpr uint32_t FILE_BLOCK_BYTES = 8192;
constexpr uint32_t FILE_BLOCK_SLOTS = 64;
constexpr uint64_t FILE_INPUT_LIMIT = (uint64_t)1 << 32;

struct ZFileBody {
    FileAccess access = FileAccess::READ;
    FileEnding end = nullptr;

    int descriptor = -1;     /* -1: bytes in memory, or a sink */
    bool inSequence = false; /* no regular file: bytes leave in order and cannot be read back */
    ZFileSink sink = {};

    ZFileWatch watch = {nullptr, nullptr, UINT64_MAX};

    int readError = 0;  /* errno of the first read that failed */
    int writeError = 0; /* errno of the first write that failed; nothing is written after it */

    /* reading */
    std::unique_ptr<uint8_t[]> memory; /* an input that lies in memory and belongs to the handle */
    uint32_t size = 0;                 /* of an input, when it was opened */
    FileBlock blocks[FILE_BLOCK_SLOTS] = {};
    ZFile *nextInput = nullptr; /* inputs that are open are kept from being overwritten */

    /* writing */
    std::unique_ptr<uint8_t[]> out;
    uint64_t outStart = 0; /* offset of out[0] in the file */
    std::string path;      /* the final one */
    std::string temporary; /* where the bytes are until the end; empty: in `path` itself */
};

/* A handle on the descriptor, which it owns from now on, or on none (-1).  Null on failure, the
 * descriptor closed and errno set. */
ZFile *filehandle_new(int descriptor, FileAccess access, FileEnding end);

/* Sets errno to 0 when there is a handle; answers it. */
ZFile *filehandle_opened(ZFile *file);

/* Says that a file could not be opened, and why, unless it has no name; answers null, errno as it
 * was. */
ZFile *filehandle_refused(const std::string &path);

/* Closes a descriptor that no handle has, errno as it was. */
void filehandle_closeDescriptor(int descriptor);

/* Is this file open for reading in this run? */
bool filehandle_isInput(dev_t device, ino_t node);

/* Empties the buffer; -1 on failure, which is remembered. */
int filehandle_flush(ZFile *file);

/* From writing to reading: what was written can be seen. */
void filehandle_endWriting(ZFile *file);

/* Remembers the first failure, whose cause errno tells, and tells of it. */
void filehandle_writeFailed(ZFileBody *body);

/* Lets the handle's watch hear of it; errno is left as it was. */
void filehandle_tellWatch(const ZFileBody *body, FileTrouble trouble);

#endif
