// Finds out which of the library's locks were taken while others were held. The program interposes the
// functions that lock. A lock counts as the library's own when it lies in the library's memory.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace lockgraph {

/// From here on locks are looked at.
void Start();

/// Gives a name to the lock that the call takes first. False when it takes none.
bool Name(const char* name, const std::function<void()>& call);

/// Every nesting that was seen: (held, taken), by the names of the locks.
std::vector<std::pair<std::string, std::string>> Nestings();

/// Locks that were taken at all.
std::vector<std::string> Taken();

/// Whether going from lock to lock along the nestings leads back somewhere.
bool HasCycle();

}  // namespace lockgraph
