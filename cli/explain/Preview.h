// Tells what a repair would do: the library repairs a throw-away copy of the set, and the steps report what
// it asked of the copy. The set itself is only read.
#pragma once

#include <string>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// The steps of applying the solutions to the set, in order. Throws VerbError for an unknown issue, a
/// set in use, a copy that cannot be made, or an interruption. The copy is removed in every case.
Json PreviewSteps(const kuraset::SetDirectory& set, const std::string& code, bool background);

}  // namespace cli
