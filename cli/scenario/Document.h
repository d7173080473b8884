// Reads a JSON file and notes the line of every value, so that a complaint can name the line.
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
    /// Throws ScenarioError when the file is missing, not a regular file, too large, not UTF-8, not JSON,
    /// nested too deeply, or has a name twice in one object.
    static Document Read(const std::filesystem::path& path);
    /// Does the same with a text. Complaints call it file.
    static Document Parse(const std::string& text, const std::string& file);

    const Json& Root() const { return m_root; }
    const std::string& File() const { return m_file; }

    /// Throws ScenarioError "FILE:LINE: PLACE: COMPLAINT" with the line of the value at the place. When there
    /// is no value, it names the line of the nearest value around the place.
    [[noreturn]] void Complain(const JsonPlace& place, const std::string& complaint) const;

private:
    std::string m_file;
    Json m_root;
    std::map<std::string, int> m_lines;  // the key is the text of the place
};

}  // namespace scenario
