// Makes this process the host of a set: facts from its description, screens that also write to its journal.
#pragma once

#include "set/KuraSet.h"

namespace cli {

/// background: the host was launched by the background inference, whatever the description says.
void SetUpHost(const kuraset::SetDirectory& set, bool background = false);

}  // namespace cli
