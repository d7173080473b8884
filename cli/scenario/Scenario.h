// A scenario as its file says it, checked: the set at the start, the steps, and what is expected of each and
// of the whole. docs/scenarios.md describes the format.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Document.h"

namespace scenario {

/// What is done to a file of the set.
struct FileChange {
    enum class Kind { kText, kRemove, kSize, kFolder, kLink };

    std::string path;  ///< as the library sees it, below /opt, /home or /tmp
    Kind kind = Kind::kText;
    std::string text;  ///< of the file, bytes as they are; of a link, what it points at
    std::uintmax_t size = 0;
};

/// Changes to a set, carried out in the order of the members.
struct Changes {
    std::vector<Json> describe;      ///< merge patches for set.json, one after the other
    Json settings = Json::object();  ///< null removes a key
    Json engine = Json::object();
    std::vector<FileChange> files;  ///< the solution map is one of them
};

struct Step {
    std::string name;  ///< the file's, or what the step runs
    Changes changes;
    std::vector<std::string> run;  ///< a verb and its arguments; empty: nothing runs
    Json expect = Json::object();
};

struct Scenario {
    std::string file;
    std::string name;
    std::filesystem::path base;  ///< a folder laid out as the examples; empty: the examples
    Changes start;
    std::vector<Step> steps;
    Json expect = Json::object();
};

/// Where the library looks for its solution map.
constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";

/// Throws ScenarioError.
Scenario ReadScenario(const std::filesystem::path& path);
/// The same for a text; relative paths in it start at the folder of file.
Scenario ParseScenario(const std::string& text, const std::filesystem::path& file);

}  // namespace scenario
