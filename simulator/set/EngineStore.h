// The engine's own records: two small SQLite databases in the layout that the set's tools know.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "KuraSet.h"

namespace kuraset {

/// Every function throws SetError (Damaged, Io). Connections live for one call.
class EngineStore {
public:
    /// home: what stands for /home.
    explicit EngineStore(const std::filesystem::path& home);

    void CreateTables() const;
    void Append(const InferenceRecord& record) const;
    void Append(const SolutionRecord& record) const;

    /// Newest first; without a code all of them. A missing database holds nothing.
    std::vector<InferenceRecord> Inferences(std::optional<int> issueCode = {},
                                            std::optional<bool> present = {}) const;
    std::vector<SolutionRecord> Solutions(std::optional<int> issueCode = {}) const;

    void Forget() const;

private:
    std::filesystem::path m_folder;
};

}  // namespace kuraset
