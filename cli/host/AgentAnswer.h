// Waits for the agent. The library does not wait for most of the agent's work, but a verb has to: the agent
// of the simulated set ends with the command.
#pragma once

#include <cstddef>
#include <string>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// The agent removes this file when it has finished a deep clean.
constexpr const char* kDeepCleanTrigger = "/tmp/vardo/req/CleanAll.txt";

/// Waits for the agent's journal entry about the request (the name of the trigger) behind the first `before`
/// entries of the journal. Throws VerbError when none comes for some seconds, or when the agent refused.
Json AwaitAgent(const kuraset::SetDirectory& set, std::size_t before, const std::string& request);

}  // namespace cli
