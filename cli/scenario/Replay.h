// Many scenarios, each on a set of its own and so side by side, and what came of them.
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
    std::string message;  ///< why it is unreadable, or could not be run
    std::size_t steps = 0;
    double seconds = 0;
};

const char* NameOf(Result::Kind kind);

/// In the order of the files; finished is called from the threads that run them, one call at a time. Throws
/// Interrupted once everything that ran is cleared away.
std::vector<Result> Replay(const std::vector<std::filesystem::path>& files, const RunOptions& options,
                           unsigned jobs, const std::function<void(const Result&)>& finished);

/// One test case a scenario, for whatever reads JUnit's XML.
std::string JUnitText(const std::vector<Result>& results);

}  // namespace scenario
