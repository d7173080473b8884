// Saves and loads the list of remaining problems as issue codes, with the library's own operations.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace remaining {

using Codes = std::vector<std::string>;

/// Replaces what is stored by a list of these issues, all of them for every source and for the user.
void Save(const Codes& codes);

/// Loads and tells the issue codes.
Codes Load();

/// What another connection sees.
Codes Stored();

/// N0, N1, ...
Codes Many(std::size_t count);

}  // namespace remaining
