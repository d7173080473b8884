// What the result manager's files share: the query of the engine's records, the blank row, the log lines of a
// row.
#pragma once

#include <vector>

#include "KURA_MapToDBTable.h"
#include "watchman.h"

namespace KURA {

/// The engine's queries return this when there is no record of the issue. 0 is success; any other result is
/// an error.
constexpr int kNoMatchingRecord = 4;

/// Appends the records of that transition. Returns false after a failure or without a record, and
/// logs it in the name of operation.
bool QueryInference(const char* operation, int code, int transition, std::vector<_WMInfDBRecord>& records);

/// A row without a problem: both numbers are -1, every text is empty.
MapToDBTable BlankRow();

/// Logs a stored row that is checked, in the name of operation.
void LogListed(const char* operation, const MapToDBTable& row);

/// Logs the two lines of a row that goes to a screen, in the name of operation.
void LogSending(const char* operation, const MapToDBTable& row);

}  // namespace KURA
