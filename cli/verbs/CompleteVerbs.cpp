// What the shells' completions ask: the words that fit on the current set. Not for people, so --help does not
// show it; a set that is not there is not made for it.
#include <algorithm>
#include <array>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "SnapshotVerbs.h"
#include "Verbs.h"
#include "frame/MakeSet.h"
#include "frame/TableVerbs.h"
#include "map/Meaning.h"
#include "map/Rules.h"
#include "map/SolutionMap.h"
#include "map/XmlDocument.h"
#include "scenario/Patterns.h"

namespace cli {

namespace {

using Words = std::vector<std::string>;
using kuraset::SetDirectory;

Words IssuesOf(const SetDirectory& set) {
    const auto document = kuramap::XmlDocument::Read(MapOf(set).string());
    Words codes;
    for (const kuramap::Entry& entry : kuramap::MeaningOf(kuramap::SolutionMap(document)).entries) {
        codes.push_back(entry.Text(kuramap::Field::kIssueCode));
    }
    return codes;
}

Words AppsOf(const SetDirectory& set) {
    Words ids;
    for (const auto& app : set.Description().value("apps", nlohmann::json::array())) {
        ids.push_back(app.value("app_id", std::string()));
        ids.push_back(app.value("package_id", std::string()));
    }
    return ids;
}

Words KeysOf(const SetDirectory& set) {
    Words keys;
    const auto settings = set.ListSettings();
    for (const auto& [key, value] : settings.items()) {
        static_cast<void>(value);
        keys.push_back(key);
    }
    return keys;
}

Words FunctionsOf(const SetDirectory& set) {
    Words names;
    for (const auto& entry : set.ReadJournal("log")) {
        names.push_back(entry.value("function", std::string()));
    }
    return names;
}

Words RunsOf(const SetDirectory& set) {
    Words numbers;
    for (const kuraset::JournalRun& run : set.ReadRuns()) {
        numbers.push_back(std::to_string(run.number));
    }
    return numbers;
}

Words KindsOf(const SetDirectory&) {
    return scenario::LineKinds();
}

Words SnapshotsOf(const SetDirectory& set) {
    return SnapshotNames(set.Path());
}

Words LanguagesOf(const SetDirectory& set) {
    Words languages;
    std::error_code error;
    for (const auto& file : std::filesystem::directory_iterator(set.Path() / "texts", error)) {
        languages.push_back(file.path().stem().string());
    }
    return languages;
}

struct WordList {
    const char* name;  ///< the value's name in --help, in lower case
    Words (*of)(const SetDirectory& set);
};

constexpr std::array<WordList, 8> kWordLists = {{{"issue", &IssuesOf},
                                                 {"app", &AppsOf},
                                                 {"key", &KeysOf},
                                                 {"function", &FunctionsOf},
                                                 {"run", &RunsOf},
                                                 {"kind", &KindsOf},
                                                 {"snapshot", &SnapshotsOf},
                                                 {"language", &LanguagesOf}}};

/// The columns of the verb with that path, as they are written without quotation marks.
Words ColumnWords(const CLI::App& app, const Words& path) {
    const CLI::App* verb = &app;
    for (const std::string& name : path) {
        const auto named =
            verb->get_subcommands([&name](const CLI::App* below) { return below->get_name() == name; });
        if (named.empty()) {
            return {};
        }
        verb = named.front();
    }
    Words columns = ColumnsOf(*verb);
    for (std::string& column : columns) {
        std::transform(column.begin(), column.end(), column.begin(), [](char c) {
            return c == ' ' ? '-' : c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        });
    }
    return columns;
}

Words WordsFor(const Session& session, const CLI::App& app, const std::string& what, const Words& path) {
    if (what == "column" || what == "list") {
        return ColumnWords(app, path);
    }
    if (what == "rule") {
        return kuramap::Tags();
    }
    if (what == "set") {
        Words sets;
        for (const std::filesystem::path& set : SetsBeside(session.SetPath())) {
            sets.push_back(set.string());
        }
        return sets;
    }
    for (const WordList& list : kWordLists) {
        if (what == list.name && std::filesystem::exists(session.SetPath())) {
            return list.of(session.OpenSet());
        }
    }
    return {};
}

Outcome Complete(const Session& session, const CLI::App& app, const std::string& what, const Words& path) {
    Words words = WordsFor(session, app, what, path);
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    return {{{"words", words}}, [words] {
                for (const std::string& word : words) {
                    std::cout << word << '\n';
                }
            }};
}

}  // namespace

void AddCompleteVerb(CLI::App& app, const Session& session, Selection& selection) {
    auto what = std::make_shared<std::string>();
    auto path = std::make_shared<Words>();
    CLI::App* verb = app.add_subcommand("complete", "The words that complete a command line")->group("");
    verb->add_option("what", *what,
                     "issue, app, key, function, run, kind, snapshot, language, column, rule, set")
        ->required();
    verb->add_option("verb", *path, "The verb whose columns are asked for");
    Declare(verb, selection, Place::kOutside,
            [&session, &app, what, path] { return Complete(session, app, *what, *path); });
}

}  // namespace cli
