#include "FileAccess.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

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

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        Reset();
        m_number = other.Release();
    }
    return *this;
}

int Descriptor::Release() {
    return std::exchange(m_number, -1);
}

void Descriptor::Reset() {
    if (m_number >= 0) {
        close(m_number);
        m_number = -1;
    }
}

std::optional<std::string> ReadWhole(const std::filesystem::path& path) {
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return std::nullopt;
        }
        Refuse(path, "open", errno);
    }

    std::string text;
    char chunk[16384];
    while (true) {
        const ssize_t count = read(file.Number(), chunk, sizeof chunk);
        if (count == 0) {
            return text;
        }
        if (count > 0) {
            text.append(chunk, static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            Refuse(path, "read", errno);
        }
    }
}

bool WriteAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

void ReplaceWhole(const std::filesystem::path& path, const std::string& text) {
    static std::atomic<unsigned int> counter{0};
    const std::filesystem::path fresh =
        path.string() + "." + std::to_string(getpid()) + "." + std::to_string(counter++) + ".new";

    Descriptor file(open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
    if (!file) {
        Refuse(path, "write", errno);
    }
    if (!WriteAll(file.Number(), text) || fsync(file.Number()) != 0 ||
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
