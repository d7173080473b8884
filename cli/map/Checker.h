// One check of one map. The rules stand in groups, one source file each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Actions.h"
#include "Check.h"
#include "SolutionMap.h"

namespace kuramap {

/// A value of the document for a message: in quotes, on one line, cut after 60 bytes.
std::string Quoted(std::string_view text);

class Checker {
public:
    Checker(const XmlDocument& document, const CheckOptions& options)
        : m_document(document), m_map(document), m_options(options) {}

    /// Everything found, sorted by place.
    std::vector<Finding> Run();

private:
    /// What a finding is about: a place in the text, and the issue code if it concerns an issue.
    struct Subject {
        std::size_t offset = 0;
        std::string issue;
    };

    void Report(RuleId id, Subject subject, std::string message);

    Subject At(const Element& element) const { return {element.offset, ""}; }
    Subject At(const Solution& solution) const;
    /// The place of one field, or of the solution when the field is not written.
    Subject At(const Solution& solution, Field field) const;
    Subject AtAttribute(const Element& element, std::uint32_t attribute) const;
    const Element& ElementOf(const Solution& solution) const {
        return m_document.Elements()[solution.element];
    }

    // CheckStructure.cpp
    void CheckReading();
    void CheckRoot();
    void CheckCount();
    void CheckVersion();
    void CheckElements();
    void CheckNesting(const Element& element, ElementKind kind);
    void CheckAttributes(const Element& element, ElementKind kind);
    void CheckSpelling(const Name& name, std::size_t offset, const char* what);
    void CheckTextContent();

    // CheckSolutions.cpp
    void CheckSolution(const Solution& solution);
    void CheckIssueCode(const Solution& solution);
    void CheckSolutionCode(const Solution& solution);
    void CheckAction(const Solution& solution);
    void CheckTarget(const Solution& solution, const ActionType& type);
    void CheckValues(const Solution& solution);
    void CheckNumber(const Solution& solution, const Value& value, ValueUse use);
    void CheckKeptTexts(const Solution& solution);
    void CheckFilters(const Solution& solution);
    void CheckHostWords(const Solution& solution);
    void CheckHostWord(const Solution& solution, Field field, RuleId rule,
                       const std::vector<std::string>& known);
    void CheckRepeatedIssues();

    // CheckKeys.cpp
    void CheckSettingsKeys();

    // CheckTexts.cpp
    void CheckTexts();
    void CheckText(std::string_view id, const Subject& subject);
    void CheckCodes();

    const XmlDocument& m_document;
    const SolutionMap m_map;
    const CheckOptions& m_options;
    std::vector<bool> m_spellingsSeen;  // by the name's id
    std::uint32_t m_lastMisplacedIn = kNoElement;
    std::vector<std::pair<std::size_t, Finding>> m_findings;
};

}  // namespace kuramap
