// Runs many scenarios side by side, each on a set of its own, and collects their results.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Compare.h"
#include "Runner.h"

namespace scenario {

struct Result {
    enum class Kind { kOk, kDifferent, kUnreadable, kFailed };

    std::string file;
    std::string name;
    Kind kind = Kind::kOk;
    std::optional<Difference> difference;
    std::string message;  ///< why the scenario could not be read or run
    std::size_t steps = 0;
    double seconds = 0;
};

const char* NameOf(Result::Kind kind);

/// Returns the results in the order of the files. The threads that run the scenarios call finished, one at a
/// time. Throws Interrupted once everything that ran is cleared away.
std::vector<Result> Replay(const std::vector<std::filesystem::path>& files, const RunOptions& options,
                           unsigned jobs, const std::function<void(const Result&)>& finished);

/// The results as JUnit's XML, one test case for each scenario.
std::string JUnitText(const std::vector<Result>& results);

}  // namespace scenario
