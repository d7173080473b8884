#include "Runner.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <system_error>

#include "Process.h"
#include "ScenarioError.h"
#include "StartSet.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds kVerbLimit{120};

/// Removes the set's path from a message, because it differs from run to run.
std::string WithoutPlace(std::string text, const std::string& place) {
    for (std::size_t at = text.find(place); at != std::string::npos; at = text.find(place, at)) {
        text.replace(at, place.size(), "SET");
    }
    return text;
}

void MakeKeepFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw ScenarioError(folder.string() + ": cannot be made: " + error.message());
    }
}

/// Throws ScenarioError when no verb can run on this machine.
void CheckSandbox(const Moment& moment) {
    const Json error =
        moment.answer.is_object() ? moment.answer.value("error", Json::object()) : Json::object();
    if (error.value("kind", std::string()) == "no-sandbox") {
        throw ScenarioError(error.value("message", std::string()));
    }
}

}  // namespace

Moment RunVerb(const kuraset::SetDirectory& set, const std::vector<std::string>& verb, const Json& expect,
               const fs::path& kura, const std::vector<std::pair<std::string, std::string>>& environment) {
    const std::size_t before = set.ReadJournal().size();
    std::vector<std::string> command = {kura.string(), "--set", set.Path().string(), "--json"};
    command.insert(command.end(), verb.begin(), verb.end());
    const ProcessResult result = RunProcess(command, kVerbLimit, environment);
    if (result.timedOut) {
        throw ScenarioError("kura " + verb.front() + " did not end within " +
                            std::to_string(kVerbLimit.count()) + " s");
    }
    Moment moment = Look(set, before, expect);
    moment.exit = result.status;
    moment.answer = Json::parse(WithoutPlace(result.out, set.Path().string()), nullptr, false);
    if (moment.answer.is_discarded()) {
        moment.answer = nullptr;
    }
    moment.errors = WithoutPlace(result.err, set.Path().string());
    CheckSandbox(moment);
    return moment;
}

namespace {

Observation RunOn(const kuraset::SetDirectory& set, const Scenario& scenario, const RunOptions& options) {
    set.ClearJournal();
    Observation observation;
    for (const Step& step : scenario.steps) {
        const std::size_t before = set.ReadJournal().size();
        Apply(step.changes, set);
        observation.steps.push_back(step.run.empty() ? Look(set, before, step.expect)
                                                     : RunVerb(set, step.run, step.expect, options.kura));
    }
    observation.end = Look(set, 0, scenario.expect);
    return observation;
}

}  // namespace

Observation Run(const Scenario& scenario, const RunOptions& options) {
    if (!options.keep.empty()) {
        MakeKeepFolder(options.keep);
        const fs::path kept = fs::absolute(options.keep) / fs::path(scenario.file).stem();
        return RunOn(MakeStartSet(scenario, kept, options.kura), scenario, options);
    }
    const TemporaryFolder scratch;
    return scratch.WithRoom([&] {
        const auto set = MakeStartSet(scenario, scratch.Path() / "set", options.kura);
        scratch.DemandRoom();
        return RunOn(set, scenario, options);
    });
}

}  // namespace scenario
