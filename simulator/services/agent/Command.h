// Runs one shell command for the agent.
#pragma once

#include <string>

namespace kuraset {

/// Runs the command without input or output and waits for it, at most five seconds. Returns its exit status,
/// 128 + n after signal n, or -1 when it could not be started or was stopped for taking too long.
int RunShell(const std::string& command);

}  // namespace kuraset
