// Results as JUnit's XML, which test servers read.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace support {

struct JUnitCase {
    enum class Result { kPassed, kFailure, kError };

    std::string name;
    std::string classname;
    Result result = Result::kPassed;
    std::string message = {};  ///< of a failure or an error
    std::string text = {};     ///< more on it; of a case that passed, its output
    std::optional<double> seconds = {};
};

struct JUnitSuite {
    std::string name;
    std::vector<JUnitCase> cases = {};
};

/// The whole document. A control character, which XML cannot hold, becomes a question mark.
std::string JUnitText(const std::string& name, const std::vector<JUnitSuite>& suites);

}  // namespace support
