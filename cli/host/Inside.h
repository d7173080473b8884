// Starts this program again inside the set's sandbox.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "set/KuraSet.h"

namespace cli {

/// Where the run inside sees the folder that RunInside was given in shown.
constexpr const char* kShownFolder = "/run/kura-host";

/// What the run inside prints to standard output.
enum class Prints {
    kDocument,  ///< delivered once the run has ended properly, so that it is the only one
    kText,      ///< delivered once the run has ended where it may go through the pager, otherwise as it comes
    kStream,    ///< delivered as it comes
};

/// To be called first in main: the run inside then has the standard error of the run that started it.
void BeginInside();

/// Runs this program with the same arguments on the set, inside its sandbox, delivers its answer and returns
/// its exit code. Throws VerbError when the sandbox cannot be made, when a signal ended the run (the set lost
/// its power), or when the run gave no answer. shown: a folder for kShownFolder; empty for none.
int RunInside(const kuraset::SetDirectory& set, const std::vector<std::string>& arguments, Prints prints,
              const std::filesystem::path& shown = {});

}  // namespace cli
