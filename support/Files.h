// Whole files.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace support {

/// The file's bytes; none, with errno set, when it cannot be opened or read.
std::optional<std::string> ReadFile(const std::filesystem::path& path);

}  // namespace support
