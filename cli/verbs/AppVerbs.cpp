// Installed applications: inventory, one application's sizes, and the clean-up of one application.
#include <algorithm>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "CGetData.h"
#include "Verbs.h"
#include "explain/LibraryLog.h"
#include "explain/MeasuredSizes.h"
#include "frame/Progress.h"
#include "frame/Sizes.h"
#include "frame/TableVerbs.h"
#include "host/AgentAnswer.h"
#include "host/HostSetUp.h"
#include "services/SetServices.h"
#include "support/Joined.h"

namespace cli {

namespace {

const Table::Columns kAppColumns = {{"SIZE", Table::Align::kRight}, {"TITLE"}, {"APP ID"}, {"ICON"}};
const Table::Columns kSizeColumns = {{"WHAT"}, {"SIZE", Table::Align::kRight}};

struct AppIds {
    std::string app;
    std::string package;
};

/// The application of the set with that application or package id.
AppIds FindApp(const kuraset::SetDirectory& set, const std::string& id) {
    for (const auto& entry : set.Description().value("apps", nlohmann::json::array())) {
        const AppIds ids{entry.value("app_id", std::string()), entry.value("package_id", std::string())};
        if (ids.app == id || ids.package == id) {
            return ids;
        }
    }
    throw VerbError(ExitCode::kNoSuchItem, "no such application: " + id);
}

/// An application of a set on which the library can be asked about it.
struct ReadyApp {
    kuraset::SetDirectory set;
    AppIds ids;
    kuraset::SetServices services;
    std::size_t before = 0;  ///< the journal's length
};

ReadyApp GetReady(const Session& session, const std::string& id) {
    const auto set = session.OpenSet();
    const AppIds ids = FindApp(set, id);
    SetUpHost(set);
    return {set, ids, kuraset::SetServices::Start(set), set.ReadJournal().size()};
}

Json AppToJson(const KURA::AppStorageInfo& app, const Json& total) {
    return {{"title", app.title},        {"total_size", total},          {"package_id", app.packageId},
            {"app_id", app.appId},       {"entry_id", app.entryId},      {"has_icon", app.hasIcon},
            {"icon_path", app.iconPath}, {"attribute1", app.attribute1}, {"attribute2", app.attribute2},
            {"flag", app.flag},          {"attribute3", app.attribute3}};
}

Table::Cell SizeOrUnknown(const Json& size) {
    return size.is_null() ? Table::Cell("unknown", Tone::kBad)
                          : Table::Cell(SizeText(size), size.get<double>());
}

/// The answer with the figures; a failure when some are unknown.
Outcome FiguresOutcome(const Outcome& figures, const std::vector<Unmeasured>& reasons) {
    if (reasons.empty()) {
        return figures;
    }
    return FailedOutcome(
        figures, reasons.front().code,
        "not every size could be measured: " + support::Joined(reasons, "; ", &Unmeasured::reason));
}

/// Throws VerbError when the library could not list the applications.
void CheckList(const std::vector<nlohmann::json>& journal) {
    for (const auto& entry : journal) {
        if (Says(entry, Line::kAppListFailed)) {
            throw VerbError(ExitCode::kFailed, "the set did not tell its applications");
        }
        if (Says(entry, Line::kNoPackageClient)) {
            throw VerbError(ExitCode::kNoAnswer, "the package manager is not there");
        }
    }
}

void MeasureList() {
    const Progress progress([] {
        return "applications: " + std::to_string(ThePoolCount().finished) + " of " +
               std::to_string(ThePoolCount().posted);
    });
    KURA::CGetData::GetInstance()->sendAppList();
}

Outcome Apps(const Session& session) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    const std::size_t before = set.ReadJournal().size();
    MeasureList();
    const auto journal = JournalSince(set, before);
    CheckList(journal);
    MeasuredSizes sizes(journal);
    auto* data = KURA::CGetData::GetInstance();
    Json apps = Json::array();
    for (const auto& app : data->m_GetAppsDataStructure()) {
        apps.push_back(AppToJson(app, sizes.TotalInList(app.appId, app.packageId, app.totalSize)));
    }
    // The unknown ones come last.
    std::stable_sort(apps.begin(), apps.end(), [](const Json& a, const Json& b) {
        const Json& left = a.at("total_size");
        const Json& right = b.at("total_size");
        return !left.is_null() && (right.is_null() || left > right);
    });
    const Json document = {{"count", data->m_GetAppsCount()}, {"apps", apps}};
    const auto print = [document] {
        Table table(kAppColumns);
        for (const Json& app : document.at("apps")) {
            table.AddRow({SizeOrUnknown(app.at("total_size")), app.at("title"), app.at("app_id"),
                          app.at("icon_path")});
        }
        table.Print();
    };
    return FiguresOutcome({document, print}, sizes.Reasons());
}

Outcome OneApp(const Session& session, const std::string& id) {
    const ReadyApp app = GetReady(session, id);
    const AppIds& ids = app.ids;
    auto* data = KURA::CGetData::GetInstance();
    if (data->sendAppData(ids.package.c_str(), ids.app.c_str()) == 0) {
        throw VerbError(ExitCode::kNoAnswer, "the package manager is not there");
    }
    MeasuredSizes sizes(JournalSince(app.set, app.before));
    const Figures figures = sizes.OfOne(
        ids.app, {data->m_GetTotalSizeOfApp(), data->m_GetDataSizeOfApp(), data->m_GetCacheSizeOfApp()});
    const Json document = {{"app_id", ids.app},
                           {"package_id", ids.package},
                           {"total_size", figures.total},
                           {"data_size", figures.data},
                           {"cache_size", figures.cache}};
    const auto print = [document] {
        Table table(kSizeColumns);
        table.AddRow({"total", SizeOrUnknown(document.at("total_size"))});
        table.AddRow({"data", SizeOrUnknown(document.at("data_size"))});
        table.AddRow({"cache", SizeOrUnknown(document.at("cache_size"))});
        table.Print();
    };
    return FiguresOutcome({document, print}, sizes.Reasons());
}

Outcome Done(const std::string& what, const AppIds& ids, Json answer = nullptr) {
    const Json document = {
        {"done", what}, {"package_id", ids.package}, {"app_id", ids.app}, {"agent", answer}};
    return {document, [what, ids] { std::cout << what << " done for " << ids.package << '\n'; }};
}

Outcome Kill(const Session& session, const std::string& id) {
    ReadyApp app = GetReady(session, id);
    KURA::CGetData::GetInstance()->killApp(app.ids.package.data());
    return Done("kill", app.ids, AwaitAgent(app.set, app.before, "killApp"));
}

Outcome ClearCache(const Session& session, const std::string& id) {
    ReadyApp app = GetReady(session, id);
    if (KURA::CGetData::GetInstance()->clearAppCache(app.ids.package.data(), app.ids.app.data()) != 0) {
        throw VerbError(ExitCode::kNoAnswer, "the request could not be written (see kura log)");
    }
    return Done("clear-cache", app.ids, AwaitAgent(app.set, app.before, "clearAppCache"));
}

Outcome ClearData(const Session& session, const std::string& id) {
    ReadyApp app = GetReady(session, id);
    const int result = KURA::CGetData::GetInstance()->clearAppData(app.ids.package.data());
    if (result == 1) {
        throw VerbError(ExitCode::kFailed, app.ids.package + " is protected: its data is never cleared");
    }
    if (result != 0) {
        throw VerbError(ExitCode::kFailed, "the package manager refused (see kura log)");
    }
    return Done("clear-data", app.ids);
}

}  // namespace

void AddAppVerbs(CLI::App& app, const Session& session, Selection& selection) {
    Declare(app.add_subcommand("apps", "Installed applications by size"), selection, Place::kInside,
            [&session] { return Apps(session); });
    auto id = std::make_shared<std::string>();
    const auto add = [&](const char* name, const char* help,
                         Outcome (*run)(const Session&, const std::string&)) {
        CLI::App* verb = app.add_subcommand(name, help);
        verb->add_option("id", *id, "Application or package id")->type_name("APP")->required();
        Declare(verb, selection, Place::kInside, [&session, id, run] { return run(session, *id); });
    };
    add("app", "One application's sizes", &OneApp);
    PrintsTable(app.get_subcommand("apps"), kAppColumns);
    PrintsTable(app.get_subcommand("app"), kSizeColumns);
    add("kill", "Stop an application, by the agent", &Kill);
    add("clear-cache", "Clear an application's cache, by the agent", &ClearCache);
    add("clear-data", "Clear an application's data, by the package manager", &ClearData);
}

}  // namespace cli
