// Runs one program to its end and keeps its output, within limits of time and of output.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "support/ChildProcess.h"

namespace cli::serve {

struct RunEnd {
    enum class How { kByItself, kTooLate, kTooMuch, kStopped, kLeft };
    How how = How::kByItself;
    support::ChildEnd child;
    std::string out;
    std::string err;  ///< only the last part when it is long
};

/// Runs command, whose first word is a full path, without input and in its own process group, so that a
/// Ctrl-C for the caller does not reach it. Ends the group past the limit, a few seconds after stop
/// becomes readable, or as soon as leave becomes readable. Blocks until the program is gone. Thread-safe.
/// Throws std::system_error when the program cannot be started.
RunEnd RunLimited(const std::vector<std::string>& command, std::chrono::seconds limit, int stop, int leave);

}  // namespace cli::serve
