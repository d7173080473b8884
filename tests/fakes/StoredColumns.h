// The columns of a row that the remaining database stores.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "KURA_MapToDBTable.h"

namespace fakes {

constexpr std::size_t kStoredColumns = 14;

/// A row's texts in the order of the table's columns, numbers in decimal.
inline std::array<std::string, kStoredColumns> StoredColumns(const KURA::MapToDBTable& row) {
    return {std::to_string(row.index),
            row.issue_code,
            std::to_string(row.is_fix),
            row.last_time,
            row.sol_type,
            row.sid_issue,
            row.sid_sol,
            row.sid_button1,
            row.sid_button2,
            row.action,
            row.toast1,
            row.toast2,
            row.source,
            row.view_authority};
}

}  // namespace fakes
