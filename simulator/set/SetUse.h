// One host at a time: two of them on one set would have two agents answer the same requests.
#pragma once

#include <chrono>
#include <filesystem>

#include "KuraSet.h"

namespace kuraset {

/// The set belongs to this process for a run, until the object or the process ends.
class SetUse {
public:
    /// Waits that long for another process to be done with the set. Throws SetError::Io when it is not,
    /// naming it, and when the set cannot be written.
    explicit SetUse(const std::filesystem::path& set,
                    std::chrono::milliseconds patience = std::chrono::seconds(3));
    SetUse(const SetUse&) = delete;
    SetUse& operator=(const SetUse&) = delete;
    ~SetUse();

private:
    int m_descriptor = -1;
};

}  // namespace kuraset
