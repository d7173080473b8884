#include "Preview.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "SetCopy.h"
#include "host/AgentAnswer.h"
#include "scenario/Observation.h"
#include "scenario/Process.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

/// Longer than the longest repair: a deep clean that nobody answers.
constexpr std::chrono::seconds kPreviewPatience{120};

constexpr const char* kCommandFile = "/tmp/vardo/runCmdNativeApps";
constexpr const char* kCommandTrigger = "/tmp/vardo/req/runCmdNativeApps";

/// Why a run failed, in its own words.
std::string FailureOf(const scenario::ProcessResult& result, const Json& answer) {
    return answer.is_object() && answer.contains("error")
               ? answer.at("error").value("message", std::string())
               : "the repair of the copy ended with status " + std::to_string(result.status);
}

/// How many unfixed problems the set keeps of an issue.
std::size_t CountKept(const kuraset::SetDirectory& set, const std::string& code) {
    const Json rows = ToDocument(scenario::Look(set, 0, scenario::Json::object()).remaining);
    return static_cast<std::size_t>(std::count_if(
        rows.begin(), rows.end(), [&code](const Json& row) { return row.value("issue_code", "") == code; }));
}

/// Text between a start and an end mark of a log message; none when it is another message.
std::optional<std::string> Between(const std::string& message, const std::string& start,
                                   const std::string& end) {
    const bool fits = message.size() >= start.size() + end.size() && message.rfind(start, 0) == 0 &&
                      message.compare(message.size() - end.size(), end.size(), end) == 0;
    if (!fits) {
        return std::nullopt;
    }
    return message.substr(start.size(), message.size() - start.size() - end.size());
}

class Steps {
public:
    explicit Steps(Json settings) : m_settings(std::move(settings)) {}

    void Add(const Json& entry) {
        const std::string kind = entry.value("kind", std::string());
        if (kind == "log") {
            AddFromLog(entry);
        } else if (kind == "agent") {
            AddAnswer(entry);
        } else if (!IsRead(entry)) {
            AddCall(entry);
        }
    }

    bool IsEmpty() const { return m_steps.empty(); }

    /// The store refused: it still keeps the issue.
    void MarkRemovalFailed() {
        for (Json& step : m_steps) {
            if (step.at("kind") == "unfixed") {
                step["failed"] = "the store refuses";
            }
        }
    }

    /// What ended the repair before its end: the agent, or a cut of power.
    void AddEnd(const std::string& reason) { m_steps.push_back({{"kind", "end"}, {"reason", reason}}); }

    /// What a background repair hands to its caller.
    void AddRecord(const Json& record) { m_steps.push_back({{"kind", "handed back"}, {"record", record}}); }

    Json Take() { return std::move(m_steps); }

private:
    /// What only reads changes nothing.
    static bool IsRead(const Json& entry) {
        const std::string kind = entry.value("kind", std::string());
        const std::string op = entry.value("op", std::string());
        return (kind == "setting" && op.rfind("get_", 0) == 0) || kind == "damaged" ||
               (kind == "engine" && op != "record");
    }

    /// What the journal does not tell as a call: the agent's request files, the store of unfixed problems.
    void AddFromLog(const Json& entry) {
        const std::string function = entry.value("function", std::string());
        const std::string message = entry.value("message", std::string());
        if (function == "ProcessCMD") {
            AddCommand(message);
        } else if (function == "performDeepClean") {
            AddClean(message);
        } else if (function == "RemoveSolvedProblemFromRemainingDB") {
            if (const auto issue = Between(message, "iss_code(", ") is removed from RemainingDB")) {
                m_steps.push_back({{"kind", "unfixed"}, {"op", "remove"}, {"issue", *issue}});
            }
        } else if (m_nameless && message.rfind("Choose_Solution ", 0) == 0) {
            const std::size_t name = message.find(", sol_name : ") + 13;
            m_steps[*m_nameless]["text"] = message.substr(name, message.rfind(", sol_val : ") - name) + "\n";
            m_nameless.reset();
        }
    }

    void AddCommand(const std::string& message) {
        if (const auto command = Between(message, "\nsolution is cmd type : ", "\n\n")) {
            AddRequest("runCmdNativeApps", kCommandFile, kCommandTrigger, *command + "\n");
        } else if (const auto file = Between(message, "File creation failed (", ")")) {
            if (*file == kCommandFile) {
                // The command itself is logged only once the file stands.
                AddRequest("runCmdNativeApps", kCommandFile, kCommandTrigger, "");
                m_nameless = m_steps.size() - 1;
            }
            m_steps.back()["failed"] = *file + " cannot be written";
        }
    }

    void AddClean(const std::string& message) {
        const bool isRefused = message.rfind("File creation failed (", 0) == 0;
        if (isRefused || message.find("Created Successfully") != std::string::npos) {
            AddRequest("CleanAll.txt", kDeepCleanTrigger, kDeepCleanTrigger, "CleanUp\n");
        }
        if (isRefused) {
            m_steps.back()["failed"] = std::string(kDeepCleanTrigger) + " cannot be written";
        }
    }

    void AddRequest(const char* request, const char* file, const char* trigger, const std::string& text) {
        m_steps.push_back(
            {{"kind", "agent"}, {"request", request}, {"file", file}, {"text", text}, {"trigger", trigger}});
    }

    /// How the agent answered the latest request of that name.
    void AddAnswer(const Json& entry) {
        for (auto step = m_steps.rbegin(); step != m_steps.rend(); ++step) {
            if (step->value("request", std::string()) == entry.value("op", std::string())) {
                (*step)["outcome"] = entry.value("outcome", std::string());
                return;
            }
        }
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
        m_steps.push_back(std::move(entry));
    }

    Json m_settings;  // as they stand before the next step
    Json m_steps = Json::array();
    std::optional<std::size_t> m_nameless;  // a request whose command is still to be logged
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

/// " (fails: N)" for a call that the set would refuse.
std::string FailureText(const Json& step) {
    if (!step.contains("result") || !step.at("result").is_number_integer()) {
        return "";
    }
    const bool countsUp = step.value("op", std::string()) == "GetCurrentSource";
    const int result = step.at("result").get<int>();
    const bool fails = countsUp ? result < 1 : result != 0;
    return fails ? " (fails: " + std::to_string(result) + ")" : "";
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

}  // namespace

Json PreviewSteps(const kuraset::SetDirectory& set, const std::string& code, bool background) {
    scenario::EndInGoodOrder();
    try {
        const SetCopy trial(set);
        const auto copy = trial.Set();
        std::vector<std::string> command = {fs::read_symlink("/proc/self/exe").string(), "--set",
                                            copy.Path().string(), "--json", "fix"};
        if (background) {
            command.emplace_back("--background");
        }
        command.insert(command.end(), {"--", code});
        const auto result = scenario::RunProcess(command, trial.Scratch(), kPreviewPatience);
        const Json answer = Json::parse(result.out, nullptr, false);
        Steps steps(ToDocument(set.ListSettings()));
        for (const auto& entry : copy.ReadJournal()) {
            steps.Add(ToDocument(entry));
        }
        if (result.status != 0 && steps.IsEmpty()) {
            throw VerbError(static_cast<ExitCode>(result.status), FailureOf(result, answer));
        }
        if (CountKept(copy, code) > 0) {
            steps.MarkRemovalFailed();
        }
        const std::string failure = result.status == 0 ? "" : FailureOf(result, answer);
        if (failure.rfind("the run ", 0) == 0) {
            // The power was cut. An agent that refuses or says nothing ends no repair.
            steps.AddEnd(failure);
        } else if (background && result.status == 0) {
            steps.AddRecord(answer.at("record"));
        }
        return steps.Take();
    } catch (const scenario::Interrupted&) {
        throw VerbError(ExitCode::kFailed, "interrupted; the set is as it was");
    }
}

std::string StepText(const Json& step) {
    const std::string kind = step.at("kind").get<std::string>();
    const std::string op = step.value("op", std::string());
    std::string text;
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
    if (kind == "setting" && step.contains("old")) {
        text = "sets " + Shown(step.at("key")) + ": " +
               (step.at("old").is_null() ? "unset" : Shown(step.at("old"))) + " -> " +
               Shown(step.at("value"));
    } else if (kind == "setting") {
        text = "sets the item " + Shown(step.at("key")) + " to " + Shown(step.at("value"));
    } else if (kind == "launch") {
        text = "launches " + Shown(step.at("app")) + ExtrasText(step.at("extras"));
    } else if (kind == "engine") {
        text = RecordText(step);
    } else if (kind == "screen") {
        text = "shows the screen \"" + Shown(step.at("screen")) + "\": " + Shown(step.at("event"));
    } else {
        text = CallText(step);
    }
    return text + FailureText(step);
}

}  // namespace cli
