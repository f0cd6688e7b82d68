/*
 * injector.cpp - loaded into a program, makes one call of a kind fail
 *
 * FAULT_CALL is memory, read or write; FAULT_AT the number of the call that fails, from 1 on;
 * with FAULT_REST set all that follow fail too.  Calls count from main() on: what the language needs
 * to begin at all (room for exceptions when there is no memory) is not the program's.  The file FAULT_MARK is made when a call has
 * failed, so that a test knows when it has come to the end of them.
 */
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<long> calls;
std::atomic<bool> hasBegun = false;

bool isFaulty(const char *kind)
{
    const char *call = getenv("FAULT_CALL"), *at = getenv("FAULT_AT");
    if (!hasBegun || !call || !at || strcmp(call, kind) != 0)
        return false;
    long number = ++calls, faulty = strtol(at, nullptr, 10);
    if (number != faulty && !(number > faulty && getenv("FAULT_REST")))
        return false;
    if (const char *mark = getenv("FAULT_MARK"))
        syscall(SYS_close, syscall(SYS_openat, AT_FDCWD, mark, O_WRONLY | O_CREAT, 0600));
    return true;
}

template <typename Function> Function next(const char *name)
{
    void *found = dlsym(RTLD_NEXT, name);
    Function function;
    memcpy(&function, &found, sizeof function);
    return function;
}

using Main = int (*)(int, char **, char **);
Main programMain;

int beginProgram(int argc, char **argv, char **environment)
{
    hasBegun = true;
    return programMain(argc, argv, environment);
}

} // namespace

extern "C" int __libc_start_main(Main program, int argc, char **argv, void (*init)(),
                                 void (*fini)(), void (*loaderFini)(), void *stackEnd)
{
    auto real = next<int (*)(Main, int, char **, void (*)(), void (*)(), void (*)(), void *)>(
        "__libc_start_main");
    programMain = program;
    return real(beginProgram, argc, argv, init, fini, loaderFini, stackEnd);
}

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);

extern "C" void *malloc(size_t size)
{
    if (!isFaulty("memory"))
        return __libc_malloc(size);
    errno = ENOMEM;
    return nullptr;
}

extern "C" void *calloc(size_t count, size_t size)
{
    if (!isFaulty("memory"))
        return __libc_calloc(count, size);
    errno = ENOMEM;
    return nullptr;
}

extern "C" void *realloc(void *block, size_t size)
{
    if (!isFaulty("memory"))
        return __libc_realloc(block, size);
    errno = ENOMEM;
    return nullptr;
}

extern "C" ssize_t pread64(int descriptor, void *bytes, size_t count, off64_t offset)
{
    static const auto real = next<ssize_t (*)(int, void *, size_t, off64_t)>("pread64");
    if (!isFaulty("read"))
        return real(descriptor, bytes, count, offset);
    errno = EIO;
    return -1;
}

/* What a call becomes where the size of the buffer is known. */
extern "C" ssize_t __pread64_chk(int descriptor, void *bytes, size_t count, off64_t offset, size_t)
{
    return pread64(descriptor, bytes, count, offset);
}

extern "C" ssize_t pwrite64(int descriptor, const void *bytes, size_t count, off64_t offset)
{
    static const auto real = next<ssize_t (*)(int, const void *, size_t, off64_t)>("pwrite64");
    if (!isFaulty("write"))
        return real(descriptor, bytes, count, offset);
    errno = ENOSPC;
    return -1;
}
