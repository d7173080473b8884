// One row of the result table: how it starts, and how its hand-over to a screen is logged.
#pragma once

#include "KURA_MapToDBTable.h"

namespace KURA {

/// A row that stands for nothing: both numbers -1, every text empty.
inline MapToDBTable BlankRow() {
    MapToDBTable row;
    row.index = -1;
    row.is_fix = -1;
    return row;
}

/// The two lines of a row that goes to a screen, in the name of operation.
void LogSending(const char* operation, const MapToDBTable& row);

}  // namespace KURA
