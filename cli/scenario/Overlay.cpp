// Describes how a set differs from a fresh one, in the format of a scenario.
#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Record.h"
#include "ScenarioError.h"
#include "support/Descriptor.h"
#include "support/Files.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestFile = std::uintmax_t{4} << 20;
/// The engine's records are written row by row, so their databases do not count as files.
const fs::path kEngineFolder = "home/owner/share/Watchman/DB";

/// The merge patch that turns `before` into `now`.
Json PatchOf(const nlohmann::json& before, const nlohmann::json& now) {
    Json patch = Json::object();
    for (const auto& [key, value] : now.items()) {
        if (before.contains(key) && before.at(key) == value) {
            continue;
        }
        const bool isObject = before.contains(key) && before.at(key).is_object() && value.is_object();
        patch[key] = isObject ? PatchOf(before.at(key), value) : Json(value);
    }
    for (const auto& [key, unused] : before.items()) {
        static_cast<void>(unused);
        if (!now.contains(key)) {
            patch[key] = nullptr;
        }
    }
    return patch;
}

Json EngineOf(const kuraset::SetDirectory& set) {
    Json engine = {
        {"base", "none"}, {"inferences", set.ListInferences()}, {"solutions", set.ListSolutions()}};
    // The engine lists the newest first; a scenario adds the oldest first.
    std::reverse(engine["inferences"].begin(), engine["inferences"].end());
    std::reverse(engine["solutions"].begin(), engine["solutions"].end());
    return engine;
}

/// Whether the file is one hole from end to end, as the applications' files are; it need not be read.
bool IsHole(const fs::path& path) {
    const support::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    return file && lseek(file.Number(), 0, SEEK_DATA) < 0 && errno == ENXIO;
}

bool IsZero(const fs::path& path) {
    if (IsHole(path)) {
        return true;
    }
    std::ifstream file(path, std::ios::binary);
    std::string block(std::size_t{1} << 16, '\0');
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
        if (block.find_first_not_of('\0') < static_cast<std::size_t>(file.gcount())) {
            return false;
        }
    }
    return true;
}

bool IsPlainText(const std::string& text) {
    return text.find('\0') == std::string::npos &&
           g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != 0;
}

/// A file or folder as a scenario writes it; null for what it cannot hold.
Json FileOf(const fs::path& path) {
    const fs::file_status status = fs::symlink_status(path);
    if (fs::is_symlink(status)) {
        return {{"link", fs::read_symlink(path).string()}};
    }
    if (fs::is_directory(status)) {
        return {{"folder", true}};
    }
    if (!fs::is_regular_file(status)) {
        return nullptr;
    }
    const std::uintmax_t size = fs::file_size(path);
    if (size > 0 && IsZero(path)) {
        return {{"size", size}};
    }
    if (size > kLargestFile) {
        throw ScenarioError(path.string() + ": is too large for a scenario (4 MiB)");
    }
    const std::string text = support::ReadFile(path).value_or("");
    if (IsPlainText(text)) {
        return text;
    }
    const std::unique_ptr<gchar, decltype(&g_free)> encoded(
        g_base64_encode(reinterpret_cast<const guchar*>(text.data()), text.size()), &g_free);
    return {{"base64", encoded.get()}};
}

bool SameFile(const fs::path& one, const fs::path& other) {
    std::error_code error;
    const fs::file_status first = fs::symlink_status(one, error);
    const fs::file_status second = fs::symlink_status(other, error);
    if (first.type() != second.type()) {
        return false;
    }
    if (fs::is_symlink(first)) {
        return fs::read_symlink(one, error) == fs::read_symlink(other, error);
    }
    if (!fs::is_regular_file(first)) {
        return true;
    }
    const bool sameSize = fs::file_size(one, error) == fs::file_size(other, error);
    return sameSize && ((IsZero(one) && IsZero(other)) || support::ReadFile(one) == support::ReadFile(other));
}

/// Lists everything below a folder but the engine's databases; follows no link.
std::map<std::string, fs::path> ContentsOf(const fs::path& folder) {
    std::map<std::string, fs::path> contents;
    for (auto at = fs::recursive_directory_iterator(folder); at != fs::recursive_directory_iterator(); ++at) {
        const fs::path relative = at->path().lexically_relative(folder);
        if (relative == kEngineFolder) {
            at.disable_recursion_pending();
            continue;
        }
        contents.emplace(relative.string(), at->path());
    }
    return contents;
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += c;
        }
    }
    return lines;
}

/// Whether a folder above it is removed.
bool GoesWithItsFolder(const Json& files, const std::string& name) {
    for (fs::path at = fs::path("/" + name).parent_path(); at.has_relative_path(); at = at.parent_path()) {
        if (files.contains(at.string())) {
            return true;
        }
    }
    return false;
}

void AddFiles(Json& overlay, const kuraset::SetDirectory& set, const kuraset::SetDirectory& fresh) {
    const auto before = ContentsOf(fresh.Path() / "files");
    const auto now = ContentsOf(set.Path() / "files");
    Json files = Json::object();
    for (const auto& [name, unused] : before) {
        static_cast<void>(unused);
        if (now.count(name) == 0 && !GoesWithItsFolder(files, name)) {
            files["/" + name] = nullptr;
        }
    }
    for (const auto& [name, path] : now) {
        const auto old = before.find(name);
        if (old != before.end() && SameFile(path, old->second)) {
            continue;
        }
        Json content = FileOf(path);
        if (!content.is_null()) {
            files["/" + name] = std::move(content);
        }
    }
    const auto map = files.find(kMapPath);
    if (map != files.end() && map->is_string()) {
        overlay["map"] = LinesOf(map->get<std::string>());
        files.erase(map);
    }
    if (!files.empty()) {
        overlay["files"] = std::move(files);
    }
}

}  // namespace

Json OverlayOf(const kuraset::SetDirectory& set, const kuraset::SetDirectory& fresh) {
    Json overlay = Json::object();
    if (Json patch = PatchOf(fresh.Description(), set.Description()); !patch.empty()) {
        overlay["describe"] = std::move(patch);
    }
    if (Json settings = PatchOf(fresh.ListSettings(), set.ListSettings()); !settings.empty()) {
        overlay["settings"] = std::move(settings);
    }
    Json engine = EngineOf(set);
    if (engine != EngineOf(fresh)) {
        overlay["engine"] = std::move(engine);
    }
    AddFiles(overlay, set, fresh);
    return overlay;
}

}  // namespace scenario
