#include "KURA_DiagResultManager/ResultRow.h"

#include "base/Log.h"

namespace KURA {

namespace {

/// Calls log with the eleven values of a row as the host presents them; the fifth is a placeholder.
template <typename Log>
void WithValues(const MapToDBTable& row, Log log) {
    log(row.issue_code.c_str(), row.last_time.c_str(), row.sid_issue.c_str(), row.sid_sol.c_str(), " ",
        row.sid_button1.c_str(), row.sid_button2.c_str(), row.action.c_str(), row.toast1.c_str(),
        row.toast2.c_str(), row.sol_type.c_str());
}

}  // namespace

bool QueryInference(const char* operation, int code, int transition, std::vector<_WMInfDBRecord>& records) {
    const auto shownCode = static_cast<unsigned int>(code);
    const int result = GetInferenceDB(code, transition, records);
    if (result == kNoMatchingRecord && transition == WM_TRANSITION_TYPE_TRUE) {
        KURA_LOG_AS(operation, DLOG_INFO, "No Matching WM_TRANSITION_TYPE_TRUE InferenceDB : %u", shownCode);
    } else if (result == kNoMatchingRecord) {
        KURA_LOG_AS(operation, DLOG_INFO, "No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : %u", shownCode);
    } else if (result != 0) {
        KURA_LOG_AS(operation, DLOG_ERROR, "GetInferenceDB API Error : %d", result);
    }
    return result == 0;
}

MapToDBTable BlankRow() {
    MapToDBTable row;
    row.index = -1;
    row.is_fix = -1;
    return row;
}

void LogListed(const char* operation, const MapToDBTable& row) {
    WithValues(row, [operation](auto... values) {
        KURA_LOG_AS(operation, DLOG_INFO, "CREATE_ERROR_LIST : %s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s",
                    values...);
    });
}

void LogSending(const char* operation, const MapToDBTable& row) {
    KURA_LOG_AS(operation, DLOG_INFO, "CREATE_ERROR_LIST_BUNDLE_SEND");
    WithValues(row, [operation](auto... values) {
        KURA_LOG_AS(operation, DLOG_INFO,
                    "SendDataToRemotePort Key : Result, value : {%s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s}",
                    values...);
    });
}

}  // namespace KURA
