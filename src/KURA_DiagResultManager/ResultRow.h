// What the files of the result manager share: the engine's records, how a row starts, how the log shows it.
#pragma once

#include <vector>

#include "KURA_MapToDBTable.h"
#include "watchman.h"

namespace KURA {

/// What the engine's queries answer when they hold no record of the issue; 0 is success, any other an error.
constexpr int kNoMatchingRecord = 4;

/// Appends the records of that transition. False after a failure, logged in the name of operation.
bool QueryInference(const char* operation, int code, int transition, std::vector<_WMInfDBRecord>& records);

/// A row that stands for nothing: both numbers -1, every text empty.
MapToDBTable BlankRow();

/// The line of a stored row that is looked at, in the name of operation.
void LogListed(const char* operation, const MapToDBTable& row);

/// The two lines of a row that goes to a screen, in the name of operation.
void LogSending(const char* operation, const MapToDBTable& row);

}  // namespace KURA
