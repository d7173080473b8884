// Runs one program to its end and keeps its output, within limits of time and of output.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace cli::serve {

struct ChildEnd {
    enum class How { kExited, kSignalled, kTooLate, kTooMuch, kStopped };
    How how = How::kExited;
    int status = 0;  ///< exit code, or the signal's number
    std::string out;
    std::string err;  ///< only the last part when it is long
};

/// Runs command, whose first word is a full path, without input and in its own process group, so that a
/// Ctrl-C for the caller does not reach it. Ends the group past the limit, or a few seconds after stop
/// becomes readable. Blocks until the program is gone. Thread-safe. Throws std::system_error when the program
/// cannot be started.
ChildEnd RunChild(const std::vector<std::string>& command, std::chrono::seconds limit, int stop);

}  // namespace cli::serve
