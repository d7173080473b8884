// A JSON file whose every value knows its line, so that a complaint can name the place where to look.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/JsonSchema.h"

namespace scenario {

using Json = support::OrderedJson;
using support::JsonPlace;

class Document {
public:
    /// Throws ScenarioError: not there, a folder, not a regular file, too large, not UTF-8, not JSON, a name
    /// twice in one object, nested too deeply.
    static Document Read(const std::filesystem::path& path);
    /// The same for a text; file is what complaints call it.
    static Document Parse(const std::string& text, const std::string& file);

    const Json& Root() const { return m_root; }
    const std::string& File() const { return m_file; }

    /// Throws ScenarioError "FILE:LINE: PLACE: COMPLAINT", with the line of the value at the place or, when
    /// there is none, of the nearest value around it.
    [[noreturn]] void Complain(const JsonPlace& place, const std::string& complaint) const;

private:
    std::string m_file;
    Json m_root;
    std::map<std::string, int> m_lines;  // by the text of the place
};

}  // namespace scenario
