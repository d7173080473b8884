// The verbs that apply solutions and launch applications. They read from the set's journal what the library
// asked the set to do, and answer with that.
#include <cstddef>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "CGetData.h"
#include "KURA_SO_Interface.h"
#include "KURA_Storage.h"
#include "Verbs.h"
#include "explain/LibraryLog.h"
#include "explain/Preview.h"
#include "explain/RepairSteps.h"
#include "frame/TableVerbs.h"
#include "host/AgentAnswer.h"
#include "host/HostSetUp.h"
#include "services/SetServices.h"
#include "support/Joined.h"

namespace cli {

namespace {

const Table::Columns kRequestColumns = {{"KIND"}, {"ASKED OF THE SET"}};

struct RepairOptions {
    std::string code;
    bool background = false;
    bool preview = false;
    std::string app;
};

/// The requests to the set, without the log.
Json RequestsOf(const std::vector<nlohmann::json>& entries) {
    Json requests = Json::array();
    for (const auto& entry : entries) {
        if (entry.value("kind", std::string()) != "log") {
            requests.push_back(ToDocument(entry));
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
    Table table(kRequestColumns);
    for (Json request : requests) {
        const std::string kind = request.value("kind", std::string());
        request.erase("time");
        request.erase("kind");
        table.AddRow({kind, ShownMembers(request)});
    }
    table.Print();
}

struct FailedStep {
    ExitCode code;
    std::string text;
};

/// The steps that failed, by solution.
std::multimap<std::size_t, FailedStep> FailuresOf(const std::vector<RepairStep>& steps) {
    std::multimap<std::size_t, FailedStep> failures;
    for (const RepairStep& step : steps) {
        if (const auto code = FailureOf(step.document)) {
            failures.insert({step.solution, {*code, StepText(step.document)}});
        }
    }
    return failures;
}

std::string FailureText(const std::string& code, const std::multimap<std::size_t, FailedStep>& failures) {
    return "the repair of issue " + code + " failed: " +
           support::Joined(failures, "; ", [](const auto& failure) { return failure.second.text; });
}

void PrintSolutions(const Json& solutions, const std::multimap<std::size_t, FailedStep>& failures) {
    for (std::size_t i = 0; i < solutions.size(); ++i) {
        const auto [first, last] = failures.equal_range(i);
        const std::string name = solutions[i].at("sol_name");
        std::cout << (first == last ? Painted("Applied ", Tone::kGood) : Painted("Failed ", Tone::kBad))
                  << solutions[i].at("sol_type").get<std::string>() << (name.empty() ? "" : " ") << name
                  << '\n';
        for (auto failure = first; failure != last; ++failure) {
            std::cout << "  " << failure->second.text << '\n';
        }
    }
}

void ApplySolutions(const std::string& code, bool background, Json& document) {
    if (!background) {
        RequestApplySolution(code.c_str());
        return;
    }
    WMSolutionParams record{};
    RequestApplySolution_BG(code.c_str(), &record);
    document["record"] = {{"issue_code", record.issueCode},
                          {"solution_code", record.solutionCode},
                          {"solution_type", record.solutionType},
                          {"started", record.started}};
}

Json SolutionsOf(const std::string& code) {
    try {
        ParseSolutionMap();
    } catch (const std::out_of_range&) {
        throw MapNotLoaded();
    }
    std::vector<KURA::KURA_Solution> solutions;
    KURA::TCInformationStorage::Instance()->GetSolutionsOfIssue(code, solutions);
    if (solutions.empty()) {
        throw VerbError(ExitCode::kNoSuchItem, "the solution map has no issue " + code);
    }
    Json documents = Json::array();
    for (const auto& solution : solutions) {
        documents.push_back(SolutionToJson(solution));
    }
    return documents;
}

Outcome Fix(const Session& session, const RepairOptions& options) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    Json document = {{"issue_code", options.code},
                     {"background", options.background},
                     {"solutions", SolutionsOf(options.code)}};
    Repair repair{options.code, document.at("solutions"), ToDocument(set.ListSettings()), {}};
    const std::size_t before = set.ReadJournal().size();
    ApplySolutions(options.code, options.background, document);
    const auto failures = FailuresOf(SettledSteps(set, before, repair));
    document["requests"] = RequestsOf(repair.journal);
    const Outcome shown{document, [document, failures] {
                            PrintSolutions(document.at("solutions"), failures);
                            PrintRequests(document.at("requests"));
                        }};
    return failures.empty()
               ? shown
               : FailedOutcome(shown, failures.begin()->second.code, FailureText(options.code, failures));
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
    const Json document = {{"app", options.app}, {"requests", RequestsOf(JournalSince(set, before))}};
    return {document, [document] { PrintRequests(document.at("requests")); }};
}

}  // namespace

void AddRepairVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<RepairOptions>();

    CLI::App* fix = app.add_subcommand("fix", "Apply the solutions of an issue");
    fix->add_option("code", options->code, "Issue code, as the solution map writes it")
        ->type_name("ISSUE")
        ->required();
    fix->add_flag("--background", options->background,
                  "Hand the engine's record back instead of recording it");
    fix->add_flag("--preview", options->preview, "Tell what it would do, in order, and change nothing");
    PrintsTable(fix, kRequestColumns);
    fix->callback([&session, &selection, options] {
        selection =
            options->preview
                ? Selection{Place::kOutside, [&session, options] { return Preview(session, *options); }}
                : Selection{Place::kInside, [&session, options] { return Fix(session, *options); }};
    });

    CLI::App* launch =
        app.add_subcommand("launch", "Launch an application with the extra data that it expects");
    launch->add_option("app", options->app, "Application id")->type_name("APP")->required();
    PrintsTable(launch, kRequestColumns);
    Declare(launch, selection, Place::kInside, [&session, options] { return Launch(session, *options); });
}

}  // namespace cli
