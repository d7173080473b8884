// The steps of a repair, and which of them failed, as the journal of the set tells them: what the library
// asked of the set, what it logged, and what the set answered.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// One step as a document (its kinds: docs/explain.md), and the solution whose step it is, from 0.
struct RepairStep {
    Json document;
    std::size_t solution = 0;
};

struct Repair {
    std::string issue;
    Json solutions = Json::array();       ///< as the library holds them; empty when that is not known
    Json settings = Json::object();       ///< before the repair
    std::vector<nlohmann::json> journal;  ///< of the repair alone
};

/// In order. The set is the one that was repaired: a problem that it still keeps was not removed.
std::vector<RepairStep> StepsOf(const Repair& repair, const kuraset::SetDirectory& set);

/// The steps of a repair that has just run on this process's set: reads the journal behind its first `before`
/// entries into the repair, once the agent has answered every request or has had some seconds for it.
std::vector<RepairStep> SettledSteps(const kuraset::SetDirectory& set, std::size_t before, Repair& repair);

/// What is wrong with a step, for whoever asked for the repair: kNoAnswer where the agent is silent, kFailed
/// where the set refused. None for a step that succeeded or only read.
std::optional<ExitCode> FailureOf(const Json& step);

/// One step for people.
std::string StepText(const Json& step);

}  // namespace cli
