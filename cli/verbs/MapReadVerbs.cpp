// The knowledge-base tool's verbs that read the content of maps: show, diff, stats, format.
#include <cstddef>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Verbs.h"
#include "frame/TableVerbs.h"
#include "map/Difference.h"
#include "map/Format.h"
#include "map/Meaning.h"
#include "map/SolutionMap.h"
#include "map/TextFiles.h"
#include "map/Vocabulary.h"
#include "map/XmlDocument.h"
#include "support/Files.h"

namespace cli {

namespace {

using kuramap::Entry;
using kuramap::Field;
using kuramap::Meaning;

const Table::Columns kMapColumns = {{"ISSUE", Table::Align::kRight}, {"PROBLEM"}, {"ACTION"}, {"SHOWN"}};
const Table::Columns kFigureColumns = {{"WHAT"}, {"NUMBER", Table::Align::kRight}};

/// Reads a map. Refuses a broken one, because only a part of it would be shown.
Meaning ReadWhole(const std::string& file) {
    const kuramap::XmlDocument document = kuramap::XmlDocument::Read(file);
    if (document.Error()) {
        throw VerbError(ExitCode::kFailed, document.FileName() + ": the XML is broken (" +
                                               document.Error()->reason + "); \"kura map check\" says where");
    }
    return kuramap::MeaningOf(kuramap::SolutionMap(document));
}

/// Gives the text of an id, or the id itself when no text is known.
class Wording {
public:
    explicit Wording(const std::string& file) {
        if (!file.empty()) {
            m_table = kuramap::TextTable::Read(file);
        }
    }
    const std::string& operator()(const std::string& id) const {
        const auto text = m_table.texts.find(id);
        return text == m_table.texts.end() ? id : text->second;
    }

private:
    kuramap::TextTable m_table;
};

Json EntryJson(const Entry& entry, const Wording& text) {
    Json document;
    for (std::size_t i = 0; i < kuramap::kFieldCount; ++i) {
        document[std::string(kuramap::kFieldNames[i])] = entry.fields[i];
    }
    document["values"] = Json::array();
    for (const kuramap::EntryValue& value : entry.values) {
        document["values"].push_back({{"param_value", value.value}, {"param_type", value.type}});
    }
    document["on_demand"] = kuramap::IsOnDemand(entry);
    document["effect"] = kuramap::EffectOf(entry);
    document["shown"] = kuramap::VisibilityOf(entry);
    document["texts"] = Json::object();
    for (const Field field : kuramap::kTextFields) {
        document["texts"][std::string(kuramap::NameOf(field))] = text(entry.Text(field));
    }
    return document;
}

// --- show ---

struct ShowArguments {
    std::string file;
    std::string code;
    std::string texts;
};

void PrintEntry(const Entry& entry, const Wording& text) {
    std::cout << "issue " << entry.Text(Field::kIssueCode) << ": " << text(entry.Text(Field::kIssueText))
              << '\n';
    std::cout << "  applying it " << kuramap::EffectOf(entry) << '\n';
    std::cout << "  shown       " << kuramap::VisibilityOf(entry) << '\n';
    if (kuramap::IsOnDemand(entry)) {
        std::cout << "  on demand   examined again when the home screen asks\n";
    }
    for (std::size_t i = 1; i < kuramap::kFieldCount; ++i) {
        const std::string& id = entry.fields[i];
        const std::string& words = text(id);
        std::cout << "  " << kuramap::kFieldNames[i] << std::string(16 - kuramap::kFieldNames[i].size(), ' ')
                  << id << (words == id ? "" : "  (" + words + ")") << '\n';
    }
    for (const kuramap::EntryValue& value : entry.values) {
        std::cout << "  value           " << value.value
                  << (value.type.empty() ? "" : "  (" + value.type + ")") << '\n';
    }
}

Outcome ShowOne(const Meaning& meaning, const std::string& code, const Wording& text) {
    std::vector<Entry> entries;
    Json solutions = Json::array();
    for (const Entry& entry : meaning.entries) {
        if (entry.Text(Field::kIssueCode) == code) {
            entries.push_back(entry);
            solutions.push_back(EntryJson(entry, text));
        }
    }
    if (entries.empty()) {
        throw VerbError(ExitCode::kNoSuchItem, "the map has no issue " + code);
    }
    return {{{"issue_code", code}, {"solutions", std::move(solutions)}}, [entries, text] {
                for (std::size_t i = 0; i < entries.size(); ++i) {
                    std::cout << (i > 0 ? "\n" : "");
                    PrintEntry(entries[i], text);
                }
            }};
}

Outcome ShowAll(const Meaning& meaning, const Wording& text) {
    Json solutions = Json::array();
    for (const Entry& entry : meaning.entries) {
        solutions.push_back(EntryJson(entry, text));
    }
    const Json document = {
        {"version", meaning.version}, {"count", meaning.count}, {"solutions", std::move(solutions)}};
    return {document, [meaning, text] {
                Table table(kMapColumns);
                for (const Entry& entry : meaning.entries) {
                    table.AddRow({entry.Text(Field::kIssueCode), text(entry.Text(Field::kIssueText)),
                                  kuramap::EffectOf(entry), kuramap::VisibilityOf(entry)});
                }
                table.Print();
            }};
}

Outcome Show(const ShowArguments& arguments) {
    const Meaning meaning = ReadWhole(arguments.file);
    const Wording text(arguments.texts);
    return arguments.code.empty() ? ShowAll(meaning, text) : ShowOne(meaning, arguments.code, text);
}

// --- diff ---

struct DiffArguments {
    std::string before;
    std::string after;
    bool exitCode = false;
};

/// "issue 1001", followed by the number of the solution unless it is the first.
std::string Numbered(const std::string& issue, std::size_t number) {
    return "issue " + issue + (number > 1 ? " (solution " + std::to_string(number) + ")" : "");
}

Json LoneJson(const std::vector<kuramap::LoneSolution>& solutions) {
    Json list = Json::array();
    for (const kuramap::LoneSolution& solution : solutions) {
        list.push_back({{"issue_code", solution.issue},
                        {"solution", solution.number},
                        {"effect", kuramap::EffectOf(solution.entry)}});
    }
    return list;
}

Json DiffJson(const kuramap::Difference& difference) {
    Json changed = Json::array();
    for (const kuramap::ChangedSolution& solution : difference.changed) {
        Json changes = Json::array();
        for (const kuramap::Change& change : solution.changes) {
            changes.push_back({{"name", change.name}, {"before", change.before}, {"after", change.after}});
        }
        changed.push_back(
            {{"issue_code", solution.issue}, {"solution", solution.number}, {"changes", std::move(changes)}});
    }
    return {{"differ", !difference.IsEmpty()},
            {"version", {{"before", difference.versionBefore}, {"after", difference.versionAfter}}},
            {"count", {{"before", difference.countBefore}, {"after", difference.countAfter}}},
            {"removed", LoneJson(difference.removed)},
            {"added", LoneJson(difference.added)},
            {"changed", std::move(changed)},
            {"applied_in_another_order", difference.reordered},
            {"listed_in_another_order", difference.isListedDifferently}};
}

void PrintDifference(const kuramap::Difference& difference) {
    if (difference.IsEmpty()) {
        std::cout << "The maps say the same.\n";
        return;
    }
    const auto printNumber = [](const char* name, long long before, long long after) {
        if (before != after) {
            std::cout << "~ " << name << ": " << before << " -> " << after << '\n';
        }
    };
    printNumber("version", difference.versionBefore, difference.versionAfter);
    printNumber("declared count", difference.countBefore, difference.countAfter);
    for (const kuramap::LoneSolution& solution : difference.removed) {
        std::cout << "- " << Numbered(solution.issue, solution.number) << ": "
                  << kuramap::EffectOf(solution.entry) << '\n';
    }
    for (const kuramap::LoneSolution& solution : difference.added) {
        std::cout << "+ " << Numbered(solution.issue, solution.number) << ": "
                  << kuramap::EffectOf(solution.entry) << '\n';
    }
    for (const kuramap::ChangedSolution& solution : difference.changed) {
        std::cout << "~ " << Numbered(solution.issue, solution.number) << '\n';
        for (const kuramap::Change& change : solution.changes) {
            std::cout << "    " << change.name << ": \"" << change.before << "\" -> \"" << change.after
                      << "\"\n";
        }
    }
    for (const std::string& issue : difference.reordered) {
        std::cout << "~ issue " << issue << ": its solutions are applied in another order\n";
    }
    if (difference.isListedDifferently) {
        std::cout << "~ the issues are listed in another order\n";
    }
}

Outcome Diff(const DiffArguments& arguments) {
    const kuramap::Difference difference =
        kuramap::Compare(ReadWhole(arguments.before), ReadWhole(arguments.after));
    const bool isFinding = arguments.exitCode && !difference.IsEmpty();
    return {DiffJson(difference), [difference] { PrintDifference(difference); },
            isFinding ? ExitCode::kFindings : ExitCode::kDone};
}

// --- stats ---

Json StatsJson(const Meaning& meaning) {
    std::map<std::string, std::size_t> actions;
    std::map<std::string, std::size_t> shown;
    std::map<std::string, std::size_t> issues;
    std::map<std::string, std::size_t> ids;
    std::size_t onDemand = 0;
    std::size_t values = 0;
    for (const Entry& entry : meaning.entries) {
        ++actions[entry.Text(Field::kActionType)];
        ++shown[kuramap::VisibilityOf(entry)];
        ++issues[entry.Text(Field::kIssueCode)];
        onDemand += kuramap::IsOnDemand(entry) ? 1 : 0;
        values += entry.values.size();
        for (const Field field : kuramap::kTextFields) {
            if (!entry.Text(field).empty()) {
                ++ids[entry.Text(field)];
            }
        }
    }
    return {{"version", meaning.version}, {"count", meaning.count}, {"solutions", meaning.entries.size()},
            {"issues", issues.size()},    {"on_demand", onDemand},  {"values", values},
            {"string_ids", ids.size()},   {"actions", actions},     {"shown", shown}};
}

Outcome Stats(const std::string& file) {
    const Json document = StatsJson(ReadWhole(file));
    return {document, [document] {
                Table table(kFigureColumns);
                for (const auto& [name, value] : document.items()) {
                    if (!value.is_object()) {
                        table.AddRow({name, Shown(value)});
                        continue;
                    }
                    for (const auto& [kind, number] : value.items()) {
                        table.AddRow({(name == "actions" ? "action " : "shown ") + kind, Shown(number)});
                    }
                }
                table.Print();
            }};
}

// --- format ---

struct FormatArguments {
    std::string file;
    bool inPlace = false;
    bool check = false;
};

Outcome Format(const FormatArguments& arguments) {
    const kuramap::XmlDocument document = kuramap::XmlDocument::Read(arguments.file);
    const std::string text = kuramap::Format(document);
    const bool isFormatted = text == document.Source();
    if (arguments.inPlace && arguments.file == "-") {
        throw VerbError(ExitCode::kUsage, "standard input cannot be formatted in place");
    }
    if (arguments.inPlace && !isFormatted) {
        if (!support::ReplaceFile(arguments.file, text)) {
            throw VerbError(ExitCode::kFailed, arguments.file + ": cannot be written");
        }
    }
    Json answer = {{"file", document.FileName()}, {"formatted", isFormatted}};
    if (!arguments.inPlace && !arguments.check) {
        answer["text"] = text;
    }
    const bool isFinding = arguments.check && !isFormatted;
    const std::string printed =
        arguments.check     ? (isFormatted ? "" : document.FileName() + ": is not in the canonical layout\n")
        : arguments.inPlace ? ""
                            : text;
    return {answer, [printed] { std::cout << printed; }, isFinding ? ExitCode::kFindings : ExitCode::kDone};
}

}  // namespace

void AddMapReadVerbs(CLI::App& map, Selection& selection) {
    auto show = std::make_shared<ShowArguments>();
    CLI::App* verb = map.add_subcommand("show", "The solutions of a map, or one issue in full");
    verb->add_option("file", show->file, "Solution map; - for standard input")->type_name("FILE")->required();
    verb->add_option("code", show->code, "Issue code")->type_name("ISSUE");
    verb->add_option("--texts", show->texts, "Text file that string ids are looked up in")->type_name("FILE");
    PrintsTable(verb, kMapColumns);
    Declare(verb, selection, Place::kOutside, [show] { return Show(*show); });

    auto diff = std::make_shared<DiffArguments>();
    verb = map.add_subcommand("diff", "How two maps differ in what they say");
    verb->add_option("old", diff->before, "Solution map")->type_name("FILE")->required();
    verb->add_option("new", diff->after, "Solution map")->type_name("FILE")->required();
    verb->add_flag("--exit-code", diff->exitCode, "Exit with 2 when they differ");
    Declare(verb, selection, Place::kOutside, [diff] { return Diff(*diff); });

    auto file = std::make_shared<std::string>();
    verb = map.add_subcommand("stats", "Figures of a map");
    verb->add_option("file", *file, "Solution map; - for standard input")->type_name("FILE")->required();
    PrintsTable(verb, kFigureColumns);
    Declare(verb, selection, Place::kOutside, [file] { return Stats(*file); });

    auto format = std::make_shared<FormatArguments>();
    verb = map.add_subcommand("format", "Write a map in the canonical layout");
    verb->add_option("file", format->file, "Solution map; - for standard input")
        ->type_name("FILE")
        ->required();
    verb->add_flag("--in-place", format->inPlace, "Replace the file");
    verb->add_flag("--check", format->check, "Write nothing, exit with 2 when the layout is another");
    Declare(verb, selection, Place::kOutside, [format] { return Format(*format); });
}

}  // namespace cli
