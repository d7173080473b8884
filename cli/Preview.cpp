#include "Preview.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "AgentAnswer.h"
#include "SetUse.h"
#include "scenario/Process.h"

namespace cli {

namespace {

namespace fs = std::filesystem;

/// Longer than the longest repair: a deep clean that nobody answers.
constexpr std::chrono::seconds kPatience{120};

constexpr const char* kCommandFile = "/tmp/vardo/runCmdNativeApps";
constexpr const char* kCommandTrigger = "/tmp/vardo/req/runCmdNativeApps";

/// Files keep their holes: an app of a gigabyte takes no room, and none in the copy.
void Copy(const kuraset::SetDirectory& set, const fs::path& copy, const fs::path& scratch) {
    const kuraset::SetUse use(set.Path());
    const auto result = scenario::RunProcess(
        {"/bin/cp", "--archive", "--sparse=auto", "--reflink=auto", set.Path().string(), copy.string()},
        scratch, kPatience);
    if (result.status != 0) {
        throw VerbError(ExitCode::kFailed, "the set cannot be copied for the preview: " +
                                               result.err.substr(0, result.err.find('\n')));
    }
}

/// The error that a run ended with, thrown again as this one's.
void RethrowFailure(const scenario::ProcessResult& result) {
    const Json document = Json::parse(result.out, nullptr, false);
    const std::string message =
        document.is_object() && document.contains("error")
            ? document.at("error").value("message", std::string())
            : "the repair of the copy ended with status " + std::to_string(result.status);
    throw VerbError(static_cast<ExitCode>(result.status), message);
}

/// Whether the library went through at least one solution.
bool WasApplied(const std::vector<kuraset::json>& journal) {
    return std::any_of(journal.begin(), journal.end(), [](const kuraset::json& entry) {
        return entry.value("message", std::string()).rfind("Choose_Solution ", 0) == 0;
    });
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
        const scenario::TemporaryFolder folder;
        const fs::path copyPath = folder.Path() / "set";
        Copy(set, copyPath, folder.Path());
        const auto copy = kuraset::SetDirectory::Open(copyPath);
        copy.ClearJournal();
        std::vector<std::string> command = {
            fs::read_symlink("/proc/self/exe").string(), "--set", copyPath.string(), "--json", "fix", code};
        if (background) {
            command.emplace_back("--background");
        }
        const auto result = scenario::RunProcess(command, folder.Path(), kPatience);
        const auto journal = copy.ReadJournal();
        // An agent that does not answer, or refuses, is part of the picture and not the end of it.
        if (result.status != 0 && !WasApplied(journal)) {
            RethrowFailure(result);
        }
        Steps steps(ToDocument(set.ListSettings()));
        for (const auto& entry : journal) {
            steps.Add(ToDocument(entry));
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
        return "removes issue " + Shown(step.at("issue")) + " from the unfixed problems";
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
