// Reads and writes whole files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace support {

/// Returns the file's bytes, or nothing, with errno set, when it cannot be opened or read.
std::optional<std::string> ReadFile(const std::filesystem::path& path);

/// Puts the text in the file's place in one step, with the permissions of the file. Returns false, and leaves
/// the file as it is, when that cannot be written. A link to a file stays a link.
bool ReplaceFile(const std::filesystem::path& path, const std::string& text);

}  // namespace support
