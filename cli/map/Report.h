// A check's findings in the forms that people and other tools read.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Check.h"

namespace kuramap {

/// A file that could not be read, and why.
struct UnreadableFile {
    std::string file;
    std::string reason;  ///< one line that names the file
};

/// "FILE:LINE:COL: error: issue CODE: message [tag]" a line; the counts last.
std::string ToText(const CheckResult& result);

nlohmann::ordered_json ToJson(const CheckResult& result, const std::vector<std::string>& files,
                              const std::vector<UnreadableFile>& unreadable);

/// SARIF 2.1.0, as code scanning services read it.
nlohmann::ordered_json ToSarif(const CheckResult& result, const std::vector<UnreadableFile>& unreadable);

/// JUnit's XML: a suite a file, a case a finding; what fails the check is a failure.
std::string ToJunit(const CheckResult& result, const std::vector<std::string>& files,
                    const std::vector<UnreadableFile>& unreadable, bool isStrict);

}  // namespace kuramap
