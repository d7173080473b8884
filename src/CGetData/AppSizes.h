#pragma once

#include <cstdint>

namespace KURA {

/// What the three sources say about one application, in bytes. Negative results of the package manager count
/// like any other.
struct AppSizes {
    long agentData = 0;
    long agentCache = 0;
    long long packageTotal = 0;
    long long packageData = 0;
    long long webCache = 0;
};

/// The size shown, modulo 2^32: the package manager's total less its data, plus what the agent and the web
/// cache hold.
inline std::int32_t CombinedSize(const AppSizes& sizes) {
    const auto wide = [](long long size) { return static_cast<std::uint64_t>(size); };
    return static_cast<std::int32_t>(wide(sizes.agentData) + wide(sizes.agentCache) +
                                     wide(sizes.packageTotal) + wide(sizes.webCache) -
                                     wide(sizes.packageData));
}

/// The sum modulo 2^64: both sizes come from outside and may lie at the limits.
inline long long AddSizes(long long left, long long right) {
    return static_cast<long long>(static_cast<std::uint64_t>(left) + static_cast<std::uint64_t>(right));
}

}  // namespace KURA
