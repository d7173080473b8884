// A scenario that was read from its file and checked: the set at the start, the steps, and the expectations
// of each step and of the whole. docs/scenarios.md describes the format.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Document.h"

namespace scenario {

/// A change to one file of the set.
struct FileChange {
    enum class Kind { kText, kRemove, kSize, kFolder, kLink };

    std::string path;  ///< as the library sees it, below /opt, /home or /tmp
    Kind kind = Kind::kText;
    std::string text;  ///< the file's bytes, or the target of a link
    std::uintmax_t size = 0;
};

/// Changes to a set, which are made in the order of the members.
struct Changes {
    std::vector<Json> describe;      ///< merge patches for set.json, one after the other
    Json settings = Json::object();  ///< null removes a key
    Json engine = Json::object();
    std::vector<FileChange> files;  ///< the solution map is one of them
};

struct Step {
    std::string name;  ///< the step's name in the file, or the verb that it runs
    Changes changes;
    std::vector<std::string> run;  ///< a verb and its arguments; empty when nothing runs
    Json expect = Json::object();
};

struct Scenario {
    std::string file;
    std::string name;
    std::filesystem::path base;  ///< a folder laid out as the examples; when empty, the examples
    Changes start;
    std::vector<Step> steps;
    Json expect = Json::object();
};

/// Where the library looks for its solution map.
constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";

/// Throws ScenarioError.
Scenario ReadScenario(const std::filesystem::path& path);
/// Does the same with a text. Relative paths in it start at the folder of file.
Scenario ParseScenario(const std::string& text, const std::filesystem::path& file);

}  // namespace scenario
