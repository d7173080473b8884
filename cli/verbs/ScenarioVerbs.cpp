// The verbs that replay and record scenarios. Each scenario has a set of its own, and each of its verbs runs
// in a process of its own, as a user would run it.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "Verbs.h"
#include "frame/Complaint.h"
#include "scenario/Process.h"
#include "scenario/Record.h"
#include "scenario/Replay.h"

namespace cli {

namespace {

namespace fs = std::filesystem;
using scenario::Result;

struct ReplayOptions {
    std::vector<std::string> files;
    std::string junit;
    std::string keep;
    unsigned jobs = 0;
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
    std::cout << "    " << difference.step << ": " << difference.place << "\n    - " << difference.expected
              << "\n    + " << difference.happened << '\n';
}

Json ResultToJson(const Result& result) {
    Json document = {{"file", result.file},
                     {"name", result.name},
                     {"result", scenario::NameOf(result.kind)},
                     {"steps", result.steps},
                     {"seconds", result.seconds}};
    if (result.difference) {
        document["difference"] = DifferenceToJson(*result.difference);
    }
    if (!result.message.empty()) {
        document["message"] = result.message;
    }
    return document;
}

void PrintResult(const Result& result) {
    if (!result.message.empty()) {
        std::cout << scenario::NameOf(result.kind) << "  " << result.message << '\n' << std::flush;
        return;
    }
    std::cout << scenario::NameOf(result.kind) << "  " << result.file << '\n';
    if (result.difference) {
        PrintDifference(*result.difference);
    }
    std::cout << std::flush;
}

Json Summary(const std::vector<Result>& results) {
    Json summary = {{"scenarios", results.size()}};
    for (const auto kind :
         {Result::Kind::kOk, Result::Kind::kDifferent, Result::Kind::kUnreadable, Result::Kind::kFailed}) {
        summary[scenario::NameOf(kind)] = std::count_if(
            results.begin(), results.end(), [kind](const Result& result) { return result.kind == kind; });
    }
    return summary;
}

void PrintSummary(const Json& summary) {
    std::cout << summary.at("scenarios") << (summary.at("scenarios") == 1 ? " scenario" : " scenarios");
    for (const char* kind : {"ok", "different", "unreadable", "failed"}) {
        if (summary.at(kind) != 0 || kind == std::string("ok")) {
            std::cout << ", " << summary.at(kind) << ' ' << kind;
        }
    }
    std::cout << '\n';
}

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
    return summary.at("different") != 0 ? ExitCode::kFindings : ExitCode::kDone;
}

Outcome Replay(const Session& session, const ReplayOptions& options) {
    scenario::EndInGoodOrder();
    const unsigned jobs =
        options.jobs != 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
    const bool text = !session.json;
    const std::vector<fs::path> files(options.files.begin(), options.files.end());
    try {
        const auto results =
            scenario::Replay(files, {ThisProgram(), options.keep}, jobs, [text](const Result& result) {
                if (text) {
                    PrintResult(result);
                }
            });
        Json document = {{"scenarios", Json::array()}, {"summary", Summary(results)}};
        for (const Result& result : results) {
            document["scenarios"].push_back(ResultToJson(result));
        }
        if (!options.junit.empty()) {
            WriteFile(options.junit, scenario::JUnitText(results));
        }
        return {document, [document] { PrintSummary(document.at("summary")); },
                CodeFor(document.at("summary"))};
    } catch (const scenario::Interrupted&) {
        throw VerbError(ExitCode::kFailed, "interrupted; the sets are removed");
    }
}

void PrintRecording(const Json& document, const std::optional<scenario::Difference>& difference) {
    for (const Json& step : document.at("steps")) {
        std::cout << "exit " << step.at("exit") << ' ';
        for (const Json& word : step.at("run")) {
            std::cout << ' ' << word.get<std::string>();
        }
        std::cout << '\n';
    }
    std::cout << "Recorded to " << document.at("file").get<std::string>() << '\n';
    if (difference) {
        std::cout << "It does not replay alike here:\n";
        PrintDifference(*difference);
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
std::optional<scenario::Difference> Check(const fs::path& file) {
    const auto scenario = scenario::ReadScenario(file);
    return scenario::FirstDifference(scenario, scenario::Run(scenario, {ThisProgram(), {}}));
}

Outcome Record(const Session& session, const RecordOptions& options) {
    scenario::EndInGoodOrder();
    const auto verbs = VerbsOf(options.words);
    const auto set = session.OpenSet();
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
        const auto difference = Check(options.output);
        if (difference) {
            document["replays"] = false;
            document["difference"] = DifferenceToJson(*difference);
        }
        return {document, [document, difference] { PrintRecording(document, difference); },
                difference ? ExitCode::kFindings : ExitCode::kDone};
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
    record->add_option("-o,--output", recordOptions->output, "The scenario file to write")->required();
    record
        ->add_option("verb", recordOptions->words,
                     "Behind --: a verb with its arguments; another -- before each further verb")
        ->required();
    Declare(record, selection, Place::kOutside,
            [&session, recordOptions] { return Record(session, *recordOptions); });

    CLI::App* replay = app.add_subcommand("replay", "Run scenarios and tell the first difference of each");
    auto options = std::make_shared<ReplayOptions>();
    replay->add_option("files", options->files, "Scenario files")->required();
    replay->add_option("--junit", options->junit, "Also write the results as JUnit XML to this file");
    replay->add_option("--keep", options->keep, "Keep the sets in this folder, to look at them afterwards");
    replay
        ->add_option("--jobs", options->jobs, "How many run side by side; as many as processors when absent")
        ->check(Between(1, 64));
    Declare(replay, selection, Place::kOutside, [&session, options] { return Replay(session, *options); });
}

}  // namespace cli
