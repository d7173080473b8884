// Installed applications: inventory, one application's sizes, and the clean-up of one application.
#include <algorithm>
#include <iostream>
#include <memory>

#include "CGetData.h"
#include "Verbs.h"
#include "frame/Progress.h"
#include "frame/Sizes.h"
#include "frame/Table.h"
#include "host/AgentAnswer.h"
#include "host/HostSetUp.h"

namespace cli {

namespace {

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

Json AppToJson(const KURA::AppStorageInfo& app) {
    return {{"title", app.title},        {"total_size", app.totalSize},  {"package_id", app.packageId},
            {"app_id", app.appId},       {"entry_id", app.entryId},      {"has_icon", app.hasIcon},
            {"icon_path", app.iconPath}, {"attribute1", app.attribute1}, {"attribute2", app.attribute2},
            {"flag", app.flag},          {"attribute3", app.attribute3}};
}

Outcome Apps(const Session& session) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    auto* data = KURA::CGetData::GetInstance();
    {
        const Progress progress([] {
            return "applications: " + std::to_string(ThePoolCount().finished) + " of " +
                   std::to_string(ThePoolCount().posted);
        });
        data->sendAppList();
    }
    auto apps = data->m_GetAppsDataStructure();
    std::stable_sort(apps.begin(), apps.end(),
                     [](const auto& a, const auto& b) { return a.totalSize > b.totalSize; });
    Json document = {{"count", data->m_GetAppsCount()}, {"apps", Json::array()}};
    for (const auto& app : apps) {
        document["apps"].push_back(AppToJson(app));
    }
    return {document, [document] {
                Table table({{"SIZE", Table::Align::kRight}, {"TITLE"}, {"APP ID"}, {"ICON"}});
                for (const Json& app : document.at("apps")) {
                    table.AddRow({SizeText(app.at("total_size")), app.at("title"), app.at("app_id"),
                                  app.at("icon_path")});
                }
                table.Print();
            }};
}

Outcome OneApp(const Session& session, const std::string& id) {
    const auto set = session.OpenSet();
    const AppIds ids = FindApp(set, id);
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    auto* data = KURA::CGetData::GetInstance();
    if (data->sendAppData(ids.package.c_str(), ids.app.c_str()) == 0) {
        throw VerbError(ExitCode::kNoAnswer, "the package manager is not there");
    }
    const Json document = {{"app_id", ids.app},
                           {"package_id", ids.package},
                           {"total_size", data->m_GetTotalSizeOfApp()},
                           {"data_size", data->m_GetDataSizeOfApp()},
                           {"cache_size", data->m_GetCacheSizeOfApp()}};
    return {document, [document] {
                Table table({{"WHAT"}, {"SIZE", Table::Align::kRight}});
                table.AddRow({"total", SizeText(document.at("total_size"))});
                table.AddRow({"data", SizeText(document.at("data_size"))});
                table.AddRow({"cache", SizeText(document.at("cache_size"))});
                table.Print();
            }};
}

Outcome Done(const std::string& what, const AppIds& ids, Json answer = nullptr) {
    const Json document = {
        {"done", what}, {"package_id", ids.package}, {"app_id", ids.app}, {"agent", answer}};
    return {document, [what, ids] { std::cout << what << " done for " << ids.package << '\n'; }};
}

Outcome Kill(const Session& session, const std::string& id) {
    const auto set = session.OpenSet();
    AppIds ids = FindApp(set, id);
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    const std::size_t before = set.ReadJournal().size();
    KURA::CGetData::GetInstance()->killApp(ids.package.data());
    return Done("kill", ids, AwaitAgent(set, before, "killApp"));
}

Outcome ClearCache(const Session& session, const std::string& id) {
    const auto set = session.OpenSet();
    AppIds ids = FindApp(set, id);
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    const std::size_t before = set.ReadJournal().size();
    if (KURA::CGetData::GetInstance()->clearAppCache(ids.package.data(), ids.app.data()) != 0) {
        throw VerbError(ExitCode::kNoAnswer, "the request could not be written (see kura log)");
    }
    return Done("clear-cache", ids, AwaitAgent(set, before, "clearAppCache"));
}

Outcome ClearData(const Session& session, const std::string& id) {
    const auto set = session.OpenSet();
    AppIds ids = FindApp(set, id);
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    const int result = KURA::CGetData::GetInstance()->clearAppData(ids.package.data());
    if (result == 1) {
        throw VerbError(ExitCode::kFailed, ids.package + " is protected: its data is never cleared");
    }
    if (result != 0) {
        throw VerbError(ExitCode::kFailed, "the package manager refused (see kura log)");
    }
    return Done("clear-data", ids);
}

}  // namespace

void AddAppVerbs(CLI::App& app, const Session& session, Selection& selection) {
    app.add_subcommand("apps", "Installed applications by size")->callback([&session, &selection] {
        selection = {Place::kInside, [&session] { return Apps(session); }};
    });
    auto id = std::make_shared<std::string>();
    const auto add = [&](const char* name, const char* help,
                         Outcome (*run)(const Session&, const std::string&)) {
        CLI::App* verb = app.add_subcommand(name, help);
        verb->add_option("id", *id, "Application or package id")->required();
        verb->callback([&session, &selection, id, run] {
            selection = {Place::kInside, [&session, id, run] { return run(session, *id); }};
        });
    };
    add("app", "One application's sizes", &OneApp);
    add("kill", "Stop an application, by the agent", &Kill);
    add("clear-cache", "Clear an application's cache, by the agent", &ClearCache);
    add("clear-data", "Clear an application's data, by the package manager", &ClearData);
}

}  // namespace cli
