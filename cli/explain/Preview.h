// What a repair would do: the library repairs a throw-away copy of the set, and what it asked of the copy is
// told. The set itself is only read.
#pragma once

#include <string>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// The steps of applying the solutions to the set, in order. Throws VerbError: an unknown issue, a
/// set in use, a copy that cannot be made, an interruption; the copy is gone on every way out.
Json PreviewSteps(const kuraset::SetDirectory& set, const std::string& code, bool background);

}  // namespace cli
