// Sets the machine's clock and partition for a test: the test executable interposes both system calls.
#pragma once

#include <cstdint>
#include <optional>

namespace machine {

struct Partition {
    std::uint64_t blockBytes = 0;
    std::uint64_t blocks = 0;
    std::uint64_t available = 0;  ///< to those without privileges
    std::uint64_t free = 0;
};

/// Empty: as the real machine has it.
extern std::optional<std::int64_t> g_monotonicSeconds;
extern std::optional<Partition> g_partition;

/// Both calls fail.
extern bool g_clockFails;
extern bool g_partitionFails;

}  // namespace machine
