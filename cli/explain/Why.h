// Why an issue is, or is not, on a list: every test that decides it, in the order in which the library makes
// them, with the values that it saw. The library says all this in its log only; here the same questions are
// asked of the same engine, the same map and the same store.
#pragma once

#include <string>
#include <vector>

#include "frame/Outcome.h"

namespace cli {

/// The list that the start screen receives after a diagnosis, or what the home screen receives of the
/// unfixed.
enum class ProblemList { kStart, kHome };

/// One test: its name, what was seen, and whether the issue passed.
struct Test {
    std::string name;
    std::string saw;
    bool passed = true;
};

/// One solution of the issue on the start list, or one kept row of it on the home list.
struct Verdict {
    std::string issue;
    bool isListed = false;
    std::vector<Test> tests;  ///< the last one decides
};

/// Reads map, engine and store of this process's set. Empty code: every issue of the map and of the store.
/// engineFailure: why no list comes at all, whatever it would hold; empty when one comes.
std::vector<Verdict> Explain(ProblemList list, const std::string& code, const std::string& engineFailure);

Json ToJson(const std::vector<Verdict>& verdicts);

}  // namespace cli
