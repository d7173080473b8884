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
#include "LogLines.h"

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

using fakes::Events;

}  // namespace files
