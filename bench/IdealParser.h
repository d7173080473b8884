// The library's parse is measured against this parser: the shortest way from Expat's callbacks into the same
// records.
#pragma once

#include <string>

#include "KURA_SolutionMap.h"

namespace bench {

/// One start-element handler and one pass over the attributes; the record is built in its place in the map.
/// Names match in any letter case, and the attribute expected next is tried first, as documents keep their
/// order. Room for the records is made once, by the length of the text. There is no dispatch table, no
/// context beyond the map, no log and no error text, and an exception would pass through Expat.
bool ParseIdeally(const std::string& text, KURA::KURA_SolutionMap& map);

/// The same without that room: the list grows as it comes.
bool ParseGrowing(const std::string& text, KURA::KURA_SolutionMap& map);

/// Expat with no handler at all: the floor under every parse.
bool ParseWithoutHandler(const std::string& text);

}  // namespace bench
