// A JSON file whose every value knows its line, so that a complaint can name the place where to look.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace scenario {

using Json = nlohmann::ordered_json;

class Document {
public:
    /// Throws ScenarioError: not there, a folder, not a regular file, too large, not UTF-8, not JSON, a name
    /// twice in one object, nested too deeply.
    static Document Read(const std::filesystem::path& path);
    /// The same for a text; file is what complaints call it.
    static Document Parse(const std::string& text, const std::string& file);

    const Json& Root() const { return m_root; }
    const std::string& File() const { return m_file; }

    /// Throws ScenarioError "FILE:LINE: PLACE: COMPLAINT" for the value at the pointer, or, when there is
    /// none, for the nearest value around it.
    [[noreturn]] void Complain(const std::string& pointer, const std::string& complaint) const;

private:
    std::string m_file;
    Json m_root;
    std::map<std::string, int> m_lines;  // by JSON pointer
};

/// One step of a JSON pointer, escaped.
std::string PointerStep(const std::string& name);

std::vector<std::string> PointerSteps(const std::string& pointer);

/// "/steps/2/expect/log" of the value as people write it: "steps[2].expect.log".
std::string Place(const std::string& pointer, const Json& root);

}  // namespace scenario
