#include "RepairSteps.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <thread>
#include <utility>

#include "LibraryLog.h"
#include "host/AgentAnswer.h"
#include "scenario/Observation.h"

namespace cli {

namespace {

/// How long to wait for the agent's answer to the last request of a repair.
constexpr std::chrono::seconds kAgentPatience{5};
constexpr std::chrono::milliseconds kBetweenLooks{20};

constexpr const char* kCommandFile = "/tmp/vardo/runCmdNativeApps";
constexpr const char* kCommandTrigger = "/tmp/vardo/req/runCmdNativeApps";

bool KeepsIssue(const kuraset::SetDirectory& set, const std::string& issue) {
    const Json rows = scenario::Look(set, 0, Json::object()).remaining;
    return std::any_of(rows.begin(), rows.end(),
                       [&issue](const Json& row) { return row.value("issue_code", Json()) == issue; });
}

/// Whether the call only reads and so changes nothing.
bool IsRead(const Json& entry) {
    const std::string kind = entry.value("kind", std::string());
    const std::string op = entry.value("op", std::string());
    return (kind == "setting" && op.rfind("get_", 0) == 0) || kind == "damaged" ||
           (kind == "engine" && op != "record");
}

class StepReader {
public:
    explicit StepReader(const Repair& repair) : m_solutions(repair.solutions), m_settings(repair.settings) {}

    void Read(const nlohmann::json& entry) {
        const std::string kind = entry.value("kind", std::string());
        if (kind == "log") {
            ReadLog(entry);
        } else if (kind == "agent") {
            AddAnswer(ToDocument(entry));
        } else if (const Json call = ToDocument(entry); !IsRead(call)) {
            AddCall(call);
        }
    }

    std::vector<RepairStep> Take() { return std::move(m_steps); }

private:
    void Add(Json step) { m_steps.push_back({std::move(step), m_solution}); }

    void FailLast(const std::string& file) {
        m_steps.back().document["failed"] = file + " cannot be written";
    }

    /// Reads the steps that only the log tells, not a call: the agent's request files and the store of
    /// unfixed problems.
    void ReadLog(const nlohmann::json& entry) {
        if (const auto command = ValuesOf(entry, Line::kCommand)) {
            AddRequest("runCmdNativeApps", kCommandFile, kCommandTrigger, command->front() + "\n");
        } else if (const auto file = ValuesOf(entry, Line::kCommandRefused)) {
            RefuseCommand(file->front());
        } else if (Says(entry, Line::kCleanAsked)) {
            AddRequest("CleanAll.txt", kDeepCleanTrigger, kDeepCleanTrigger, "CleanUp\n");
        } else if (const auto trigger = ValuesOf(entry, Line::kCleanRefused)) {
            AddRequest("CleanAll.txt", kDeepCleanTrigger, kDeepCleanTrigger, "CleanUp\n");
            FailLast(trigger->front());
        } else if (const auto issue = ValuesOf(entry, Line::kRemoved)) {
            Add({{"kind", "unfixed"}, {"op", "remove"}, {"issue", issue->front()}});
        } else if (Says(entry, Line::kApplied)) {
            ++m_solution;
            m_isCommandLogged = false;
        }
    }

    /// Adds a refused command. The library logs the command itself only once its file is open.
    void RefuseCommand(const std::string& file) {
        if (!m_isCommandLogged) {
            const bool isKnown = m_solution < m_solutions.size();
            const std::string name =
                isKnown ? m_solutions[m_solution].value("sol_name", std::string()) + "\n" : "";
            AddRequest("runCmdNativeApps", kCommandFile, kCommandTrigger, name);
        }
        FailLast(file);
    }

    void AddRequest(const char* request, const char* file, const char* trigger, const std::string& text) {
        m_isCommandLogged = true;
        Add({{"kind", "agent"}, {"request", request}, {"file", file}, {"text", text}, {"trigger", trigger}});
        const auto early = m_earlyAnswers.find(request);
        if (early != m_earlyAnswers.end()) {
            m_steps.back().document["outcome"] = early->second;
            m_earlyAnswers.erase(early);
        }
    }

    /// Gives the agent's answer to the first request of that name that has none. A quick agent answers before
    /// the library has logged the request.
    void AddAnswer(const Json& entry) {
        const std::string request = entry.value("op", std::string());
        const std::string outcome = entry.value("outcome", std::string());
        for (RepairStep& step : m_steps) {
            Json& document = step.document;
            if (document.value("request", std::string()) == request && !document.contains("outcome") &&
                !document.contains("failed")) {
                document["outcome"] = outcome;
                return;
            }
        }
        m_earlyAnswers.emplace(request, outcome);
    }

    void AddCall(Json entry) {
        entry.erase("time");
        const std::string op = entry.value("op", std::string());
        if (entry.value("kind", std::string()) == "setting" && op.rfind("set_", 0) == 0) {
            const std::string key = entry.at("key").get<std::string>();
            entry["old"] = m_settings.contains(key) ? m_settings.at(key) : Json();
            if (entry.value("result", 0) == 0) {
                m_settings[key] = entry.at("value");
            }
        }
        Add(std::move(entry));
    }

    const Json& m_solutions;
    Json m_settings;             // before the next step
    std::size_t m_solution = 0;  // the solution that is being applied
    bool m_isCommandLogged = false;
    std::multimap<std::string, std::string> m_earlyAnswers;  // outcomes by request
    std::vector<RepairStep> m_steps;
};

std::string ExtrasText(const Json& extras) {
    std::string text;
    for (const Json& extra : extras) {
        text += (text.empty() ? " with " : ", ") + Shown(extra.at(0)) + "=" + Shown(extra.at(1));
    }
    return text;
}

std::string WithoutLineFeed(std::string text) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

std::string AgentText(const Json& step) {
    const std::string file = step.at("file").get<std::string>();
    const std::string trigger = step.at("trigger").get<std::string>();
    const std::string asked = "asks the agent: \"" + WithoutLineFeed(step.at("text").get<std::string>()) +
                              "\" in " + file + (file == trigger ? "" : ", then " + trigger);
    if (step.contains("failed")) {
        return asked + " (fails: " + Shown(step.at("failed")) + ")";
    }
    const std::string outcome = step.value("outcome", std::string());
    return asked + (outcome.empty() ? " (no answer)" : outcome == "done" ? "" : " (" + outcome + ")");
}

/// Whether the set refused the call.
bool IsRefused(const Json& step) {
    if (!step.contains("result") || !step.at("result").is_number_integer()) {
        return false;
    }
    const bool countsUp = step.value("op", std::string()) == "GetCurrentSource";
    const int result = step.at("result").get<int>();
    return countsUp ? result < 1 : result != 0;
}

std::string RecordText(const Json& step) {
    return "records with the engine: issue " + Shown(step.at("issue")) + ", solution " +
           Shown(step.at("solution")) + ", type " + Shown(step.at("type"));
}

std::string CallText(const Json& step) {
    std::string text = "calls " + step.value("op", step.value("kind", std::string()));
    for (const auto& [key, value] : step.items()) {
        if (key != "kind" && key != "op" && key != "result") {
            text += ", " + key + " " + Shown(value);
        }
    }
    return text;
}

std::string SettingText(const Json& step) {
    if (!step.contains("old")) {
        return "sets the item " + Shown(step.at("key")) + " to " + Shown(step.at("value"));
    }
    const std::string old = step.at("old").is_null() ? "unset" : Shown(step.at("old"));
    return "sets " + Shown(step.at("key")) + ": " + old + " -> " + Shown(step.at("value"));
}

std::string PlainText(const Json& step) {
    const std::string kind = step.at("kind").get<std::string>();
    if (kind == "setting") {
        return SettingText(step);
    }
    if (kind == "launch") {
        return "launches " + Shown(step.at("app")) + ExtrasText(step.at("extras"));
    }
    if (kind == "engine") {
        return RecordText(step);
    }
    if (kind == "screen") {
        return "shows the screen \"" + Shown(step.at("screen")) + "\": " + Shown(step.at("event"));
    }
    return CallText(step);
}

/// Whether the agent still has to answer the request.
bool IsOpen(const Json& step) {
    if (step.at("kind") != "agent" || step.contains("failed") || step.contains("outcome")) {
        return false;
    }
    // The library has waited for a deep clean: when its trigger is still there, no answer will come.
    return step.at("request") != "CleanAll.txt" || !std::filesystem::exists(kDeepCleanTrigger);
}

}  // namespace

std::vector<RepairStep> StepsIn(const Repair& repair) {
    StepReader reader(repair);
    for (const auto& entry : repair.journal) {
        reader.Read(entry);
    }
    return reader.Take();
}

std::vector<RepairStep> StepsOf(const Repair& repair, const kuraset::SetDirectory& set) {
    std::vector<RepairStep> steps = StepsIn(repair);
    if (!KeepsIssue(set, repair.issue)) {
        return steps;
    }
    for (RepairStep& step : steps) {
        if (step.document.at("kind") == "unfixed") {
            step.document["failed"] = "the store refuses";
        }
    }
    return steps;
}

std::vector<RepairStep> SettledSteps(const kuraset::SetDirectory& set, std::size_t before, Repair& repair) {
    const auto end = std::chrono::steady_clock::now() + kAgentPatience;
    while (true) {
        repair.journal = JournalSince(set, before);
        std::vector<RepairStep> steps = StepsOf(repair, set);
        const bool isOpen = std::any_of(steps.begin(), steps.end(),
                                        [](const RepairStep& step) { return IsOpen(step.document); });
        if (!isOpen || std::chrono::steady_clock::now() > end) {
            return steps;
        }
        std::this_thread::sleep_for(kBetweenLooks);
    }
}

std::optional<ExitCode> FailureOf(const Json& step) {
    const std::string kind = step.at("kind").get<std::string>();
    if (kind == "agent") {
        const std::string outcome = step.value("outcome", std::string());
        return outcome.empty()     ? std::optional(ExitCode::kNoAnswer)
               : outcome == "done" ? std::nullopt
                                   : std::optional(ExitCode::kFailed);
    }
    const bool reads = kind == "source";
    const bool fails = step.contains("failed") || (!reads && IsRefused(step));
    return fails ? std::optional(ExitCode::kFailed) : std::nullopt;
}

std::string StepText(const Json& step) {
    const std::string kind = step.at("kind").get<std::string>();
    if (kind == "agent") {
        return AgentText(step);
    }
    if (kind == "unfixed") {
        return "removes issue " + Shown(step.at("issue")) + " from the unfixed problems" +
               (step.contains("failed") ? " (fails: " + Shown(step.at("failed")) + ")" : "");
    }
    if (kind == "end") {
        return "ends here: " + Shown(step.at("reason"));
    }
    if (kind == "handed back") {
        return "hands back the record: issue " + Shown(step.at("record").at("issue_code")) + ", solution " +
               Shown(step.at("record").at("solution_code")) + ", type " +
               Shown(step.at("record").at("solution_type"));
    }
    return PlainText(step) + (IsRefused(step) ? " (fails: " + Shown(step.at("result")) + ")" : "");
}

}  // namespace cli
