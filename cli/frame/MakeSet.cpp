#include "MakeSet.h"

#include <unistd.h>

#include <fstream>
#include <functional>
#include <string>
#include <system_error>

#include "Outcome.h"

namespace cli {

namespace fs = std::filesystem;

namespace {

/// The error's text without the number that the JSON library puts in front.
std::string Reason(const nlohmann::json::exception& error) {
    const std::string text = error.what();
    const std::size_t end = text.find("] ");
    return end == std::string::npos ? text : text.substr(end + 2);
}

}  // namespace

fs::path ExamplesFolder() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    const fs::path folder = program.parent_path().parent_path() / "share" / "kura" / "examples";
    if (error || !fs::is_directory(folder, error)) {
        throw VerbError(ExitCode::kFailed, "the examples are missing: " + folder.string());
    }
    return folder;
}

fs::path MapOf(const kuraset::SetDirectory& set) {
    return set.FilesOpt() / "usr/share/TVKuraHelp/SolutionMap.xml";
}

kuraset::SetDirectory MakeSet(const fs::path& path, const fs::path& examples) {
    const nlohmann::json description = ReadJsonFile(examples / "set" / "set.json");
    const nlohmann::json settings = ReadJsonFile(examples / "set" / "settings.json");
    const Json records = ReadJsonFile(examples / "set" / "engine.json");
    return kuraset::SetDirectory::Create(path, description, settings, [&](const kuraset::SetDirectory& set) {
        try {
            set.AddRecords(records);
        } catch (const nlohmann::json::exception& error) {
            throw VerbError(ExitCode::kFailed,
                            (examples / "set" / "engine.json").string() + ": " + Reason(error));
        }
        const fs::path map = MapOf(set);
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

kuraset::SetDirectory MakeDefaultSet(const fs::path& path,
                                     const std::function<kuraset::SetDirectory(const fs::path& place)>& make,
                                     const fs::path& place) {
    try {
        return make(place);
    } catch (const kuraset::SetError& error) {
        std::string message = error.what();
        if (error.kind() != kuraset::SetError::Kind::Io) {
            throw;
        }
        const std::size_t name = message.find(place.string());
        if (name != std::string::npos) {
            message.replace(name, place.string().size(), path.string());
        }
        throw VerbError(ExitCode::kFailed, message + " (--set DIR names another place)");
    }
}

kuraset::SetDirectory MakeSetWhole(const fs::path& path) {
    const fs::path fresh = path.string() + ".new-" + std::to_string(getpid());
    MakeDefaultSet(
        path, [](const fs::path& place) { return MakeSet(place, ExamplesFolder()); }, fresh);
    std::error_code error;
    fs::rename(fresh, path, error);
    if (error) {
        fs::remove_all(fresh);
    }
    return kuraset::SetDirectory::Open(path);
}

}  // namespace cli
