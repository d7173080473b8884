#include "Replay.h"

#include <tinyxml2.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "Process.h"
#include "ScenarioError.h"
#include "set/KuraSet.h"

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

/// Replaces control characters, which XML cannot hold.
std::string ForXml(std::string text) {
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte < ' ' && c != '\n' && c != '\t') || byte == 0x7f) {
            c = '?';
        }
    }
    return text;
}

std::string Seconds(double seconds) {
    std::string text = std::to_string(seconds);
    return text.substr(0, text.find_first_of(".,") + 4);
}

long CountOf(const std::vector<Result>& results, Result::Kind kind) {
    return std::count_if(results.begin(), results.end(), [kind](const Result& r) { return r.kind == kind; });
}

void PushCase(tinyxml2::XMLPrinter& printer, const Result& result) {
    printer.OpenElement("testcase");
    printer.PushAttribute("name", ForXml(result.name).c_str());
    printer.PushAttribute("classname", ForXml(result.file).c_str());
    printer.PushAttribute("time", Seconds(result.seconds).c_str());
    if (result.difference) {
        const Difference& difference = *result.difference;
        printer.OpenElement("failure");
        printer.PushAttribute("message", ForXml(difference.step + ", " + difference.place).c_str());
        printer.PushText(ForXml("- " + difference.expected + "\n+ " + difference.happened).c_str());
        printer.CloseElement();
    } else if (result.kind != Result::Kind::kOk) {
        printer.OpenElement("error");
        printer.PushAttribute("message", ForXml(result.message).c_str());
        printer.CloseElement();
    }
    printer.CloseElement();
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
    double seconds = 0;
    for (const Result& result : results) {
        seconds += result.seconds;
    }
    tinyxml2::XMLPrinter printer;
    printer.PushHeader(false, true);
    printer.OpenElement("testsuites");
    printer.OpenElement("testsuite");
    printer.PushAttribute("name", "kura replay");
    printer.PushAttribute("tests", static_cast<unsigned>(results.size()));
    printer.PushAttribute("failures", static_cast<int>(CountOf(results, Result::Kind::kDifferent)));
    printer.PushAttribute("errors", static_cast<int>(CountOf(results, Result::Kind::kUnreadable) +
                                                     CountOf(results, Result::Kind::kFailed)));
    printer.PushAttribute("time", Seconds(seconds).c_str());
    for (const Result& result : results) {
        PushCase(printer, result);
    }
    printer.CloseElement();
    printer.CloseElement();
    return printer.CStr();
}

}  // namespace scenario
