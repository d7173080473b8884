// Applies the solutions of one issue. What a solution does depends on its type alone: one table gives the
// executor and the engine's number of each type. The record of a repair means "tried", not "worked": after an
// action that failed quietly the issue is still removed from the remaining problems and recorded. Only an
// exception ends the request.
#include "KURA_SO_Interface.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "CGetData.h"
#include "KURA_SO_Interface/LoadSolutionMap.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"
#include "base/AppIds.h"
#include "base/CancellationHeld.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "base/Text32.h"
#include "host/CManageStorage.h"
#include "host/CStartKHIssues.h"
#include "watchman.h"

namespace {

using KURA::KURA_Solution;
using KURA::base::OrEmpty;

constexpr const char* kApply = "RequestApplySolutionWrapper";

const char* FirstValue(const KURA_Solution& solution) {
    return solution.sol_val.empty() ? "" : solution.sol_val.front().param_value.c_str();
}

struct Screen {
    const char* name;
    void (*show)();
};

constexpr Screen kScreens[] = {
    {"ShowSignalInfo",
     [] {
         KURA_LOG_AS(kApply, DLOG_INFO, "launch Signal Information");
         KURA::CGetData::GetInstance()->ProcessLaunchApp(KURA::base::kBroadcastingMenuApp);
     }},
    {"ShowMgrStorage",
     [] {
         KURA::CStartKHIssues::Instance()->m_HideStartKHIssue();
         KURA::CManageStorage::Instance()->m_CreateManageStorageScreen();
     }},
    {"ShowSoundTest", [] { KURA::CGetData::GetInstance()->ProcessLaunchApp(KURA::base::kSoundTestApp); }},
};

void ShowScreen(const std::string& name) {
    const auto screen = std::find_if(std::begin(kScreens), std::end(kScreens),
                                     [&](const Screen& row) { return name == row.name; });
    if (screen == std::end(kScreens)) {
        KURA_LOG_AS(kApply, DLOG_INFO, "else case ");
        return;
    }
    screen->show();
}

struct Action {
    const char* type;
    int engineCode;  ///< the type's number in the engine's records
    void (*perform)(KURA_Solution& solution);
};

// Kept: the engine knows no number for the last two types.
constexpr Action kActions[] = {
    {"API", 1, [](KURA_Solution& solution) { ProcessAPI(solution.sol_name.c_str(), &solution.sol_val); }},
    {"VCONFSET_INT", 2,
     [](KURA_Solution& solution) { ProcessVconf_INT(solution.sol_name.c_str(), FirstValue(solution)); }},
    {"VCONFSET_BOOL", 2,
     [](KURA_Solution& solution) { ProcessVconf_BOOL(solution.sol_name.c_str(), FirstValue(solution)); }},
    {"VCONFSET_STR", 2,
     [](KURA_Solution& solution) { ProcessVconf_STR(solution.sol_name.c_str(), FirstValue(solution)); }},
    {"INFO", 5, [](KURA_Solution&) {}},
    {"CMD", 3, [](KURA_Solution& solution) { ProcessCMD(solution.sol_name.c_str()); }},
    {"LAUNCH", 4,
     [](KURA_Solution& solution) {
         KURA_LOG_AS(kApply, DLOG_INFO, "launch the application %s", solution.sol_name.c_str());
         ProcessLaunchApp(solution.sol_name.c_str());
     }},
    {"MSGPORT", 0,
     [](KURA_Solution& solution) {
         KURA_LOG_AS(kApply, DLOG_INFO, "MSGPORT : %s", solution.sol_name.c_str());
         ShowScreen(solution.sol_name);
     }},
    {"SettingsAPI", 0,
     [](KURA_Solution& solution) {
         KURA_LOG_AS(kApply, DLOG_INFO, "SettingsAPI called");
         ProcessSettingAPI(solution.sol_name.c_str(), FirstValue(solution));
     }},
};

/// Null for an unknown type, for which nothing is done.
const Action* FindAction(const std::string& type) {
    const auto action = std::find_if(std::begin(kActions), std::end(kActions),
                                     [&](const Action& row) { return type == row.type; });
    return action == std::end(kActions) ? nullptr : action;
}

void ApplyOne(KURA_Solution& solution, const std::string& issueCode, bool isBGPatch) {
    if (const Action* action = FindAction(solution.sol_type)) {
        action->perform(solution);
    }
    RemoveSolvedProblemFromRemainingDB(issueCode);
    if (!isBGPatch) {
        SaveResultToSolutionDB(issueCode, "start");
    }
    KURA_LOG_AS(kApply, DLOG_INFO,
                "Choose_Solution issue_code : %s, sol_code : %s, sol_type : %s, sol_name : %s, sol_val : %s",
                solution.issue_code.c_str(), solution.sol_code.c_str(), solution.sol_type.c_str(),
                solution.sol_name.c_str(), FirstValue(solution));
}

void ApplyAll(const std::string& issueCode, bool isBGPatch) {
    const std::size_t stored = LoadSolutionMap();
    std::vector<KURA_Solution> solutions;
    KURA::TCInformationStorage::Instance()->GetSolutionsOfIssue(issueCode, solutions);
    KURA_LOG_AS(kApply, DLOG_ERROR, "Value is %s and size = %zu", issueCode.c_str(), stored);
    for (KURA_Solution& solution : solutions) {
        ApplyOne(solution, issueCode, isBGPatch);
    }
}

/// Runs the operation and logs the exception that ends it. Only the unwinding of a cancelled thread passes.
template <typename Operation>
void RunGuarded(const char* function, Operation operation) {
    try {
        operation();
    } catch (const std::system_error& error) {
        KURA_LOG_AS(function, DLOG_ERROR, "Got exception 1");
        std::cout << "Caught system_error with code " << error.code() << " meaning " << error.what() << '\n';
    } catch (const KURA::base::CancelledUnwinding&) {
        throw;
    } catch (...) {
        KURA_LOG_AS(function, DLOG_ERROR, "Got exception 2");
    }
}

}  // namespace

void RequestApplySolution(const char* value) {
    RequestApplySolutionWrapper(value, false);
}

void RequestApplySolution_BG(const char* value, WMSolutionParams* params) {
    RequestApplySolutionWrapper(value, true);
    RunGuarded(__func__, [&] { FillSolutionParams(OrEmpty(value), "start", params); });
}

void RequestApplySolutionWrapper(const char* value, bool isBGPatch) {
    KURA_INFO("RequestApplySolutionWrapper called with value = %s and isBGPatch = %d", OrEmpty(value),
              isBGPatch);
    RunGuarded(__func__, [&] { ApplyAll(OrEmpty(value), isBGPatch); });
}

void FillSolutionParams(std::string issueCode, std::string state, WMSolutionParams* params) {
    if (params == nullptr) {
        return;
    }
    std::vector<KURA_Solution> solutions;
    KURA::TCInformationStorage::Instance()->GetSolutionsOfIssue(issueCode, solutions);

    WMSolutionParams record{};
    record.issueCode = KURA::base::ToInt32(issueCode.c_str());
    record.started = state == "start" ? 1 : 0;
    if (!solutions.empty()) {
        // Kept: when an issue has several solutions, the engine is told of the last one only.
        const KURA_Solution& last = solutions.back();
        const Action* action = FindAction(last.sol_type);
        record.solutionCode = KURA::base::ToInt32(last.sol_code.c_str());
        record.solutionType = action == nullptr ? 0 : action->engineCode;
    }
    *params = record;
}
