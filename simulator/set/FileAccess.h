// Reads and replaces whole files of the set, so that no other process ever sees half a file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "support/Descriptor.h"

namespace kuraset {

using support::Descriptor;
using support::WriteAll;

/// The file's text; none when the file does not exist. Throws SetError::Io for every other failure.
std::optional<std::string> ReadWhole(const std::filesystem::path& path);

/// The same for the file's last bytes; the whole text of a file that has fewer.
std::optional<std::string> ReadEnd(const std::filesystem::path& path, std::uintmax_t bytes);

/// While one lives, this thread's writes do not wait for the disk. A new set needs no wait for each file,
/// because it is synced as a whole before it counts as made.
class WithoutSync {
public:
    WithoutSync() { ++s_depth; }
    WithoutSync(const WithoutSync&) = delete;
    WithoutSync& operator=(const WithoutSync&) = delete;
    ~WithoutSync() { --s_depth; }

    static bool IsActive() { return s_depth > 0; }

private:
    static thread_local int s_depth;
};

/// Waits once until everything that was written below the folder is on the disk; throws SetError::Io.
void SyncAll(const std::filesystem::path& folder);

/// Writes a new file beside path and renames it over the old one. Throws SetError::Io and keeps the old one.
void ReplaceWhole(const std::filesystem::path& path, const std::string& text);

/// Holds an exclusive lock between processes while the object lives. Throws SetError::Io.
class FileLock {
public:
    explicit FileLock(const std::filesystem::path& path);

private:
    Descriptor m_descriptor;
};

}  // namespace kuraset
