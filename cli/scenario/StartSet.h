// A scenario's set: made from its base, and changed as the scenario says.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Scenario.h"
#include "set/KuraSet.h"

namespace scenario {

/// Carries the changes out. Throws ScenarioError or kuraset::SetError.
void Apply(const Changes& changes, const kuraset::SetDirectory& set);

/// Makes the set at path, where nothing is yet, as it is before the first step. kura is the command that
/// makes it from the base.
kuraset::SetDirectory MakeStartSet(const Scenario& scenario, const std::filesystem::path& path,
                                   const std::filesystem::path& kura);

/// Where a path that the library sees lies in the set's folder; none when a link stands on the way, which
/// could lead out of the set.
std::optional<std::filesystem::path> InSet(const kuraset::SetDirectory& set, const std::string& path);

}  // namespace scenario
