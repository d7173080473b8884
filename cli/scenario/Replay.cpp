#include "Replay.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "Process.h"
#include "ScenarioError.h"
#include "set/KuraSet.h"
#include "support/JUnit.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

Result ReplayOne(const fs::path& file, const RunOptions& options) {
    Result result;
    result.file = file.string();
    result.name = file.stem().string();
    const auto start = std::chrono::steady_clock::now();
    const auto fail = [&result](Result::Kind kind, const std::string& message) {
        result.kind = kind;
        result.message = message;
    };
    std::optional<Scenario> scenario;
    try {
        scenario = ReadScenario(file);
        result.name = scenario->name;
        result.steps = scenario->steps.size();
        result.difference = FirstDifference(*scenario, Run(*scenario, options));
        result.kind = result.difference ? Result::Kind::kDifferent : Result::Kind::kOk;
    } catch (const ScenarioError& error) {
        const bool unread = !scenario;
        fail(unread ? Result::Kind::kUnreadable : Result::Kind::kFailed,
             unread ? error.what() : result.file + ": " + error.what());
    } catch (const std::exception& error) {
        fail(Result::Kind::kFailed, result.file + ": " + error.what());
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}

support::JUnitCase ToCase(const Result& result) {
    using Kind = support::JUnitCase::Result;
    support::JUnitCase one{result.name, result.file};
    one.seconds = result.seconds;
    if (result.difference) {
        one.result = Kind::kFailure;
        one.message = result.difference->step + ", " + result.difference->place;
        one.text = "- " + result.difference->expected + "\n+ " + result.difference->happened;
    } else if (result.kind != Result::Kind::kOk) {
        one.result = Kind::kError;
        one.message = result.message;
    }
    return one;
}

}  // namespace

const char* NameOf(Result::Kind kind) {
    switch (kind) {
        case Result::Kind::kOk:
            return "ok";
        case Result::Kind::kDifferent:
            return "different";
        case Result::Kind::kUnreadable:
            return "unreadable";
        default:
            return "failed";
    }
}

std::vector<Result> Replay(const std::vector<fs::path>& files, const RunOptions& options, unsigned jobs,
                           const std::function<void(const Result&)>& finished) {
    std::vector<Result> results(files.size());
    std::atomic<std::size_t> next{0};
    std::atomic<bool> stopped{false};
    std::mutex mutex;
    const auto work = [&] {
        for (std::size_t i = next++; i < files.size() && !stopped; i = next++) {
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
    const std::size_t count = std::min<std::size_t>(std::max(jobs, 1U), files.size());
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

}  // namespace scenario
