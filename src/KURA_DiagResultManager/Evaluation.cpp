// Finds the issues of the solution map that are present and still need the user. An issue is present when the
// engine saw it appear and has not seen it go since; it needs the user unless a solution was applied after it
// last appeared. Times are texts of one fixed form, so their byte order is their order in time.
#include <cstddef>
#include <string>
#include <vector>

#include "KURA_DiagResultManager.h"
#include "KURA_DiagResultManager/ResultRow.h"
#include "KURA_Storage.h"
#include "base/Log.h"
#include "base/Text32.h"
#include "watchman.h"

namespace KURA {

namespace {

constexpr const char* kEvaluation = "GetInferenceResult";

constexpr const char kRule[] =
    "@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@"
    "@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@@";
static_assert(sizeof kRule == 83 + 1);

/// The engine's records of one issue. The engine appends to the lists, so every issue starts with new ones.
/// Without a solution record the issue code stays 0 and the type stays 5; the type only appears in the log.
struct EngineRecords {
    std::vector<_WMInfDBRecord> appeared;
    std::vector<_WMInfDBRecord> disappeared;
    _WMSolDBRecord solution{0, 0, 5, 0, ""};
};

bool HasAppeared(int code, EngineRecords& records) {
    if (!QueryInference(kEvaluation, code, WM_TRANSITION_TYPE_TRUE, records.appeared)) {
        return false;
    }
    if (records.appeared.empty()) {
        KURA_LOG_AS(kEvaluation, DLOG_INFO, "TR true Result is empty! : %u", static_cast<unsigned int>(code));
    }
    return !records.appeared.empty();
}

/// True only for a disappearance strictly later than the appearance: in doubt the issue is still present.
bool HasGoneAway(int code, EngineRecords& records) {
    if (!QueryInference(kEvaluation, code, WM_TRANSITION_TYPE_FALSE, records.disappeared)) {
        return false;
    }
    if (records.disappeared.empty()) {
        KURA_LOG_AS(kEvaluation, DLOG_INFO, "TR False result is empty! : %u",
                    static_cast<unsigned int>(code));
        return false;
    }
    const std::string& goneAt = records.disappeared.at(0).lastUpdateTime;
    const std::string& seenAt = records.appeared.at(0).lastUpdateTime;
    if (goneAt <= seenAt) {
        return false;
    }
    KURA_LOG_AS(kEvaluation, DLOG_INFO, "Skip because of time. TR_0 Time: [%s] >>> TR_1 Time : [%s]",
                goneAt.c_str(), seenAt.c_str());
    return true;
}

void ReadSolution(int code, EngineRecords& records) {
    const int result = GetSolutionDB(code, records.solution);
    if (result == kNoMatchingRecord) {
        KURA_LOG_AS(kEvaluation, DLOG_INFO, "No Matching SolutionDB : %u", static_cast<unsigned int>(code));
    } else if (result != 0) {
        // Kept: this is the inference query's message. Readers of the log find all errors of the engine by
        // it.
        KURA_LOG_AS(kEvaluation, DLOG_ERROR, "GetInferenceDB API Error : %d", result);
    }
}

void LogRecords(const EngineRecords& records) {
    const _WMInfDBRecord& first = records.appeared.at(0);
    KURA_LOG_AS(kEvaluation, DLOG_INFO, "First Inf Result : %d %d %d %s %s", first.issue_code, first.tr_type,
                first.solutionCode, first.registerTime.c_str(), first.lastUpdateTime.c_str());
    const _WMSolDBRecord& solution = records.solution;
    KURA_LOG_AS(kEvaluation, DLOG_INFO, "Sol Result : %d %d %d %d %s", solution.issue_code,
                solution.solutionCode, solution.type, solution.isApply, solution.registerTime.c_str());
}

MapToDBTable BuildRow(const KURA_Solution& solution, const std::string& lastTime) {
    MapToDBTable row;
    row.index = 1;
    row.issue_code = solution.issue_code;
    row.last_time = lastTime;
    row.sol_type = solution.sol_type;
    row.sol_name = solution.sol_name;
    row.sid_issue = solution.sid_issue;
    row.sid_sol = solution.sid_sol;
    row.sid_button1 = solution.sid_button1;
    row.sid_button2 = solution.sid_button2;
    row.action = solution.action;
    row.toast1 = solution.toast1;
    row.toast2 = solution.toast2;
    row.source = solution.source;
    row.view_authority = solution.view_authority;
    return row;
}

}  // namespace

int KURA_DiagResultManager::GetInferenceResult() {
    KURA_INFO("GetInferenceResult");
    unsigned int count = 0;
    std::vector<KURA_Solution> solutions;
    TCInformationStorage::Instance()->GetSolutionInformation(count, solutions);
    KURA_INFO("Solution Map  : %zu", solutions.size());
    int matches = 0;
    // The document declares the count. When it is larger than the list, the document is wrong and at()
    // throws.
    for (unsigned int index = 0; index < count; ++index) {
        KURA_Solution& solution = solutions.at(index);
        if (solution.is_fg_bg == "bg") {
            KURA_INFO("Skip bg issue");
            continue;
        }
        const int code = base::ToInt32(solution.issue_code.c_str());
        KURA_INFO("SelectIssueCode : %d", code);
        EngineRecords records;
        if (!HasAppeared(code, records) || HasGoneAway(code, records)) {
            continue;
        }
        ReadSolution(code, records);
        LogRecords(records);
        if (FindErrorCodeInDB(solution, records.appeared, records.solution) == 1) {
            ++matches;
            KURA_INFO("GetInferenceResult done : %d", matches);
        } else {
            KURA_INFO("No matching with Inference Result");
        }
    }
    return matches;
}

int KURA_DiagResultManager::FindErrorCodeInDB(KURA_Solution& sol, std::vector<_WMInfDBRecord>& inf_data,
                                              _WMSolDBRecord& sol_data) {
    KURA_INFO("FindErrorCodeInDB");
    m_currentRow = BlankRow();
    if (inf_data.empty()) {
        KURA_ERROR("No Infdata !!!!");
        KURA_INFO("End");
        return 0;
    }
    _WMInfDBRecord& first = inf_data.at(0);
    if (sol_data.issue_code != first.issue_code) {
        KURA_INFO("find!!!");
    } else if (CompareTime(first.lastUpdateTime, sol_data.registerTime) == 1) {
        KURA_INFO("sol.issue_code[%s], inf_data.at(0).issue_code [%d], inf_data.at(0).tr_type [%d]",
                  sol.issue_code.c_str(), first.issue_code, first.tr_type);
        KURA_INFO("find!!!");
    } else if (sol_data.isApply == 0) {
        KURA_INFO("sol.issue_code[%s], inf_data.at(0).issue_code [%d], sol_data.isApply [%d]",
                  sol.issue_code.c_str(), first.issue_code, sol_data.isApply);
        KURA_INFO("find!!!");
    } else {
        KURA_INFO("%s", kRule);
        KURA_INFO(
            "FindErrorCodeInDB Error! sol.issue_code : [%s], inf_data.at(0).issue_code : [%d], "
            "sol_data.issue_code : [%d] \n/// inf_data.lastUpdateTime : [%s] << sol_data.registerTime [%s]",
            sol.issue_code.c_str(), first.issue_code, sol_data.issue_code, first.lastUpdateTime.c_str(),
            sol_data.registerTime.c_str());
        KURA_INFO("%s", kRule);
        KURA_INFO("End");
        return 0;
    }
    m_currentRow = BuildRow(sol, first.lastUpdateTime);
    m_table.push_back(m_currentRow);
    KURA_INFO("End");
    return 1;
}

}  // namespace KURA
