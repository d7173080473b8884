// Locks the set's directory itself, so that no lock file stays in the set. /proc/locks tells which process
// holds it.
#include "SetUse.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include "FileAccess.h"

namespace kuraset {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kBetweenLooks{20};

Descriptor OpenWritable(const fs::path& set) {
    Descriptor folder(open(set.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        throw SetError(SetError::Kind::Io, set.string() + ": cannot open: " + std::strerror(errno));
    }
    if (faccessat(AT_FDCWD, set.c_str(), W_OK, AT_EACCESS) != 0) {
        throw SetError(SetError::Kind::Io,
                       set.string() + ": the set is read-only, and a run writes to it (run on a copy)");
    }
    return folder;
}

/// Returns the process that holds the lock in a line of /proc/locks, such as
/// "3: FLOCK  ADVISORY  WRITE 7711 fe:00:131075 0 EOF", or 0 when the line is for another file.
int HolderIn(const std::string& line, const struct stat& file) {
    std::istringstream words(line);
    std::string number;
    std::string kind;
    std::string mode;
    std::string access;
    int process = 0;
    std::string place;
    words >> number >> kind >> mode >> access >> process >> place;
    char wanted[64];
    std::snprintf(wanted, sizeof wanted, "%02x:%02x:%llu", major(file.st_dev), minor(file.st_dev),
                  static_cast<unsigned long long>(file.st_ino));
    return kind == "FLOCK" && place == wanted ? process : 0;
}

std::string CommandLine(int process) {
    std::string line =
        ReadWhole(fs::path("/proc") / std::to_string(process) / "cmdline").value_or(std::string());
    line.erase(line.find_last_not_of('\0') + 1);
    for (char& c : line) {
        c = static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    }
    return line;
}

std::string Holder(int folder) {
    struct stat file {};
    std::ifstream locks("/proc/locks");
    if (fstat(folder, &file) == 0) {
        for (std::string line; std::getline(locks, line);) {
            const int process = HolderIn(line, file);
            if (process > 0) {
                return "process " + std::to_string(process) + " (" + CommandLine(process) + ")";
            }
        }
    }
    return "another process";
}

bool LockInTime(int folder, std::chrono::milliseconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EINTR && errno != EWOULDBLOCK) || std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return true;
}

}  // namespace

SetUse::SetUse(const fs::path& set, std::chrono::milliseconds patience) {
    Descriptor folder = OpenWritable(set);
    if (!LockInTime(folder.Number(), patience)) {
        throw SetError(SetError::Kind::Io,
                       set.string() + ": the set is in use by " + Holder(folder.Number()));
    }
    m_descriptor = folder.Release();
}

SetUse::~SetUse() {
    close(m_descriptor);
}

}  // namespace kuraset
