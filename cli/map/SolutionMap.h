// What the library makes of a document: its version, declared count and solutions, each value with the
// attribute that it came from.
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
    /// Elements by their kind, in the order of the document.
    const std::vector<std::uint32_t>& CountElements() const { return m_counts; }
    const std::vector<std::uint32_t>& VersionElements() const { return m_versions; }
    /// The first value element before any solution, where there is one: the library then loads nothing.
    std::optional<std::uint32_t> EarlyValue() const { return m_earlyValue; }

    ElementKind KindOf(const Element& element) const { return m_kinds[element.name->id]; }

    /// An attribute of an element by its lower-case name; of several the one written last, as in the library.
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
    /// The value that an action uses: the first; null without one.
    const Value* FirstValue(const Solution& solution) const {
        return solution.valueCount == 0 ? nullptr : &m_values[solution.firstValue];
    }

    /// As a set reads them: -1 without a version, 0 without a count.
    std::int32_t Version() const;
    std::uint32_t DeclaredCount() const;

private:
    void AddSolution(std::uint32_t index);
    void AddValue(std::uint32_t index);

    const XmlDocument& m_document;
    std::vector<ElementKind> m_kinds;  // by the name's id
    std::vector<int> m_fieldOf;        // by the name's id; -1 for what is no field of a solution
    std::vector<Solution> m_solutions;
    std::vector<Value> m_values;
    std::vector<std::uint32_t> m_counts;
    std::vector<std::uint32_t> m_versions;
    std::optional<std::uint32_t> m_earlyValue;
};

}  // namespace kuramap
