// Starting this program again inside the set's sandbox.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "set/KuraSet.h"

namespace cli {

/// Where the run inside sees the folder that it was given to see.
constexpr const char* kShownFolder = "/run/kura-host";

/// Runs this program with the same arguments on the set, inside its sandbox, delivers its answer and returns
/// its exit code. With json the document is delivered once the run has ended properly, so that it is the only
/// one. A sandbox that cannot be made, a run that a signal ended (the set lost its power) or that ended
/// without an answer throws VerbError. shown: a folder for kShownFolder; empty for none.
int RunInside(const kuraset::SetDirectory& set, const std::vector<std::string>& arguments, bool json,
              const std::filesystem::path& shown = {});

}  // namespace cli
