// Records a scenario: the set before the first verb becomes the start, each verb becomes a step, and its
// effects become the step's expectations.
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
    std::vector<Moment> moments;  ///< one for each verb
};

/// Runs the verbs on the set itself and returns the scenario. The set's clock stands still meanwhile. Throws
/// ScenarioError, kuraset::SetError and Interrupted; the set then keeps the effects of the verbs that ran.
Recording Record(const kuraset::SetDirectory& set, const std::vector<std::vector<std::string>>& verbs,
                 const std::filesystem::path& kura);

/// The document as text, with lines short enough to compare and long enough to read.
std::string ScenarioText(const Json& document);

/// The changes that turn a fresh set into this one, as a scenario has them under "set".
Json OverlayOf(const kuraset::SetDirectory& set, const kuraset::SetDirectory& fresh);

}  // namespace scenario
