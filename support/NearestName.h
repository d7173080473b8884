// The known word that somebody may have meant who wrote an unknown one.
#pragma once

#include <string>
#include <vector>

namespace support {

/// "; did you mean "WORD"?" with the known word nearest to the given one, or "" when none is near.
std::string Suggestion(const std::string& word, const std::vector<std::string>& known);

}  // namespace support
