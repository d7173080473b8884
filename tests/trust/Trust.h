// Shared by the tests of faults. Each test repeats something: a few times in every run, more often by the
// factor KURA_TRUST_COUNT. Each test prints its count in a line that "./dev trust" gathers.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace trust {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

inline std::size_t Factor() {
    const char* text = std::getenv("KURA_TRUST_COUNT");
    const std::size_t factor = text == nullptr ? 1 : std::strtoul(text, nullptr, 10);
    return std::max<std::size_t>(factor, 1);
}

/// How often to repeat: few times, or up to all with a larger factor.
inline std::size_t Count(std::size_t few, std::size_t all) {
    return std::min(few * Factor(), all);
}

/// Ends the process when it hangs; far beyond what any of these tests takes.
inline void Watch() {
    alarm(Factor() == 1 ? 600 : 3000);
}

/// The line of the running test: what was done and how often. A finding is a failed expectation.
inline void Report(const char* row, const std::string& mechanism, std::size_t count) {
    std::printf("trust\t%s\t%s\t%zu\t%s\n", row, mechanism.c_str(), count,
                testing::Test::HasFailure() ? "FOUND" : "0");
    std::fflush(stdout);
}

}  // namespace trust
