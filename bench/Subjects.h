// Lists by name the parsers that turn a document into the same records: the library, the mappings that it is
// measured against, and its peers.
#pragma once

#include <string>
#include <vector>

#include "KURA_SolutionMap.h"

namespace bench {

struct Subject {
    std::string name;
    bool (*parse)(const std::string& text, KURA::KURA_SolutionMap& map);
    bool fillsRecords;
};

/// The library, Expat alone, and the mappings on Expat: an ideal one, the same with a growing list, a naive
/// one. Then the peers.
const std::vector<Subject>& Subjects();

/// Null for an unknown name.
const Subject* FindSubject(const std::string& name);

/// Other XML libraries doing the same work; none where their packages are not installed.
std::vector<Subject> PeerSubjects();

/// Whether the subject makes the same records as the library of the text, to the last one; always true of one
/// that makes none. Prints the first difference.
bool AgreesWithLibrary(const Subject& subject, const std::string& text);

}  // namespace bench
