#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

#include "Verbs.h"

namespace cli {

/// Sorted.
std::vector<std::string> SnapshotNames(const std::filesystem::path& set);

/// The sets in the folder that holds this one, sorted.
std::vector<std::filesystem::path> SetsBeside(const std::filesystem::path& set);

/// Declares snapshot, restore, diff, list and remove below "set".
void AddSnapshotVerbs(CLI::App& set, const Session& session, Selection& selection);

}  // namespace cli
