// Tells why an issue is on a list or not: every condition that decides it, in the library's order, with the
// values that the library saw. The library makes the list on a throw-away copy of the set, and the conditions
// are read from what it asked the engine, what it logged and what the screen received.
#pragma once

#include <string>
#include <vector>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// The list that the start screen receives after a diagnosis, or the list of unfixed problems that the home
/// screen receives.
enum class ProblemList { kStart, kHome };

/// One condition on an issue, what was seen, and whether the issue passed.
struct Condition {
    std::string name;
    std::string saw;
    bool passed = true;
};

/// One solution of the issue on the start list, or one kept row of it on the home list.
struct Verdict {
    std::string issue;
    bool isListed = false;
    std::vector<Condition> conditions;  ///< the last one decides
};

/// Makes the library build the list on this process's set, which is a throw-away copy, and explains the
/// issue. An empty code stands for every issue of the map and of the store. Call it once in a process.
std::vector<Verdict> Explain(const kuraset::SetDirectory& set, ProblemList list, const std::string& code);

Json ToJson(const std::vector<Verdict>& verdicts);

}  // namespace cli
