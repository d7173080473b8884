// Runs a scenario on a set of its own, through kura processes. This process does not load the library.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Observation.h"
#include "Scenario.h"
#include "set/KuraSet.h"

namespace scenario {

struct RunOptions {
    std::filesystem::path kura;  ///< the command
    std::filesystem::path keep;  ///< a folder that keeps the sets, each under its scenario's name; when
                                 ///< empty, the sets are removed
};

/// Throws ScenarioError, kuraset::SetError and Interrupted. An unexpected exit code of a verb is no error.
Observation Run(const Scenario& scenario, const RunOptions& options);

/// Runs one verb on a set and reads the state after it. environment: additions to this process's own.
Moment RunVerb(const kuraset::SetDirectory& set, const std::vector<std::string>& verb, const Json& expect,
               const std::filesystem::path& kura,
               const std::vector<std::pair<std::string, std::string>>& environment = {});

}  // namespace scenario
