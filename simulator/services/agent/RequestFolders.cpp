#include "RequestFolders.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "set/KuraSet.h"

namespace kuraset {

namespace fs = std::filesystem;

namespace {

constexpr off_t kLongestRequest = 64 * 1024;

}  // namespace

RequestFolders::RequestFolders(const fs::path& tmp) {
    for (const char* name : {"vardo", "vardo/req", "vardo/ack"}) {
        const fs::path path = tmp / name;
        if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) {
            throw SetError(SetError::Kind::Io, path.string() + ": cannot create: " + std::strerror(errno));
        }
        Descriptor opened(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!opened) {
            throw SetError(SetError::Kind::Io, path.string() + ": cannot open: " + std::strerror(errno));
        }
        m_folders.push_back({path, std::move(opened)});
    }
}

bool RequestFolders::Intact() const {
    for (const Folder& folder : m_folders) {
        struct stat opened {};
        struct stat named {};
        if (fstat(folder.descriptor.Number(), &opened) != 0 || lstat(folder.path.c_str(), &named) != 0 ||
            opened.st_ino != named.st_ino || opened.st_dev != named.st_dev) {
            return false;
        }
    }
    return true;
}

std::optional<std::string> RequestFolders::Read(Place place, const std::string& name) const {
    const Descriptor file(openat(At(place).descriptor.Number(), name.c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file || fstat(file.Number(), &status) != 0 || !S_ISREG(status.st_mode) ||
        status.st_size > kLongestRequest) {
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    const ssize_t count = pread(file.Number(), text.data(), text.size(), 0);
    if (count < 0) {
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(count));
    return text;
}

bool RequestFolders::IsRegular(Place place, const std::string& name) const {
    struct stat status {};
    return fstatat(At(place).descriptor.Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode);
}

bool RequestFolders::Write(Place place, const std::string& name, const std::string& text) const {
    const int folder = At(place).descriptor.Number();
    unlinkat(folder, name.c_str(), 0);
    const Descriptor file(
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    return file && WriteAll(file.Number(), text);
}

bool RequestFolders::Remove(Place place, const std::string& name) const {
    return unlinkat(At(place).descriptor.Number(), name.c_str(), 0) == 0;
}

std::vector<std::string> RequestFolders::RequestNames() const {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(Path(Place::Requests).c_str()), &closedir);
    while (const dirent* entry = listing ? readdir(listing.get()) : nullptr) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
    return names;
}

}  // namespace kuraset
