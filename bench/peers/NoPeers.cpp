// Stands in for the peers where their packages are not installed.
#include <vector>

#include "Subjects.h"

namespace bench {

std::vector<Subject> PeerSubjects() {
    return {};
}

}  // namespace bench
