// Solution maps of any length for the measurements: always the same text for the same number of solutions.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// A document of about 528 bytes a solution, laid out as the shipped ones are: fifteen attributes in their
/// usual order, texts named by string ids, and one value element.
std::string SolutionMapText(std::size_t solutions);

}  // namespace bench
