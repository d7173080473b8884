// Where an application of the set keeps its files, how large they are, and how they are removed: shared by
// the agent, the package manager's service and its client. An id is a name of one folder, never a way out of
// it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace kuraset {

/// The name of one folder or file: not empty, ".", "..", or anything with a slash or a zero byte.
bool IsPlainName(const std::string& name);

/// As the library sees it; ends with a slash, since the library appends the icon's name directly.
std::string DefaultIconFolder(const std::string& package);

class AppFolders {
public:
    /// opt: what stands for /opt.
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

/// A folder that is really there, reached from root without any link.
bool IsOwnFolder(const std::filesystem::path& root, const std::filesystem::path& folder);

/// The bytes of the regular files below a folder, links not followed; 0 when it is no folder of the root's
/// own.
std::int64_t FolderSize(const std::filesystem::path& root, const std::filesystem::path& folder);

struct Removal {
    std::int64_t bytes = 0;
    int entries = 0;   ///< files and folders removed
    int failures = 0;  ///< entries that stayed
};

/// Removes what a folder holds and keeps the folder; links inside are removed, not followed.
Removal EmptyFolder(const std::filesystem::path& root, const std::filesystem::path& folder);

}  // namespace kuraset
