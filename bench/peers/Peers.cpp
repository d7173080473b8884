#include "peers/Peers.h"

#include <vector>

#include "Subjects.h"

namespace bench {

std::vector<Subject> PeerSubjects() {
    return {{"libxml2", ParseWithLibxml2, true},
            {"tinyxml2", ParseWithTinyxml2, true},
            {"pugixml", ParseWithPugixml, true},
            {"rapidxml", ParseWithRapidXml, true}};
}

}  // namespace bench
