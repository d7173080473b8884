// A scenario from what happens: the set as it stands before becomes the start, each verb a step, and what it
// does what is expected of it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Observation.h"
#include "Scenario.h"
#include "set/KuraSet.h"

namespace scenario {

struct Recording {
    Json document;                ///< the scenario
    std::vector<Moment> moments;  ///< one of each verb
};

/// Runs the verbs on the set, for good, and returns the scenario. The set's clock stands still meanwhile.
/// Throws ScenarioError, kuraset::SetError and Interrupted; verbs that ran by then have run.
Recording Record(const kuraset::SetDirectory& set, const std::vector<std::vector<std::string>>& verbs,
                 const std::filesystem::path& kura);

/// The document as text, wide enough to read and narrow enough to compare.
std::string ScenarioText(const Json& document);

/// The set as changes to a fresh one: what a scenario has under "set".
Json OverlayOf(const kuraset::SetDirectory& set, const kuraset::SetDirectory& fresh);

}  // namespace scenario
