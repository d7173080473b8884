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
