#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "Verbs.h"
#include "frame/Table.h"
#include "scenario/Patterns.h"
#include "support/NearestName.h"

namespace cli {

namespace {

struct JournalOptions {
    std::string kind;
    bool clear = false;
    std::string function;
    int priority = 0;
};

std::string TextOf(const Json& entry, const char* key) {
    const auto found = entry.find(key);
    if (found == entry.end()) {
        return "";
    }
    return Shown(*found);
}

/// Replaces control characters, which would disturb a terminal. The one-byte time of a usage event may be
/// one.
std::string Legible(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == 0x7f) {
            c = '?';
        }
    }
    return text;
}

Json ReadEntries(const kuraset::SetDirectory& set, const std::string& kind) {
    Json entries = Json::array();
    for (const auto& entry : set.ReadJournal(kind)) {
        entries.push_back(ToDocument(entry));
    }
    return entries;
}

void PrintEntries(const Json& entries) {
    for (const Json& entry : entries) {
        std::cout << TextOf(entry, "time") << "  " << TextOf(entry, "kind");
        for (const auto& [key, value] : entry.items()) {
            if (key != "time" && key != "kind") {
                std::cout << "  " << key << '=' << Legible(Shown(value));
            }
        }
        std::cout << '\n';
    }
}

/// Throws VerbError when word is not empty and none of the known ones.
void Demand(const std::string& word, const char* what, const std::vector<std::string>& known) {
    if (!word.empty() && std::find(known.begin(), known.end(), word) == known.end()) {
        throw VerbError(ExitCode::kUsage, what + word + support::Suggestion(word, known));
    }
}

Outcome Journal(const Session& session, const JournalOptions& options) {
    auto kinds = scenario::JournalKinds();
    kinds.insert(kinds.end(), {"log", "damaged"});
    Demand(options.kind, "the journal has no such kind: ", kinds);
    const auto set = session.OpenSet();
    const Json document = {{"entries", ReadEntries(set, options.kind)}};
    if (options.clear) {
        set.ClearJournal();
    }
    return {document, [document] { PrintEntries(document.at("entries")); }};
}

bool Fits(const Json& entry, const JournalOptions& options) {
    return (options.function.empty() || TextOf(entry, "function") == options.function) &&
           entry.value("priority", 0) >= options.priority;
}

Outcome Log(const Session& session, const JournalOptions& options) {
    Json lines = Json::array();
    const Json entries = ReadEntries(session.OpenSet(), "log");
    std::vector<std::string> functions;
    for (const Json& entry : entries) {
        functions.push_back(TextOf(entry, "function"));
    }
    if (!functions.empty()) {
        Demand(options.function, "no line of such a function: ", functions);
    }
    for (const Json& entry : entries) {
        if (Fits(entry, options)) {
            lines.push_back(entry);
        }
    }
    const Json document = {{"lines", lines}};
    return {document, [document] {
                for (const Json& line : document.at("lines")) {
                    std::cout << TextOf(line, "time") << ' ' << TextOf(line, "priority") << ' '
                              << TextOf(line, "function") << ": " << Legible(TextOf(line, "message")) << '\n';
                }
            }};
}

}  // namespace

void AddJournalVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<JournalOptions>();

    CLI::App* journal = app.add_subcommand("journal", "What the library asked of the set, in order");
    journal->add_option("--kind", options->kind,
                        "Only entries of this kind: setting, launch, engine, event, ...");
    journal->add_flag("--clear", options->clear, "Forget the entries after showing them");
    Declare(journal, selection, Place::kOutside, [&session, options] { return Journal(session, *options); });

    CLI::App* log = app.add_subcommand("log", "The library's log lines");
    log->add_option("--function", options->function, "Only lines of this function");
    log->add_option("--priority", options->priority,
                    "Only lines of at least this priority: 3 debug to 6 error")
        ->check(CLI::Range(3, 6));
    Declare(log, selection, Place::kOutside, [&session, options] { return Log(session, *options); });
}

}  // namespace cli
