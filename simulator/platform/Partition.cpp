// The user partition. A set's files lie on whatever disk the machine has, and are sparse, so the machine's
// own figures say nothing of the set. With "opt_size" in set.json the set has a partition of that size, used
// by the files below /opt at their full sizes: statvfs() below then replaces the C library's for that one
// path.
#include <dlfcn.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "CurrentSet.h"
#include "set/AppFolders.h"

namespace {

constexpr const char* kOpt = "/opt";
constexpr unsigned int kBlockSize = 4096;

/// Below 0 when the set has no partition of its own.
std::int64_t PartitionSize() {
    return kuraset::CurrentSet::Get().Read<std::int64_t>("/opt_size", -1);
}

struct statvfs FiguresFor(std::int64_t size) {
    const std::int64_t used = std::min(kuraset::FolderSize(kOpt, kOpt), size);
    struct statvfs figures {};
    figures.f_bsize = kBlockSize;
    figures.f_frsize = kBlockSize;
    figures.f_blocks = static_cast<fsblkcnt_t>(size / kBlockSize);
    figures.f_bfree = static_cast<fsblkcnt_t>((size - used) / kBlockSize);
    figures.f_bavail = figures.f_bfree;
    return figures;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int statvfs(const char* path,
                                                              struct statvfs* figures) noexcept {
    const std::int64_t size = std::strcmp(path, kOpt) == 0 ? PartitionSize() : -1;
    if (size >= 0) {
        *figures = FiguresFor(size);
        return 0;
    }
    using Function = int (*)(const char*, struct statvfs*);
    const auto original = reinterpret_cast<Function>(
        dlsym(RTLD_NEXT, sizeof(fsblkcnt_t) > sizeof(long) ? "statvfs64" : "statvfs"));
    return original(path, figures);
}
