// Makes solution maps of any length for the measurements. The same number of solutions gives the same text.
#pragma once

#include <cstddef>
#include <string>

namespace bench {

/// A document of about 528 bytes a solution, laid out as the shipped ones are: fifteen attributes in their
/// usual order, texts named by string ids, and one value element.
std::string SolutionMapText(std::size_t solutions);

/// The same document with every second letter of each element's and attribute's name in upper case.
std::string MixedCaseSolutionMapText(std::size_t solutions);

/// What a reader may get wrong: names in any letter case, an attribute of no meaning and one that stands
/// there twice in different letter cases, missing attributes, references, values of several elements,
/// elements outside their usual places, a comment.
std::string AwkwardSolutionMapText();

}  // namespace bench
