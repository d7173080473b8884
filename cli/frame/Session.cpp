#include "Session.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <system_error>

namespace cli {

namespace fs = std::filesystem;

namespace {

constexpr const char* kMapBelowOpt = "usr/share/TVKuraHelp/SolutionMap.xml";

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

fs::path UserDataFolder() {
    const std::string data = Environment("XDG_DATA_HOME");
    if (!data.empty()) {
        return data;
    }
    const std::string home = Environment("HOME");
    if (home.empty()) {
        throw VerbError(ExitCode::kUsage, "neither --set nor HOME says where the set is");
    }
    return fs::path(home) / ".local" / "share";
}

/// Without the number that the JSON library puts in front.
std::string Reason(const nlohmann::json::exception& error) {
    const std::string text = error.what();
    const std::size_t end = text.find("] ");
    return end == std::string::npos ? text : text.substr(end + 2);
}

std::string TextOf(const nlohmann::json& record, const char* key) {
    return record.value(key, std::string());
}

void LoadEngineRecords(const kuraset::SetDirectory& set, const nlohmann::json& records) {
    for (const auto& record : records.value("inferences", nlohmann::json::array())) {
        set.ReportInference(record.at("issue_code").get<int>(), record.at("transition").get<bool>(),
                            record.value("solution_code", 0), TextOf(record, "register_time"),
                            TextOf(record, "last_update_time"));
    }
    for (const auto& record : records.value("solutions", nlohmann::json::array())) {
        set.ReportSolution(record.at("issue_code").get<int>(), record.value("solution_code", 0),
                           record.value("type", 0), record.value("is_apply", true),
                           TextOf(record, "register_time"));
    }
}

/// Whole or not at all, since another kura may need the default set at the same moment.
kuraset::SetDirectory MakeDefaultSet(const fs::path& path) {
    const fs::path fresh = path.string() + ".new-" + std::to_string(getpid());
    MakeSet(fresh, ExamplesFolder());
    std::error_code error;
    fs::rename(fresh, path, error);
    if (error) {
        fs::remove_all(fresh);
    }
    return kuraset::SetDirectory::Open(path);
}

}  // namespace

bool IsInside() {
    return !Environment(kInsideVariable).empty();
}

fs::path Session::SetPath() const {
    if (IsInside()) {
        return kuraset::kBoundSetDirectory;
    }
    return setOption.empty() ? UserDataFolder() / "kura" / "set" : fs::absolute(setOption).lexically_normal();
}

kuraset::SetDirectory Session::OpenSet() const {
    const fs::path path = SetPath();
    if (setOption.empty() && !IsInside() && !fs::exists(path)) {
        return MakeDefaultSet(path);
    }
    return kuraset::SetDirectory::Open(path);
}

fs::path ExamplesFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path folder = program.parent_path().parent_path() / "share" / "kura" / "examples";
    if (error || !fs::is_directory(folder, error)) {
        throw VerbError(ExitCode::kFailed, "the examples are missing: " + folder.string());
    }
    return folder;
}

kuraset::SetDirectory MakeSet(const fs::path& path, const fs::path& examples) {
    const nlohmann::json description = ReadJsonFile(examples / "set" / "set.json");
    const nlohmann::json settings = ReadJsonFile(examples / "set" / "settings.json");
    const nlohmann::json records = ReadJsonFile(examples / "set" / "engine.json");
    return kuraset::SetDirectory::Create(path, description, settings, [&](const kuraset::SetDirectory& set) {
        try {
            LoadEngineRecords(set, records);
        } catch (const nlohmann::json::exception& error) {
            throw VerbError(ExitCode::kFailed,
                            (examples / "set" / "engine.json").string() + ": " + Reason(error));
        }
        const fs::path map = set.FilesOpt() / kMapBelowOpt;
        fs::create_directories(map.parent_path());
        fs::copy_file(examples / "SolutionMap.xml", map, fs::copy_options::overwrite_existing);
        fs::copy(examples / "texts", set.Path() / "texts",
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    });
}

nlohmann::json ReadJsonFile(const fs::path& path) {
    std::ifstream file(path);
    if (!file) {
        throw VerbError(ExitCode::kFailed, "cannot read " + path.string());
    }
    try {
        return nlohmann::json::parse(file);
    } catch (const nlohmann::json::exception& error) {
        throw VerbError(ExitCode::kFailed, path.string() + ": " + Reason(error));
    }
}

}  // namespace cli
