#pragma once

#include <cstddef>

/// What ParseSolutionMap runs. Returns how many solutions are stored now.
std::size_t LoadSolutionMap();
