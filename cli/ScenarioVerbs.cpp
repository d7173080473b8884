// Scenarios: replayed on sets of their own, each verb in a process of its own as a user would run it.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <thread>

#include "Verbs.h"
#include "scenario/Process.h"
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

Json ResultToJson(const Result& result) {
    Json document = {{"file", result.file},
                     {"name", result.name},
                     {"result", scenario::NameOf(result.kind)},
                     {"steps", result.steps},
                     {"seconds", result.seconds}};
    if (result.difference) {
        document["difference"] = {{"step", result.difference->step},
                                  {"place", result.difference->place},
                                  {"expected", result.difference->expected},
                                  {"happened", result.difference->happened}};
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
        std::cout << "    " << result.difference->step << ": " << result.difference->place << "\n    - "
                  << result.difference->expected << "\n    + " << result.difference->happened << '\n';
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
    std::cout << summary.at("scenarios") << " scenarios";
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

}  // namespace

void AddScenarioVerbs(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* replay = app.add_subcommand("replay", "Run scenarios and tell the first difference of each");
    auto options = std::make_shared<ReplayOptions>();
    replay->add_option("files", options->files, "Scenario files")->required();
    replay->add_option("--junit", options->junit, "Also write the results as JUnit XML to this file");
    replay->add_option("--keep", options->keep, "Keep the sets in this folder, to look at them afterwards");
    replay
        ->add_option("--jobs", options->jobs, "How many run side by side; as many as processors when absent")
        ->check(CLI::Range(1, 64));
    replay->callback([&session, &selection, options] {
        selection = {Place::kOutside, [&session, options] { return Replay(session, *options); }};
    });
}

}  // namespace cli
