#include "GuardedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#if __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#endif

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace KURA::base {

namespace {

constexpr mode_t kNewFileMode = 0666;
constexpr int kSafeFlags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// An open descriptor, closed on every path out; closing keeps errno.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : m_fd(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Descriptor() {
        if (m_fd >= 0) {
            const int savedErrno = errno;
            close(m_fd);
            errno = savedErrno;
        }
    }
    int Get() const { return m_fd; }
    int Release() {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }

private:
    int m_fd;
};

/// Opens path and follows no link in it. -1 with ENOSYS or EPERM where the kernel does not offer openat2, or
/// a system call filter denies it.
int OpenWithoutLinks([[maybe_unused]] const char* path, [[maybe_unused]] int flags) {
#if defined(RESOLVE_NO_SYMLINKS) && defined(__NR_openat2)
    open_how how{};
    how.flags = static_cast<__u64>(flags);
    how.mode = (flags & O_CREAT) != 0 ? kNewFileMode : 0;
    how.resolve = RESOLVE_NO_SYMLINKS;
    // The kernel headers' name: glibc 2.31 has none yet.
    return static_cast<int>(syscall(__NR_openat2, AT_FDCWD, path, &how, sizeof how));
#else
    errno = ENOSYS;
    return -1;
#endif
}

/// Opens a folder of a folder. A link is refused with ELOOP, as openat2 does.
Descriptor OpenFolderIn(const Descriptor& folder, const char* name) {
    Descriptor opened(openat(folder.Get(), name, kFolderFlags));
    struct stat status {};
    if (opened.Get() < 0 && errno == ENOTDIR) {
        const bool isLink =
            fstatat(folder.Get(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
        errno = isLink ? ELOOP : ENOTDIR;
    }
    return opened;
}

/// Does the same as OpenWithoutLinks on older kernels: opens one folder after the other, from the root or
/// from the current folder, and follows no link in any step.
int OpenStepByStep(const char* path, int flags) {
    Descriptor folder(open(*path == '/' ? "/" : ".", kFolderFlags));
    const char* part = path + std::strspn(path, "/");
    while (const char* slash = std::strchr(part, '/')) {
        if (folder.Get() < 0) {
            return -1;
        }
        const std::string name(part, slash);
        folder = OpenFolderIn(folder, name.c_str());
        part = slash + std::strspn(slash, "/");
    }
    return folder.Get() < 0 ? -1 : openat(folder.Get(), part, flags, kNewFileMode);
}

int OpenDescriptor(const char* path, int flags) {
    const int fd = OpenWithoutLinks(path, flags);
    if (fd >= 0 || (errno != ENOSYS && errno != EPERM)) {
        return fd;
    }
    return OpenStepByStep(path, flags);
}

/// Accepts only a regular file, and for writing only one that has no second name (hard link).
bool IsAcceptable(int fd, bool forWriting) {
    struct stat status {};
    if (fstat(fd, &status) != 0) {
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return false;
    }
    if (forWriting && status.st_nlink != 1) {
        errno = EMLINK;
        return false;
    }
    return true;
}

File ToStream(Descriptor& descriptor, const char* mode) {
    File file(fdopen(descriptor.Get(), mode));
    if (file != nullptr) {
        descriptor.Release();
    }
    return file;
}

}  // namespace

bool IsPlainPath(const char* path, std::string* resolved) {
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path, nullptr), &std::free);
    if (real == nullptr) {
        if (resolved != nullptr) {
            resolved->clear();
        }
        return errno == ENOENT;
    }
    if (resolved != nullptr) {
        *resolved = real.get();
    }
    if (std::strcmp(real.get(), path) != 0) {
        errno = ELOOP;
        return false;
    }
    return true;
}

File OpenPlainFile(const char* path, WriteMode mode) {
    const bool readWrite = mode == WriteMode::kReadWrite;
    Descriptor descriptor(OpenDescriptor(path, (readWrite ? O_RDWR : O_WRONLY) | O_CREAT | kSafeFlags));
    if (descriptor.Get() < 0 || !IsAcceptable(descriptor.Get(), true) ||
        ftruncate(descriptor.Get(), 0) != 0) {
        return nullptr;
    }
    return ToStream(descriptor, readWrite ? "w+" : "w");
}

File OpenGuarded(const char* path) {
    if (!IsPlainPath(path)) {
        return nullptr;
    }
    return OpenPlainFile(path, WriteMode::kWrite);
}

bool WriteAndClose(File file, const std::string& text) {
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    return std::fclose(file.release()) == 0 && written;
}

bool WriteGuarded(const std::string& path, const std::string& text) {
    return WriteAndClose(OpenGuarded(path.c_str()), text);
}

void RemoveFile(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const Descriptor folder(OpenDescriptor(path.substr(0, slash).c_str(), kFolderFlags));
    if (folder.Get() >= 0) {
        unlinkat(folder.Get(), path.c_str() + slash + 1, 0);
    }
}

File OpenPlainFileForReading(const char* path) {
    Descriptor descriptor(OpenDescriptor(path, O_RDONLY | kSafeFlags));
    if (descriptor.Get() < 0 || !IsAcceptable(descriptor.Get(), false)) {
        return nullptr;
    }
    return ToStream(descriptor, "r");
}

}  // namespace KURA::base
