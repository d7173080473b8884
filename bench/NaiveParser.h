// The mapping that a programmer would write first: every start tag's attributes become a map of texts, and
// every record is copied from there.
#pragma once

#include <string>

#include "KURA_SolutionMap.h"

namespace bench {

/// Expat's callbacks, names lower-cased into a std::map, handlers in a std::map of functions, each attribute
/// copied to a text of its own and from there into the record, the list grown as it comes.
bool ParseNaively(const std::string& text, KURA::KURA_SolutionMap& map);

}  // namespace bench
