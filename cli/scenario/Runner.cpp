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

fs::path SetPath(const Scenario& scenario, const RunOptions& options, const fs::path& scratch) {
    if (options.keep.empty()) {
        return scratch / "set";
    }
    return fs::absolute(options.keep) / fs::path(scenario.file).stem();
}

void MakeKeepFolder(const RunOptions& options) {
    if (options.keep.empty()) {
        return;
    }
    std::error_code error;
    fs::create_directories(options.keep, error);
    if (error) {
        throw ScenarioError(options.keep.string() + ": cannot be made: " + error.message());
    }
}

/// Throws ScenarioError with the words of bubblewrap or the system when no verb can run on this machine.
void CheckSandbox(const Moment& moment) {
    const Json error =
        moment.answer.is_object() ? moment.answer.value("error", Json::object()) : Json::object();
    if (error.value("kind", std::string()) == "no-sandbox") {
        throw ScenarioError("no sandbox for the set can be made: " +
                            moment.errors.substr(0, moment.errors.find('\n')));
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

Observation Run(const Scenario& scenario, const RunOptions& options) {
    const TemporaryFolder scratch;
    MakeKeepFolder(options);
    const auto set = MakeStartSet(scenario, SetPath(scenario, options, scratch.Path()), options.kura);
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

}  // namespace scenario
