// Which issues of the solution map are present and still unfixed.
#include "Model.h"
#include "Numbers.h"

namespace model {

namespace {

constexpr int kNoMatch = 4;
constexpr int kTrue = 1;
constexpr int kFalse = 0;
const _WMSolDBRecord kNoSolution = {0, 0, 5, 0, ""};

/// Texts are ordered by their bytes, unsigned, and a start of a text comes before the text.
bool IsLater(const std::string& a, const std::string& b) {
    return a.compare(b) > 0;
}

KURA::MapToDBTable EmptyRow() {
    KURA::MapToDBTable row;
    row.index = -1;
    row.is_fix = -1;
    return row;
}

}  // namespace

/// Whether a false transition says that the problem has gone away since it last appeared.
bool Model::IsGone(const std::vector<_WMInfDBRecord>& present, int code) {
    constexpr const char* kName = "GetInferenceResult";
    std::vector<_WMInfDBRecord> gone;
    const int result = set.GetInferenceDB(code, kFalse, gone);
    if (result == kNoMatch) {
        record.Log(kInfo, kName, "No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : %u",
                   static_cast<unsigned int>(code));
    } else if (result != 0) {
        record.Log(kError, kName, "GetInferenceDB API Error : %d", result);
    } else if (gone.empty()) {
        record.Log(kInfo, kName, "TR False result is empty! : %u", static_cast<unsigned int>(code));
    } else if (IsLater(gone[0].lastUpdateTime, present[0].lastUpdateTime)) {
        record.Log(kInfo, kName, "Skip because of time. TR_0 Time: [%s] >>> TR_1 Time : [%s]",
                   gone[0].lastUpdateTime.c_str(), present[0].lastUpdateTime.c_str());
        return true;
    }
    return false;
}

int Model::GetInferenceResult() {
    constexpr const char* kName = "GetInferenceResult";
    record.Log(kInfo, kName, "GetInferenceResult");
    unsigned int declared = 0;
    std::vector<KURA::KURA_Solution> list;
    GetSolutionInformation(declared, list);
    record.Log(kInfo, kName, "Solution Map  : %zu", list.size());
    int matches = 0;
    for (unsigned int i = 0; i < declared; ++i) {
        const KURA::KURA_Solution& sol = list.at(i);
        if (sol.is_fg_bg == "bg") {
            record.Log(kInfo, kName, "Skip bg issue");
            continue;
        }
        const int code = ToSigned(sol.issue_code);
        record.Log(kInfo, kName, "SelectIssueCode : %d", code);
        std::vector<_WMInfDBRecord> present;
        int result = set.GetInferenceDB(code, kTrue, present);
        if (result == kNoMatch) {
            record.Log(kInfo, kName, "No Matching WM_TRANSITION_TYPE_TRUE InferenceDB : %u",
                       static_cast<unsigned int>(code));
            continue;
        }
        if (result != 0) {
            record.Log(kError, kName, "GetInferenceDB API Error : %d", result);
            continue;
        }
        if (present.empty()) {
            record.Log(kInfo, kName, "TR true Result is empty! : %u", static_cast<unsigned int>(code));
            continue;
        }
        if (IsGone(present, code)) {
            continue;
        }
        _WMSolDBRecord applied = kNoSolution;
        result = set.GetSolutionDB(code, applied);
        if (result == kNoMatch) {
            record.Log(kInfo, kName, "No Matching SolutionDB : %u", static_cast<unsigned int>(code));
        } else if (result != 0) {
            record.Log(kError, kName, "GetInferenceDB API Error : %d", result);
        }
        const _WMInfDBRecord& first = present[0];
        record.Log(kInfo, kName, "First Inf Result : %d %d %d %s %s", first.issue_code, first.tr_type,
                   first.solutionCode, first.registerTime.c_str(), first.lastUpdateTime.c_str());
        record.Log(kInfo, kName, "Sol Result : %d %d %d %d %s", applied.issue_code, applied.solutionCode,
                   applied.type, applied.isApply, applied.registerTime.c_str());
        if (FindErrorCodeInDB(sol, present, applied) == 1) {
            record.Log(kInfo, kName, "GetInferenceResult done : %d", ++matches);
        } else {
            record.Log(kInfo, kName, "No matching with Inference Result");
        }
    }
    return matches;
}

int Model::FindErrorCodeInDB(const KURA::KURA_Solution& sol, const std::vector<_WMInfDBRecord>& infData,
                             const _WMSolDBRecord& solData) {
    constexpr const char* kName = "FindErrorCodeInDB";
    record.Log(kInfo, kName, "FindErrorCodeInDB");
    row = EmptyRow();
    if (infData.empty()) {
        record.Log(kError, kName, "No Infdata !!!!");
        record.Log(kInfo, kName, "End");
        return 0;
    }
    const _WMInfDBRecord& first = infData[0];
    const char* const code = sol.issue_code.c_str();
    if (solData.issue_code != first.issue_code) {
        record.Log(kInfo, kName, "find!!!");
    } else if (CompareTime(first.lastUpdateTime, solData.registerTime) == 1) {
        record.Log(kInfo, kName,
                   "sol.issue_code[%s], inf_data.at(0).issue_code [%d], inf_data.at(0).tr_type [%d]", code,
                   first.issue_code, first.tr_type);
        record.Log(kInfo, kName, "find!!!");
    } else if (solData.isApply == 0) {
        record.Log(kInfo, kName, "sol.issue_code[%s], inf_data.at(0).issue_code [%d], sol_data.isApply [%d]",
                   code, first.issue_code, solData.isApply);
        record.Log(kInfo, kName, "find!!!");
    } else {
        const std::string line(83, '@');
        record.Log(kInfo, kName, "%s", line.c_str());
        record.Log(kInfo, kName,
                   "FindErrorCodeInDB Error! sol.issue_code : [%s], inf_data.at(0).issue_code : [%d], "
                   "sol_data.issue_code : [%d] \n/// inf_data.lastUpdateTime : [%s] << sol_data.registerTime "
                   "[%s]",
                   code, first.issue_code, solData.issue_code, first.lastUpdateTime.c_str(),
                   solData.registerTime.c_str());
        record.Log(kInfo, kName, "%s", line.c_str());
        record.Log(kInfo, kName, "End");
        return 0;
    }
    row = {1,
           sol.issue_code,
           0,
           first.lastUpdateTime,
           sol.sol_type,
           sol.sol_name,
           sol.sid_issue,
           sol.sid_sol,
           sol.sid_button1,
           sol.sid_button2,
           sol.action,
           sol.toast1,
           sol.toast2,
           sol.source,
           sol.view_authority};
    table.push_back(row);
    record.Log(kInfo, kName, "End");
    return 1;
}

int Model::CompareTime(const std::string& a, const std::string& b) {
    record.Log(kInfo, "CompareTime", "CompareTime");
    return IsLater(a, b) ? 1 : 0;
}

bool Model::CheckViewType(const std::string& viewAuthority) {
    return viewAuthority == "USER";
}

bool Model::CheckSourceType(const std::string& source) {
    const int channel = set.ChannelType();
    const int input = set.HostSource();
    if (source == "DTV") {
        return (channel == 2 || channel == 4 || channel == 7) && input == 0;
    }
    if (source == "HDMI") {
        return (input >= 13 && input <= 16) || input == 38 || input == 39;
    }
    return true;
}

}  // namespace model
