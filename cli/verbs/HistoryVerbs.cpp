// What was found and repaired so far, from the journal.
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "Verbs.h"
#include "explain/History.h"
#include "frame/MakeSet.h"
#include "frame/TableVerbs.h"
#include "host/Rows.h"
#include "map/Meaning.h"
#include "map/SolutionMap.h"
#include "map/XmlDocument.h"
#include "support/Joined.h"

namespace cli {

namespace {

const Table::Columns kHistoryColumns = {
    {"RUN", Table::Align::kRight}, {"TIME"}, {"WHAT"}, {"ISSUES"}, {"STATE"}};

/// The texts of the issues that the map of today still has; none when it cannot be read.
std::map<std::string, std::string> TitlesOf(const kuraset::SetDirectory& set, const std::string& language) {
    const Texts texts = Texts::Load(set.Path() / "texts", language);
    std::map<std::string, std::string> titles;
    try {
        const auto document = kuramap::XmlDocument::Read(MapOf(set).string());
        for (const kuramap::Entry& entry : kuramap::MeaningOf(kuramap::SolutionMap(document)).entries) {
            titles.emplace(entry.Text(kuramap::Field::kIssueCode),
                           texts.Resolve(entry.Text(kuramap::Field::kIssueText)));
        }
    } catch (const kuramap::Unreadable&) {
    }
    return titles;
}

Json EventJson(const HistoryEvent& event, const std::map<std::string, std::string>& titles) {
    Json issues = Json::array();
    for (const std::string& code : event.issues) {
        const auto title = titles.find(code);
        issues.push_back({{"issue_code", code}, {"title", title == titles.end() ? "" : title->second}});
    }
    return {{"run", event.run},
            {"time", event.time},
            {"what", event.what},
            {"issues", issues},
            {"failure", event.failure.empty() ? Json() : Json(event.failure)}};
}

void PrintHistory(const std::vector<HistoryEvent>& events) {
    Table table(kHistoryColumns);
    for (const HistoryEvent& event : events) {
        table.AddRow({std::to_string(event.run), event.time.substr(0, 19), event.what,
                      support::Joined(event.issues, " "), event.failure.empty() ? "done" : event.failure});
    }
    table.Print();
}

Outcome History(const Session& session) {
    const auto set = session.OpenSet();
    const auto events = HistoryOf(set.ReadRuns());
    const auto titles = TitlesOf(set, session.language);
    Json document = {{"history", Json::array()}};
    for (const HistoryEvent& event : events) {
        document.at("history").push_back(EventJson(event, titles));
    }
    return {document, [events] {
                if (events.empty()) {
                    std::cout << "Nothing has been found or repaired yet.\n";
                } else {
                    PrintHistory(events);
                }
            }};
}

}  // namespace

void AddHistoryVerb(CLI::App& app, const Session& session, Selection& selection) {
    CLI::App* verb = app.add_subcommand("history", "What was found and repaired so far");
    PrintsTable(verb, kHistoryColumns);
    Declare(verb, selection, Place::kOutside, [&session] { return History(session); });
}

}  // namespace cli
