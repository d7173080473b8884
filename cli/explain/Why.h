// Why an issue is, or is not, on a list: every condition that decides it, in the order in which the library
// looks at them, with the values that it saw. The library makes the list on a throw-away copy of the set;
// what it asked the engine, what it logged and what the screen received is told here.
#pragma once

#include <string>
#include <vector>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// The list that the start screen receives after a diagnosis, or what the home screen receives of the
/// unfixed.
enum class ProblemList { kStart, kHome };

/// What the issue has to fulfil, what was seen, and whether the issue passed.
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

/// Has the library make the list on this process's set, which is a throw-away copy, and tells of the issue.
/// Empty code: every issue of the map and of the store. To be called once in a process.
std::vector<Verdict> Explain(const kuraset::SetDirectory& set, ProblemList list, const std::string& code);

Json ToJson(const std::vector<Verdict>& verdicts);

}  // namespace cli
