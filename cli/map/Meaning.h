// The content of a solution map without its layout: the texts that the library gets for each entry. The verbs
// that show, compare and count maps use it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "SolutionMap.h"
#include "Vocabulary.h"

namespace kuramap {

struct EntryValue {
    std::string value;
    std::string type;
};
bool operator==(const EntryValue& a, const EntryValue& b);

struct Entry {
    std::array<std::string, kFieldCount> fields;
    std::vector<EntryValue> values;

    const std::string& Text(Field field) const { return fields[static_cast<std::size_t>(field)]; }
    /// The value that the action uses; empty when there is none.
    std::string_view FirstValue() const { return values.empty() ? std::string_view() : values.front().value; }
};
bool operator==(const Entry& a, const Entry& b);

struct Meaning {
    std::int32_t version = -1;
    std::uint32_t count = 0;
    std::vector<Entry> entries;
};
bool operator==(const Meaning& a, const Meaning& b);

Meaning MeaningOf(const SolutionMap& map);

/// What applying the entry does, as a sentence without its end mark.
std::string EffectOf(const Entry& entry);

/// When a screen shows the entry, as a sentence without its end mark.
std::string VisibilityOf(const Entry& entry);

/// Whether the library checks the issue again when the home screen asks.
bool IsOnDemand(const Entry& entry);

}  // namespace kuramap
