#include "StartSet.h"

#include <chrono>
#include <fstream>
#include <system_error>

#include "Process.h"
#include "ScenarioError.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds kMakingLimit{120};

void Describe(const std::vector<Json>& patches, const kuraset::SetDirectory& set) {
    for (const Json& patch : patches) {
        auto description = set.Description();
        description.merge_patch(nlohmann::json(patch));
        set.Describe(description);
        if (patch.contains("apps")) {
            set.LayOutApps();
        }
    }
}

void WriteSettings(const Json& settings, const kuraset::SetDirectory& set) {
    for (const auto& [key, value] : settings.items()) {
        if (value.is_null()) {
            set.RemoveSetting(key);
        } else {
            set.SetSetting(key, nlohmann::json(value));
        }
    }
}

void Report(const Json& engine, const kuraset::SetDirectory& set) {
    if (engine.value("base", "keep") == "none") {
        set.ForgetRecords();
    }
    set.AddRecords(engine);
}

void WriteWhole(const fs::path& path, const FileChange& change) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << change.text;
    if (!file.flush()) {
        throw ScenarioError(change.path + ": cannot be written on the set");
    }
    file.close();
    if (change.kind == FileChange::Kind::kSize) {
        fs::resize_file(path, change.size);
    }
}

void ChangeFile(const FileChange& change, const kuraset::SetDirectory& set) {
    const auto path = InSet(set, change.path);
    if (!path) {
        throw ScenarioError(change.path + ": a link stands on the way to it");
    }
    using Kind = FileChange::Kind;
    try {
        if (change.kind == Kind::kFolder) {
            fs::create_directories(*path);
            return;
        }
        fs::remove_all(*path);
        if (change.kind == Kind::kRemove) {
            return;
        }
        fs::create_directories(path->parent_path());
        if (change.kind == Kind::kLink) {
            fs::create_symlink(change.text, *path);
        } else {
            WriteWhole(*path, change);
        }
    } catch (const fs::filesystem_error& error) {
        throw ScenarioError(change.path + ": cannot be changed on the set: " + error.code().message());
    }
}

}  // namespace

void Apply(const Changes& changes, const kuraset::SetDirectory& set) {
    Describe(changes.describe, set);
    WriteSettings(changes.settings, set);
    Report(changes.engine, set);
    for (const FileChange& change : changes.files) {
        ChangeFile(change, set);
    }
}

kuraset::SetDirectory MakeStartSet(const Scenario& scenario, const fs::path& path, const fs::path& kura) {
    std::vector<std::string> command = {kura.string(), "--set", path.string(), "--json", "set", "new"};
    if (!scenario.base.empty()) {
        command.insert(command.end(), {"--from", scenario.base.string()});
    }
    const ProcessResult made = RunProcess(command, kMakingLimit);
    if (made.status != 0) {
        const Json answer = Json::parse(made.out, nullptr, false);
        throw ScenarioError("the set cannot be made: " +
                            (answer.is_object() && answer.contains("error")
                                 ? answer.at("error").value("message", std::string())
                                 : "kura set new ended with status " + std::to_string(made.status)));
    }
    const auto set = kuraset::SetDirectory::Open(path);
    Apply(scenario.start, set);
    return set;
}

std::optional<fs::path> InSet(const kuraset::SetDirectory& set, const std::string& path) {
    fs::path reached = set.Path() / "files";
    const fs::path relative = fs::path(path).relative_path();
    for (const fs::path& step : relative.parent_path()) {
        reached /= step;
        std::error_code error;
        if (fs::is_symlink(fs::symlink_status(reached, error))) {
            return std::nullopt;
        }
    }
    return reached / relative.filename();
}

}  // namespace scenario
