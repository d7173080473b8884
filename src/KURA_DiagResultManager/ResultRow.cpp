#include "KURA_DiagResultManager/ResultRow.h"

#include "KURA_DiagResultManager/ResultLine.h"
#include "base/Log.h"

namespace KURA {

void LogSending(const char* operation, const MapToDBTable& row) {
    KURA_LOG_AS(operation, DLOG_INFO, "CREATE_ERROR_LIST_BUNDLE_SEND");
    KURA_LOG_AS(operation, DLOG_INFO, "SendDataToRemotePort Key : Result, value : {" KURA_RESULT_FORMAT "}",
                KURA_RESULT_VALUES(row));
}

}  // namespace KURA
