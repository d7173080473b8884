#pragma once

#include <filesystem>

#include "PrivateValues.h"

namespace cli {

/// Replaces the private values in every text and blob of an SQLite file, and leaves no free page that still
/// holds them. A journal beside the file is applied and removed. Throws std::runtime_error with SQLite's
/// words; the file may then be half cleaned.
void CleanStore(const std::filesystem::path& path, PrivateValues& values);

}  // namespace cli
