// Reads whole files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace support {

/// Returns the file's bytes, or nothing, with errno set, when it cannot be opened or read.
std::optional<std::string> ReadFile(const std::filesystem::path& path);

}  // namespace support
