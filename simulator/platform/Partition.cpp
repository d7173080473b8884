// The user partition. A set's files lie on any disk of the machine and are sparse, so the machine's own
// figures say nothing about the set. "opt_size" in set.json gives the set a partition of that size, in which
// the files below /opt count with their full sizes. statvfs() below replaces the C library's function for
// that one path.
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

/// The size of the set's own partition; negative when it has none.
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
