#include "KURA_DiagResultManager/ResultRow.h"

#include "base/Log.h"

namespace KURA {

namespace {

/// Calls log with the eleven values of a list's entry as the host presents it; the fifth is a placeholder.
template <typename Log>
void WithValues(const MapToDBTable& row, Log log) {
    log(row.issue_code.c_str(), row.last_time.c_str(), row.sid_issue.c_str(), row.sid_sol.c_str(), " ",
        row.sid_button1.c_str(), row.sid_button2.c_str(), row.action.c_str(), row.toast1.c_str(),
        row.toast2.c_str(), row.sol_type.c_str());
}

}  // namespace

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
