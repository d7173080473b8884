#include "Preview.h"

#include <chrono>
#include <filesystem>
#include <vector>

#include "RepairSteps.h"
#include "SetCopy.h"
#include "scenario/Process.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

/// Longer than the longest repair, a deep clean without an answer.
constexpr std::chrono::seconds kLongestRepair{120};

scenario::ProcessResult RepairCopy(const SetCopy& trial, const std::string& code, bool background) {
    std::vector<std::string> command = {fs::read_symlink("/proc/self/exe").string(), "--set",
                                        trial.Set().Path().string(), "--json", "fix"};
    if (background) {
        command.emplace_back("--background");
    }
    command.insert(command.end(), {"--", code});
    return scenario::RunProcess(command, kLongestRepair);
}

/// Why a run failed, in its own words.
std::string ReasonOf(const scenario::ProcessResult& result, const Json& answer) {
    return answer.contains("error")
               ? answer.at("error").value("message", std::string())
               : "the repair of the copy ended with status " + std::to_string(result.status);
}

[[noreturn]] void RefuseRun(const scenario::ProcessResult& result, const Json& answer) {
    const auto code = static_cast<ExitCode>(result.status);
    if (answer.value("error", Json::object()).value("kind", std::string()) == kNoSandboxKind) {
        throw NoSandbox(code, ReasonOf(result, answer));
    }
    throw VerbError(code, ReasonOf(result, answer));
}

Json StepsOfCopy(const kuraset::SetDirectory& set, const std::string& code, bool background) {
    const SetCopy trial(set);
    const auto result = RepairCopy(trial, code, background);
    Json answer = Json::parse(result.out, nullptr, false);
    answer = answer.is_object() ? answer : Json::object();
    const Json none = Json::array();
    const auto made = StepsOf(
        {code, answer.value("solutions", none), ToDocument(set.ListSettings()), trial.Set().ReadJournal()},
        trial.Set());
    if (result.status != 0 && made.empty()) {
        RefuseRun(result, answer);
    }
    Json steps = Json::array();
    for (const RepairStep& step : made) {
        steps.push_back(step.document);
    }
    // An answer without solutions comes from a repair that was cut off, for example by a power cut.
    if (!answer.contains("solutions")) {
        steps.push_back({{"kind", "end"}, {"reason", ReasonOf(result, answer)}});
    } else if (answer.contains("record")) {
        steps.push_back({{"kind", "handed back"}, {"record", answer.at("record")}});
    }
    return steps;
}

}  // namespace

Json PreviewSteps(const kuraset::SetDirectory& set, const std::string& code, bool background) {
    scenario::EndInGoodOrder();
    try {
        return StepsOfCopy(set, code, background);
    } catch (const scenario::Interrupted&) {
        throw VerbError(ExitCode::kFailed, "interrupted; the set is as it was");
    }
}

}  // namespace cli
