#pragma once

#include <stdexcept>
#include <string>

namespace scenario {

/// A scenario that cannot be read or run. The message is one sentence that names the file, and the line where
/// there is one.
class ScenarioError : public std::runtime_error {
public:
    explicit ScenarioError(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace scenario
