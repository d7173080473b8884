// One program run to its end, its output kept, within a limit of time and of output.
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
    std::string err;  ///< its last part when it is long
};

/// Runs command (a full path first) without input and in a process group of its own, so that a Ctrl-C meant
/// for the caller does not reach it. Past the limit, or a few seconds after stop becomes readable, the group
/// is ended. Any thread; blocks until the program is gone. Throws std::system_error when it cannot be
/// started.
ChildEnd RunChild(const std::vector<std::string>& command, std::chrono::seconds limit, int stop);

}  // namespace cli::serve
