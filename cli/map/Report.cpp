#include "Report.h"

#include <cstddef>

namespace kuramap {

namespace {

using Json = nlohmann::ordered_json;

std::string Counted(std::size_t count, const std::string& word) {
    return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

/// The message with the issue in front.
std::string Sentence(const Finding& finding) {
    return (finding.issue.empty() ? "" : "issue " + finding.issue + ": ") + finding.message;
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                // XML cannot hold control characters, not even as references.
                escaped += static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' ? '?' : c;
        }
    }
    return escaped;
}

const char* SarifLevel(Severity severity) {
    switch (severity) {
        case Severity::kError:
            return "error";
        case Severity::kWarning:
            return "warning";
        case Severity::kInfo:
        case Severity::kOff:
            break;
    }
    return "note";
}

Json SarifRules() {
    Json rules = Json::array();
    for (const Rule& rule : Rules()) {
        rules.push_back({{"id", rule.tag},
                         {"shortDescription", {{"text", rule.summary}}},
                         {"fullDescription", {{"text", rule.effect}}},
                         {"help", {{"text", rule.mend}}},
                         {"defaultConfiguration", {{"level", SarifLevel(rule.severity)}}}});
    }
    return rules;
}

/// The suite of one file: its findings, or one case that passes when there are none.
std::string JunitSuite(const std::string& file, const std::vector<const Finding*>& findings, bool isStrict) {
    std::string cases;
    std::size_t failures = 0;
    for (const Finding* finding : findings) {
        const std::string place =
            std::to_string(finding->position.line) + ":" + std::to_string(finding->position.column);
        const bool fails =
            finding->severity == Severity::kError || (isStrict && finding->severity == Severity::kWarning);
        failures += fails ? 1 : 0;
        cases += "    <testcase classname=\"" + Escaped(file) + "\" name=\"" + place + " " +
                 std::string(finding->rule->tag) + "\">\n";
        const std::string text = Escaped(std::string(NameOf(finding->severity)) + ": " + Sentence(*finding));
        cases += fails ? "      <failure message=\"" + text + "\"/>\n"
                       : "      <system-out>" + text + "</system-out>\n";
        cases += "    </testcase>\n";
    }
    if (findings.empty()) {
        cases = "    <testcase classname=\"" + Escaped(file) + "\" name=\"no findings\"/>\n";
    }
    return "  <testsuite name=\"" + Escaped(file) + "\" tests=\"" +
           std::to_string(findings.empty() ? 1 : findings.size()) + "\" failures=\"" +
           std::to_string(failures) + "\" errors=\"0\">\n" + cases + "  </testsuite>\n";
}

}  // namespace

std::string ToText(const CheckResult& result) {
    std::string text;
    for (const Finding& finding : result.findings) {
        text += finding.file + ":" + std::to_string(finding.position.line) + ":" +
                std::to_string(finding.position.column) + ": " + std::string(NameOf(finding.severity)) +
                ": " + Sentence(finding) + " [" + std::string(finding.rule->tag) + "]\n";
    }
    text += Counted(result.Count(Severity::kError), "error") + ", " +
            Counted(result.Count(Severity::kWarning), "warning") + ", " +
            Counted(result.Count(Severity::kInfo), "info");
    if (result.allowed > 0) {
        text += ", " + std::to_string(result.allowed) + " allowed";
    }
    return text + "\n";
}

Json ToJson(const CheckResult& result, const std::vector<std::string>& files,
            const std::vector<UnreadableFile>& unreadable) {
    Json findings = Json::array();
    for (const Finding& finding : result.findings) {
        findings.push_back({{"file", finding.file},
                            {"line", finding.position.line},
                            {"column", finding.position.column},
                            {"severity", NameOf(finding.severity)},
                            {"tag", finding.rule->tag},
                            {"issue", finding.issue.empty() ? Json() : Json(finding.issue)},
                            {"message", finding.message}});
    }
    Json refused = Json::array();
    for (const UnreadableFile& file : unreadable) {
        refused.push_back({{"file", file.file}, {"reason", file.reason}});
    }
    return {{"rules", kRuleSetVersion},
            {"files", files},
            {"unreadable", std::move(refused)},
            {"findings", std::move(findings)},
            {"errors", result.Count(Severity::kError)},
            {"warnings", result.Count(Severity::kWarning)},
            {"infos", result.Count(Severity::kInfo)},
            {"allowed", result.allowed}};
}

Json ToSarif(const CheckResult& result, const std::vector<UnreadableFile>& unreadable) {
    Json results = Json::array();
    for (const Finding& finding : result.findings) {
        results.push_back({{"ruleId", finding.rule->tag},
                           {"level", SarifLevel(finding.severity)},
                           {"message", {{"text", Sentence(finding)}}},
                           {"locations", Json::array({{{"physicalLocation",
                                                        {{"artifactLocation", {{"uri", finding.file}}},
                                                         {"region",
                                                          {{"startLine", finding.position.line},
                                                           {"startColumn", finding.position.column}}}}}}})}});
    }
    Json notes = Json::array();
    for (const UnreadableFile& file : unreadable) {
        notes.push_back({{"level", "error"}, {"message", {{"text", file.reason}}}});
    }
    Json run = {
        {"tool",
         {{"driver", {{"name", "kura map check"}, {"version", kRuleSetVersion}, {"rules", SarifRules()}}}}},
        {"columnKind", "unicodeCodePoints"},
        {"invocations", Json::array({{{"executionSuccessful", unreadable.empty()},
                                      {"toolExecutionNotifications", std::move(notes)}}})},
        {"results", std::move(results)}};
    return {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
            {"version", "2.1.0"},
            {"runs", Json::array({std::move(run)})}};
}

std::string ToJunit(const CheckResult& result, const std::vector<std::string>& files,
                    const std::vector<UnreadableFile>& unreadable, bool isStrict) {
    std::map<std::string, std::vector<const Finding*>> byFile;
    for (const std::string& file : files) {
        byFile[file];
    }
    for (const Finding& finding : result.findings) {
        byFile[finding.file].push_back(&finding);
    }
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"kura map check, rules " +
        std::string(kRuleSetVersion) + "\">\n";
    for (const auto& [file, findings] : byFile) {
        text += JunitSuite(file, findings, isStrict);
    }
    for (const UnreadableFile& file : unreadable) {
        text += "  <testsuite name=\"" + Escaped(file.file) +
                "\" tests=\"1\" failures=\"0\" errors=\"1\">\n    <testcase classname=\"" +
                Escaped(file.file) + "\" name=\"readable\">\n      <error message=\"" + Escaped(file.reason) +
                "\"/>\n    </testcase>\n  </testsuite>\n";
    }
    return text + "</testsuites>\n";
}

}  // namespace kuramap
