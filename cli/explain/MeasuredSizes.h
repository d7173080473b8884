// Which of the sizes that the library holds were measured. It counts what it could not measure as 0, or as
// the number of the failure; the journal tells what the agent and the package manager answered.
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

/// The sizes of one application, null where unknown, as far as the library holds them.
struct Figures {
    Json total;
    Json data;
    Json cache;
};

class MeasuredSizes {
public:
    /// journal: of the measurement alone.
    explicit MeasuredSizes(std::vector<nlohmann::json> journal);

    /// The figures with those unknown that were not measured.
    Figures OfOne(const std::string& appId, Figures held);
    /// The same for a total in a list of applications, which were measured side by side.
    Json TotalInList(const std::string& appId, const std::string& packageId, std::int32_t held);

    /// Why figures are unknown, each reason once, the first one first.
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
