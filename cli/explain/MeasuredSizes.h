// Tells which of the library's sizes were measured. The library counts a size that it could not measure as 0,
// or as the number of the failure; the journal tells what the agent and the package manager answered.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "frame/Outcome.h"

namespace cli {

/// Why a figure is unknown.
struct Unmeasured {
    ExitCode code;
    std::string reason;
};

/// The sizes of one application; an unknown one is null.
struct Figures {
    Json total;
    Json data;
    Json cache;
};

class MeasuredSizes {
public:
    /// journal: the entries of the measurement alone.
    explicit MeasuredSizes(std::vector<nlohmann::json> journal);

    /// Returns the library's figures, with null for those that were not measured.
    Figures OfOne(const std::string& appId, Figures held);
    /// Does the same for the total in a list of applications that were measured side by side.
    Json TotalInList(const std::string& appId, const std::string& packageId, std::int32_t held);

    /// Why figures are unknown: each reason once, in the order of their discovery.
    const std::vector<Unmeasured>& Reasons() const { return m_reasons; }

private:
    const nlohmann::json* AgentAnswer(const std::string& appId) const;
    const nlohmann::json* PackageAnswer(const std::string& packageId, int type) const;
    void Note(const Unmeasured& reason);

    std::vector<nlohmann::json> m_journal;
    std::optional<Unmeasured> m_packageFailure;  // the first that the library logged
    std::vector<Unmeasured> m_reasons;
};

}  // namespace cli
