// Suggests the known word nearest to a mistyped one.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// Counts the characters to change, add, leave out or swap with their neighbour to turn one word into the
/// other. Upper and lower case of an ASCII letter count as the same.
std::size_t EditDistance(std::string_view from, std::string_view to);

/// "; did you mean "WORD"?" with the known word nearest to the given one, or "" when none is near.
std::string Suggestion(const std::string& word, const std::vector<std::string>& known);

}  // namespace support
