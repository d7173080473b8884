// Costs that come out the same on every run: instructions, counted by callgrind, and allocations.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace bench {

/// Calls of malloc, calloc and realloc so far, by whatever library.
std::size_t Allocations();

/// Runs work once and prints "NAME allocations N". Under callgrind, started with --collect-atstart=no, the
/// instructions of work and of nothing else are counted.
void Measure(const std::string& name, const std::function<void()>& work);

}  // namespace bench
