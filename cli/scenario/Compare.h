// Compares what was expected with what happened. It takes plain data and returns the first difference; it
// runs nothing.
#pragma once

#include <optional>
#include <string>

#include "Observation.h"
#include "Scenario.h"

namespace scenario {

struct Difference {
    std::string step;   ///< "step 2 \"repair\"", or "the end"
    std::string place;  ///< for example "launches[0].app"
    std::string expected;
    std::string happened;
};

/// The observation must belong to this scenario: it has a moment for every step.
std::optional<Difference> FirstDifference(const Scenario& scenario, const Observation& observation);

}  // namespace scenario
