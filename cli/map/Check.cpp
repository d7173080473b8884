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

/// Adds a finding in one of the files beside the maps.
void ReportLine(std::vector<Finding>& findings, const CheckOptions& options, RuleId id,
                const std::string& file, std::size_t line, std::string message) {
    const Rule& rule = RuleOf(id);
    const Severity severity = SeverityOf(rule, options);
    if (severity != Severity::kOff) {
        findings.push_back({&rule, severity, file, {line, 1}, "", std::move(message)});
    }
}

void ReportCodesWithoutSolution(const std::vector<XmlDocument>& documents, const CheckOptions& options,
                                std::vector<Finding>& findings) {
    std::set<std::string, std::less<>> solved;
    for (const XmlDocument& document : documents) {
        const SolutionMap map(document);
        for (const Solution& solution : map.Solutions()) {
            solved.emplace(map.Text(solution, Field::kIssueCode));
        }
    }
    for (const CodeList::Entry& entry : options.codes->entries) {
        if (solved.count(entry.code) == 0) {
            ReportLine(findings, options, RuleId::kCodeWithoutSolution, options.codes->file, entry.line,
                       "the engine may report issue " + entry.code + ", and no solution has this code");
        }
    }
}

/// Removes the findings that the list allows and marks the entries that were used.
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
    std::size_t length = std::min(text.size(), kMost);
    // Cut in front of a character, not inside it. Bytes that continue a character have the top bits 10.
    while (length > 0 && length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
        --length;
    }
    std::string quoted = "\"";
    for (const char c : text.substr(0, length)) {
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
    return quoted + (length < text.size() ? "...\"" : "\"");
}

void Checker::Report(RuleId id, Subject subject, std::string message) {
    const Rule& rule = RuleOf(id);
    const Severity severity = SeverityOf(rule, m_options);
    if (severity != Severity::kOff) {
        m_findings.push_back(
            {subject.offset,
             {&rule, severity, m_document.FileName(), {}, std::move(subject.issue), std::move(message)}});
    }
}

Checker::Subject Checker::At(const Solution& solution) const {
    return {ElementOf(solution).offset, std::string(m_map.Text(solution, Field::kIssueCode))};
}

Checker::Subject Checker::At(const Solution& solution, Field field) const {
    Subject subject = At(solution);
    const std::uint32_t attribute = SolutionMap::Attribute(solution, field);
    if (attribute != kNoAttribute) {
        subject.offset = m_document.AttributeOffset(ElementOf(solution), attribute);
    }
    return subject;
}

Checker::Subject Checker::AtAttribute(const Element& element, std::uint32_t attribute) const {
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
    CheckSettingsKeys();
    CheckTexts();
    CheckCodes();

    std::stable_sort(m_findings.begin(), m_findings.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::size_t> offsets;
    for (const auto& [offset, finding] : m_findings) {
        offsets.push_back(offset);
    }
    const std::vector<LineColumn> positions = m_document.LineColumnsOf(offsets);
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

std::vector<Finding> CheckMap(const XmlDocument& document, const CheckOptions& options) {
    return Checker(document, options).Run();
}

CheckResult CheckMaps(const std::vector<XmlDocument>& documents, const CheckOptions& options) {
    CheckResult result;
    for (const XmlDocument& document : documents) {
        for (Finding& finding : CheckMap(document, options)) {
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
                ReportLine(result.findings, options, RuleId::kAllowUnused, allowed.file, entry.line,
                           "nothing is found that this entry allows: " + entry.tag +
                               (entry.issue.empty() ? "" : " " + entry.issue) + "; remove it");
            }
        }
    }
    return result;
}

}  // namespace kuramap
