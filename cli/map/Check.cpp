#include "Check.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <utility>

#include "Checker.h"

namespace kuramap {

namespace {

Severity SeverityOf(const Rule& rule, const CheckOptions& options) {
    const auto chosen = options.severities.find(std::string(rule.tag));
    return chosen == options.severities.end() ? rule.severity : chosen->second;
}

/// A finding in one of the files beside the maps.
void ReportLine(std::vector<Finding>& findings, const CheckOptions& options, std::string_view tag,
                const std::string& file, std::size_t line, std::string message) {
    const Rule* const rule = FindRule(tag);
    const Severity severity = SeverityOf(*rule, options);
    if (severity != Severity::kOff) {
        findings.push_back({rule, severity, file, {line, 1}, "", std::move(message)});
    }
}

void ReportCodesWithoutSolution(const std::vector<Document>& documents, const CheckOptions& options,
                                std::vector<Finding>& findings) {
    std::set<std::string, std::less<>> solved;
    for (const Document& document : documents) {
        const SolutionMap map(document);
        for (const Solution& solution : map.Solutions()) {
            solved.emplace(map.Text(solution, Field::kIssueCode));
        }
    }
    for (const CodeList::Entry& entry : options.codes->entries) {
        if (solved.count(entry.code) == 0) {
            ReportLine(findings, options, "code-without-solution", options.codes->file, entry.line,
                       "the engine may report issue " + entry.code + ", and no solution has this code");
        }
    }
}

/// Removes what the list allows and marks the entries used.
std::size_t RemoveAllowed(std::vector<Finding>& findings, AllowList& allowed) {
    const auto isAllowed = [&allowed](const Finding& finding) {
        bool matches = false;
        for (AllowList::Entry& entry : allowed.entries) {
            if (entry.tag == finding.rule->tag && (entry.issue.empty() || entry.issue == finding.issue)) {
                entry.isUsed = true;
                matches = true;
            }
        }
        return matches;
    };
    const auto end = std::remove_if(findings.begin(), findings.end(), isAllowed);
    const auto count = static_cast<std::size_t>(findings.end() - end);
    findings.erase(end, findings.end());
    return count;
}

}  // namespace

std::string Quoted(std::string_view text) {
    constexpr std::size_t kMost = 60;
    std::string quoted = "\"";
    for (const char c : text.substr(0, kMost)) {
        switch (c) {
            case '\n':
                quoted += "\\n";
                break;
            case '\t':
                quoted += "\\t";
                break;
            case '\r':
                quoted += "\\r";
                break;
            default:
                quoted += c;
        }
    }
    // Not in the middle of a character.
    if (text.size() > kMost) {
        while (quoted.size() > 1 && (static_cast<unsigned char>(text[quoted.size() - 1]) & 0xC0) == 0x80 &&
               (static_cast<unsigned char>(quoted.back()) & 0x80) != 0) {
            quoted.pop_back();
        }
        quoted += "...";
    }
    return quoted + "\"";
}

void Checker::Report(std::string_view tag, Place place, std::string message) {
    const Rule* const rule = FindRule(tag);
    const Severity severity = SeverityOf(*rule, m_options);
    if (severity != Severity::kOff) {
        m_findings.push_back(
            {place.offset,
             {rule, severity, m_document.FileName(), {}, std::move(place.issue), std::move(message)}});
    }
}

Checker::Place Checker::At(const Solution& solution) const {
    return {ElementOf(solution).offset, std::string(m_map.Text(solution, Field::kIssueCode))};
}

Checker::Place Checker::At(const Solution& solution, Field field) const {
    Place place = At(solution);
    const std::uint32_t attribute = SolutionMap::Attribute(solution, field);
    if (attribute != kNoAttribute) {
        place.offset = m_document.AttributeOffset(ElementOf(solution), attribute);
    }
    return place;
}

Checker::Place Checker::AtAttribute(const Element& element, std::uint32_t attribute) const {
    return {attribute == kNoAttribute ? element.offset : m_document.AttributeOffset(element, attribute), ""};
}

std::vector<Finding> Checker::Run() {
    CheckReading();
    CheckRoot();
    CheckElements();
    CheckTextContent();
    CheckCount();
    CheckVersion();
    for (const Solution& solution : m_map.Solutions()) {
        CheckSolution(solution);
    }
    CheckRepeatedIssues();
    CheckTexts();
    CheckCodes();

    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::size_t> offsets;
    for (const auto& [offset, finding] : m_findings) {
        offsets.push_back(offset);
    }
    const std::vector<Position> positions = m_document.PositionsOf(offsets);
    std::vector<Finding> findings;
    findings.reserve(m_findings.size());
    for (std::size_t i = 0; i < m_findings.size(); ++i) {
        findings.push_back(std::move(m_findings[i].second));
        findings.back().position = positions[i];
    }
    return findings;
}

std::size_t CheckResult::Count(Severity severity) const {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const Finding& finding) { return finding.severity == severity; }));
}

std::vector<Finding> CheckDocument(const Document& document, const CheckOptions& options) {
    return Checker(document, options).Run();
}

CheckResult CheckDocuments(const std::vector<Document>& documents, const CheckOptions& options) {
    CheckResult result;
    for (const Document& document : documents) {
        for (Finding& finding : CheckDocument(document, options)) {
            result.findings.push_back(std::move(finding));
        }
    }
    if (options.codes) {
        ReportCodesWithoutSolution(documents, options, result.findings);
    }
    if (options.allowed) {
        AllowList allowed = *options.allowed;
        result.allowed = RemoveAllowed(result.findings, allowed);
        for (const AllowList::Entry& entry : allowed.entries) {
            if (!entry.isUsed) {
                ReportLine(result.findings, options, "allow-unused", allowed.file, entry.line,
                           "nothing is found that this entry allows: " + entry.tag +
                               (entry.issue.empty() ? "" : " " + entry.issue) + "; remove it");
            }
        }
    }
    return result;
}

}  // namespace kuramap
