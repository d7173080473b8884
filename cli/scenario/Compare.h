// Compares what was expected with what happened. It takes plain data and returns the differences; it runs
// nothing.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Observation.h"
#include "Patterns.h"
#include "Scenario.h"

namespace scenario {

struct Difference {
    std::string step;   ///< "step 2 \"repair\"", or "the end"
    std::string place;  ///< for example "launches[0].app"
    std::string expected;
    std::string happened;
};

/// The difference for people in three lines, each behind the indentation.
std::string DifferenceText(const Difference& difference, const std::string& indentation);

/// The first place at which one expectation, other than that of the exit code, differs from what happened.
std::optional<Mismatch> Compare(const std::string& name, const Json& expected, const Moment& moment);

/// Every expectation that does not hold, in the order of the file, each with the first place at which it
/// differs. The observation must belong to this scenario: it has a moment for every step.
std::vector<Difference> Differences(const Scenario& scenario, const Observation& observation);

}  // namespace scenario
