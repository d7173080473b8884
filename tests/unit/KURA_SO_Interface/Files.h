// Files and log extracts that the tests of the entry points share.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "Fakes.h"

namespace files {

namespace fs = std::filesystem;

constexpr const char* kMapPath = "/opt/usr/share/TVKuraHelp/SolutionMap.xml";
constexpr const char* kDatabaseFolder = "/opt/usr/home/owner/share";

inline void Write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

inline std::string Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A document whose root holds what is given.
inline std::string Map(const std::string& content) {
    return "<root>" + content + "</root>";
}

/// One solution element with its values.
inline std::string Solution(const std::string& issueCode, const std::string& type, const std::string& name,
                            const std::vector<std::string>& values = {},
                            const std::string& solutionCode = "7") {
    std::string text = "<solution issue_code=\"" + issueCode + "\" sol_code=\"" + solutionCode +
                       "\" sol_type=\"" + type + "\" sol_name=\"" + name + "\">";
    for (const std::string& value : values) {
        text += "<sol_val param_value=\"" + value + "\" param_type=\"text\"/>";
    }
    return text + "</solution>";
}

/// Installs the document and the folder of the databases.
inline void Install(const std::string& content) {
    Write(kMapPath, Map(content));
    fs::create_directories(kDatabaseFolder);
}

/// The calls and the log lines of the functions named, in order.
inline std::vector<std::string> Events(std::initializer_list<std::string> functions) {
    std::vector<std::string> chosen;
    for (const std::string& event : fakes::Set().events) {
        const bool isLog = event.rfind("log ", 0) == 0;
        const bool isNamed = std::any_of(functions.begin(), functions.end(), [&](const std::string& name) {
            return event.compare(6, name.size() + 1, name + ":") == 0;
        });
        if (!isLog || isNamed) {
            chosen.push_back(event);
        }
    }
    return chosen;
}

}  // namespace files
