#include <pugixml.hpp>

#include <string>

#include "KURA_SolutionMap.h"
#include "peers/Peers.h"
#include "peers/RecordBuilder.h"

namespace bench {

namespace {

class Walk : public pugi::xml_tree_walker {
public:
    explicit Walk(RecordBuilder& records) : m_records(records) {}

    bool for_each(pugi::xml_node& node) override {
        if (node.type() != pugi::node_element) {
            return true;
        }
        m_records.Begin(node.name());
        for (const pugi::xml_attribute& attribute : node.attributes()) {
            m_records.Add(attribute.name(), attribute.value());
        }
        m_records.End();
        return true;
    }

private:
    RecordBuilder& m_records;
};

}  // namespace

bool ParseWithPugixml(const std::string& text, KURA::KURA_SolutionMap& map) {
    RecordBuilder records(map, text.size());
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) {
        return false;
    }
    Walk walk(records);
    return document.traverse(walk);
}

}  // namespace bench
