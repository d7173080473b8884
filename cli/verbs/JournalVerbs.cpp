#include <iostream>
#include <memory>

#include "Verbs.h"
#include "frame/Table.h"

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

/// Control characters, as the one-character time of a usage event may be, would play tricks on a terminal.
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

Outcome Journal(const Session& session, const JournalOptions& options) {
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
    for (const Json& entry : ReadEntries(session.OpenSet(), "log")) {
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
    journal->callback([&session, &selection, options] {
        selection = {Place::kOutside, [&session, options] { return Journal(session, *options); }};
    });

    CLI::App* log = app.add_subcommand("log", "The library's log lines");
    log->add_option("--function", options->function, "Only lines of this function");
    log->add_option("--priority", options->priority,
                    "Only lines of at least this priority: 3 debug to 6 error")
        ->check(CLI::Range(3, 6));
    log->callback([&session, &selection, options] {
        selection = {Place::kOutside, [&session, options] { return Log(session, *options); }};
    });
}

}  // namespace cli
