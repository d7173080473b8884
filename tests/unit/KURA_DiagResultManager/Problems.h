// Solution maps, engine records and log extracts for the tests of the result manager.
#pragma once

#include <algorithm>
#include <chrono>
#include <future>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"
#include "LogLines.h"
#include "watchman.h"

namespace problems {

constexpr const char* kEarlier = "2026-03-04T05:06:06";
constexpr const char* kTime = "2026-03-04T05:06:07";
constexpr const char* kLater = "2026-03-04T05:06:08";

inline KURA::KURA_DiagResultManager& Manager() {
    return *KURA::KURA_DiagResultManager::GetInstance();
}

/// One entry for the user on every source; each text tells its field.
inline KURA::KURA_Solution Solution(const std::string& code, const std::string& source = "",
                                    const std::string& viewer = "USER") {
    return {code,          "sol_code " + code,
            "sol_type",    "sol_name " + code,
            "sid_issue",   "sid_sol",
            "sid_button1", "sid_button2",
            "reboot",      "is_fg_bg",
            "action",      "toast1",
            "toast2",      source,
            viewer};
}

/// Replaces the stored map; the declared count is the list's own unless another is given.
inline void Store(std::vector<KURA::KURA_Solution> solutions, int declared = -1) {
    auto* storage = KURA::TCInformationStorage::Instance();
    storage->Initialize();
    const auto count =
        static_cast<unsigned int>(declared < 0 ? static_cast<int>(solutions.size()) : declared);
    storage->SetSolutionInformation(count, std::move(solutions));
}

inline void Appeared(int code, const std::string& time = kTime) {
    fakes::Set().inferences[{code, WM_TRANSITION_TYPE_TRUE}] = {
        {code, WM_TRANSITION_TYPE_TRUE, 70, "registered", time}};
}

inline void Disappeared(int code, const std::string& time) {
    fakes::Set().inferences[{code, WM_TRANSITION_TYPE_FALSE}] = {
        {code, WM_TRANSITION_TYPE_FALSE, 71, "registered", time}};
}

inline void Applied(int code, int isApply, const std::string& time) {
    fakes::Set().solutions[code] = {code, 72, 1, isApply, time};
}

/// The map holds these issues, and the engine says that all are present.
inline void Present(const std::vector<KURA::KURA_Solution>& solutions) {
    for (const KURA::KURA_Solution& solution : solutions) {
        Appeared(std::stoi(solution.issue_code));
    }
    Store(solutions);
}

inline std::vector<KURA::MapToDBTable> Table() {
    std::vector<KURA::MapToDBTable> rows;
    Manager().GetRemainingTable(rows);
    return rows;
}

inline std::vector<std::string> CodesOf(const std::vector<KURA::MapToDBTable>& rows) {
    std::vector<std::string> codes;
    for (const KURA::MapToDBTable& row : rows) {
        codes.push_back(row.issue_code);
    }
    return codes;
}

using fakes::Events;
using fakes::Lines;

inline void ForgetRecords() {
    fakes::Set().calls.clear();
    fakes::Set().log.clear();
    fakes::Set().events.clear();
}

/// Whether another thread gets the manager's lock; it empties the store when it does. The thread is left
/// alone where it does not, so that the test can say so.
inline bool IsUnlocked() {
    const auto locked = std::make_shared<std::promise<void>>();
    const std::future<void> done = locked->get_future();
    std::thread([locked] {
        Manager().ClearRemainingProblems();
        locked->set_value();
    }).detach();
    return done.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
}

}  // namespace problems
