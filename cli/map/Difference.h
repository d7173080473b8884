// Compares the content of two solution maps, not their layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Meaning.h"

namespace kuramap {

/// A text of a solution that changed. The name is that of the attribute, or "value N" for the N-th value.
struct Change {
    std::string name;
    std::string before;
    std::string after;
};

struct ChangedSolution {
    std::string issue;
    std::size_t number = 1;  ///< of the issue's solutions in the new map, from 1
    std::vector<Change> changes;
};

/// A solution that only one of the maps has.
struct LoneSolution {
    std::string issue;
    std::size_t number = 1;  ///< of the issue's solutions in its map, from 1
    Entry entry;
};

struct Difference {
    std::vector<LoneSolution> removed;
    std::vector<LoneSolution> added;
    std::vector<ChangedSolution> changed;
    /// Issues whose solutions are applied in another order.
    std::vector<std::string> reordered;
    /// Whether the issues that both maps have stand in another order.
    bool isListedDifferently = false;
    std::int32_t versionBefore = -1;
    std::int32_t versionAfter = -1;
    std::uint32_t countBefore = 0;
    std::uint32_t countAfter = 0;

    bool IsEmpty() const;
};

Difference Compare(const Meaning& before, const Meaning& after);

}  // namespace kuramap
