// What every verb shares: the options before the verb, and the set that it works on.
#pragma once

#include <filesystem>
#include <string>

#include "Outcome.h"
#include "set/KuraSet.h"

namespace cli {

/// True inside the sandbox, where the library's compiled-in paths are the set's.
bool IsInside();

/// Set in the environment of the program that runs inside.
constexpr const char* kInsideVariable = "KURA_INSIDE";

class Session {
public:
    std::string setOption;  ///< --set; empty: the default set
    bool json = false;
    std::string language = "en";

    /// The path that --set gives, or the default set's path below the user's data directory.
    std::filesystem::path SetPath() const;

    /// Opens the set. The default set is made from the examples on first use.
    kuraset::SetDirectory OpenSet() const;
};

}  // namespace cli
