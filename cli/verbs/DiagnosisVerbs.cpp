// The verbs that run a diagnosis: they load the library inside the sandbox, start a diagnosis, wait until the
// engine's thread has delivered its completion, and answer with the list that the host's screen received.
#include <glib.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>

#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_Storage.h"
#include "Verbs.h"
#include "explain/LibraryLog.h"
#include "frame/Complaint.h"
#include "frame/TableVerbs.h"
#include "host/AgentAnswer.h"
#include "host/Host.h"
#include "host/HostSetUp.h"
#include "host/Rows.h"
#include "scenario/Observation.h"
#include "services/SetServices.h"
#include "support/Joined.h"

namespace cli {

namespace {

struct DiagnosisOptions {
    bool exitCode = false;
    int patience = 30;  ///< seconds for the engine
    bool background = false;
    std::string target;
};

/// The version and counts of the map as the library loaded it.
Json MapSummary() {
    KURA::TSCurrentKURAMap map;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(map);
    if (map.solutions.empty()) {
        std::cerr << "kura: the solution map holds no solution (see kura log)\n";
    } else if (map.count != map.solutions.size()) {
        std::cerr << "kura: the solution map declares " << map.count << " solutions and holds "
                  << map.solutions.size() << '\n';
    }
    return {{"version", static_cast<int>(map.version)},
            {"declared_count", map.count},
            {"solutions", map.solutions.size()}};
}

/// Creates the diagnosis manager, which loads the map. A value before the first solution makes that fail.
KURA::KURA_DiagManager& DiagManager() {
    try {
        return *KURA::KURA_DiagManager::GetInstance();
    } catch (const std::out_of_range&) {
        throw MapNotLoaded();
    }
}

/// Tells what ended a diagnosis. A declared count that is too large gets a sentence of its own, because the
/// library's error tells an author nothing.
std::string EndOfDiagnosis(const std::string& failure) {
    KURA::TSCurrentKURAMap map;
    KURA::TCInformationStorage::Instance()->GetKURAMapInformation(map);
    if (map.count <= map.solutions.size()) {
        return "the diagnosis ended on the engine's thread: " + failure;
    }
    return "the diagnosis broke off, because the solution map declares " + std::to_string(map.count) +
           " solutions and holds " + std::to_string(map.solutions.size()) +
           "; \"kura map check\" says what to mend";
}

void AwaitEngine(const DiagnosisOptions& options) {
    std::string failure;
    if (!kuraset::WaitForEngine(std::chrono::seconds(options.patience), failure)) {
        throw VerbError(ExitCode::kNoAnswer, "the diagnosis engine did not answer within " +
                                                 std::to_string(options.patience) + " s");
    }
    if (!failure.empty()) {
        throw VerbError(ExitCode::kFailed, EndOfDiagnosis(failure));
    }
}

Outcome ListOutcome(Json document, const DiagnosisOptions& options, const std::string& none) {
    const bool findings = options.exitCode && !document.at("problems").empty();
    const auto print = [document, none] { PrintRows(document.at("problems"), none); };
    return {document, print, findings ? ExitCode::kFindings : ExitCode::kDone};
}

Json ListDocument(const char* screen, const std::vector<KURA::MapToDBTable>& rows, const Session& session,
                  const kuraset::SetDirectory& set) {
    const Texts texts = Texts::Load(set.Path() / "texts", session.language);
    return {{"screen", screen}, {"map", MapSummary()}, {"problems", RowsToJson(rows, texts)}};
}

/// The issues of the list that the set did not keep as unfixed, in the list's order.
std::vector<std::string> NotKept(const Json& problems) {
    std::set<std::string> kept;
    for (const Json& row : scenario::ReadRemaining(scenario::kRemainingPath)) {
        kept.insert(Shown(row.value("issue_code", Json())));
    }
    std::vector<std::string> lost;
    for (const Json& problem : problems) {
        const auto code = problem.at("issue_code").get<std::string>();
        if (kept.count(code) == 0 && (lost.empty() || lost.back() != code)) {
            lost.push_back(code);
        }
    }
    return lost;
}

/// The answer, which is a failure where the set did not keep what it shows.
Outcome KeptOutcome(const Outcome& shown) {
    const std::vector<std::string> lost = NotKept(shown.document.at("problems"));
    if (lost.empty()) {
        return shown;
    }
    return FailedOutcome(shown, ExitCode::kFailed,
                         "the set could not keep the problems as unfixed in " +
                             std::string(scenario::kRemainingPath) +
                             " (see kura log): " + support::Joined(lost, ", "));
}

Outcome Diagnose(const Session& session, const DiagnosisOptions& options) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    DiagManager().StartAutoDiagnosis();
    AwaitEngine(options);
    const auto rows = TheHost().StartList();
    if (!rows) {
        throw VerbError(ExitCode::kNoAnswer, "the start screen received no list");
    }
    return KeptOutcome(
        ListOutcome(ListDocument("start", *rows, session, set), options, "No problems found."));
}

Outcome Problems(const Session& session, const DiagnosisOptions& options) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    DiagManager().RemainingProblem();
    AwaitEngine(options);
    const auto rows = TheHost().HomeList();
    if (!rows) {
        throw VerbError(ExitCode::kNoAnswer, "the home screen received no list");
    }
    return ListOutcome(ListDocument("home", *rows, session, set), options, "No problems remain.");
}

gboolean QuitAfterPatience(gpointer mainLoop) {
    g_main_loop_quit(static_cast<GMainLoop*>(mainLoop));
    return G_SOURCE_REMOVE;
}

/// Runs the host's main loop until the guided diagnosis ends it. The library drops one reference before it
/// quits the loop, so the host holds a second one.
void RunMainLoop(const std::function<void()>& start, int patience) {
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> own(g_main_loop_new(nullptr, FALSE),
                                                                       &g_main_loop_unref);
    loop = g_main_loop_ref(own.get());
    const guint timer = g_timeout_add_seconds(static_cast<guint>(patience), &QuitAfterPatience, own.get());
    g_idle_add(
        [](gpointer task) -> gboolean {
            (*static_cast<const std::function<void()>*>(task))();
            return G_SOURCE_REMOVE;
        },
        const_cast<std::function<void()>*>(&start));
    g_main_loop_run(own.get());
    GSource* pending = g_main_context_find_source_by_id(nullptr, timer);
    if (pending != nullptr) {
        g_source_destroy(pending);
    }
}

Json ReadGuideFile(const std::filesystem::path& path) {
    std::ifstream file(path);
    if (!file) {
        throw VerbError(ExitCode::kFailed, "the guide application's file was not written: " + path.string());
    }
    Json codes = Json::array();
    for (std::string line; std::getline(file, line);) {
        codes.push_back(line);
    }
    return codes;
}

Outcome Guide(const Session& session, const DiagnosisOptions& options) {
    const auto set = session.OpenSet();
    SetUpHost(set, options.background);
    const bool background = TheHost().Facts().launchFrom == "bg_inference";
    const std::filesystem::path path = background ? "/opt/usr/home/owner/content/Documents/inference_result"
                                                  : "/tmp/tutorlink/inference_result";
    KURA::KURA_DiagManager& manager = DiagManager();
    RunMainLoop([&manager] { manager.StartTutorDiagnosis(); }, options.patience);
    AwaitEngine(options);
    std::vector<KURA::MapToDBTable> rows;
    KURA::KURA_DiagResultManager::GetInstance()->GetRemainingTable(rows);
    Json document = ListDocument("guide", rows, session, set);
    document["file"] = path.string();
    document["issue_codes"] = ReadGuideFile(path);
    return ListOutcome(document, options, "No problems found.");
}

Outcome Page(const Session& session, const DiagnosisOptions& options) {
    if (options.target != "NetworkSetting" && options.target != "SignalInfo") {
        throw VerbError(ExitCode::kNoSuchItem,
                        "no such page: " + options.target + " (NetworkSetting, SignalInfo)");
    }
    const auto set = session.OpenSet();
    SetUpHost(set);
    const std::size_t before = set.ReadJournal().size();
    std::string target = options.target;
    const std::string page = DiagManager().StartSelfDiagnosis(target.data());
    for (const auto& entry : JournalSince(set, before)) {
        if (entry.value("kind", nlohmann::json()) == "launch" && entry.value("result", 0) != 0) {
            throw VerbError(ExitCode::kFailed,
                            "the set refused to launch " + Shown(ToDocument(entry.at("app"))));
        }
    }
    const Json document = {{"target", options.target}, {"page", page}};
    return {
        document, [page] {
            std::cout << (page.empty() ? std::string("launched the network settings") : "host page: " + page)
                      << '\n';
        }};
}

Outcome Optimize(const Session& session) {
    const auto set = session.OpenSet();
    SetUpHost(set);
    const auto services = kuraset::SetServices::Start(set);
    const std::size_t before = set.ReadJournal().size();
    const int result = DiagManager().OptimizeDevice();
    if (std::filesystem::exists(kDeepCleanTrigger)) {
        throw VerbError(ExitCode::kNoAnswer, "the agent did not finish the deep clean within 10 seconds");
    }
    if (result != 0) {
        throw VerbError(ExitCode::kNoAnswer, "the memory boost could not be requested (see kura log)");
    }
    AwaitAgent(set, before, "CleanAll.txt");
    AwaitAgent(set, before, "memBoost");
    return {{{"deep_clean", "done"}, {"memory_boost", "done"}},
            [] { std::cout << "deep clean and memory boost done\n"; }};
}

}  // namespace

void AddDiagnosisVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<DiagnosisOptions>();
    using Run = Outcome (*)(const Session&, const DiagnosisOptions&);
    const auto add = [&](const char* name, const char* help, Run run) {
        CLI::App* verb = app.add_subcommand(name, help);
        Declare(verb, selection, Place::kInside, [&session, options, run] { return run(session, *options); });
        return verb;
    };
    const auto addList = [&](const char* name, const char* help, Run run) {
        CLI::App* verb = add(name, help, run);
        PrintsTable(verb, RowColumns());
        verb->add_flag("--exit-code", options->exitCode, "Exit with 2 when there are problems");
        verb->add_option("--patience", options->patience, "Seconds to wait for the engine")
            ->check(Between(1, 3600))
            ->capture_default_str();
        return verb;
    };

    addList("diagnose", "Automatic diagnosis: the list that the start screen receives", &Diagnose);
    addList("problems", "What remains unfixed: the list that the home screen receives", &Problems);
    addList("guide", "Guided diagnosis: writes the guide application's file", &Guide)
        ->add_flag("--background", options->background, "As launched by the background inference");
    add("page", "The page that a self-diagnosis opens", &Page)
        ->add_option("target", options->target, "NetworkSetting or SignalInfo")
        ->type_name("{NetworkSetting,SignalInfo}")
        ->required();
    Declare(app.add_subcommand("optimize", "Deep clean and memory boost"), selection, Place::kInside,
            [&session] { return Optimize(session); });
}

}  // namespace cli
