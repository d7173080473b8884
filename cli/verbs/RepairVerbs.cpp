// Applying a solution and launching: the verbs answer with what the set was asked to do, read back from its
// journal.
#include <cstddef>
#include <filesystem>
#include <iostream>
#include <memory>

#include "CGetData.h"
#include "KURA_SO_Interface.h"
#include "KURA_Storage.h"
#include "Verbs.h"
#include "explain/Preview.h"
#include "frame/Table.h"
#include "host/AgentAnswer.h"
#include "host/HostSetUp.h"

namespace cli {

namespace {

struct RepairOptions {
    std::string code;
    bool background = false;
    bool preview = false;
    std::string app;
};

/// What the set was asked to do since the journal held `before` entries; the log is left out.
Json RequestsSince(const kuraset::SetDirectory& set, std::size_t before) {
    Json requests = Json::array();
    const auto entries = set.ReadJournal();
    for (std::size_t i = before; i < entries.size(); ++i) {
        if (entries[i].value("kind", std::string()) != "log") {
            requests.push_back(ToDocument(entries[i]));
        }
    }
    return requests;
}

Json SolutionToJson(const KURA::KURA_Solution& solution) {
    Json values = Json::array();
    for (const auto& value : solution.sol_val) {
        values.push_back({{"value", value.param_value}, {"type", value.param_type}});
    }
    return {{"sol_code", solution.sol_code},
            {"sol_type", solution.sol_type},
            {"sol_name", solution.sol_name},
            {"sol_val", values},
            {"reboot", solution.reboot}};
}

void PrintRequests(const Json& requests) {
    Table table({{"KIND"}, {"ASKED OF THE SET"}});
    for (const Json& request : requests) {
        std::string text;
        for (const auto& [key, value] : request.items()) {
            if (key != "time" && key != "kind") {
                text += (text.empty() ? "" : "  ") + key + "=" + Shown(value);
            }
        }
        table.AddRow({request.value("kind", std::string()), text});
    }
    table.Print();
}

Outcome Fix(const Session& session, const RepairOptions& options) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    ParseSolutionMap();
    std::vector<KURA::KURA_Solution> solutions;
    KURA::TCInformationStorage::Instance()->GetSolutionsOfIssue(options.code, solutions);
    if (solutions.empty()) {
        throw VerbError(ExitCode::kNoSuchItem, "the solution map has no issue " + options.code);
    }
    const std::size_t before = set.ReadJournal().size();
    Json document = {
        {"issue_code", options.code}, {"background", options.background}, {"solutions", Json::array()}};
    if (options.background) {
        WMSolutionParams record{};
        RequestApplySolution_BG(options.code.c_str(), &record);
        document["record"] = {{"issue_code", record.issueCode},
                              {"solution_code", record.solutionCode},
                              {"solution_type", record.solutionType},
                              {"started", record.started}};
    } else {
        RequestApplySolution(options.code.c_str());
    }
    for (const auto& solution : solutions) {
        document["solutions"].push_back(SolutionToJson(solution));
        if (solution.sol_type == "CMD") {
            AwaitAgent(set, before, "runCmdNativeApps");
        }
        // The library is content when the trigger has gone; the agent still has to say what it did.
        if (solution.sol_name == "performDeepClean" && !std::filesystem::exists(kDeepCleanTrigger)) {
            AwaitAgent(set, before, "CleanAll.txt");
        }
    }
    document["requests"] = RequestsSince(set, before);
    return {document, [document] {
                for (const Json& solution : document.at("solutions")) {
                    std::cout << "Applied " << solution.at("sol_type").get<std::string>() << ' '
                              << solution.at("sol_name").get<std::string>() << '\n';
                }
                PrintRequests(document.at("requests"));
            }};
}

Outcome Preview(const Session& session, const RepairOptions& options) {
    const Json document = {{"issue_code", options.code},
                           {"background", options.background},
                           {"steps", PreviewSteps(session.OpenSet(), options.code, options.background)}};
    return {document, [document] {
                std::size_t number = 0;
                for (const Json& step : document.at("steps")) {
                    std::cout << ++number << ". " << StepText(step) << '\n';
                }
            }};
}

Outcome Launch(const Session& session, const RepairOptions& options) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const std::size_t before = set.ReadJournal().size();
    if (!KURA::CGetData::GetInstance()->ProcessLaunchApp(options.app.c_str())) {
        throw VerbError(ExitCode::kFailed, "the set refused to launch " + options.app);
    }
    const Json document = {{"app", options.app}, {"requests", RequestsSince(set, before)}};
    return {document, [document] { PrintRequests(document.at("requests")); }};
}

}  // namespace

void AddRepairVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<RepairOptions>();

    CLI::App* fix = app.add_subcommand("fix", "Apply the solutions of an issue");
    fix->add_option("code", options->code, "Issue code, as the solution map writes it")->required();
    fix->add_flag("--background", options->background,
                  "Hand the engine's record back instead of recording it");
    fix->add_flag("--preview", options->preview, "Tell what it would do, in order, and change nothing");
    fix->callback([&session, &selection, options] {
        if (options->preview) {
            selection = {Place::kOutside, [&session, options] { return Preview(session, *options); }};
            return;
        }
        selection = {Place::kInside, [&session, options] { return Fix(session, *options); }};
    });

    CLI::App* launch =
        app.add_subcommand("launch", "Launch an application with the extra data that it expects");
    launch->add_option("app", options->app, "Application id")->required();
    launch->callback([&session, &selection, options] {
        selection = {Place::kInside, [&session, options] { return Launch(session, *options); }};
    });
}

}  // namespace cli
