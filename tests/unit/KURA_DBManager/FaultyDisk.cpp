#include "FaultyDisk.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>

namespace {

disk::Fault g_fault;
bool g_armed = false;
bool g_struck = false;
bool g_readOnly = false;
std::size_t g_calls = 0;
std::atomic<std::size_t> g_syncs{0};
std::atomic<void (*)()> g_onSync{nullptr};

void NoteSync() {
    ++g_syncs;
    if (auto* const function = g_onSync.load()) {
        function();
    }
}

/// Whether this call has to fail, errno being set.
bool Strikes(disk::Operation operation) {
    if (!g_armed || operation != g_fault.operation) {
        return false;
    }
    ++g_calls;
    if (g_calls < g_fault.at || (g_calls > g_fault.at && !g_fault.everAfter)) {
        return false;
    }
    g_struck = true;
    errno = g_fault.error;
    return true;
}

template <typename Function>
Function* Next(const char* name, Function*) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#define NEXT(name) Next(#name, static_cast<decltype(&::name)>(nullptr))

int OpenNext(const char* path, int flags, mode_t mode) {
    constexpr int kWriting = O_WRONLY | O_RDWR | O_CREAT;
    if (g_readOnly && (flags & kWriting) != 0) {
        errno = EROFS;
        return -1;
    }
    if (Strikes(disk::Operation::kOpen)) {
        return -1;
    }
    static auto* const next = NEXT(open64);
    return next(path, flags, mode);
}

}  // namespace

namespace disk {

Failing::Failing(const Fault& fault) {
    g_fault = fault;
    g_calls = 0;
    g_struck = false;
    g_armed = true;
}

Failing::~Failing() {
    g_armed = false;
}

bool Failing::Struck() {
    return g_struck;
}

ReadOnly::ReadOnly() {
    g_readOnly = true;
}

ReadOnly::~ReadOnly() {
    g_readOnly = false;
}

std::size_t SyncCount() {
    return g_syncs;
}

void OnSync(void (*function)()) {
    g_onSync = function;
}

}  // namespace disk

extern "C" {

int open64(const char* path, int flags, ...) {
    std::va_list values;
    va_start(values, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(values, mode_t) : 0;
    va_end(values);
    return OpenNext(path, flags, mode);
}

ssize_t pread64(int fd, void* buffer, size_t size, off64_t offset) {
    static auto* const next = NEXT(pread64);
    return Strikes(disk::Operation::kRead) ? -1 : next(fd, buffer, size, offset);
}

ssize_t pwrite64(int fd, const void* buffer, size_t size, off64_t offset) {
    static auto* const next = NEXT(pwrite64);
    return Strikes(disk::Operation::kWrite) ? -1 : next(fd, buffer, size, offset);
}

int fsync(int fd) {
    static auto* const next = NEXT(fsync);
    NoteSync();
    return Strikes(disk::Operation::kSync) ? -1 : next(fd);
}

int fdatasync(int fd) {
    static auto* const next = NEXT(fdatasync);
    NoteSync();
    return Strikes(disk::Operation::kSync) ? -1 : next(fd);
}

int ftruncate64(int fd, off64_t size) noexcept {
    static auto* const next = NEXT(ftruncate64);
    return Strikes(disk::Operation::kTruncate) ? -1 : next(fd, size);
}

int unlink(const char* path) noexcept {
    static auto* const next = NEXT(unlink);
    return Strikes(disk::Operation::kUnlink) ? -1 : next(path);
}
}
