// Who may include whom. docs/architecture.md lists for each folder what its files may see; a header of
// another project has one owner in the library; the library's units stand in an order and see only what is
// below them.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

const fs::path kSource = KURA_SOURCE;

using Names = std::vector<std::string>;

struct Layer {
    std::string folder;  ///< the longest that a file's path starts with rules
    Names mayInclude;    ///< folders and files; a file's own folder is always open
};

/// Where a quoted name is looked up after the file's own folder, by the first folder of the file.
const std::map<std::string, Names> kSearched = {
    {"include", {"include", "platform", "src"}},
    {"platform", {"platform", "include"}},
    {"src", {"src", "include", "platform"}},
    {"support", {"."}},
    {"schema", {}},
    {"simulator", {"simulator", "simulator/sandbox", ".", "platform", "include", "src"}},
    {"cli", {"cli", "include", "platform", "simulator", "simulator/sandbox", ".", "src"}},
    {"tests",
     {"tests", "tests/fakes", "tests/unit/KURA_DiagResultManager", "include", "platform", "src", "simulator",
      "simulator/sandbox", "cli", "cli/scenario", "."}},
    {"fuzz", {"fuzz", "tests/fakes", "include", "platform", "src", "cli", "cli/scenario"}},
    {"bench", {"bench", "tests/fakes", "include", "platform", "src", "simulator", "cli"}},
};

/// In the library, the only places of each header that is not the standard's or the system's.
const std::map<std::string, Names> kOwners = {
    {"expat.h", {"src/KURA_XMLParser/"}},
    {"sqlite3.h", {"src/KURA_DBManager/"}},
    {"dlfcn.h", {"src/KURA_DiagManager/"}},
    {"gio/gio.h", {"platform/pkgmgr_client.h", "src/CGetData/"}},
    {"glib.h", {"include/KURA_DiagManager.h", "src/KURA_DiagManager/", "src/CGetData/"}},
};

/// The library's units, lowest first, by the public header of each.
const std::map<std::string, int> kHeights = {
    {"KURA_XMLParser", 1}, {"KURA_Storage", 1},           {"KURA_DBManager", 1},    {"KURA_KPISender", 1},
    {"CGetData", 2},       {"KURA_DiagResultManager", 2}, {"KURA_SO_Interface", 3}, {"KURA_DiagManager", 4}};

/// The upward calls: launching the signal page asks the diagnosis manager for its page.
const std::set<std::pair<std::string, std::string>> kUpward = {{"CGetData", "KURA_DiagManager"}};

bool StartsWith(const std::string& text, const std::string& start) {
    return text.rfind(start, 0) == 0;
}

struct Include {
    std::string file;  ///< from the project's root, as is resolved
    std::string name;
    std::string resolved;  ///< empty for a name in angle brackets
};

bool IsSource(const fs::path& path) {
    return path.extension() == ".h" || path.extension() == ".cpp";
}

std::vector<std::string> SourcesBelow(const std::string& folder) {
    std::vector<std::string> files;
    if (!fs::exists(kSource / folder)) {
        return files;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kSource / folder)) {
        if (entry.is_regular_file() && IsSource(entry.path())) {
            files.push_back(entry.path().lexically_relative(kSource));
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string TextOf(const std::string& file) {
    std::ifstream stream(kSource / file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// "?" in front when no file has the name.
std::string Resolve(const std::string& file, const std::string& name) {
    const fs::path folder = fs::path(file).parent_path();
    Names folders = {folder, folder.parent_path()};
    if (StartsWith(file, "tests/trust/")) {
        folders.push_back(fs::path("tests/unit") / folder.filename());  // whose helpers they use
    }
    const Names& searched = kSearched.at(fs::path(file).begin()->string());
    folders.insert(folders.end(), searched.begin(), searched.end());
    for (const std::string& place : folders) {
        const fs::path candidate = (fs::path(place) / name).lexically_normal();
        if (fs::exists(kSource / candidate)) {
            return candidate;
        }
    }
    return "?" + name;
}

/// The names between backticks.
Names QuotedNames(const std::string& text) {
    static const std::regex kName("`([^`]+)`");
    Names names;
    for (std::sregex_iterator match(text.begin(), text.end(), kName), end; match != end; ++match) {
        names.push_back((*match)[1]);
    }
    return names;
}

/// The table in docs/architecture.md: a folder, and behind it what its files may include.
const std::vector<Layer>& Layers() {
    static const std::vector<Layer> kLayers = [] {
        std::vector<Layer> layers;
        std::istringstream lines(TextOf("docs/architecture.md"));
        std::string line;
        while (std::getline(lines, line) && line != "## Who may include whom") {
        }
        while (std::getline(lines, line) && !StartsWith(line, "## ")) {
            const Names names = QuotedNames(line);
            if (StartsWith(line, "| `")) {
                layers.push_back({names.front(), {names.begin() + 1, names.end()}});
            }
        }
        return layers;
    }();
    return kLayers;
}

std::vector<Include> IncludesOf(const std::string& file) {
    static const std::regex kLine(R"(^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"])",
                                  std::regex::ECMAScript | std::regex::multiline);
    const std::string text = TextOf(file);
    std::vector<Include> includes;
    for (std::sregex_iterator match(text.begin(), text.end(), kLine), end; match != end; ++match) {
        const std::string name = (*match)[2];
        includes.push_back({file, name, (*match)[1] == "\"" ? Resolve(file, name) : std::string()});
    }
    return includes;
}

std::vector<Include> IncludesBelow(const Names& folders) {
    std::vector<Include> all;
    for (const std::string& folder : folders) {
        for (const std::string& file : SourcesBelow(folder)) {
            for (const Include& include : IncludesOf(file)) {
                all.push_back(include);
            }
        }
    }
    return all;
}

const Layer& LayerOf(const std::string& file) {
    const Layer* found = nullptr;
    for (const Layer& layer : Layers()) {
        if (StartsWith(file, layer.folder) &&
            (found == nullptr || layer.folder.size() > found->folder.size())) {
            found = &layer;
        }
    }
    if (found == nullptr) {
        throw std::runtime_error("no row for " + file + " in the table of docs/architecture.md");
    }
    return *found;
}

/// A folder opens its files, not those of the folders in it.
bool Opens(const std::string& opened, const std::string& file) {
    return opened == file || opened == fs::path(file).parent_path().string() + "/";
}

bool Allowed(const Include& include) {
    if (fs::path(include.resolved).parent_path() == fs::path(include.file).parent_path()) {
        return true;
    }
    const Names& may = LayerOf(include.file).mayInclude;
    return std::any_of(may.begin(), may.end(),
                       [&](const std::string& opened) { return Opens(opened, include.resolved); });
}

bool IsStandard(const std::string& name) {
    return name.find_first_of("./") == std::string::npos;
}

bool IsSystems(const std::string& name) {
    static const std::set<std::string> kSystem = {
        "cxxabi.h", "dirent.h",  "errno.h", "fcntl.h",  "poll.h",  "pthread.h", "signal.h",   "stdlib.h",
        "string.h", "strings.h", "time.h",  "unistd.h", "spawn.h", "limits.h",  "inttypes.h", "wordexp.h"};
    return kSystem.count(name) != 0 || StartsWith(name, "sys/") || StartsWith(name, "linux/");
}

bool AllowedForeign(const Include& include) {
    const auto owner = kOwners.find(include.name);
    if (owner != kOwners.end()) {
        return std::any_of(owner->second.begin(), owner->second.end(),
                           [&](const std::string& place) { return StartsWith(include.file, place); });
    }
    if (IsStandard(include.name)) {
        return true;
    }
    if (StartsWith(include.name, "boost/thread/")) {
        return !StartsWith(include.file, "platform/") && !StartsWith(include.file, "src/base/");
    }
    return StartsWith(include.file, "src/") && IsSystems(include.name);
}

/// The files below src/ in which the pattern occurs.
Names FilesWith(const std::string& pattern) {
    const std::regex expression(pattern);
    Names files;
    for (const std::string& file : SourcesBelow("src")) {
        if (std::regex_search(TextOf(file), expression)) {
            files.push_back(file);
        }
    }
    return files;
}

TEST(Layering, TheTableNamesWhatIsThere) {
    EXPECT_GT(Layers().size(), 30u);
    for (const Layer& layer : Layers()) {
        EXPECT_TRUE(fs::is_directory(kSource / layer.folder)) << layer.folder;
        for (const std::string& name : layer.mayInclude) {
            EXPECT_TRUE(fs::exists(kSource / name)) << layer.folder << " may include " << name;
        }
    }
}

TEST(Layering, FoldersSeeOnlyWhatTheyMay) {
    const std::vector<Include> includes = IncludesBelow(
        {"include", "platform", "src", "support", "simulator", "cli", "tests", "bench", "fuzz"});
    EXPECT_GT(includes.size(), 300u);
    for (const Include& include : includes) {
        EXPECT_TRUE(include.resolved.empty() || Allowed(include))
            << include.file << " includes " << include.resolved;
    }
}

TEST(Layering, HeadersOfOtherProjectsHaveOneOwner) {
    const std::vector<Include> includes = IncludesBelow({"include", "platform", "src"});
    for (const auto& owner : kOwners) {
        EXPECT_TRUE(std::any_of(includes.begin(), includes.end(), [&](const Include& include) {
            return include.name == owner.first;
        })) << owner.first;
    }
    for (const Include& include : includes) {
        EXPECT_TRUE(!include.resolved.empty() || AllowedForeign(include))
            << include.file << " includes " << include.name;
    }
}

TEST(Layering, CallsIntoOtherProjectsHaveOneOwner) {
    const std::map<std::string, std::string> owners = {
        {"\\bsqlite3_[a-z]", "src/KURA_DBManager/"},
        {"\\bXML_[A-Z]", "src/KURA_XMLParser/"},
        {"\\bdl(open|sym|error|close)\\(", "src/KURA_DiagManager/"},
        {"\\bg_dbus_[a-z]", "src/CGetData/"}};
    for (const auto& [pattern, owner] : owners) {
        const Names files = FilesWith(pattern);
        EXPECT_FALSE(files.empty()) << pattern;
        for (const std::string& file : files) {
            EXPECT_TRUE(StartsWith(file, owner)) << file << " matches " << pattern;
        }
    }
    EXPECT_EQ(FilesWith("\\bg_dbus_[a-z]").size(), 1u);
}

TEST(Layering, UnitsSeeOnlyWhatIsBelowThem) {
    std::size_t seen = 0;
    for (const Include& include : IncludesBelow({"src"})) {
        const std::string unit = *std::next(fs::path(include.file).begin());
        const std::string other = fs::path(include.name).stem();
        if (!StartsWith(include.resolved, "include/") || kHeights.count(other) == 0 || unit == other) {
            continue;
        }
        ++seen;
        EXPECT_TRUE(kHeights.at(other) < kHeights.at(unit) || kUpward.count({unit, other}) != 0)
            << include.file << " includes " << include.name;
    }
    EXPECT_GT(seen, 5u);
}

TEST(Layering, LogMacrosStayOutOfHeaders) {
    for (const Include& include : IncludesBelow({"src"})) {
        EXPECT_FALSE(include.name == "base/Log.h" && fs::path(include.file).extension() == ".h")
            << include.file;
    }
}

}  // namespace
