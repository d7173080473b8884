// Writes the findings of a check as text for people and as documents for other tools.
#pragma once

#include <functional>
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

/// The name of a severity, as it is to be shown.
using ShowSeverity = std::function<std::string(Severity)>;

/// A line "FILE:LINE:COL: error: issue CODE: message [tag]" for each finding, then the counts.
std::string ToText(const CheckResult& result, const ShowSeverity& show);

nlohmann::ordered_json ToJson(const CheckResult& result, const std::vector<std::string>& files,
                              const std::vector<UnreadableFile>& unreadable);

/// SARIF 2.1.0, the format that code scanning services read.
nlohmann::ordered_json ToSarif(const CheckResult& result, const std::vector<UnreadableFile>& unreadable);

/// JUnit's XML: a suite for each file, a case for each finding. A finding that fails the check is a failure,
/// any other one the output of its case.
std::string ToJunit(const CheckResult& result, const std::vector<std::string>& files,
                    const std::vector<UnreadableFile>& unreadable, bool isStrict);

}  // namespace kuramap
