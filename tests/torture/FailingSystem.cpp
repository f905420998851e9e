// Calls of the system, and allocations, that fail when they are told to.

#include "tests/torture/Failures.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <new>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

using torture::Operation;

namespace {

template <class Function>
Function Find(Function, const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Half of `size`, but something.
std::size_t Half(std::size_t size)
{
    return size > 1 ? size / 2 : size;
}

} // namespace

/// Defines the call `name`, which sets the error number and gives `failure` when it fails.
#define FAILING(type, name, parameters, arguments, failure)                                                            \
    extern "C" type name parameters                                                                                    \
    {                                                                                                                  \
        static const auto original = Find(&::name, #name);                                                             \
        static Operation operation(#name);                                                                             \
        if (const int error = operation.Fails()) {                                                                     \
            errno = error;                                                                                             \
            return failure;                                                                                            \
        }                                                                                                              \
        return original arguments;                                                                                     \
    }

/// The same for a call that moves up to `size` bytes.
#define MOVING(name, parameters, arguments)                                                                            \
    extern "C" ssize_t name parameters                                                                                 \
    {                                                                                                                  \
        static const auto original = Find(&::name, #name);                                                             \
        static Operation operation(#name);                                                                             \
        if (const int error = operation.Fails()) {                                                                     \
            if (error != torture::Short) {                                                                             \
                errno = error;                                                                                         \
                return -1;                                                                                             \
            }                                                                                                          \
            size = Half(size);                                                                                         \
        }                                                                                                              \
        return original arguments;                                                                                     \
    }

/// The same for a call that returns its error.
#define RETURNING(name, parameters, arguments)                                                                         \
    extern "C" int name parameters                                                                                     \
    {                                                                                                                  \
        static const auto original = Find(&::name, #name);                                                             \
        static Operation operation(#name);                                                                             \
        if (const int error = operation.Fails())                                                                       \
            return error;                                                                                              \
        return original arguments;                                                                                     \
    }

/// The same for an opening; one that may create fails in more ways, and counts by itself.
#define OPENING(name, parameters, arguments)                                                                           \
    extern "C" int name parameters                                                                                     \
    {                                                                                                                  \
        static const auto original = Find(&::name, #name);                                                             \
        static Operation opening(#name);                                                                               \
        static Operation creation(#name "-create");                                                                    \
        const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;                               \
        mode_t mode = 0;                                                                                               \
        if (creates) {                                                                                                 \
            va_list rest;                                                                                              \
            va_start(rest, flags);                                                                                     \
            mode = va_arg(rest, mode_t);                                                                               \
            va_end(rest);                                                                                              \
        }                                                                                                              \
        if (const int error = (creates ? creation : opening).Fails()) {                                                \
            errno = error;                                                                                             \
            return -1;                                                                                                 \
        }                                                                                                              \
        return original arguments;                                                                                     \
    }

#define OPENING_STREAM(name)                                                                                           \
    extern "C" FILE* name(const char* path, const char* mode)                                                          \
    {                                                                                                                  \
        static const auto original = Find(&::name, #name);                                                             \
        static Operation opening(#name);                                                                               \
        static Operation creation(#name "-create");                                                                    \
        if (const int error = (mode[0] == 'r' ? opening : creation).Fails()) {                                         \
            errno = error;                                                                                             \
            return nullptr;                                                                                            \
        }                                                                                                              \
        return original(path, mode);                                                                                   \
    }

// ---------------------------------------------------------------------------------------------
// Files

OPENING(open, (const char* path, int flags, ...), (path, flags, mode))
OPENING(open64, (const char* path, int flags, ...), (path, flags, mode))
OPENING(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
OPENING(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
OPENING_STREAM(fopen)
OPENING_STREAM(fopen64)
FAILING(FILE*, fdopen, (int file, const char* mode) noexcept, (file, mode), nullptr)
FAILING(int, fflush, (FILE * file), (file), EOF)
MOVING(read, (int file, void* bytes, std::size_t size), (file, bytes, size))
MOVING(pread, (int file, void* bytes, std::size_t size, off_t at), (file, bytes, size, at))
MOVING(pread64, (int file, void* bytes, std::size_t size, off64_t at), (file, bytes, size, at))
MOVING(write, (int file, const void* bytes, std::size_t size), (file, bytes, size))
MOVING(pwrite, (int file, const void* bytes, std::size_t size, off_t at), (file, bytes, size, at))
MOVING(pwrite64, (int file, const void* bytes, std::size_t size, off64_t at), (file, bytes, size, at))
FAILING(ssize_t, writev, (int file, const iovec* parts, int count), (file, parts, count), -1)
MOVING(sendfile, (int to, int from, off_t* at, std::size_t size) noexcept, (to, from, at, size))
MOVING(sendfile64, (int to, int from, off64_t* at, std::size_t size) noexcept, (to, from, at, size))
MOVING(copy_file_range, (int from, off64_t* fromAt, int to, off64_t* toAt, std::size_t size, unsigned int flags),
       (from, fromAt, to, toAt, size, flags))
FAILING(int, ftruncate, (int file, off_t size) noexcept, (file, size), -1)
FAILING(int, ftruncate64, (int file, off64_t size) noexcept, (file, size), -1)
RETURNING(posix_fallocate, (int file, off_t at, off_t size), (file, at, size))
RETURNING(posix_fallocate64, (int file, off64_t at, off64_t size), (file, at, size))
FAILING(int, fallocate, (int file, int mode, off_t at, off_t size), (file, mode, at, size), -1)
FAILING(int, fsync, (int file), (file), -1)
FAILING(int, fdatasync, (int file), (file), -1)
FAILING(int, syncfs, (int file) noexcept, (file), -1)
FAILING(int, fchmod, (int file, mode_t mode) noexcept, (file, mode), -1)
FAILING(int, chmod, (const char* path, mode_t mode) noexcept, (path, mode), -1)
FAILING(int, flock, (int file, int what) noexcept, (file, what), -1)

FAILING(int, stat, (const char* path, struct stat* status) noexcept, (path, status), -1)
FAILING(int, lstat, (const char* path, struct stat* status) noexcept, (path, status), -1)
FAILING(int, fstat, (int file, struct stat* status) noexcept, (file, status), -1)
FAILING(int, fstatat, (int folder, const char* path, struct stat* status, int flags) noexcept,
        (folder, path, status, flags), -1)
FAILING(int, rename, (const char* from, const char* to) noexcept, (from, to), -1)
FAILING(int, renameat, (int fromFolder, const char* from, int toFolder, const char* to) noexcept,
        (fromFolder, from, toFolder, to), -1)
FAILING(int, renameat2, (int fromFolder, const char* from, int toFolder, const char* to, unsigned int flags) noexcept,
        (fromFolder, from, toFolder, to, flags), -1)
FAILING(int, link, (const char* from, const char* to) noexcept, (from, to), -1)
FAILING(int, unlink, (const char* path) noexcept, (path), -1)
FAILING(int, unlinkat, (int folder, const char* path, int flags) noexcept, (folder, path, flags), -1)
FAILING(int, remove, (const char* path) noexcept, (path), -1)
FAILING(int, mkdir, (const char* path, mode_t mode) noexcept, (path, mode), -1)
FAILING(int, mkdirat, (int folder, const char* path, mode_t mode) noexcept, (folder, path, mode), -1)
FAILING(int, rmdir, (const char* path) noexcept, (path), -1)
FAILING(char*, mkdtemp, (char* name) noexcept, (name), nullptr)
FAILING(int, mkstemp, (char* name), (name), -1)
FAILING(int, mkostemp, (char* name, int flags), (name, flags), -1)
FAILING(DIR*, opendir, (const char* path), (path), nullptr)
FAILING(DIR*, fdopendir, (int file), (file), nullptr)
FAILING(ssize_t, readlink, (const char* path, char* target, std::size_t size) noexcept, (path, target, size), -1)
FAILING(char*, realpath, (const char* path, char* real) noexcept, (path, real), nullptr)

/// The descriptor is gone also when a close fails.
extern "C" int close(int file)
{
    static const auto original = Find(&::close, "close");
    static Operation operation("close");
    const int error = operation.Fails();
    const int status = original(file);
    if (error == 0)
        return status;
    errno = error;
    return -1;
}

extern "C" int fclose(FILE* file)
{
    static const auto original = Find(&::fclose, "fclose");
    static Operation operation("fclose");
    const int error = operation.Fails();
    const int status = original(file);
    if (error == 0)
        return status;
    errno = error;
    return EOF;
}

// ---------------------------------------------------------------------------------------------
// Memory maps, processes, threads

FAILING(void*, mmap, (void* at, std::size_t size, int protection, int flags, int file, off_t offset) noexcept,
        (at, size, protection, flags, file, offset), MAP_FAILED)
FAILING(void*, mmap64, (void* at, std::size_t size, int protection, int flags, int file, off64_t offset) noexcept,
        (at, size, protection, flags, file, offset), MAP_FAILED)
FAILING(pid_t, fork, () noexcept, (), -1)
RETURNING(posix_spawn,
          (pid_t * process, const char* path, const posix_spawn_file_actions_t* actions,
           const posix_spawnattr_t* attributes, char* const* values, char* const* environment),
          (process, path, actions, attributes, values, environment))
RETURNING(pthread_create,
          (pthread_t * thread, const pthread_attr_t* attributes, void* (*run)(void*), void* argument) noexcept,
          (thread, attributes, run, argument))
FAILING(pid_t, waitpid, (pid_t process, int* status, int options), (process, status, options), -1)
FAILING(pid_t, wait, (int* status), (status), -1)

// ---------------------------------------------------------------------------------------------
// Sockets and what waits for them

FAILING(int, socket, (int domain, int type, int protocol) noexcept, (domain, type, protocol), -1)
FAILING(int, socketpair, (int domain, int type, int protocol, int* ends) noexcept, (domain, type, protocol, ends), -1)
FAILING(int, connect, (int file, const sockaddr* address, socklen_t size), (file, address, size), -1)
MOVING(send, (int file, const void* bytes, std::size_t size, int flags), (file, bytes, size, flags))
MOVING(recv, (int file, void* bytes, std::size_t size, int flags), (file, bytes, size, flags))
FAILING(ssize_t, sendmsg, (int file, const msghdr* message, int flags), (file, message, flags), -1)
FAILING(ssize_t, recvmsg, (int file, msghdr* message, int flags), (file, message, flags), -1)
// Not pipe, by which sanitizers ask whether memory may be read.
FAILING(int, pipe2, (int* ends, int flags) noexcept, (ends, flags), -1)
FAILING(int, eventfd, (unsigned int value, int flags) noexcept, (value, flags), -1)
FAILING(int, epoll_create1, (int flags) noexcept, (flags), -1)
FAILING(int, epoll_ctl, (int file, int what, int watched, epoll_event* event) noexcept, (file, what, watched, event),
        -1)
FAILING(int, epoll_wait, (int file, epoll_event* events, int count, int limit), (file, events, count, limit), -1)
FAILING(int, epoll_pwait, (int file, epoll_event* events, int count, int limit, const sigset_t* signals),
        (file, events, count, limit, signals), -1)
FAILING(int, poll, (pollfd * files, nfds_t count, int limit), (files, count, limit), -1)
FAILING(int, ppoll, (pollfd * files, nfds_t count, const timespec* limit, const sigset_t* signals),
        (files, count, limit, signals), -1)

// ---------------------------------------------------------------------------------------------
// Memory

namespace {

/// What an operator that allocates does before it asks for memory: fail as the standard says, with the handler of the
/// program asked for more, as often as it can give some. All such operators count as one operation. Where the module
/// asks, `caller`, there is another one without a handler, as not every host has one.
void FailAsTold(const void* caller)
{
    static Operation allocation("new", torture::What::Allocation);
    static Operation allocationOfModule("new-module", torture::What::Allocation);
    if (torture::IsInModule(caller) && allocationOfModule.Fails() != 0)
        throw std::bad_alloc();
    while (allocation.Fails() != 0) {
        const std::new_handler handler = std::get_new_handler();
        if (!handler)
            throw std::bad_alloc();
        handler();
    }
}

template <class... Arguments>
void* CallNew(const char* symbol, Arguments... arguments)
{
    return reinterpret_cast<void* (*)(Arguments...)>(dlsym(RTLD_NEXT, symbol))(arguments...);
}

} // namespace

void* operator new(std::size_t size)
{
    FailAsTold(__builtin_return_address(0));
    static const auto original = reinterpret_cast<void* (*)(std::size_t)>(dlsym(RTLD_NEXT, "_Znwm"));
    return original(size);
}

void* operator new[](std::size_t size)
{
    FailAsTold(__builtin_return_address(0));
    static const auto original = reinterpret_cast<void* (*)(std::size_t)>(dlsym(RTLD_NEXT, "_Znam"));
    return original(size);
}

void* operator new(std::size_t size, const std::nothrow_t& tag) noexcept
{
    try {
        FailAsTold(__builtin_return_address(0));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return CallNew<std::size_t, const std::nothrow_t&>("_ZnwmRKSt9nothrow_t", size, tag);
}

void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept
{
    try {
        FailAsTold(__builtin_return_address(0));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return CallNew<std::size_t, const std::nothrow_t&>("_ZnamRKSt9nothrow_t", size, tag);
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    FailAsTold(__builtin_return_address(0));
    return CallNew("_ZnwmSt11align_val_t", size, alignment);
}

extern "C" {

void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* memory, std::size_t size) noexcept;
// Those of a sanitizer, where there is one.
[[gnu::weak]] void* __interceptor_malloc(std::size_t size) noexcept;
[[gnu::weak]] void* __interceptor_calloc(std::size_t count, std::size_t size) noexcept;
[[gnu::weak]] void* __interceptor_realloc(void* memory, std::size_t size) noexcept;

static bool AllocationFails(const void* caller)
{
    static Operation operation("malloc", torture::What::Allocation);
    if (!torture::IsInLibrary(caller) || operation.Fails() == 0)
        return false;
    errno = ENOMEM;
    return true;
}

void* malloc(std::size_t size) noexcept
{
    if (AllocationFails(__builtin_return_address(0)))
        return nullptr;
    return (__interceptor_malloc ? __interceptor_malloc : __libc_malloc)(size);
}

void* calloc(std::size_t count, std::size_t size) noexcept
{
    if (AllocationFails(__builtin_return_address(0)))
        return nullptr;
    return (__interceptor_calloc ? __interceptor_calloc : __libc_calloc)(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept
{
    if (AllocationFails(__builtin_return_address(0)))
        return nullptr;
    return (__interceptor_realloc ? __interceptor_realloc : __libc_realloc)(memory, size);
}
}

/// The module is loaded by it.
extern "C" void* dlopen(const char* file, int flags) noexcept
{
    static const auto original = Find(&::dlopen, "dlopen");
    void* library = original(file, flags);
    torture::FindLibraries();
    return library;
}
