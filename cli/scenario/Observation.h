// What happened in a scenario: everything that its expectations can be about, as plain data. Comparing is
// then a matter of data alone, without a set.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Scenario.h"
#include "set/KuraSet.h"

namespace scenario {

/// What was there after a step, or at the end.
struct Moment {
    std::optional<int> exit;       ///< of the verb; none when nothing ran
    Json answer;                   ///< the document that it printed; null when there was not exactly one
    std::string errors;            ///< what it wrote on standard error
    Json journal = Json::array();  ///< the entries of the step, or of the whole scenario
    Json settings = Json::object();
    Json remaining;  ///< the rows kept as unfixed, text by column; null when the database cannot be read
    Json files = Json::object();  ///< those that the expectation names
};

struct Observation {
    std::vector<Moment> steps;
    Moment end;
};

/// The state of the set: the journal's entries from the given one on, the settings, the rows kept as unfixed
/// and the files that the expectation names.
Moment Look(const kuraset::SetDirectory& set, std::size_t journalFrom, const Json& expect);

/// What an expectation of that name is compared with.
Json Happened(const Moment& moment, const std::string& name);

/// The short form of an element as the long one: "org.vesta.tv" as {"app": "org.vesta.tv"} in launches.
Json LongForm(const std::string& name, const Json& element);

}  // namespace scenario
