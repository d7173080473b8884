// The verbs that replay and record scenarios. Each scenario has a set of its own, and each of its verbs runs
// in a process of its own, as a user would run it.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "Verbs.h"
#include "frame/Complaint.h"
#include "frame/Look.h"
#include "frame/Progress.h"
#include "frame/Utf8Locale.h"
#include "scenario/Find.h"
#include "scenario/Process.h"
#include "scenario/Record.h"
#include "scenario/Replay.h"
#include "scenario/ScenarioError.h"
#include "set/SetUse.h"

namespace cli {

namespace {

namespace fs = std::filesystem;
using scenario::Result;

struct ReplayArguments {
    std::vector<std::string> names;
    std::vector<std::string> filters;
    std::string junit;
    std::string keep;
    scenario::ReplayOptions options = {{}, 0};
    bool onlyFailed = false;
    bool allDifferences = false;
    bool tap = false;
};

fs::path ThisProgram() {
    return fs::read_symlink("/proc/self/exe");
}

Json DifferenceToJson(const scenario::Difference& difference) {
    return {{"step", difference.step},
            {"place", difference.place},
            {"expected", difference.expected},
            {"happened", difference.happened}};
}

void PrintDifference(const scenario::Difference& difference) {
    std::cout << scenario::DifferenceText(difference, "    ");
}

Json ResultToJson(const Result& result, bool allDifferences) {
    Json document = {{"file", result.file},
                     {"name", result.name},
                     {"result", scenario::NameOf(result.kind)},
                     {"steps", result.steps},
                     {"seconds", result.seconds}};
    if (!result.differences.empty()) {
        document["difference"] = DifferenceToJson(result.differences.front());
    }
    if (allDifferences) {
        document["differences"] = Json::array();
        for (const scenario::Difference& difference : result.differences) {
            document["differences"].push_back(DifferenceToJson(difference));
        }
    }
    if (!result.message.empty()) {
        document["message"] = result.message;
    }
    return document;
}

Tone ToneOf(Result::Kind kind) {
    if (scenario::IsGood(kind)) {
        return Tone::kGood;
    }
    return kind == Result::Kind::kDifferent || kind == Result::Kind::kFlaky ? Tone::kWarning : Tone::kBad;
}

void PrintResult(const Result& result, bool allDifferences) {
    std::cout << Painted(scenario::NameOf(result.kind), ToneOf(result.kind)) << "  "
              << (result.message.empty() ? result.file : result.message) << '\n';
    // What an update took over is shown whole: it is in the file already.
    const bool isWhole = allDifferences || result.kind == Result::Kind::kUpdated;
    for (std::size_t i = 0; i < result.differences.size() && (i == 0 || isWhole); ++i) {
        PrintDifference(result.differences[i]);
    }
    std::cout << std::flush;
}

constexpr Result::Kind kAlwaysCounted[] = {Result::Kind::kOk, Result::Kind::kDifferent,
                                           Result::Kind::kUnreadable, Result::Kind::kFailed};
/// Only with --repeat and --update.
constexpr Result::Kind kCountedWhenSeen[] = {Result::Kind::kFlaky, Result::Kind::kUpdated};

Json Summary(const std::vector<Result>& results) {
    const auto count = [&results](Result::Kind kind) {
        return std::count_if(results.begin(), results.end(),
                             [kind](const Result& result) { return result.kind == kind; });
    };
    Json summary = {{"scenarios", results.size()}};
    for (const Result::Kind kind : kAlwaysCounted) {
        summary[scenario::NameOf(kind)] = count(kind);
    }
    for (const Result::Kind kind : kCountedWhenSeen) {
        if (count(kind) != 0) {
            summary[scenario::NameOf(kind)] = count(kind);
        }
    }
    return summary;
}

void PrintSummary(const Json& summary) {
    std::cout << summary.at("scenarios") << (summary.at("scenarios") == 1 ? " scenario" : " scenarios");
    for (const auto& [kind, number] : summary.items()) {
        if (kind != "scenarios" && (number != 0 || kind == "ok")) {
            std::cout << ", " << number << ' ' << kind;
        }
    }
    std::cout << '\n';
}

/// What runs and what is done, for the lines of progress.
class Running {
public:
    explicit Running(std::size_t all) : m_all(all) {}

    void Start(const fs::path& file) {
        const std::lock_guard lock(m_mutex);
        m_files[file.string()] = Clock::now();
    }
    void Finish(const std::string& file) {
        const std::lock_guard lock(m_mutex);
        m_files.erase(file);
        ++m_done;
    }
    /// A line on the whole, and one for each scenario that runs.
    std::string Text() const {
        const Utf8Locale locale;
        const std::size_t width = std::max<std::size_t>(TerminalWidth(), kNarrowest);
        const std::lock_guard lock(m_mutex);
        const double elapsed = SecondsSince(m_start);
        std::string whole = std::to_string(m_done) + " of " + std::to_string(m_all) + ", " + Time(elapsed);
        if (m_done > 0) {
            const auto done = static_cast<double>(m_done);
            whole += ", about " + Time(elapsed / done * (static_cast<double>(m_all) - done)) + " left";
        }
        std::string text = CutTo(whole, width - 1);
        for (const auto& [file, since] : m_files) {
            text += '\n' + CutTo("  " + Time(SecondsSince(since)) + "  " + file, width - 1);
        }
        return text;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t kNarrowest = 20;

    static double SecondsSince(Clock::time_point time) {
        return std::chrono::duration<double>(Clock::now() - time).count();
    }
    static std::string Time(double seconds) { return std::to_string(std::lround(seconds)) + " s"; }

    const std::size_t m_all;
    const Clock::time_point m_start = Clock::now();
    mutable std::mutex m_mutex;
    std::map<std::string, Clock::time_point> m_files;
    std::size_t m_done = 0;
};

void WriteFile(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) {
        throw VerbError(ExitCode::kFailed, path + ": cannot be written");
    }
}

void RemoveFile(const fs::path& path) {
    std::error_code error;
    fs::remove(path, error);
}

ExitCode CodeFor(const Json& summary) {
    if (summary.at("unreadable") != 0 || summary.at("failed") != 0) {
        return ExitCode::kFailed;
    }
    return summary.at("different") != 0 || summary.contains("flaky") ? ExitCode::kFindings : ExitCode::kDone;
}

std::vector<fs::path> FilesFor(const ReplayArguments& arguments) {
    std::vector<fs::path> files;
    try {
        files = scenario::FindScenarios(arguments.names);
    } catch (const scenario::ScenarioError& error) {
        throw VerbError(ExitCode::kFailed, error.what());
    }
    const auto isLeftOut = [&arguments](const fs::path& file) {
        return std::none_of(arguments.filters.begin(), arguments.filters.end(),
                            [&file](const std::string& filter) { return scenario::IsMeant(file, filter); });
    };
    if (!arguments.filters.empty()) {
        files.erase(std::remove_if(files.begin(), files.end(), isLeftOut), files.end());
    }
    if (files.empty()) {
        throw VerbError(ExitCode::kFailed, "no scenario fits the filter");
    }
    return files;
}

/// Prints each result as it comes, unless one document is wanted.
std::vector<Result> RunAll(const Session& session, const ReplayArguments& arguments) {
    const std::vector<fs::path> files = FilesFor(arguments);
    scenario::ReplayOptions options = arguments.options;
    options.run = {ThisProgram(), arguments.keep};
    if (options.jobs == 0) {
        // Half of a verb's time is waiting: for the services' start, for the agent.
        options.jobs = 2 * std::max(1U, std::thread::hardware_concurrency());
    }
    if (arguments.tap) {
        std::cout << "TAP version 13\n1.." << files.size() << '\n' << std::flush;
    }
    Running running(files.size());
    Progress progress([&running] { return running.Text(); });
    std::size_t number = 0;
    return scenario::Replay(
        files, options, [&running](const fs::path& file) { running.Start(file); },
        [&](const Result& result) {
            running.Finish(result.file);
            ++number;
            if (session.json || (arguments.onlyFailed && scenario::IsGood(result.kind) && !arguments.tap)) {
                return;
            }
            progress.Around([&] {
                if (arguments.tap) {
                    std::cout << scenario::TapText(result, number) << std::flush;
                } else {
                    PrintResult(result, arguments.allDifferences);
                }
            });
        });
}

Outcome Replay(const Session& session, const ReplayArguments& arguments) {
    if (session.json && arguments.tap) {
        throw VerbError(ExitCode::kUsage, "--tap and --json exclude each other");
    }
    scenario::EndInGoodOrder();
    try {
        const std::vector<Result> results = RunAll(session, arguments);
        Json document = {{"scenarios", Json::array()}, {"summary", Summary(results)}};
        for (const Result& result : results) {
            if (!arguments.onlyFailed || !scenario::IsGood(result.kind)) {
                document["scenarios"].push_back(ResultToJson(result, arguments.allDifferences));
            }
        }
        if (!arguments.junit.empty()) {
            WriteFile(arguments.junit, scenario::JUnitText(results));
        }
        const auto print = [document, isTap = arguments.tap] {
            if (!isTap) {
                PrintSummary(document.at("summary"));
            }
        };
        return {document, print, CodeFor(document.at("summary"))};
    } catch (const scenario::Interrupted&) {
        throw VerbError(ExitCode::kFailed, "interrupted; the sets are removed");
    }
}

void PrintRecording(const Json& document, const std::vector<scenario::Difference>& differences) {
    for (const Json& step : document.at("steps")) {
        std::cout << "exit " << step.at("exit") << ' ';
        for (const Json& word : step.at("run")) {
            std::cout << ' ' << word.get<std::string>();
        }
        std::cout << '\n';
    }
    std::cout << "Recorded to " << document.at("file").get<std::string>() << '\n';
    if (!differences.empty()) {
        std::cout << "It does not replay alike here:\n";
        PrintDifference(differences.front());
    }
}

struct RecordOptions {
    std::string output;
    std::vector<std::string> words;  ///< verbs with their arguments, "--" between them
};

std::vector<std::vector<std::string>> VerbsOf(const std::vector<std::string>& words) {
    std::vector<std::vector<std::string>> verbs(1);
    for (const std::string& word : words) {
        if (word == "--") {
            verbs.emplace_back();
        } else if (word == "--json" || word.rfind("--set", 0) == 0) {
            throw VerbError(ExitCode::kUsage, word + " belongs before record, not to a verb");
        } else {
            verbs.back().push_back(word);
        }
    }
    for (const auto& verb : verbs) {
        if (verb.empty()) {
            throw VerbError(ExitCode::kUsage, "there is no verb between two --");
        }
        if (verb.front() == "replay" || verb.front() == "record" || verb.front() == "serve") {
            throw VerbError(ExitCode::kUsage, verb.front() + " cannot be part of a scenario");
        }
    }
    return verbs;
}

/// Replays a scenario that was just recorded. It must pass; a difference shows what depends on the machine.
std::vector<scenario::Difference> Check(const fs::path& file) {
    const auto scenario = scenario::ReadScenario(file);
    return scenario::Differences(scenario, scenario::Run(scenario, {ThisProgram(), {}}));
}

Outcome Record(const Session& session, const RecordOptions& options) {
    scenario::EndInGoodOrder();
    const auto verbs = VerbsOf(options.words);
    const auto set = session.OpenSet();
    { const kuraset::SetUse use(set.Path()); }  // throws when no verb could run on it
    const fs::path unfinished = options.output + ".unfinished";
    WriteFile(unfinished, "");  // first, so that no verb runs when the file cannot be written
    try {
        const auto recording = scenario::Record(set, verbs, ThisProgram());
        WriteFile(unfinished, scenario::ScenarioText(recording.document));
        fs::rename(unfinished, options.output);
        Json document = {{"file", options.output}, {"steps", Json::array()}, {"replays", true}};
        for (std::size_t i = 0; i < verbs.size(); ++i) {
            document["steps"].push_back({{"run", verbs[i]},
                                         {"exit", recording.moments[i].exit.value_or(0)},
                                         {"answer", recording.moments[i].answer}});
        }
        const auto differences = Check(options.output);
        if (!differences.empty()) {
            document["replays"] = false;
            document["difference"] = DifferenceToJson(differences.front());
        }
        return {document, [document, differences] { PrintRecording(document, differences); },
                differences.empty() ? ExitCode::kDone : ExitCode::kFindings};
    } catch (const scenario::Interrupted&) {
        RemoveFile(unfinished);
        throw VerbError(ExitCode::kFailed, "interrupted; nothing is recorded");
    } catch (...) {
        RemoveFile(unfinished);
        throw;
    }
}

}  // namespace

void AddScenarioVerbs(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* record =
        app.add_subcommand("record", "Run verbs on the set and write a scenario of what happened");
    auto recordOptions = std::make_shared<RecordOptions>();
    record->add_option("-o,--output", recordOptions->output, "The scenario file to write")
        ->type_name("FILE")
        ->required();
    record
        ->add_option("verb", recordOptions->words,
                     "Behind --: a verb with its arguments; another -- before each further verb")
        ->required();
    Declare(record, selection, Place::kOutside,
            [&session, recordOptions] { return Record(session, *recordOptions); });

    CLI::App* replay = app.add_subcommand("replay", "Run scenarios and tell the first difference of each");
    auto arguments = std::make_shared<ReplayArguments>();
    replay
        ->add_option("files", arguments->names,
                     "Scenario files, folders of them, or patterns such as 'fault-*.json'")
        ->type_name("FILE")
        ->required();
    replay->add_option("--filter", arguments->filters,
                       "Only those whose path or name has this text in it, or fits this pattern");
    replay->add_flag("--only-failed", arguments->onlyFailed, "Show only those that are not as expected");
    replay->add_flag("--all-differences", arguments->allDifferences,
                     "Tell every expectation that does not hold, not only the first");
    replay
        ->add_option("--repeat", arguments->options.repeat,
                     "Run each as often; one whose runs end differently is flaky")
        ->check(Between(1, 10000));
    replay->add_flag("--update", arguments->options.update,
                     "Write what happened into the files of those that differ");
    replay->add_flag("--tap", arguments->tap, "Print the results as TAP, the Test Anything Protocol");
    replay->add_option("--junit", arguments->junit, "Also write the results as JUnit XML to this file")
        ->type_name("FILE");
    replay->add_option("--keep", arguments->keep, "Keep the sets in this folder, to look at them afterwards")
        ->type_name("DIR");
    replay
        ->add_option("--jobs", arguments->options.jobs,
                     "How many run side by side; twice as many as processors when absent")
        ->check(Between(1, 64));
    Declare(replay, selection, Place::kOutside,
            [&session, arguments] { return Replay(session, *arguments); });
}

}  // namespace cli
