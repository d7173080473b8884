// Extracts the log lines and calls that the fakes recorded, in the form that tests compare.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "Fakes.h"

namespace fakes {

/// "priority function: message"
inline std::string Shown(const LogLine& line) {
    return std::to_string(line.priority) + " " + line.function + ": " + line.message;
}

/// The log lines of these functions, in order.
inline std::vector<std::string> Lines(std::initializer_list<std::string> functions) {
    std::vector<std::string> lines;
    for (const LogLine& line : Set().log) {
        if (std::find(functions.begin(), functions.end(), line.function) != functions.end()) {
            lines.push_back(Shown(line));
        }
    }
    return lines;
}

/// All log lines since the last call.
inline std::vector<std::string> TakeLog() {
    std::vector<std::string> lines;
    std::transform(Set().log.begin(), Set().log.end(), std::back_inserter(lines), Shown);
    Set().log.clear();
    return lines;
}

/// Calls, and the log lines of these functions, in order.
inline std::vector<std::string> Events(std::initializer_list<std::string> functions) {
    std::vector<std::string> chosen;
    for (const std::string& event : Set().events) {
        const bool isLog = event.rfind("log ", 0) == 0;
        const bool isNamed = std::any_of(functions.begin(), functions.end(), [&](const std::string& name) {
            return event.compare(6, name.size() + 1, name + ":") == 0;
        });
        if (!isLog || isNamed) {
            chosen.push_back(event);
        }
    }
    return chosen;
}

}  // namespace fakes
