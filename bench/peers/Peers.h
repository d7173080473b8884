// Makes the same records through other XML libraries. Each checks only what its library checks.
#pragma once

#include <string>

#include "KURA_SolutionMap.h"

namespace bench {

/// Start tags as they are read, through the second interface of libxml2's stream of events.
bool ParseWithLibxml2(const std::string& text, KURA::KURA_SolutionMap& map);

/// A tree of the whole document, walked in order.
bool ParseWithTinyxml2(const std::string& text, KURA::KURA_SolutionMap& map);
bool ParseWithPugixml(const std::string& text, KURA::KURA_SolutionMap& map);
/// In a copy of the text, which RapidXML changes as it reads.
bool ParseWithRapidXml(const std::string& text, KURA::KURA_SolutionMap& map);

}  // namespace bench
