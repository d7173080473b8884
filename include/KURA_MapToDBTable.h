#pragma once

#include <string>

namespace KURA {

/// One current problem as the host's screens receive it. The remaining database stores all of it but
/// sol_name. The texts come from the solution map, last_time from the engine.
struct MapToDBTable {
    int index = 0;               ///< 1 for every row that an evaluation builds
    std::string issue_code;      ///< decimal
    int is_fix = 0;              ///< 0 = not fixed
    std::string last_time;       ///< local time, "2026-01-31T23:59:59"
    std::string sol_type;        ///< the action type
    std::string sol_name;        ///< the action's target
    std::string sid_issue;       ///< text id of the issue's name
    std::string sid_sol;         ///< text id of the solution's words
    std::string sid_button1;     ///< text id of the first button
    std::string sid_button2;     ///< text id of the second button
    std::string action;          ///< what the screen does with the solution
    std::string toast1;          ///< text id of the first message
    std::string toast2;          ///< text id of the second message
    std::string source;          ///< the input that it concerns
    std::string view_authority;  ///< "USER" shows it
};

}  // namespace KURA
