// Starts this program again inside the set's sandbox.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "set/KuraSet.h"

namespace cli {

/// Where the run inside sees the folder that RunInside was given in shown.
constexpr const char* kShownFolder = "/run/kura-host";

/// Runs this program with the same arguments on the set, inside its sandbox, delivers its answer and returns
/// its exit code. With json it delivers the document only once the run has ended properly, so that there is
/// only one. Throws VerbError when the sandbox cannot be made, when a signal ended the run (the set lost its
/// power), or when the run gave no answer. shown: a folder for kShownFolder; empty for none.
int RunInside(const kuraset::SetDirectory& set, const std::vector<std::string>& arguments, bool json,
              const std::filesystem::path& shown = {});

}  // namespace cli
