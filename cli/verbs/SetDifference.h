// What changed on a set: two states of it compared by what they mean, not byte by byte.
#pragma once

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// The difference as a document: "settings" and "description" (place, before, after; null for what is not
/// there), "unfixed", "inferences" and "solutions" ("added" and "removed"), "files" (path on the set,
/// change), and "differ".
Json DifferenceOf(const kuraset::SetDirectory& before, const kuraset::SetDirectory& after);

/// Prints such a document for people.
void PrintDifferenceOf(const Json& document);

}  // namespace cli
