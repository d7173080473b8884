// What happened in a scenario, as plain data: everything that its expectations can be about. Comparing then
// needs no set.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Scenario.h"
#include "set/KuraSet.h"

namespace scenario {

/// Where the library keeps what is unfixed, as it sees it.
constexpr const char* kRemainingPath = "/opt/usr/home/owner/share/remaining.db";

/// The state after a step, or at the end.
struct Moment {
    std::optional<int> exit;       ///< of the verb; none when nothing ran
    Json answer;                   ///< the document that it printed; null when it did not print exactly one
    std::string errors;            ///< what it wrote on standard error
    Json journal = Json::array();  ///< the entries of the step, or of the whole scenario
    Json settings = Json::object();
    Json remaining;  ///< the rows kept as unfixed, text by column; null when the database cannot be read
    Json files = Json::object();  ///< the files that the expectation names
};

struct Observation {
    std::vector<Moment> steps;
    Moment end;
};

/// Reads the rows kept as unfixed in that database: text by column, "idx" for the index. A number in a column
/// of texts is read as text. Empty when the database is not there, null when it cannot be read.
Json ReadRemaining(const std::filesystem::path& database);

/// Reads the state of the set: the journal's entries from number journalFrom on, the settings, the rows kept
/// as unfixed, and the files that the expectation names.
Moment Look(const kuraset::SetDirectory& set, std::size_t journalFrom, const Json& expect);

/// The part of the moment with which an expectation of that name is compared.
Json Happened(const Moment& moment, const std::string& name);

/// Turns the short form of an element into the long one: in launches, "org.vesta.tv" becomes
/// {"app": "org.vesta.tv"}.
Json LongForm(const std::string& name, const Json& element);

/// The opposite: an element of what happened as an expectation tells it, in the short form where there is
/// one, otherwise by the members that are the same in every run.
Json ShortForm(const std::string& name, const Json& element);

/// The members of a journal's entry that are the same in every run.
Json Steady(const Json& entry);

}  // namespace scenario
