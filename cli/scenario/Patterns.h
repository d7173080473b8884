// A scenario's expectations are patterns. A text, number, true, false or null must be equal; null also means
// "not there". A list must be equal element by element. An object must have the given members and may have
// more. An object with the one member "$contains" asks for a part of a text, or for elements of a list in
// their order; one with the member "$matches" asks a whole text to match a regular expression.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Document.h"

namespace scenario {

/// The first place at which something differs from a pattern.
struct Mismatch {
    std::string place;     ///< for example "[0].app"; empty for the whole value
    std::string expected;  ///< for people, in one line
    std::string happened;
};

/// Whether the pattern asks for a part ("$contains") or a form ("$matches") of a value.
bool IsMatcher(const Json& pattern);

std::optional<Mismatch> Match(const Json& pattern, const Json& value, const std::string& place = "");

/// Looks for an element for every pattern, in their order; other elements may stand between. Returns the
/// index of the first pattern that fits none, or nothing when every pattern fits.
std::optional<std::size_t> FirstMissing(const Json& patterns, const Json& values);

/// Checks a pattern that stands at the place; returns what is wrong with it, if anything.
std::optional<support::JsonComplaint> CheckPattern(const Json& pattern, const JsonPlace& place);

/// The value as one line of JSON, shortened when it is long.
std::string InShort(const Json& value);

/// Every kind of journal entry besides the log.
const std::vector<std::string>& JournalKinds();

/// Every kind that a line of the journal is read as: these, the log, the marks of runs and damaged lines.
std::vector<std::string> LineKinds();

}  // namespace scenario
