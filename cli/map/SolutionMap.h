// The version, declared count and solutions that the library reads from a document. Each text is kept as the
// index of its attribute, so that a finding has a place.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "Vocabulary.h"
#include "XmlDocument.h"

namespace kuramap {

constexpr std::uint32_t kNoAttribute = UINT32_MAX;

struct Value {
    std::uint32_t element = 0;
    std::uint32_t value = kNoAttribute;  ///< attribute param_value
    std::uint32_t type = kNoAttribute;   ///< attribute param_type
    bool isInside = false;               ///< stands inside the solution that it belongs to
};

struct Solution {
    std::uint32_t element = 0;
    std::array<std::uint32_t, kFieldCount> fields{};  ///< the attribute that gives each field
    std::uint32_t firstValue = 0;
    std::uint32_t valueCount = 0;
};

/// Refers to the document, which must outlive it.
class SolutionMap {
public:
    explicit SolutionMap(const XmlDocument& document);

    const XmlDocument& Source() const { return m_document; }
    const std::vector<Solution>& Solutions() const { return m_solutions; }
    const std::vector<Value>& Values() const { return m_values; }
    /// The indices of the sm and sminfo elements, in the order of the document.
    const std::vector<std::uint32_t>& CountElements() const { return m_counts; }
    const std::vector<std::uint32_t>& VersionElements() const { return m_versions; }
    /// The first value element that stands before every solution. The library cannot load a map that has one.
    std::optional<std::uint32_t> EarlyValue() const { return m_earlyValue; }

    ElementKind KindOf(const Element& element) const { return m_kinds[element.name->id]; }

    /// The attribute with the lower-case name, or kNoAttribute. The last of several counts, as in the
    /// library.
    std::uint32_t Find(const Element& element, std::string_view lowerName) const;

    /// The text of an attribute, empty for kNoAttribute.
    std::string_view TextOf(std::uint32_t attribute) const {
        return attribute == kNoAttribute ? std::string_view() : m_document.Attributes()[attribute].value;
    }
    std::string_view Text(const Solution& solution, Field field) const {
        return TextOf(Attribute(solution, field));
    }
    static std::uint32_t Attribute(const Solution& solution, Field field) {
        return solution.fields[static_cast<std::size_t>(field)];
    }
    /// The first value, which the action uses; null when there is none.
    const Value* FirstValue(const Solution& solution) const {
        return solution.valueCount == 0 ? nullptr : &m_values[solution.firstValue];
    }

    /// The numbers as a set reads them: version -1 without sminfo, count 0 without sm.
    std::int32_t Version() const;
    std::uint32_t DeclaredCount() const;

private:
    void AddSolution(std::uint32_t index);
    void AddValue(std::uint32_t index);

    const XmlDocument& m_document;
    std::vector<ElementKind> m_kinds;  // by the name's id
    std::vector<int> m_fieldOf;        // by the name's id; -1: not a field of a solution
    std::vector<Solution> m_solutions;
    std::vector<Value> m_values;
    std::vector<std::uint32_t> m_counts;
    std::vector<std::uint32_t> m_versions;
    std::optional<std::uint32_t> m_earlyValue;
};

}  // namespace kuramap
