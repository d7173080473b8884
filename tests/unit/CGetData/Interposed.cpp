#include "Interposed.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

namespace {

struct State {
    std::mutex mutex;
    std::vector<std::chrono::nanoseconds> waits;
    std::function<void(int)> onWait;
    std::string watchedPath;
    std::function<void(int)> onStat;
    int statCount = 0;
    std::string resolvedPath;
    std::function<void()> afterRealpath;
    std::vector<std::string> removed;
    std::function<void()> beforeRemoval;
    std::optional<struct statvfs> partition;
    bool failStatvfs = false;
    std::string measuredPath;
    std::vector<std::string> commands;
    bool failPopen = false;
    std::optional<std::string> commandAnswer;
};

State& Get() {
    static auto* state = new State;
    return *state;
}

void Wait(std::chrono::nanoseconds duration) {
    State& state = Get();
    int number = 0;
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        state.waits.push_back(duration);
        number = static_cast<int>(state.waits.size());
    }
    if (state.onWait) {
        state.onWait(number);
    }
}

void ActAfterRealpath(const char* path) {
    State& state = Get();
    if (!state.afterRealpath || state.resolvedPath != path) {
        return;
    }
    const int savedErrno = errno;
    const std::function<void()> action = std::exchange(state.afterRealpath, nullptr);
    action();
    errno = savedErrno;
}

void NoteLook(const char* path) {
    State& state = Get();
    if (state.watchedPath.empty() || state.watchedPath != path) {
        return;
    }
    ++state.statCount;
    if (state.onStat) {
        state.onStat(state.statCount);
    }
}

/// The folder that a descriptor leads to, with a slash behind it; nothing for the current one.
std::string FolderOf(int folder) {
    if (folder == AT_FDCWD) {
        return "";
    }
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(folder), error).string() + "/";
}

template <typename Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace interposed {

std::vector<std::chrono::nanoseconds> Waits() {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    return Get().waits;
}

void OnWait(std::function<void(int)> action) {
    Get().onWait = std::move(action);
}

void OnStat(const std::string& path, std::function<void(int)> action) {
    Get().watchedPath = path;
    Get().onStat = std::move(action);
}

int StatCount() {
    return Get().statCount;
}

void AfterRealpath(const std::string& path, std::function<void()> action) {
    Get().resolvedPath = path;
    Get().afterRealpath = std::move(action);
}

std::vector<std::string> Removed() {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    return Get().removed;
}

void BeforeRemoval(std::function<void()> action) {
    Get().beforeRemoval = std::move(action);
}

void SetPartition(const struct statvfs& status) {
    Get().partition = status;
}

void FailStatvfs() {
    Get().failStatvfs = true;
}

std::string MeasuredPath() {
    return Get().measuredPath;
}

std::vector<std::string> Commands() {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    return Get().commands;
}

void FailPopen() {
    Get().failPopen = true;
}

void AnswerCommands(const std::string& text) {
    Get().commandAnswer = text;
}

void Forget() {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().waits = {};
    Get().removed = {};
    Get().commands = {};
}

}  // namespace interposed

extern "C" {

int nanosleep(const struct timespec* duration, struct timespec*) {
    Wait(std::chrono::seconds(duration->tv_sec) + std::chrono::nanoseconds(duration->tv_nsec));
    return 0;
}

int clock_nanosleep(clockid_t, int, const struct timespec* duration, struct timespec*) {
    return nanosleep(duration, nullptr);
}

unsigned int sleep(unsigned int seconds) {
    Wait(std::chrono::seconds(seconds));
    return 0;
}

int usleep(useconds_t microseconds) {
    Wait(std::chrono::microseconds(microseconds));
    return 0;
}

int stat(const char* path, struct stat* status) noexcept {
    NoteLook(path);
    return fstatat(AT_FDCWD, path, status, 0);
}

int lstat(const char* path, struct stat* status) noexcept {
    NoteLook(path);
    return fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}

int unlinkat(int folder, const char* name, int flags) noexcept {
    {
        const std::lock_guard<std::mutex> lock(Get().mutex);
        Get().removed.push_back(FolderOf(folder) + name);
    }
    if (const auto action = std::exchange(Get().beforeRemoval, nullptr)) {
        action();
    }
    return static_cast<int>(syscall(SYS_unlinkat, folder, name, flags));
}

int unlink(const char* path) noexcept {
    return unlinkat(AT_FDCWD, path, 0);
}

char* realpath(const char* path, char* resolved) noexcept {
    static auto* next = Next<char*(const char*, char*)>("realpath");
    char* result = next(path, resolved);
    ActAfterRealpath(path);
    return result;
}

/// What realpath is with fortified buffers.
char* __realpath_chk(const char* path, char* resolved, std::size_t) noexcept {
    return realpath(path, resolved);
}

int statvfs(const char* path, struct statvfs* status) noexcept {
    State& state = Get();
    state.measuredPath = path;
    if (state.failStatvfs) {
        errno = EIO;
        return -1;
    }
    if (state.partition) {
        *status = *state.partition;
        return 0;
    }
    constexpr bool kIsWide = sizeof(fsblkcnt_t) > sizeof(long);
    static auto* next = Next<int(const char*, struct statvfs*)>(kIsWide ? "statvfs64" : "statvfs");
    return next(path, status);
}

FILE* popen(const char* command, const char* mode) {
    {
        const std::lock_guard<std::mutex> lock(Get().mutex);
        Get().commands.push_back(std::string(mode) + " " + command);
    }
    if (Get().failPopen) {
        errno = EMFILE;
        return nullptr;
    }
    if (std::optional<std::string>& answer = Get().commandAnswer) {
        return fmemopen(answer->data(), answer->size(), "r");
    }
    static auto* next = Next<FILE*(const char*, const char*)>("popen");
    return next(command, mode);
}

}  // extern "C"
