// The solution map as it is held in memory: every value is text as the document wrote it.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace KURA {

/// One value that a solution applies.
struct KURA_SolutionValue {
    std::string param_value;  ///< the value
    std::string param_type;   ///< its type, as written; nothing depends on it
};

/// One issue and its solution. An attribute that the document leaves out is an empty text.
struct KURA_Solution {
    std::string issue_code;  ///< decimal; the key, compared byte for byte
    std::string sol_code;    ///< decimal
    std::string sol_type;    ///< the action type: "VCONFSET_INT", "LAUNCH", "CMD", ...
    std::string sol_name;    ///< the action's target: a settings key, an app id, a command, ...
    std::vector<KURA_SolutionValue> sol_val;  ///< in document order
    std::string sid_issue;                    ///< text id of the issue's name
    std::string sid_sol;                      ///< text id of the solution's words
    std::string sid_button1;                  ///< text id of the first button
    std::string sid_button2;                  ///< text id of the second button
    std::string reboot;                       ///< whether the set has to start again afterwards
    std::string is_fg_bg;                     ///< "bg" keeps the issue off every screen
    std::string action;                       ///< what the screen does with the solution
    std::string toast1;                       ///< text id of the first message
    std::string toast2;                       ///< text id of the second message
    std::string source;                       ///< "DTV", "HDMI", or anything else for every source
    std::string view_authority;               ///< "USER" shows the issue

    /// The fifteen texts in document order; sol_val starts empty.
    KURA_Solution(std::string issueCode, std::string solCode, std::string solType, std::string solName,
                  std::string sidIssue, std::string sidSol, std::string sidButton1, std::string sidButton2,
                  std::string rebootText, std::string isFgBg, std::string actionText, std::string toast1Text,
                  std::string toast2Text, std::string sourceText, std::string viewAuthority)
        : issue_code(std::move(issueCode)),
          sol_code(std::move(solCode)),
          sol_type(std::move(solType)),
          sol_name(std::move(solName)),
          sid_issue(std::move(sidIssue)),
          sid_sol(std::move(sidSol)),
          sid_button1(std::move(sidButton1)),
          sid_button2(std::move(sidButton2)),
          reboot(std::move(rebootText)),
          is_fg_bg(std::move(isFgBg)),
          action(std::move(actionText)),
          toast1(std::move(toast1Text)),
          toast2(std::move(toast2Text)),
          source(std::move(sourceText)),
          view_authority(std::move(viewAuthority)) {}
};

/// A whole parsed document.
struct KURA_SolutionMap {
    int version = -1;        ///< -1 until the document names one
    unsigned int count = 0;  ///< as declared by the document; never compared with the number of solutions
    std::vector<KURA_Solution> solutions;  ///< in document order
};

}  // namespace KURA
