#include "Replay.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <sstream>
#include <thread>
#include <utility>

#include "Adopt.h"
#include "Process.h"
#include "Record.h"
#include "ScenarioError.h"
#include "set/KuraSet.h"
#include "support/Files.h"
#include "support/JUnit.h"
#include "support/Joined.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

/// Runs the scenario as often as wanted. Returns what happened the last time.
Observation RunOften(const Scenario& scenario, const ReplayOptions& options, Result& result) {
    Observation observation;
    unsigned different = 0;
    for (unsigned i = 0; i < options.repeat; ++i) {
        observation = Run(scenario, options.run);
        auto differences = Differences(scenario, observation);
        different += differences.empty() ? 0 : 1;
        if (result.differences.empty()) {
            result.differences = std::move(differences);
        }
    }
    if (different == options.repeat) {
        result.kind = Result::Kind::kDifferent;
    } else if (different != 0) {
        result.kind = Result::Kind::kFlaky;
        result.message = result.file + ": " + std::to_string(different) + " of " +
                         std::to_string(options.repeat) + " runs differ";
    }
    return observation;
}

/// Puts what happened into the scenario's file. Throws ScenarioError when the file cannot be written.
void Update(const fs::path& file, const Observation& observation, Result& result) {
    const std::string text = ScenarioText(Adopted(Document::Read(file).Root(), observation));
    const auto left = Differences(ParseScenario(text, file), observation);
    if (left.size() == result.differences.size()) {
        result.message = result.file + ": patterns and lines of the log are their author's to rewrite";
        return;
    }
    if (!support::ReplaceFile(file, text)) {
        throw ScenarioError("cannot be written");
    }
    result.kind = left.empty() ? Result::Kind::kUpdated : Result::Kind::kDifferent;
    if (!left.empty()) {
        result.message =
            result.file +
            ": updated, but for patterns and lines of the log, which are their author's to rewrite";
        result.differences = left;
    }
}

Result ReplayOne(const fs::path& file, const ReplayOptions& options) {
    Result result;
    result.file = file.string();
    result.name = file.stem().string();
    const auto start = std::chrono::steady_clock::now();
    bool wasRead = false;
    try {
        const Scenario scenario = ReadScenario(file);
        wasRead = true;
        result.name = scenario.name;
        result.steps = scenario.steps.size();
        const Observation observation = RunOften(scenario, options, result);
        if (options.update && result.kind == Result::Kind::kDifferent) {
            Update(file, observation, result);
        }
    } catch (const std::exception& error) {
        const bool isUnread = !wasRead && dynamic_cast<const ScenarioError*>(&error) != nullptr;
        result.kind = isUnread ? Result::Kind::kUnreadable : Result::Kind::kFailed;
        result.message = isUnread ? error.what() : result.file + ": " + error.what();
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

std::string TextOf(const std::vector<Difference>& differences) {
    return support::Joined(differences, "", [](const Difference& one) { return DifferenceText(one, ""); });
}

support::JUnitCase ToCase(const Result& result) {
    using Kind = support::JUnitCase::Result;
    support::JUnitCase one{result.name, result.file};
    one.seconds = result.seconds;
    one.text = TextOf(result.differences);
    if (result.kind == Result::Kind::kDifferent || result.kind == Result::Kind::kFlaky) {
        one.result = Kind::kFailure;
        one.message = result.differences.front().step + ", " + result.differences.front().place;
    } else if (!IsGood(result.kind)) {
        one.result = Kind::kError;
        one.message = result.message;
    }
    return one;
}

}  // namespace

bool IsGood(Result::Kind kind) {
    return kind == Result::Kind::kOk || kind == Result::Kind::kUpdated;
}

const char* NameOf(Result::Kind kind) {
    switch (kind) {
        case Result::Kind::kOk:
            return "ok";
        case Result::Kind::kDifferent:
            return "different";
        case Result::Kind::kUnreadable:
            return "unreadable";
        case Result::Kind::kFlaky:
            return "flaky";
        case Result::Kind::kUpdated:
            return "updated";
        default:
            return "failed";
    }
}

std::vector<Result> Replay(const std::vector<fs::path>& files, const ReplayOptions& options,
                           const std::function<void(const fs::path&)>& started,
                           const std::function<void(const Result&)>& finished) {
    std::vector<Result> results(files.size());
    std::atomic<std::size_t> next{0};
    std::atomic<bool> stopped{false};
    std::mutex mutex;
    const auto work = [&] {
        for (std::size_t i = next++; i < files.size() && !stopped; i = next++) {
            {
                const std::lock_guard lock(mutex);
                started(files[i]);
            }
            try {
                results[i] = ReplayOne(files[i], options);
            } catch (const Interrupted&) {
                stopped = true;
                return;
            }
            const std::lock_guard lock(mutex);
            finished(results[i]);
        }
    };
    std::vector<std::thread> threads;
    const std::size_t count = std::min<std::size_t>(std::max(options.jobs, 1U), files.size());
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    if (stopped) {
        throw Interrupted();
    }
    return results;
}

std::string JUnitText(const std::vector<Result>& results) {
    support::JUnitSuite suite{"kura replay"};
    for (const Result& result : results) {
        suite.cases.push_back(ToCase(result));
    }
    return support::JUnitText(suite.name, {suite});
}

std::string TapText(const Result& result, std::size_t number) {
    std::string text = (IsGood(result.kind) ? "ok " : "not ok ") + std::to_string(number) + " - ";
    for (const char letter : result.file) {
        // Behind "#" stands a directive.
        text += letter == '#' || letter == '\\' ? std::string{'\\', letter} : std::string{letter};
    }
    text += '\n';
    std::istringstream lines((result.message.empty() ? "" : result.message + '\n') +
                             TextOf(result.differences));
    for (std::string line; std::getline(lines, line);) {
        text += "# " + line + '\n';
    }
    return text;
}

}  // namespace scenario
