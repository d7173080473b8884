#include <tinyxml2.h>

#include <string>

#include "KURA_SolutionMap.h"
#include "peers/Peers.h"
#include "peers/RecordBuilder.h"

namespace bench {

namespace {

class Walk : public tinyxml2::XMLVisitor {
public:
    explicit Walk(RecordBuilder& records) : m_records(records) {}

    bool VisitEnter(const tinyxml2::XMLElement& element, const tinyxml2::XMLAttribute* attribute) override {
        m_records.Begin(element.Name());
        for (; attribute != nullptr; attribute = attribute->Next()) {
            m_records.Add(attribute->Name(), attribute->Value());
        }
        m_records.End();
        return true;
    }

private:
    RecordBuilder& m_records;
};

}  // namespace

bool ParseWithTinyxml2(const std::string& text, KURA::KURA_SolutionMap& map) {
    RecordBuilder records(map, text.size());
    tinyxml2::XMLDocument document;
    if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
        return false;
    }
    Walk walk(records);
    return document.Accept(&walk);
}

}  // namespace bench
