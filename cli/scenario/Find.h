// Which files to replay.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace scenario {

/// The scenarios that the names stand for: a file; the files *.json of a folder and of the folders in it that
/// have "steps" or cannot be read; or what a pattern as of a shell fits. Each comes once, in the order of the
/// names, those of one name sorted. Throws ScenarioError for a pattern or a folder without any.
std::vector<std::filesystem::path> FindScenarios(const std::vector<std::string>& names);

/// Whether the text occurs in the scenario's path or name; with wildcards (* ? [) it has to fit the whole of
/// one.
bool IsMeant(const std::filesystem::path& file, const std::string& text);

}  // namespace scenario
