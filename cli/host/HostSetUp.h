// Makes this process the host of a set: its facts come from the set's description, and its screens also write
// to the set's journal.
#pragma once

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// background: the background inference launched the host, even when the description says otherwise.
void SetUpHost(const kuraset::SetDirectory& set, bool background = false);

/// What a verb says when loading the set's map ended with std::out_of_range.
VerbError MapNotLoaded();

}  // namespace cli
