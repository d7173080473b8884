#include "AppFolders.h"

#include <cstdio>
#include <memory>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FileAccess.h"

namespace kuraset {

namespace fs = std::filesystem;

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kMaxDepth = 256;

/// Opens a folder step by step from the root, so that no component is a link.
Descriptor OpenBelow(const fs::path& root, const fs::path& folder) {
    const fs::path steps = folder.lexically_relative(root);
    if (steps.empty()) {
        return Descriptor();
    }
    Descriptor current(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (const fs::path& step : steps) {
        if (!current || step == ".." || step.empty()) {
            return Descriptor();
        }
        if (step != ".") {
            current = Descriptor(openat(current.Number(), step.c_str(), kFolderFlags));
        }
    }
    return current;
}

std::vector<std::string> NamesIn(int folder) {
    std::vector<std::string> names;
    Descriptor copy(openat(folder, ".", kFolderFlags));
    if (!copy) {
        return names;
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(fdopendir(copy.Number()), &closedir);
    if (!listing) {
        return names;
    }
    copy.Release();
    while (const dirent* entry = readdir(listing.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(name);
        }
    }
    return names;
}

std::int64_t SizeOf(int folder, int depth) {
    std::int64_t bytes = 0;
    for (const std::string& name : NamesIn(folder)) {
        struct stat status {};
        if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        if (S_ISREG(status.st_mode)) {
            bytes += status.st_size;
        } else if (S_ISDIR(status.st_mode) && depth < kMaxDepth) {
            const Descriptor inner(openat(folder, name.c_str(), kFolderFlags));
            bytes += inner ? SizeOf(inner.Number(), depth + 1) : 0;
        }
    }
    return bytes;
}

void Empty(int folder, int depth, Removal& removal) {
    for (const std::string& name : NamesIn(folder)) {
        struct stat status {};
        if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        const bool isFolder = S_ISDIR(status.st_mode);
        if (isFolder && depth < kMaxDepth) {
            const Descriptor inner(openat(folder, name.c_str(), kFolderFlags));
            if (inner) {
                Empty(inner.Number(), depth + 1, removal);
            }
        }
        if (unlinkat(folder, name.c_str(), isFolder ? AT_REMOVEDIR : 0) != 0) {
            ++removal.failures;
            continue;
        }
        ++removal.entries;
        removal.bytes += S_ISREG(status.st_mode) ? status.st_size : 0;
    }
}

}  // namespace

bool IsPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.size() < 256 &&
           name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

std::string DefaultIconFolder(const std::string& package) {
    return "/opt/usr/apps/" + package + "/shared/res/";
}

bool IsOwnFolder(const fs::path& root, const fs::path& folder) {
    return static_cast<bool>(OpenBelow(root, folder));
}

std::int64_t FolderSize(const fs::path& root, const fs::path& folder) {
    const Descriptor opened = OpenBelow(root, folder);
    return opened ? SizeOf(opened.Number(), 0) : 0;
}

Removal EmptyFolder(const fs::path& root, const fs::path& folder) {
    Removal removal;
    const Descriptor opened = OpenBelow(root, folder);
    if (opened) {
        Empty(opened.Number(), 0, removal);
    }
    return removal;
}

}  // namespace kuraset
