#include "FileAccess.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "KuraSet.h"

namespace kuraset {

namespace {

[[noreturn]] void Refuse(const std::filesystem::path& path, const char* step, int error) {
    throw SetError(SetError::Kind::Io, path.string() + ": cannot " + step + ": " + std::strerror(error));
}

}  // namespace

thread_local int WithoutSync::s_depth = 0;

std::optional<std::string> ReadWhole(const std::filesystem::path& path) {
    return ReadEnd(path, std::numeric_limits<off_t>::max());
}

std::optional<std::string> ReadEnd(const std::filesystem::path& path, std::uintmax_t bytes) {
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return std::nullopt;
        }
        Refuse(path, "open", errno);
    }
    // Fails, and leaves the place at the start, in a file that is shorter.
    lseek(file.Number(), -static_cast<off_t>(bytes), SEEK_END);
    std::optional<std::string> text = support::ReadAll(file.Number());
    if (!text) {
        Refuse(path, "read", errno);
    }
    return text;
}

void SyncAll(const std::filesystem::path& folder) {
    Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened || syncfs(opened.Number()) != 0) {
        Refuse(folder, "write", errno);
    }
}

void ReplaceWhole(const std::filesystem::path& path, const std::string& text) {
    static std::atomic<unsigned int> counter{0};
    const std::filesystem::path fresh =
        path.string() + "." + std::to_string(getpid()) + "." + std::to_string(counter++) + ".new";

    Descriptor file(open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
    if (!file) {
        Refuse(path, "write", errno);
    }
    const bool isSyncedLater = WithoutSync::IsActive();
    if (!WriteAll(file.Number(), text) || (!isSyncedLater && fsync(file.Number()) != 0) ||
        rename(fresh.c_str(), path.c_str()) != 0) {
        const int error = errno;
        unlink(fresh.c_str());
        Refuse(path, "write", error);
    }
}

FileLock::FileLock(const std::filesystem::path& path)
    : m_descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666)) {
    if (!m_descriptor) {
        Refuse(path, "lock", errno);
    }
    while (flock(m_descriptor.Number(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            Refuse(path, "lock", errno);
        }
    }
}

}  // namespace kuraset
