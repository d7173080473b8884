// What was expected against what happened: plain data in, the first difference out. Nothing runs here.
#pragma once

#include <optional>
#include <string>

#include "Observation.h"
#include "Scenario.h"

namespace scenario {

struct Difference {
    std::string step;   ///< "step 2 \"repair\"", or "the end"
    std::string place;  ///< as "launches[0].app"
    std::string expected;
    std::string happened;
};

/// The observation must be of this scenario: it has a moment for every step.
std::optional<Difference> FirstDifference(const Scenario& scenario, const Observation& observation);

}  // namespace scenario
