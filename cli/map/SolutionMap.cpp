#include "SolutionMap.h"

#include <algorithm>
#include <cstddef>

#include "Number32.h"

namespace kuramap {

SolutionMap::SolutionMap(const XmlDocument& document) : m_document(document) {
    for (const Name& name : document.Names()) {
        m_kinds.push_back(KindOfElement(name.lower));
        const auto field = std::find(kFieldNames.begin(), kFieldNames.end(), name.lower);
        m_fieldOf.push_back(field == kFieldNames.end() ? -1 : static_cast<int>(field - kFieldNames.begin()));
    }
    for (std::uint32_t i = 0; i < document.Elements().size(); ++i) {
        switch (KindOf(document.Elements()[i])) {
            case ElementKind::kSolution:
                AddSolution(i);
                break;
            case ElementKind::kValue:
                AddValue(i);
                break;
            case ElementKind::kCount:
                m_counts.push_back(i);
                break;
            case ElementKind::kVersion:
                m_versions.push_back(i);
                break;
            case ElementKind::kUnknown:
                break;
        }
    }
}

void SolutionMap::AddSolution(std::uint32_t index) {
    const Element& element = m_document.Elements()[index];
    Solution solution;
    solution.element = index;
    solution.fields.fill(kNoAttribute);
    for (std::uint32_t i = 0; i < element.attributeCount; ++i) {
        const std::uint32_t attribute = element.firstAttribute + i;
        const int field = m_fieldOf[m_document.Attributes()[attribute].name->id];
        if (field >= 0) {
            solution.fields[static_cast<std::size_t>(field)] = attribute;
        }
    }
    solution.firstValue = static_cast<std::uint32_t>(m_values.size());
    m_solutions.push_back(solution);
}

void SolutionMap::AddValue(std::uint32_t index) {
    const Element& element = m_document.Elements()[index];
    if (m_solutions.empty()) {
        m_earlyValue = m_earlyValue.value_or(index);
        return;
    }
    Solution& owner = m_solutions.back();
    m_values.push_back(
        {index, Find(element, "param_value"), Find(element, "param_type"), element.parent == owner.element});
    ++owner.valueCount;
}

std::uint32_t SolutionMap::Find(const Element& element, std::string_view lowerName) const {
    for (std::uint32_t i = element.attributeCount; i > 0; --i) {
        const std::uint32_t attribute = element.firstAttribute + i - 1;
        if (m_document.Attributes()[attribute].name->lower == lowerName) {
            return attribute;
        }
    }
    return kNoAttribute;
}

std::int32_t SolutionMap::Version() const {
    if (m_versions.empty()) {
        return -1;
    }
    return Number32::Read(TextOf(Find(m_document.Elements()[m_versions.back()], "version"))).Signed();
}

std::uint32_t SolutionMap::DeclaredCount() const {
    if (m_counts.empty()) {
        return 0;
    }
    return Number32::Read(TextOf(Find(m_document.Elements()[m_counts.back()], "cnt"))).Unsigned();
}

}  // namespace kuramap
