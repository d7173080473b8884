// Whole files of the set, read and replaced so that parallel processes never see half of one.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "support/Descriptor.h"

namespace kuraset {

using support::Descriptor;
using support::WriteAll;

/// None when the file does not exist; throws SetError::Io for every other failure.
std::optional<std::string> ReadWhole(const std::filesystem::path& path);

/// While one lives, this thread does not wait for the disk: for the files of a set that does not count as
/// made.
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

/// Waits once for everything that was written below the folder; throws SetError::Io.
void SyncAll(const std::filesystem::path& folder);

/// Writes a new file beside it and renames it over; throws SetError::Io and leaves the old one.
void ReplaceWhole(const std::filesystem::path& path, const std::string& text);

/// An exclusive lock between processes, held as long as the object lives. Throws SetError::Io.
class FileLock {
public:
    explicit FileLock(const std::filesystem::path& path);

private:
    Descriptor m_descriptor;
};

}  // namespace kuraset
