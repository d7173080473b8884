#pragma once

#include <string>

namespace KURA {

/// One current problem, as the host's screens receive it and the remaining database stores it (all but
/// sol_name). Texts come from the solution map, last_time from the engine.
struct MapToDBTable {
    int index = 0;  ///< 1 for every row that an evaluation builds
    std::string issue_code;
    int is_fix = 0;         ///< 0 = not fixed
    std::string last_time;  ///< local time, "2026-01-31T23:59:59"
    std::string sol_type;
    std::string sol_name;
    std::string sid_issue;
    std::string sid_sol;
    std::string sid_button1;
    std::string sid_button2;
    std::string action;
    std::string toast1;
    std::string toast2;
    std::string source;
    std::string view_authority;
};

}  // namespace KURA
