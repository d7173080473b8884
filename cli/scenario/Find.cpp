#include "Find.h"

#include <fnmatch.h>
#include <glob.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>
#include <set>
#include <system_error>

#include "Document.h"
#include "ScenarioError.h"
#include "support/TextAt.h"

namespace scenario {

namespace fs = std::filesystem;

namespace {

constexpr const char* kWildcards = "*?[";

std::optional<Json> RootOf(const fs::path& file) {
    try {
        return Document::Read(file).Root();
    } catch (const ScenarioError&) {
        return std::nullopt;
    }
}

/// A file that cannot be read counts: its reader has to hear of it.
bool LooksLikeScenario(const fs::path& file) {
    const std::optional<Json> root = RootOf(file);
    return !root || root->contains("steps");
}

std::vector<fs::path> InFolder(const std::string& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::recursive_directory_iterator entry(folder, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (entry->path().extension() == ".json" && entry->is_regular_file() &&
            LooksLikeScenario(entry->path())) {
            files.push_back(entry->path());
        }
    }
    if (error) {
        throw ScenarioError(folder + ": " + error.message());
    }
    if (files.empty()) {
        throw ScenarioError(folder + ": holds no scenario");
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<fs::path> Fitting(const std::string& pattern) {
    glob_t found{};
    const std::unique_ptr<glob_t, decltype(&globfree)> guard(&found, &globfree);
    if (glob(pattern.c_str(), 0, nullptr, &found) != 0) {
        throw ScenarioError(pattern + ": no file fits");
    }
    return {found.gl_pathv, found.gl_pathv + found.gl_pathc};
}

std::vector<fs::path> Named(const std::string& name) {
    std::error_code error;
    if (fs::is_directory(name, error)) {
        return InFolder(name);
    }
    const bool isPattern = name.find_first_of(kWildcards) != std::string::npos && !fs::exists(name, error);
    return isPattern ? Fitting(name) : std::vector<fs::path>{name};
}

std::string TitleOf(const fs::path& file) {
    const std::optional<Json> root = RootOf(file);
    return root && root->is_object() ? support::TextAt(*root, "name") : "";
}

}  // namespace

std::vector<fs::path> FindScenarios(const std::vector<std::string>& names) {
    std::vector<fs::path> all;
    std::set<fs::path> known;
    for (const std::string& name : names) {
        const std::vector<fs::path> files = Named(name);
        std::copy_if(files.begin(), files.end(), std::back_inserter(all),
                     [&known](const fs::path& file) { return known.insert(file.lexically_normal()).second; });
    }
    return all;
}

bool IsMeant(const fs::path& file, const std::string& text) {
    const bool isPattern = text.find_first_of(kWildcards) != std::string::npos;
    const auto fits = [&](const std::string& one) {
        return isPattern ? fnmatch(text.c_str(), one.c_str(), 0) == 0 : one.find(text) != std::string::npos;
    };
    return fits(file.string()) || fits(TitleOf(file));
}

}  // namespace scenario
