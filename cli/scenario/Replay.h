// Runs many scenarios side by side, each on a set of its own, and collects their results.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Compare.h"
#include "Runner.h"

namespace scenario {

struct Result {
    enum class Kind { kOk, kDifferent, kUnreadable, kFailed, kFlaky, kUpdated };

    std::string file;
    std::string name;
    Kind kind = Kind::kOk;
    std::vector<Difference>
        differences;      ///< of the first run that differed; when updated, those that were taken over
    std::string message;  ///< why the scenario could not be read or run, or how its runs ended
    std::size_t steps = 0;
    double seconds = 0;
};

struct ReplayOptions {
    RunOptions run;
    unsigned jobs = 1;    ///< how many scenarios run side by side
    unsigned repeat = 1;  ///< how often each runs; one whose runs end differently is flaky
    bool update = false;  ///< writes what happened into the file of a scenario that differs
};

const char* NameOf(Result::Kind kind);

/// Whether nothing is left to mend.
bool IsGood(Result::Kind kind);

/// Returns the results in the order of the files. The threads that run the scenarios call started and
/// finished, one at a time. Throws Interrupted once everything that ran is cleared away.
std::vector<Result> Replay(const std::vector<std::filesystem::path>& files, const ReplayOptions& options,
                           const std::function<void(const std::filesystem::path&)>& started,
                           const std::function<void(const Result&)>& finished);

/// The results as JUnit's XML, one test case for each scenario.
std::string JUnitText(const std::vector<Result>& results);

/// One result as the lines of TAP, the Test Anything Protocol, with its number.
std::string TapText(const Result& result, std::size_t number);

}  // namespace scenario
