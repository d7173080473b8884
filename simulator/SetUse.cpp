#include "SetUse.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <thread>

#include "FileAccess.h"

namespace kuraset {

namespace {

constexpr std::chrono::milliseconds kBetweenLooks{20};

Descriptor OpenLock(const std::filesystem::path& set, const std::filesystem::path& path) {
    Descriptor lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0666));
    if (lock) {
        return lock;
    }
    if (errno == EROFS || errno == EACCES || errno == EPERM) {
        throw SetError(SetError::Kind::Io,
                       set.string() + ": the set is read-only, and a run writes to it (run on a copy)");
    }
    throw SetError(SetError::Kind::Io, path.string() + ": cannot open: " + std::strerror(errno));
}

/// Who holds the lock wrote one line: its number and what it does.
std::string Holder(const std::filesystem::path& path) {
    std::string line = ReadWhole(path).value_or("");
    line.erase(line.find_last_not_of('\n') + 1);
    return line.empty() ? "another process" : "process " + line;
}

bool TakeInTime(int lock, std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(lock, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EINTR && errno != EWOULDBLOCK) {
            return false;
        }
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return true;
}

}  // namespace

SetUse::SetUse(const std::filesystem::path& set, const std::string& doing,
               std::chrono::milliseconds patience) {
    const std::filesystem::path path = set / "use.lock";
    Descriptor lock = OpenLock(set, path);
    if (!TakeInTime(lock.Number(), patience)) {
        throw SetError(SetError::Kind::Io, set.string() + ": the set is in use by " + Holder(path));
    }
    const std::string line = std::to_string(getpid()) + " (" + doing + ")\n";
    // For the message of others alone: on a full disk the lock still holds.
    static_cast<void>(ftruncate(lock.Number(), 0) == 0 && WriteAll(lock.Number(), line));
    m_descriptor = lock.Release();
}

SetUse::~SetUse() {
    // The line goes first, so that nobody reads it as that of the next holder.
    static_cast<void>(ftruncate(m_descriptor, 0));
    close(m_descriptor);
}

}  // namespace kuraset
