// The problems that the user has not fixed, kept in the remaining database.
#include "Model.h"
#include "Numbers.h"

namespace model {

namespace {

/// The on-demand issues, in unsigned 32-bit arithmetic.
bool IsOnDemand(int code) {
    return static_cast<unsigned int>(code) - 10000000U < 10000000U;
}

std::string Eleven(const KURA::MapToDBTable& row) {
    std::string text;
    for (const std::string& value :
         {row.issue_code, row.last_time, row.sid_issue, row.sid_sol, std::string(" "), row.sid_button1,
          row.sid_button2, row.action, row.toast1, row.toast2}) {
        text += value + ", ";
    }
    return text + row.sol_type;
}

}  // namespace

void Model::SaveRemainingProblems() {
    constexpr const char* kName = "SaveRemainingProblems";
    record.Log(kInfo, kName, "SaveRemainingProblems");
    ClearRemainingProblems();
    store.Open();
    for (const KURA::MapToDBTable& r : table) {
        if (CheckSourceType(r.source) && CheckViewType(r.view_authority)) {
            store.Insert({std::to_string(r.index), r.issue_code, std::to_string(r.is_fix), r.last_time,
                          r.sol_type, r.sid_issue, r.sid_sol, r.sid_button1, r.sid_button2, r.action,
                          r.toast1, r.toast2, r.source, r.view_authority});
        }
    }
    store.Close();
    record.Log(kInfo, kName, "Remaining DB is saved");
}

void Model::ClearRemainingProblems() {
    record.Log(kInfo, "ClearRemainingProblems", "ClearRemainingProblems");
    store.Open();
    store.Flush();
    store.Close();
}

void Model::DeleteRemainingColumn(const std::string& issueCode) {
    record.Log(kInfo, "DeleteRemainingDBColumn", "DeleteRemainingDBColumn");
    store.Open();
    store.Delete(issueCode);
    store.Close();
}

bool Model::LoadRemainingProblems() {
    constexpr const char* kName = "LoadRemainingProblems";
    record.Log(kInfo, kName, "LoadRemainingProblems");
    store.Open();
    std::vector<std::vector<std::string>> columns(kColumns.size());
    for (std::size_t c = 0; c < kColumns.size(); ++c) {
        store.Get(kColumns[c], columns[c]);
    }
    store.Close();
    CleanDiagResult();
    const std::size_t rows = columns[0].size();
    for (std::size_t k = 0; k < rows; ++k) {
        const int index = ToSigned(columns[0][k]);
        if (index < 0 || static_cast<std::size_t>(index) > rows) {
            return false;
        }
        row.index = index;
        std::string* const texts[] = {nullptr,          &row.issue_code,    nullptr,      &row.last_time,
                                      &row.sol_type,    &row.sid_issue,     &row.sid_sol, &row.sid_button1,
                                      &row.sid_button2, &row.action,        &row.toast1,  &row.toast2,
                                      &row.source,      &row.view_authority};
        for (std::size_t c = 1; c < kColumns.size(); ++c) {
            if (texts[c] != nullptr) {
                *texts[c] = columns[c].at(k);
            } else {
                row.is_fix = ToSigned(columns[c].at(k));
            }
        }
        record.Log(kInfo, kName, "mdt.index : %d", row.index);
        record.Log(kInfo, kName, "mdt.issue_code : %s", row.issue_code.c_str());
        record.Log(kInfo, kName, "mdt.is_fix : %d", row.is_fix);
        record.Log(kInfo, kName, "mdt.last_time : %s", row.last_time.c_str());
        record.Log(kInfo, kName, "mdt.last_time : %s", row.sol_type.c_str());
        for (std::size_t c = 5; c < kColumns.size(); ++c) {
            record.Log(kInfo, kName, "mdt.%s : %s", kColumns[c].c_str(), texts[c]->c_str());
        }
        table.push_back(row);
    }
    record.Log(kInfo, kName,
               table.empty() ? "Remain Problem is empty : %zu" : "Remain Problem is Loaded : %zu",
               table.size());
    return !table.empty();
}

bool Model::GetRemainingTable(Rows& out) {
    constexpr const char* kName = "GetRemainingTable";
    record.Log(kInfo, kName, "GetRemainingTable");
    if (table.empty()) {
        record.Log(kInfo, kName, "Remain Problem Table is empty : %zu", table.size());
        return false;
    }
    out.insert(out.end(), table.begin(), table.end());
    record.Log(kInfo, kName, "GetRemainingTable is done : %zu", table.size());
    return true;
}

void Model::GetInferenceResultRemaining() {
    constexpr const char* kName = "GetInferenceResult_Remaining";
    record.Log(kInfo, kName, "GetInferenceResult_Remaining");
    if (!LoadRemainingProblems()) {
        return;
    }
    Rows rows;
    GetRemainingTable(rows);
    for (const KURA::MapToDBTable& r : rows) {
        const int code = ToSigned(r.issue_code);
        record.Log(kInfo, kName, "INT_ISSUE_CODE : %d", code);
        if (!IsOnDemand(code)) {
            continue;
        }
        record.Log(kInfo, kName, "ONDEMAND ISSUE");
        std::vector<_WMInfDBRecord> gone;
        const int result = set.GetInferenceDB(code, WM_TRANSITION_TYPE_FALSE, gone);
        if (result == 4) {
            record.Log(kInfo, kName, "No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : %u",
                       static_cast<unsigned int>(code));
        } else if (result != 0) {
            record.Log(kError, kName, "GetInferenceDB API Error : %d", result);
        } else if (gone.empty()) {
            record.Log(kInfo, kName, "Result is Empty");
        } else {
            record.Log(kInfo, kName, "INT_RESULT_TR_FALSE_TIME [%s] LAST_TIME [%s]",
                       gone[0].lastUpdateTime.c_str(), r.last_time.c_str());
            if (gone[0].lastUpdateTime.compare(r.last_time) > 0) {
                DeleteRemainingColumn(r.issue_code);
            }
        }
    }
}

void Model::CompareRemaining() {
    constexpr const char* kName = "CompareRemaining";
    record.Log(kInfo, kName, "CompareRemaining");
    set.VconfSetStr("system/watchman/STOperation", R"({"id" : "CompareRemaining"})");
    Rows shown;
    GetInferenceResultRemaining();
    Rows rows;
    if (LoadRemainingProblems() && GetRemainingTable(rows)) {
        for (const KURA::MapToDBTable& r : rows) {
            record.Log(kInfo, kName, "CREATE_ERROR_LIST : %s", Eleven(r).c_str());
            if (CheckSourceType(r.source)) {
                record.Log(kInfo, kName, "CREATE_ERROR_LIST_BUNDLE_SEND");
                record.Log(kInfo, kName, "SendDataToRemotePort Key : Result, value : {%s}",
                           Eleven(r).c_str());
                shown.push_back(r);
            }
        }
    }
    set.ShowAtHome(shown);
}

}  // namespace model
