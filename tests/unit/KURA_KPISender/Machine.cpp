#include "Machine.h"

#include <dlfcn.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <optional>

namespace machine {

std::optional<std::int64_t> g_monotonicSeconds;
std::optional<Partition> g_partition;
bool g_clockFails = false;
bool g_partitionFails = false;

}  // namespace machine

extern "C" {

int clock_gettime(clockid_t clock, std::timespec* time) noexcept {
    using Function = int(clockid_t, std::timespec*);
    static auto* const next = reinterpret_cast<Function*>(
        dlsym(RTLD_NEXT, sizeof(std::time_t) > sizeof(long) ? "__clock_gettime64" : "clock_gettime"));
    if (clock != CLOCK_MONOTONIC) {
        return next(clock, time);
    }
    if (machine::g_clockFails) {
        errno = EINVAL;
        return -1;
    }
    if (machine::g_monotonicSeconds) {
        time->tv_sec = static_cast<std::time_t>(*machine::g_monotonicSeconds);
        time->tv_nsec = 999999999;
        return 0;
    }
    return next(clock, time);
}

int statvfs(const char* path, struct statvfs* figures) noexcept {
    using Function = int(const char*, struct statvfs*);
    static auto* const next = reinterpret_cast<Function*>(
        dlsym(RTLD_NEXT, sizeof(fsblkcnt_t) > sizeof(long) ? "statvfs64" : "statvfs"));
    if (std::strcmp(path, "/opt") != 0) {
        return next(path, figures);
    }
    if (machine::g_partitionFails) {
        errno = EIO;
        return -1;
    }
    if (!machine::g_partition) {
        return next(path, figures);
    }
    *figures = {};
    figures->f_frsize = 1;
    figures->f_bsize = static_cast<unsigned long>(machine::g_partition->blockBytes);
    figures->f_blocks = static_cast<fsblkcnt_t>(machine::g_partition->blocks);
    figures->f_bavail = static_cast<fsblkcnt_t>(machine::g_partition->available);
    figures->f_bfree = static_cast<fsblkcnt_t>(machine::g_partition->free);
    return 0;
}
}
