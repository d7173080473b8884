// Runs one diagnosis by the library and reads from the set's journal how it went.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "KURA_MapToDBTable.h"
#include "KURA_SolutionMap.h"
#include "Why.h"

namespace cli {

struct DiagnosisRun {
    unsigned int declared = 0;  ///< the map's own count of its solutions
    std::vector<KURA::KURA_Solution> solutions;
    std::vector<KURA::MapToDBTable> kept;   ///< the unfixed problems before the run (home list only)
    std::vector<KURA::MapToDBTable> after;  ///< the unfixed problems that the run left (home list only)
    std::vector<KURA::MapToDBTable> shown;  ///< what the screen received
    std::vector<nlohmann::json> journal;    ///< of the run alone
    std::string mapFailure;                 ///< why the map cannot be loaded; the run then did not take place
    std::string engineFailure;              ///< why the library was not called back
    bool isBrokenOff = false;               ///< an exception ended the run
};

DiagnosisRun RunDiagnosis(const kuraset::SetDirectory& set, ProblemList list);

/// What the library logged about one entry of the map while it evaluated it.
struct Evaluation {
    bool isBackground = false;
    bool isFound = false;  ///< present and unsolved
    std::vector<Condition> conditions;
};

/// The evaluations in the order of the map. Entries behind the declared count have none.
std::vector<Evaluation> EvaluationsOf(const std::vector<nlohmann::json>& journal);

/// What the library logged about one row of the unfixed problems.
struct Examination {
    bool isOnDemand = false;
    bool isRemoved = false;  ///< the library asked the store to remove it
    std::string saw;         ///< what the engine answered about its going, when it was asked
};

struct HomeRun {
    bool isDamaged = false;  ///< the store could not be read
    std::vector<Examination> rows;
};

HomeRun HomeRunOf(const std::vector<nlohmann::json>& journal);

}  // namespace cli
