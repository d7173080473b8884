// Reads the steps of a repair, and which of them failed, from the set's journal: what the library asked of
// the set, what it logged, and what the set answered.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// One step as a document (its kinds: docs/explain.md), and the index of its solution.
struct RepairStep {
    Json document;
    std::size_t solution = 0;
};

struct Repair {
    std::string issue;
    Json solutions = Json::array();       ///< as the library holds them; empty when unknown
    Json settings = Json::object();       ///< before the repair
    std::vector<nlohmann::json> journal;  ///< the entries of the repair alone
};

/// The steps in order, as the journal alone tells them: whether the set has kept the problem is not known.
std::vector<RepairStep> StepsIn(const Repair& repair);

/// The same. set: the repaired set; a problem that it still keeps was not removed.
std::vector<RepairStep> StepsOf(const Repair& repair, const kuraset::SetDirectory& set);

/// The steps of a repair that has just run on this process's set. Waits some seconds for the agent to answer
/// every request, then reads the journal behind its first `before` entries into the repair.
std::vector<RepairStep> SettledSteps(const kuraset::SetDirectory& set, std::size_t before, Repair& repair);

/// The exit code for a failed step: kNoAnswer when the agent was silent, kFailed when the set refused. None
/// for a step that succeeded or only read.
std::optional<ExitCode> FailureOf(const Json& step);

/// One step for people.
std::string StepText(const Json& step);

}  // namespace cli
