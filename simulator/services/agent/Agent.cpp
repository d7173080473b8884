#include "Agent.h"

#include <algorithm>
#include <csignal>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include <unistd.h>

#include "support/ChildProcess.h"

namespace kuraset {

namespace fs = std::filesystem;

namespace {

using Place = RequestFolders::Place;

constexpr const char* kMeasurePrefix = "calcAppDataCacheSize_";
constexpr const char* kResultPrefix = "appDataCacheSize_";
constexpr const char* kCobaltName = "cobalt_size";

/// Each is longer than the library waits.
constexpr std::chrono::seconds kLateMeasure{6};
constexpr std::chrono::seconds kLateClean{11};
constexpr std::chrono::milliseconds kIdle{250};
constexpr std::chrono::seconds kCommandPatience{5};

constexpr std::size_t kFloodBytes = std::size_t{8} << 20;

/// The folders that a deep clean empties unless set.json names others; '*' stands for every folder of that
/// level.
const char* const kCleanByDefault[] = {
    "/opt/usr/home/owner/.cache/Apps/WebAppsCache",
    "/opt/usr/home/owner/apps_rw/*/cache",
    "/opt/usr/home/owner/tmp",
    "/tmp/cache",
};

bool StartsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

/// The one line of a text that ends with its only line feed; none for any other text.
std::optional<std::string> Line(const std::optional<std::string>& text) {
    if (!text || text->empty() || text->find('\n') != text->size() - 1) {
        return std::nullopt;
    }
    return text->substr(0, text->size() - 1);
}

/// Splits the line "package|application".
std::optional<std::pair<std::string, std::string>> Pair(const std::optional<std::string>& text) {
    const std::optional<std::string> line = Line(text);
    const std::size_t bar = line ? line->find('|') : std::string::npos;
    if (bar == std::string::npos) {
        return std::nullopt;
    }
    std::pair<std::string, std::string> names(line->substr(0, bar), line->substr(bar + 1));
    if (!IsPlainName(names.first) || !IsPlainName(names.second)) {
        return std::nullopt;
    }
    return names;
}

/// The folders that a pattern names.
std::vector<fs::path> Expand(const fs::path& root, const fs::path& pattern) {
    std::vector<fs::path> found{root};
    for (const fs::path& step : pattern) {
        std::vector<fs::path> next;
        for (const fs::path& folder : found) {
            if (step != "*") {
                next.push_back(folder / step);
                continue;
            }
            std::error_code error;
            for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
                next.push_back(entry.path());
            }
        }
        found = std::move(next);
    }
    return found;
}

/// Runs a shell command without input or output and waits for it. Returns its exit status, 128 + n after
/// signal n, or -1 when it could not be started or took too long.
int RunShell(const std::string& command) try {
    support::ChildStart start;
    start.command = {"/bin/sh", "-c", command};
    start.input = start.output = start.errors = support::ChildStart::kNowhere;
    start.isApart = true;
    support::ChildProcess shell(start);
    const auto end = shell.WaitUntil(std::chrono::steady_clock::now() + kCommandPatience);
    return end ? end->ShellStatus() : -1;
} catch (const std::system_error&) {
    return -1;
}

}  // namespace

Agent::Agent(const SetDirectory& set, const fs::path& opt, const fs::path& tmp)
    : m_set(set), m_opt(opt), m_tmp(tmp), m_folders(opt), m_requests(tmp), m_journal(set.JournalPath()) {
    Refresh();
    KeepCobaltSize();
}

void Agent::Refresh() {
    try {
        json description = m_set.Description();
        CheckDescription(description);
        m_description = std::move(description);
    } catch (const SetError&) {
        // The last description that could be read stays in force.
    }
}

Agent::Fault Agent::CurrentFault() const {
    const json fault = m_description.value("faults", json::object()).value("agent", json());
    if (fault.is_string()) {
        return {fault.get<std::string>(), 0};
    }
    return fault.is_object() ? Fault{fault.value("mode", ""), fault.value("seconds", 0)} : Fault{};
}

std::chrono::seconds Agent::DelayOf(const std::string& trigger) const {
    const Fault fault = CurrentFault();
    if (fault.mode == "late" && fault.seconds == 0) {
        return trigger == "CleanAll.txt" ? kLateClean : kLateMeasure;
    }
    return std::chrono::seconds(fault.mode == "slow" || fault.mode == "late" ? fault.seconds : 0);
}

void Agent::Accept(const std::string& trigger) {
    Refresh();
    m_waiting.emplace(trigger, Clock::now() + DelayOf(trigger));
}

void Agent::AcceptAll() {
    for (const std::string& trigger : m_requests.RequestNames()) {
        Accept(trigger);
    }
}

int Agent::Work() {
    Refresh();
    KeepCobaltSize();
    auto wait = std::chrono::duration_cast<Clock::duration>(kIdle);
    for (auto next = m_waiting.begin(); next != m_waiting.end();) {
        const auto left = next->second - Clock::now();
        if (left > Clock::duration::zero()) {
            wait = std::min(wait, left);
            ++next;
            continue;
        }
        const std::string trigger = next->first;
        next = m_waiting.erase(next);
        Do(trigger);
    }
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(wait).count()) + 1;
}

void Agent::Do(const std::string& trigger) {
    static const std::map<std::string, void (Agent::*)(const std::string&)> kRequests = {
        {"CleanAll.txt", &Agent::CleanAll},
        {"memBoost", &Agent::BoostMemory},
        {"killApp", &Agent::KillApp},
        {"clearAppCache", &Agent::ClearAppCache},
        {"runCmdNativeApps", &Agent::RunCommand},
    };
    const auto known = kRequests.find(trigger);
    if (known == kRequests.end() && !StartsWith(trigger, kMeasurePrefix)) {
        Note(trigger, "unknown");
        return;
    }
    if (CurrentFault().mode == "absent") {
        return;
    }
    if (!m_requests.IsRegular(Place::Requests, trigger)) {
        // It is gone again, or it is no regular file and therefore no request.
        Note(trigger, "refused", {{"reason", "no regular trigger file"}});
        return;
    }
    if (known == kRequests.end()) {
        MeasureApp(trigger);
    } else {
        (this->*known->second)(trigger);
    }
}

void Agent::CleanAll(const std::string& trigger) {
    if (m_requests.Read(Place::Requests, trigger) != "CleanUp\n") {
        Note(trigger, "refused", {{"reason", "not the text of a clean-up"}});
        return;
    }
    json patterns = m_description.value("agent", json::object()).value("clean", json());
    if (patterns.is_null()) {
        patterns = json(kCleanByDefault);
    }

    Removal all;
    for (const json& pattern : patterns) {
        const fs::path path = pattern.get<std::string>();
        const bool below = StartsWith(path.string(), "/tmp/");
        const fs::path& root = below ? m_tmp : m_opt;
        for (const fs::path& folder : Expand(root, path.lexically_relative(below ? "/tmp" : "/opt"))) {
            const Removal removal = EmptyFolder(root, folder);
            all.bytes += removal.bytes;
            all.entries += removal.entries;
            all.failures += removal.failures;
        }
    }
    m_requests.Remove(Place::Requests, trigger);
    Note(trigger, "done", {{"bytes", all.bytes}, {"entries", all.entries}, {"failures", all.failures}});
}

void Agent::BoostMemory(const std::string& trigger) {
    // The simulated set has no memory of its own to free.
    m_requests.Remove(Place::Requests, trigger);
    Note(trigger, "done");
}

void Agent::KillApp(const std::string& trigger) {
    // Remove the trigger first, so that a request during the work leaves a new one.
    m_requests.Remove(Place::Requests, trigger);
    const std::optional<std::string> package = Line(m_requests.Read(Place::Data, trigger));
    if (!package || !IsPlainName(*package)) {
        Note(trigger, "refused", {{"reason", "no package name"}});
        return;
    }
    const json processes = m_description.value("agent", json::object()).value("processes", json::object());
    Entry killed = Entry::array();
    for (const json& process : processes.value(*package, json::array())) {
        const pid_t number = process.get<pid_t>();
        if (number > 1 && number != getpid() && number != getppid() && kill(number, SIGKILL) == 0) {
            killed.push_back(number);
        }
    }
    Note(trigger, "done", {{"package", Legible(*package)}, {"killed", killed}});
}

void Agent::ClearAppCache(const std::string& trigger) {
    m_requests.Remove(Place::Requests, trigger);
    const auto names = Pair(m_requests.Read(Place::Data, trigger));
    if (!names) {
        Note(trigger, "refused", {{"reason", "no package and application"}});
        return;
    }
    const Removal cache = EmptyFolder(m_opt, m_folders.Cache(names->first));
    const Removal web = EmptyFolder(m_opt, m_folders.WebCache(names->second));
    Note(trigger, "done",
         {{"package", Legible(names->first)},
          {"app", Legible(names->second)},
          {"bytes", cache.bytes + web.bytes},
          {"entries", cache.entries + web.entries},
          {"failures", cache.failures + web.failures}});
}

void Agent::MeasureApp(const std::string& trigger) {
    const auto names = Pair(m_requests.Read(Place::Requests, trigger));
    if (!names || trigger != kMeasurePrefix + names->second) {
        Note(trigger, "refused", {{"reason", "no package and application, or another one's"}});
        return;
    }
    m_requests.Remove(Place::Data, trigger);
    m_requests.Remove(Place::Requests, trigger);
    // The web cache does not count here: the library measures it itself and adds it.
    const std::int64_t data = FolderSize(m_opt, m_folders.Data(names->first));
    const std::int64_t cache = FolderSize(m_opt, m_folders.Cache(names->first));
    const bool answered = Answer(names->second, data, cache);
    Note(trigger, answered ? "done" : "failed",
         {{"package", Legible(names->first)},
          {"app", Legible(names->second)},
          {"data", data},
          {"cache", cache}});
}

/// Writes the result before the acknowledgement, which says that the result is complete.
bool Agent::Answer(const std::string& appId, std::int64_t data, std::int64_t cache) {
    const std::string partial = std::to_string(data) + "|";
    const std::string text =
        CurrentFault().mode == "partial" ? partial : Distort(partial + std::to_string(cache));
    return m_requests.Write(Place::Data, kResultPrefix + appId, text) &&
           m_requests.Write(Place::Acknowledgements, kResultPrefix + appId, "");
}

std::string Agent::Distort(const std::string& text) const {
    const std::string mode = CurrentFault().mode;
    if (mode == "flood") {
        return std::string(kFloodBytes, '9');
    }
    if (mode != "binary") {
        return text;
    }
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(255 - byte);
    }
    return bytes;
}

void Agent::RunCommand(const std::string& trigger) {
    m_requests.Remove(Place::Requests, trigger);
    const std::optional<std::string> command = Line(m_requests.Read(Place::Data, trigger));
    if (!command) {
        Note(trigger, "refused", {{"reason", "no command line"}});
        return;
    }
    const json allowed = m_description.value("agent", json::object()).value("commands", json::array());
    Entry details{{"command", Legible(*command)}};
    if (std::find(allowed.begin(), allowed.end(), json(*command)) == allowed.end()) {
        details["reason"] = "not among the allowed commands";
        Note(trigger, "refused", details);
        return;
    }
    details["status"] = RunShell(*command);
    Note(trigger, "done", details);
}

void Agent::KeepCobaltSize() {
    const json size = m_description.value("agent", json::object()).value("cobalt_size", json());
    if (size.is_null()) {
        return;
    }
    const std::string text = Distort(CurrentFault().mode == "partial" ? std::string() : size.dump());
    if (text != m_cobaltSize || !m_requests.IsRegular(Place::Data, kCobaltName)) {
        m_cobaltSize = m_requests.Write(Place::Data, kCobaltName, text) ? text : std::string();
    }
}

void Agent::Note(const std::string& request, const std::string& outcome, const Entry& details) {
    Entry entry{{"kind", "agent"}, {"op", Legible(request)}, {"outcome", outcome}};
    entry.update(details);
    m_journal.Append(entry);
}

}  // namespace kuraset
