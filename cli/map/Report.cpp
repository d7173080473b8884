#include "Report.h"

#include <cstddef>
#include <map>
#include <string_view>

#include "support/JUnit.h"

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

std::string_view SarifLevel(Severity severity) {
    return severity == Severity::kError || severity == Severity::kWarning ? NameOf(severity) : "note";
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

std::string PlaceOf(const Finding& finding) {
    return std::to_string(finding.position.line) + ":" + std::to_string(finding.position.column);
}

support::JUnitCase ToCase(const Finding& finding, bool isStrict) {
    support::JUnitCase one{PlaceOf(finding) + " " + std::string(finding.rule->tag), finding.file};
    const bool fails =
        finding.severity == Severity::kError || (isStrict && finding.severity == Severity::kWarning);
    one.result = fails ? support::JUnitCase::Result::kFailure : support::JUnitCase::Result::kPassed;
    (fails ? one.message : one.text) = std::string(NameOf(finding.severity)) + ": " + Sentence(finding);
    return one;
}

}  // namespace

std::string ToText(const CheckResult& result, const ShowSeverity& show) {
    std::string text;
    for (const Finding& finding : result.findings) {
        text += finding.file + ":" + PlaceOf(finding) + ": " + show(finding.severity) + ": " +
                Sentence(finding) + " [" + std::string(finding.rule->tag) + "]\n";
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
    std::map<std::string, support::JUnitSuite> byFile;
    for (const std::string& file : files) {
        byFile[file].name = file;
    }
    for (const Finding& finding : result.findings) {
        support::JUnitSuite& suite = byFile[finding.file];
        suite.name = finding.file;
        suite.cases.push_back(ToCase(finding, isStrict));
    }
    std::vector<support::JUnitSuite> suites;
    for (auto& [file, suite] : byFile) {
        if (suite.cases.empty()) {
            suite.cases.push_back({"no findings", file});
        }
        suites.push_back(std::move(suite));
    }
    for (const UnreadableFile& file : unreadable) {
        suites.push_back(
            {file.file, {{"readable", file.file, support::JUnitCase::Result::kError, file.reason}}});
    }
    return support::JUnitText("kura map check, rules " + std::string(kRuleSetVersion), suites);
}

}  // namespace kuramap
