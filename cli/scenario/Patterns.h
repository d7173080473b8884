// What a scenario expects is a pattern: a text, number, true, false or null is equal; a list is equal element
// by element; an object has the members given and may have more; null also means "not there". An object with
// the one member "$contains" or "$matches" looks at a part: $contains at a part of a text, or at elements of
// a list in their order; $matches, a regular expression, at a whole text.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Document.h"

namespace scenario {

/// The first place at which something differs from a pattern.
struct Mismatch {
    std::string place;     ///< as "[0].app"; empty: the whole
    std::string expected;  ///< for people, in one line
    std::string happened;
};

std::optional<Mismatch> Match(const Json& pattern, const Json& value, const std::string& place = "");

/// Whether every pattern fits an element, in their order; others may stand between. Otherwise the index of
/// the first pattern that fits none.
std::optional<std::size_t> FirstMissing(const Json& patterns, const Json& values);

/// What is wrong with a pattern that stands at the place, if anything.
std::optional<support::JsonComplaint> CheckPattern(const Json& pattern, const JsonPlace& place);

/// One line of JSON, shortened when it is long.
std::string InShort(const Json& value);

/// Every kind of journal entry besides the log.
const std::vector<std::string>& JournalKinds();

}  // namespace scenario
