#pragma once

#include <CLI/CLI.hpp>

#include "Verbs.h"

namespace cli {

/// Declares snapshot, restore, diff, list and remove below "set".
void AddSnapshotVerbs(CLI::App& set, const Session& session, Selection& selection);

}  // namespace cli
