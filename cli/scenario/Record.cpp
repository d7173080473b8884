#include "Record.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <map>
#include <utility>

#include "Process.h"
#include "Runner.h"
#include "ScenarioError.h"
#include "StartSet.h"
#include "support/Joined.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kMostLogLines = 40;
constexpr std::size_t kLongestFileText = 4096;
constexpr int kErrorPriority = 6;

/// These verbs ask the set from many threads, so the order of their calls differs from run to run.
constexpr const char* kManyThreads[] = {"apps"};

bool HasThreads(const std::vector<std::string>& verb) {
    return std::find(std::begin(kManyThreads), std::end(kManyThreads), verb.front()) !=
           std::end(kManyThreads);
}

Json SteadyList(const Json& entries) {
    Json list = Json::array();
    for (const Json& entry : entries) {
        list.push_back(Steady(entry));
    }
    return list;
}

/// Keeps the part of each description that is the same in every run. Before "select_item" it holds the time;
/// at its end it holds the figures of the partition, which are the machine's unless the set has a partition
/// of its own.
Json Events(const Json& entries, bool ownPartition) {
    Json list = SteadyList(entries);
    for (Json& entry : list) {
        std::string text = entry.value("description", std::string());
        text.erase(0, std::min(text.find("select_item="), text.size()));
        if (!ownPartition) {
            text.erase(std::min(text.find(";total_storage="), text.size()));
        }
        entry["description"] = {{"$contains", text}};
    }
    return list;
}

/// The members of a problem list that an expectation tells.
Json Rows(const Json& problems) {
    Json rows = Json::array();
    for (const Json& problem : problems) {
        rows.push_back({{"issue_code", problem.at("issue_code")},
                        {"last_time", problem.at("last_time")},
                        {"sol_name", problem.at("sol_name")}});
    }
    return rows;
}

/// Leaves out the sizes that count folders, because a folder's own size is the file system's.
Json WithoutFolderSizes(Json answer) {
    answer.erase("total_size");
    answer.erase("cache_size");
    if (answer.contains("apps")) {
        for (Json& app : answer.at("apps")) {
            app.erase("total_size");
        }
    }
    return answer;
}

/// The answer without the parts that other expectations are about and without the time of day.
Json Answer(const Json& answer) {
    Json steady = Json::object();
    for (const auto& [key, value] : answer.items()) {
        const bool elsewhere = key == "problems" || key == "requests" || key == "entries" || key == "lines";
        const bool time = key == "seconds" || (value.is_object() && value.contains("time"));
        if (!elsewhere && !time) {
            steady[key] = value;
        }
    }
    return WithoutFolderSizes(std::move(steady));
}

Json ErrorLines(const Json& log) {
    Json lines = Json::array();
    for (const Json& line : log) {
        const auto message = line.value("message", std::string());
        const bool chatter = line.value("file", std::string()).rfind("KURA_DBManager", 0) == 0 &&
                             message.rfind("ERROR", 0) != 0;
        if (line.value("priority", 0) >= kErrorPriority && !chatter && !line.contains("cut") &&
            lines.size() < kMostLogLines) {
            lines.push_back(message);
        }
    }
    return lines;
}

void AddCalls(Json& expect, const Moment& moment) {
    const Json all = Happened(moment, "calls");
    Json calls = Json::object();
    for (const char* kind : {"picture", "video", "power", "source", "network", "consent"}) {
        if (all.contains(kind)) {
            calls[kind] = SteadyList(all.at(kind));
        }
    }
    if (!calls.empty()) {
        expect["calls"] = std::move(calls);
    }
}

/// The values that changed; null for those that are gone.
Json Changed(const Json& before, const Json& now) {
    Json changed = Json::object();
    for (const auto& [key, value] : now.items()) {
        if (!before.contains(key) || before.at(key) != value) {
            changed[key] = value;
        }
    }
    for (const auto& [key, unused] : before.items()) {
        static_cast<void>(unused);
        if (!now.contains(key)) {
            changed[key] = nullptr;
        }
    }
    return changed;
}

/// All files of the set by the library's path, as an expectation tells them. Databases are left out, because
/// their bytes differ without a meaning.
Json FilesOf(const kuraset::SetDirectory& set) {
    Json paths = Json::object();
    const fs::path root = set.Path() / "files";
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const fs::path& path = entry.path();
        const bool database = path.filename().string().find(".db") != std::string::npos;
        if (!fs::is_directory(entry.symlink_status()) && !database) {
            paths["/" + path.lexically_relative(root).string()] = nullptr;
        }
    }
    Json files = Look(set, SIZE_MAX, {{"files", paths}}).files;
    for (auto& [path, file] : files.items()) {
        static_cast<void>(path);
        const bool zero =
            file.contains("text") && file.at("text").get<std::string>().find('\0') != std::string::npos;
        if (file.contains("text") && (zero || file.value("size", std::size_t{0}) > kLongestFileText)) {
            file.erase("text");
        }
    }
    return files;
}

struct State {
    Json settings;
    Json files;
};

State StateOf(const kuraset::SetDirectory& set) {
    return {Json(set.ListSettings()), FilesOf(set)};
}

void AddUnlessEmpty(Json& expect, const char* name, Json value) {
    if (!value.empty()) {
        expect[name] = std::move(value);
    }
}

Json Expectation(const Moment& moment, const std::vector<std::string>& verb, const State& before,
                 const State& after, bool ownPartition) {
    Json expect = Json::object();
    if (moment.exit != 0) {
        expect["exit"] = *moment.exit;
    }
    if (moment.answer.is_object()) {
        AddUnlessEmpty(expect, "answer",
                       ownPartition || verb.front() != "storage" ? Answer(moment.answer) : Json::object());
        if (moment.answer.contains("problems")) {
            expect["rows"] = Rows(moment.answer.at("problems"));
        }
    }
    const bool threads = HasThreads(verb);
    for (const char* list : {"screens", "written", "launches", "recorded"}) {
        expect[list] = SteadyList(Happened(moment, list));
    }
    expect["events"] = Events(Happened(moment, "events"), ownPartition);
    if (!threads) {
        expect["requests"] = SteadyList(Happened(moment, "requests"));
        AddUnlessEmpty(expect, "log", ErrorLines(Happened(moment, "log")));
    }
    AddCalls(expect, moment);
    if (moment.remaining.is_array()) {
        expect["remaining"] = Json::array();
        for (const Json& row : moment.remaining) {
            expect["remaining"].push_back(row.at("issue_code"));
        }
    }
    AddUnlessEmpty(expect, "settings", Changed(before.settings, after.settings));
    AddUnlessEmpty(expect, "files", Changed(before.files, after.files));
    return expect;
}

/// Every difference of the set to a fresh one.
Json OverlayOn(const kuraset::SetDirectory& set, const fs::path& kura) {
    const TemporaryFolder scratch;
    return scratch.WithRoom([&] {
        Json overlay = OverlayOf(set, MakeStartSet(Scenario(), scratch.Path() / "fresh", kura));
        scratch.DemandRoom();
        return overlay;
    });
}

}  // namespace

Recording Record(const kuraset::SetDirectory& set, const std::vector<std::vector<std::string>>& verbs,
                 const fs::path& kura) {
    Json overlay = OverlayOn(set, kura);
    const std::string now = set.TimeNow();
    if (!set.Description().contains("clock")) {
        overlay["clock"] = now;
    }
    const bool ownPartition = set.Description().contains("opt_size");
    Recording recording;
    Json steps = Json::array();
    std::vector<std::string> names;
    for (const auto& verb : verbs) {
        const State before = StateOf(set);
        Moment moment = RunVerb(set, verb, Json::object(), kura, {{kuraset::kClockVariable, now}});
        steps.push_back({{"name", names.emplace_back(support::Joined(verb, " "))},
                         {"run", verb},
                         {"expect", Expectation(moment, verb, before, StateOf(set), ownPartition)}});
        recording.moments.push_back(std::move(moment));
    }
    recording.document = {{"name", support::Joined(names, ", ")},
                          {"about", "Recorded from what happened."},
                          {"set", std::move(overlay)},
                          {"steps", std::move(steps)}};
    return recording;
}

namespace {

constexpr std::size_t kWidth = 110;

std::string Scalar(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string InOneLine(const Json& value) {
    if (!value.is_structured()) {
        return Scalar(value);
    }
    if (value.is_array()) {
        return "[" + support::Joined(value, ", ", &InOneLine) + "]";
    }
    const auto memberText = [](const auto& member) {
        return Scalar(member.key()) + ": " + InOneLine(member.value());
    };
    return "{" + support::Joined(value.items(), ", ", memberText) + "}";
}

/// Writes a list or an object on one line if there is room. behind: how much else follows on that line.
void Write(std::string& text, const Json& value, std::size_t indent, std::size_t behind) {
    const std::string line = InOneLine(value);
    if (!value.is_structured() || value.empty() || line.size() + indent + behind <= kWidth) {
        text += line;
        return;
    }
    const std::string inner(indent + 4, ' ');
    text += value.is_array() ? "[\n" : "{\n";
    std::size_t left = value.size();
    for (const auto& [key, member] : value.items()) {
        const std::string label = value.is_array() ? "" : Scalar(key) + ": ";
        text += inner + label;
        Write(text, member, indent + 4, label.size() + 1);
        text += --left == 0 ? "\n" : ",\n";
    }
    text += std::string(indent, ' ') + (value.is_array() ? "]" : "}");
}

}  // namespace

std::string ScenarioText(const Json& document) {
    std::string text;
    Write(text, document, 0, kWidth);
    return text + "\n";
}

}  // namespace scenario
