#include <rapidxml/rapidxml.hpp>

#include <memory>
#include <string>

#include "KURA_SolutionMap.h"
#include "peers/Peers.h"
#include "peers/RecordBuilder.h"

namespace bench {

namespace {

using Node = rapidxml::xml_node<>;

void Read(const Node& element, RecordBuilder& records) {
    records.Begin({element.name(), element.name_size()});
    for (const auto* attribute = element.first_attribute(); attribute != nullptr;
         attribute = attribute->next_attribute()) {
        records.Add({attribute->name(), attribute->name_size()},
                    {attribute->value(), attribute->value_size()});
    }
    records.End();
}

/// The node after this one in document order; null after the last.
const Node* Next(const Node* node) {
    if (const Node* child = node->first_node()) {
        return child;
    }
    while (node != nullptr && node->parent() != nullptr && node->next_sibling() == nullptr) {
        node = node->parent();
    }
    return node == nullptr || node->parent() == nullptr ? nullptr : node->next_sibling();
}

}  // namespace

bool ParseWithRapidXml(const std::string& text, KURA::KURA_SolutionMap& map) {
    RecordBuilder records(map, text.size());
    std::string copy = text;
    const auto document = std::make_unique<rapidxml::xml_document<>>();
    try {
        document->parse<rapidxml::parse_default>(copy.data());
    } catch (const rapidxml::parse_error&) {
        return false;
    }
    for (const Node* node = document.get(); node != nullptr; node = Next(node)) {
        if (node->type() == rapidxml::node_element) {
            Read(*node, records);
        }
    }
    return true;
}

}  // namespace bench
