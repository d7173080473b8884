// Lets one host at a time use a set. Two hosts would run two agents that answer the same requests.
#pragma once

#include <chrono>
#include <filesystem>

#include "KuraSet.h"

namespace kuraset {

/// Reserves the set for this process until the object or the process ends.
class SetUse {
public:
    /// Waits at most patience for another process to be done with the set. Throws SetError::Io, which names
    /// that process, when it is not done, and also when the set cannot be written.
    explicit SetUse(const std::filesystem::path& set,
                    std::chrono::milliseconds patience = std::chrono::seconds(3));
    SetUse(const SetUse&) = delete;
    SetUse& operator=(const SetUse&) = delete;
    ~SetUse();

private:
    int m_descriptor = -1;
};

}  // namespace kuraset
