// What was found and repaired on a set: read from the journal, run by run, as the library logged it.
#pragma once

#include <string>
#include <vector>

#include "set/KuraSet.h"

namespace cli {

/// One diagnosis, guided diagnosis, or repair of one issue.
struct HistoryEvent {
    int run = 0;
    std::string time;                 ///< when it began, as the journal writes it
    std::string what;                 ///< "diagnosis", "guide" or "repair"
    std::vector<std::string> issues;  ///< found by the diagnosis, each once in the map's order; or repaired
    std::string failure;              ///< empty when it came to its end and nothing was refused
};

/// The events in their order. What the journal no longer holds is not part of it.
std::vector<HistoryEvent> HistoryOf(const std::vector<kuraset::JournalRun>& runs);

}  // namespace cli
