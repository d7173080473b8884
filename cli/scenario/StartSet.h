// Makes a scenario's set from its base and changes it as the scenario says.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Scenario.h"
#include "set/KuraSet.h"

namespace scenario {

/// Makes the changes. Throws ScenarioError or kuraset::SetError.
void Apply(const Changes& changes, const kuraset::SetDirectory& set);

/// Makes the set as it is before the first step, at path, where nothing exists yet. kura: the command that
/// makes it from the base.
kuraset::SetDirectory MakeStartSet(const Scenario& scenario, const std::filesystem::path& path,
                                   const std::filesystem::path& kura);

/// Finds the place in the set's folder of a path that the library sees. None when a folder on the way is a
/// link, because it could lead out of the set.
std::optional<std::filesystem::path> InSet(const kuraset::SetDirectory& set, const std::string& path);

}  // namespace scenario
