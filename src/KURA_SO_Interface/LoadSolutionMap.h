#pragma once

#include <cstddef>

/// Does what ParseSolutionMap does, and returns how many solutions are stored now.
std::size_t LoadSolutionMap();
