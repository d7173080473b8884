// Starting this program again inside the set's sandbox.
#pragma once

#include <string>
#include <vector>

#include "KuraSet.h"

namespace cli {

/// Runs this program with the same arguments on the set, inside its sandbox, and returns its exit code. A
/// sandbox that cannot be made, or a run that a signal ended (the set lost its power), throws VerbError.
int RunInside(const kuraset::SetDirectory& set, const std::vector<std::string>& arguments);

}  // namespace cli
