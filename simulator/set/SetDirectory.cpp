#include "KuraSet.h"

#include <cstdlib>
#include <fstream>
#include <system_error>

#include "AppFolders.h"
#include "EngineStore.h"
#include "FileAccess.h"
#include "SetFormat.h"

namespace kuraset {

namespace fs = std::filesystem;

namespace {

/// The folders that a set has from the factory, below files/.
const char* const kFactoryFolders[] = {
    "opt/usr/share/TVKuraHelp",     "opt/usr/apps",
    "opt/usr/home/owner/share",     "opt/usr/home/owner/content/Documents",
    "opt/usr/home/owner/apps_rw",   "opt/usr/home/owner/.cache/Apps/WebAppsCache",
    "home/owner/share/Watchman/DB", "tmp/tutorlink",
};

[[noreturn]] void Refuse(const fs::path& path, const char* step, const std::error_code& error) {
    throw SetError(SetError::Kind::Io, path.string() + ": cannot " + step + ": " + error.message());
}

void MakeFolders(const fs::path& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) {
        Refuse(path, "create", error);
    }
}

json ParseObject(const fs::path& path, const std::string& text) {
    json value = json::parse(text, nullptr, false);
    if (!value.is_object()) {
        throw SetError(SetError::Kind::Damaged, path.string() + ": is not a JSON object");
    }
    return value;
}

/// Makes a sparse file of that size, which takes no room on the host machine.
void MakeSized(const fs::path& path, std::uintmax_t size) {
    std::error_code error;
    if (size == 0 || fs::exists(path, error)) {
        return;
    }
    MakeFolders(path.parent_path());
    { std::ofstream created(path); }
    fs::resize_file(path, size, error);
    if (error) {
        Refuse(path, "create", error);
    }
}

/// The smallest picture there is: one transparent point.
const unsigned char kIcon[] = {
    0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48, 0x44, 0x52, 0x00,
    0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x08, 0x06, 0x00, 0x00, 0x00, 0x1f, 0x15, 0xc4, 0x89, 0x00,
    0x00, 0x00, 0x0b, 0x49, 0x44, 0x41, 0x54, 0x78, 0xda, 0x63, 0x60, 0x00, 0x02, 0x00, 0x00, 0x05, 0x00,
    0x01, 0xe9, 0xfa, 0xdc, 0xd8, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82,
};

void MakeIcon(const fs::path& path) {
    std::error_code error;
    if (fs::exists(path, error)) {
        return;
    }
    MakeFolders(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(kIcon), sizeof kIcon);
    if (!file.flush()) {
        throw SetError(SetError::Kind::Io, path.string() + ": cannot write");
    }
}

void LayOutApp(const SetDirectory& set, const json& app) {
    const auto package = app.at("package_id").get<std::string>();
    const AppFolders folders(set.FilesOpt());
    const json sizes = app.value("sizes", json::object());
    const auto size = [&sizes](const char* key) { return sizes.value(key, std::uintmax_t{0}); };

    for (const fs::path& folder : {folders.Program(package), folders.Data(package), folders.Cache(package)}) {
        MakeFolders(folder);
    }
    MakeSized(folders.Program(package) / "bin" / package, size("app"));
    MakeSized(folders.Data(package) / "store", size("data"));
    MakeSized(folders.Cache(package) / "pages", size("cache"));
    MakeSized(folders.WebCache(app.at("app_id").get<std::string>()) / "pages", size("web_cache"));

    const fs::path icons = app.value("icon_dir", DefaultIconFolder(package));
    for (const json& icon : app.value("icons", json::array())) {
        MakeIcon(set.Path() / "files" / icons.relative_path() / icon.get<std::string>());
    }
}

void MakeFactoryState(const SetDirectory& set, const json& settings) {
    for (const char* folder : kFactoryFolders) {
        MakeFolders(set.Path() / "files" / folder);
    }
    ReplaceWhole(set.SettingsPath(), "{}\n");
    for (const auto& [key, value] : settings.items()) {
        set.SetSetting(key, value);
    }
    set.LayOutApps();
    EngineStore(set.FilesHome()).CreateTables();
    set.ClearJournal();
}

/// Removes members that are null, which means "not given". They stay in "info", where null makes the read
/// fail.
void DropNulls(json& value) {
    for (auto member = value.begin(); member != value.end();) {
        const bool object = value.is_object();
        if (object && member.key() == "info") {
            ++member;
        } else if (object && member->is_null()) {
            member = value.erase(member);
        } else {
            if (member->is_structured()) {
                DropNulls(*member);
            }
            ++member;
        }
    }
}

/// Cleans up after a set that could not be made. keepFolder: the folder was there before and stays.
void RemoveContent(const fs::path& path, bool keepFolder) {
    std::error_code error;
    if (!keepFolder) {
        fs::remove_all(path, error);
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(path, error)) {
        std::error_code ignored;
        fs::remove_all(entry.path(), ignored);
    }
}

}  // namespace

SetDirectory::SetDirectory(fs::path path) : m_path(std::move(path)) {}

SetDirectory SetDirectory::Create(const fs::path& path, const json& description, const json& settings,
                                  const std::function<void(const SetDirectory&)>& fill) {
    CheckDescription(description);
    std::error_code error;
    const bool exists = fs::exists(fs::symlink_status(path, error));
    if (exists && !(fs::is_directory(path, error) && fs::is_empty(path, error))) {
        throw SetError(SetError::Kind::Io, path.string() + ": there is something already");
    }
    const SetDirectory set(fs::absolute(path, error).lexically_normal());
    MakeFolders(set.m_path);
    try {
        {
            const WithoutSync untilMade;
            MarkFormat(set.m_path, false);
            set.Describe(description);
            MakeFactoryState(set, settings);
            if (fill) {
                fill(set);
            }
        }
        SyncAll(set.m_path);
        MarkFormat(set.m_path, true);
    } catch (...) {
        RemoveContent(set.m_path, exists);
        throw;
    }
    return set;
}

SetDirectory SetDirectory::Open(const fs::path& path) {
    std::error_code error;
    const SetDirectory set(fs::absolute(path, error).lexically_normal());
    CheckFormat(set.m_path);
    CheckDescription(set.Description());
    set.ListSettings();
    return set;
}

SetDirectory SetDirectory::FromEnvironment() {
    const char* path = std::getenv(kSetDirectoryVariable);
    if (path == nullptr || *path == '\0') {
        throw SetError(SetError::Kind::NotFound, std::string(kSetDirectoryVariable) + " names no set");
    }
    return Open(path);
}

json SetDirectory::Description() const {
    const std::optional<std::string> text = ReadWhole(DescriptionPath());
    if (!text) {
        throw SetError(SetError::Kind::NotFound, m_path.string() + ": no set here (set.json is missing)");
    }
    json description = ParseObject(DescriptionPath(), *text);
    DropNulls(description);
    return description;
}

void SetDirectory::Describe(const json& description) const {
    CheckDescription(description);
    ReplaceWhole(DescriptionPath(), description.dump(4, ' ', false, json::error_handler_t::replace) + "\n");
    ChipIdFile();
}

std::string SetDirectory::TimeNow() const {
    const json description = Description();
    const auto clock = description.find("clock");
    return clock == description.end() ? EngineTimeNow() : clock->get<std::string>();
}

std::string SetDirectory::ImageType() const {
    return Description().value("image", "perf");
}

std::optional<fs::path> SetDirectory::ChipIdFile() const {
    const json description = Description();
    if (!description.contains("chip_id")) {
        return std::nullopt;
    }
    const fs::path path = m_path / "chip_id";
    const std::string text = description.at("chip_id").get<std::string>() + "\n";
    if (ReadWhole(path) != text) {
        ReplaceWhole(path, text);
    }
    return path;
}

std::string SetDirectory::OptFault() const {
    return Description().value(json::json_pointer("/faults/opt"), std::string());
}

void SetDirectory::LayOutApps() const {
    for (const json& app : Description().value("apps", json::array())) {
        LayOutApp(*this, app);
    }
}

}  // namespace kuraset
