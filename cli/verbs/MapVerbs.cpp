// The knowledge-base tool's verbs. None of them needs a set.
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Verbs.h"
#include "frame/TableVerbs.h"
#include "map/Check.h"
#include "map/Report.h"
#include "map/Rules.h"
#include "map/TextFiles.h"
#include "map/XmlDocument.h"
#include "support/NearestName.h"

namespace cli {

namespace {

const Table::Columns kRuleColumns = {{"TAG"}, {"SEVERITY"}, {"FINDS"}};

Tone ToneOf(kuramap::Severity severity) {
    return severity == kuramap::Severity::kError     ? Tone::kBad
           : severity == kuramap::Severity::kWarning ? Tone::kWarning
                                                     : Tone::kPlain;
}

std::string PaintedName(kuramap::Severity severity) {
    return Painted(std::string(kuramap::NameOf(severity)), ToneOf(severity));
}

struct CheckArguments {
    std::vector<std::string> files;
    std::vector<std::string> texts;
    std::string codes;
    std::string allow;
    std::string format = "text";
    std::vector<std::string> severities;
    std::optional<std::size_t> width;
    bool strict = false;
};

struct ExplainArguments {
    std::string tag;
    bool markdown = false;
};

[[noreturn]] void RefuseTag(const std::string& tag) {
    throw VerbError(ExitCode::kNoSuchItem, "there is no rule \"" + tag +
                                               "\" (\"kura map explain\" lists all)" +
                                               support::Suggestion(tag, kuramap::Tags()));
}

/// Reads "TAG=LEVEL".
std::pair<std::string, kuramap::Severity> ChosenSeverity(const std::string& text) {
    using kuramap::Severity;
    const std::size_t equals = text.find('=');
    const std::string tag = text.substr(0, equals);
    const std::string level = equals == std::string::npos ? "" : text.substr(equals + 1);
    for (const Severity severity : {Severity::kError, Severity::kWarning, Severity::kInfo, Severity::kOff}) {
        if (level == kuramap::NameOf(severity)) {
            if (kuramap::FindRule(tag) == nullptr) {
                RefuseTag(tag);
            }
            return {tag, severity};
        }
    }
    throw VerbError(ExitCode::kUsage, "--severity " + text + ": write TAG=error, warning, info or off");
}

kuramap::CheckOptions OptionsOf(const CheckArguments& arguments) {
    kuramap::CheckOptions options;
    for (const std::string& severity : arguments.severities) {
        options.severities.insert(ChosenSeverity(severity));
    }
    for (const std::string& file : arguments.texts) {
        options.texts.push_back(kuramap::TextTable::Read(file));
    }
    if (!arguments.codes.empty()) {
        options.codes = kuramap::CodeList::Read(arguments.codes);
    }
    if (!arguments.allow.empty()) {
        options.allowed = kuramap::AllowList::Read(arguments.allow);
    }
    options.width = arguments.width;
    return options;
}

ExitCode CodeOf(const kuramap::CheckResult& result, const std::vector<kuramap::UnreadableFile>& unreadable,
                bool strict) {
    if (!unreadable.empty()) {
        return ExitCode::kFailed;
    }
    const bool fails = result.Count(kuramap::Severity::kError) > 0 ||
                       (strict && result.Count(kuramap::Severity::kWarning) > 0);
    return fails ? ExitCode::kFindings : ExitCode::kDone;
}

Outcome Check(const CheckArguments& arguments) {
    const kuramap::CheckOptions options = OptionsOf(arguments);
    std::vector<kuramap::XmlDocument> documents;
    std::vector<std::string> files;
    std::vector<kuramap::UnreadableFile> unreadable;
    for (const std::string& file : arguments.files) {
        try {
            documents.push_back(kuramap::XmlDocument::Read(file));
            files.push_back(documents.back().FileName());
        } catch (const kuramap::Unreadable& error) {
            unreadable.push_back({file, error.what()});
        }
    }
    const kuramap::CheckResult result = kuramap::CheckMaps(documents, options);
    const ExitCode code = CodeOf(result, unreadable, arguments.strict);
    for (const kuramap::UnreadableFile& file : unreadable) {
        std::cerr << "kura: " << file.reason << '\n';
    }
    const bool isSarif = arguments.format == "sarif";
    Json document =
        isSarif ? kuramap::ToSarif(result, unreadable) : kuramap::ToJson(result, files, unreadable);
    std::string text;
    if (arguments.format == "text") {
        text = documents.empty() ? "" : kuramap::ToText(result, &PaintedName);
    } else if (arguments.format == "junit") {
        text = kuramap::ToJunit(result, files, unreadable, arguments.strict);
    }
    const bool isDocument = isSarif || arguments.format == "json";
    return {document,
            [document, text, isDocument] {
                if (isDocument) {
                    PrintDocument(document);
                } else {
                    std::cout << text;
                }
            },
            code};
}

Json RuleJson(const kuramap::Rule& rule) {
    return {{"tag", rule.tag},         {"severity", kuramap::NameOf(rule.severity)},
            {"summary", rule.summary}, {"effect", rule.effect},
            {"example", rule.example}, {"mend", rule.mend}};
}

Outcome ExplainAll(bool markdown) {
    Json rules = Json::array();
    for (const kuramap::Rule& rule : kuramap::Rules()) {
        rules.push_back(RuleJson(rule));
    }
    return {{{"version", kuramap::kRuleSetVersion}, {"rules", std::move(rules)}}, [markdown] {
                if (markdown) {
                    std::cout << kuramap::RulesPage();
                    return;
                }
                Table table(kRuleColumns);
                for (const kuramap::Rule& rule : kuramap::Rules()) {
                    table.AddRow({std::string(rule.tag),
                                  {std::string(kuramap::NameOf(rule.severity)), ToneOf(rule.severity)},
                                  std::string(rule.summary)});
                }
                table.Print();
            }};
}

Outcome ExplainRule(const ExplainArguments& arguments) {
    if (arguments.tag.empty()) {
        return ExplainAll(arguments.markdown);
    }
    const kuramap::Rule* const rule = kuramap::FindRule(arguments.tag);
    if (rule == nullptr) {
        RefuseTag(arguments.tag);
    }
    return {RuleJson(*rule), [rule] { std::cout << kuramap::Explain(*rule); }};
}

void AddCheck(CLI::App& map, Selection& selection) {
    auto arguments = std::make_shared<CheckArguments>();
    CLI::App* verb = map.add_subcommand("check", "Find what would fail silently on a set");
    verb->add_option("files", arguments->files, "Solution maps; - for standard input")
        ->type_name("FILE")
        ->required();
    verb->add_option("--texts", arguments->texts, "Text files, one a language (LANGUAGE.json)")
        ->type_name("FILE");
    verb->add_option("--codes", arguments->codes, "File with the engine's issue codes, one a line")
        ->type_name("FILE");
    verb->add_option("--allow", arguments->allow, "File of accepted findings, \"TAG [ISSUE]: reason\" a line")
        ->type_name("FILE");
    verb->add_option("--width", arguments->width, "Most characters of a text");
    verb->add_option("--format", arguments->format, "text, json, sarif or junit")
        ->check(CLI::IsMember({"text", "json", "sarif", "junit"}))
        ->capture_default_str();
    verb->add_flag("--strict", arguments->strict, "Warnings fail the check too");
    verb->add_option("--severity", arguments->severities, "TAG=error, warning, info or off");
    Declare(verb, selection, Place::kOutside, [arguments] { return Check(*arguments); });
}

void AddExplain(CLI::App& map, Selection& selection) {
    auto arguments = std::make_shared<ExplainArguments>();
    CLI::App* verb = map.add_subcommand("explain", "What a rule finds, why it matters, how to mend it");
    verb->add_option("tag", arguments->tag, "Tag of the rule; all rules without it")->type_name("RULE");
    verb->add_flag("--markdown", arguments->markdown, "All rules as a page of documentation");
    PrintsTable(verb, kRuleColumns);
    Declare(verb, selection, Place::kOutside, [arguments] { return ExplainRule(*arguments); });
}

}  // namespace

void AddMapVerbs(CLI::App& app, Selection& selection) {
    CLI::App* verb = app.add_subcommand("map", "The knowledge-base tool: check and read solution maps");
    verb->require_subcommand(1);
    AddCheck(*verb, selection);
    AddExplain(*verb, selection);
    AddMapReadVerbs(*verb, selection);
}

}  // namespace cli
