// The engine's own records: two small SQLite databases in the layout that the set's tools know.
#pragma once

#include <filesystem>
#include <optional>
#include <vector>

#include "KuraSet.h"

namespace kuraset {

/// Every function throws SetError (Damaged, Io). Every call opens and closes its own connection.
class EngineStore {
public:
    /// home: the folder that serves as /home.
    explicit EngineStore(const std::filesystem::path& home);

    void CreateTables() const;
    void Append(const InferenceRecord& record) const;
    void Append(const SolutionRecord& record) const;

    /// The records, newest first; without a code those of all issues. Empty when the database is missing.
    std::vector<InferenceRecord> Inferences(std::optional<int> issueCode = {},
                                            std::optional<bool> present = {}) const;
    std::vector<SolutionRecord> Solutions(std::optional<int> issueCode = {}) const;

    void Forget() const;

private:
    std::filesystem::path m_folder;
};

}  // namespace kuraset
