#include "Icons.h"

#include <system_error>
#include <utility>

#include "support/Files.h"

namespace cli::serve {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargest = 1024 * 1024;
constexpr const char* kPngStart = "\x89PNG\r\n\x1a\n";

std::string PathOf(const Json& apps, const std::string& app) {
    for (const Json& entry : apps) {
        if (entry.value("app_id", std::string()) == app && entry.value("has_icon", false)) {
            return entry.value("icon_path", std::string());
        }
    }
    return "";
}

bool IsBelow(const fs::path& folder, const fs::path& path) {
    const fs::path way = path.lexically_relative(folder);
    return !way.empty() && *way.begin() != "..";
}

/// The file that the set sees at path, with every link followed; empty when that leads out of /opt.
fs::path FileOf(const std::string& path, const fs::path& opt) {
    const std::string start = "/opt/";
    if (path.rfind(start, 0) != 0) {
        return {};
    }
    std::error_code error;
    const fs::path folder = fs::canonical(opt, error);
    const fs::path file = error ? fs::path() : fs::canonical(opt / path.substr(start.size()), error);
    return error || !IsBelow(folder, file) || !fs::is_regular_file(file, error) ? fs::path() : file;
}

}  // namespace

std::optional<std::string> ReadIcon(const Json& apps, const std::string& app, const fs::path& opt) {
    const fs::path path = FileOf(PathOf(apps, app), opt);
    std::error_code error;
    if (path.empty() || fs::file_size(path, error) > kLargest || error) {
        return std::nullopt;
    }
    auto picture = support::ReadFile(path);
    return picture && picture->rfind(kPngStart, 0) == 0 ? std::move(picture) : std::nullopt;
}

}  // namespace cli::serve
