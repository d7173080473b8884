// The library does not wait for most of the agent's work. A command that ends with its work done has to,
// since the agent of the simulated set ends with it.
#pragma once

#include <cstddef>
#include <string>

#include "frame/Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// There until the agent has finished a deep clean.
constexpr const char* kDeepCleanTrigger = "/tmp/vardo/req/CleanAll.txt";

/// What the agent journalled of the request (the trigger's name) behind the first `before` entries of the
/// journal. Throws VerbError when it says nothing for some seconds, or when it refused.
Json AwaitAgent(const kuraset::SetDirectory& set, std::size_t before, const std::string& request);

}  // namespace cli
