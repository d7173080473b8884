// The line that shows one entry of a list as the host receives it: eleven values, the fifth a placeholder.
#pragma once

#include "KURA_MapToDBTable.h"

/// The format of the values, and the values of a row for it.
#define KURA_RESULT_FORMAT "%s, %s, %s, %s, %s, %s, %s, %s, %s, %s, %s"
#define KURA_RESULT_VALUES(row)                                                                             \
    (row).issue_code.c_str(), (row).last_time.c_str(), (row).sid_issue.c_str(), (row).sid_sol.c_str(), " ", \
        (row).sid_button1.c_str(), (row).sid_button2.c_str(), (row).action.c_str(), (row).toast1.c_str(),   \
        (row).toast2.c_str(), (row).sol_type.c_str()
