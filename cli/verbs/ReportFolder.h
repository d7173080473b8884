// The content of a defect report, laid out in a folder: the set as another machine can open it, the log and a
// scenario of its last run, versions. Private values are replaced in all of it.
#pragma once

#include <filesystem>
#include <string>

#include "PrivateValues.h"

namespace cli {

/// Raise it when an older kura cannot open the reports that this one writes.
constexpr int kReportFormat = 1;
constexpr const char* kReportKey = "kura_report";

/// Lays the report out in the folder, which is empty, and returns what it holds: "kura_report", "versions",
/// "content" ([{"name", "bytes"}]), "taken_out", "left_out" ([{"name", "why"}]). The same stands in its
/// report.json. The caller has the use of the set. Throws VerbError, scenario::Interrupted and
/// filesystem_error.
Json LayOutReport(const kuraset::SetDirectory& set, const std::filesystem::path& folder,
                  PrivateValues& values);

}  // namespace cli
