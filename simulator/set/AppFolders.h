// Knows where an application of the set keeps its files, measures and removes them. The agent, the package
// manager's service and its client share it. An id is the name of one folder and can never lead out of it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace kuraset {

/// Whether name names one folder or file: it is not empty, ".", or "..", and holds no slash and no zero byte.
bool IsPlainName(const std::string& name);

/// The folder's path as the library sees it. It ends with a slash, because the library appends the icon's
/// name.
std::string DefaultIconFolder(const std::string& package);

class AppFolders {
public:
    /// opt: the folder that serves as /opt.
    explicit AppFolders(std::filesystem::path opt) : m_opt(std::move(opt)) {}

    std::filesystem::path Program(const std::string& package) const {
        return m_opt / "usr" / "apps" / package;
    }
    std::filesystem::path Owned(const std::string& package) const { return Owner() / "apps_rw" / package; }
    std::filesystem::path Data(const std::string& package) const { return Owned(package) / "data"; }
    std::filesystem::path Cache(const std::string& package) const { return Owned(package) / "cache"; }
    std::filesystem::path WebCache(const std::string& app) const {
        return Owner() / ".cache" / "Apps" / "WebAppsCache" / app;
    }

private:
    std::filesystem::path Owner() const { return m_opt / "usr" / "home" / "owner"; }

    std::filesystem::path m_opt;
};

/// Whether folder exists below root and no component of its path is a link.
bool IsOwnFolder(const std::filesystem::path& root, const std::filesystem::path& folder);

/// The bytes of the regular files below a folder; follows no link. 0 when IsOwnFolder is false.
std::int64_t FolderSize(const std::filesystem::path& root, const std::filesystem::path& folder);

struct Removal {
    std::int64_t bytes = 0;
    int entries = 0;   ///< files and folders removed
    int failures = 0;  ///< entries that stayed
};

/// Removes everything in a folder and keeps the folder. Links inside are removed, not followed.
Removal EmptyFolder(const std::filesystem::path& root, const std::filesystem::path& folder);

}  // namespace kuraset
