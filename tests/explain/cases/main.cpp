// Runs inside the sandbox of a set: brings it into random situations and holds what "why" and the steps of a
// repair tell against what a diagnosis and a repair of the same situation then do.
//   explain-cases COUNT SEED
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "KURA_DiagManager.h"
#include "KURA_SO_Interface.h"
#include "Trial.h"
#include "explain/LibraryLog.h"
#include "explain/RepairSteps.h"
#include "explain/Why.h"
#include "host/Host.h"
#include "host/HostSetUp.h"

namespace {

using explain::Dice;
using explain::Entry;
using explain::Situation;
using explain::Trial;
using nlohmann::json;

constexpr std::chrono::seconds kLongest{60};

struct Tally {
    unsigned long cases = 0;
    unsigned long listed = 0;
    unsigned long steps = 0;
    unsigned long failedSteps = 0;
    std::map<std::string, unsigned long> decidedBy;
};

void Require(bool holds, const std::string& what) {
    if (!holds) {
        throw std::runtime_error(what);
    }
}

// --- What the library is asked, each in a child ---

json Why(const Trial& trial, cli::ProblemList list) {
    cli::SetUpHost(trial.Set());
    return cli::ToJson(cli::Explain(trial.Set(), list, ""));
}

/// The codes that the screen received; null when no list came.
json Diagnose(const Trial& trial, cli::ProblemList list, bool isSilent) {
    cli::SetUpHost(trial.Set());
    const bool isStart = list == cli::ProblemList::kStart;
    std::string failure;
    try {
        auto* manager = KURA::KURA_DiagManager::GetInstance();
        isStart ? manager->StartAutoDiagnosis() : manager->RemainingProblem();
        kuraset::WaitForEngine(isSilent ? std::chrono::seconds(0) : kLongest, failure);
    } catch (const std::out_of_range&) {
        return nullptr;
    }
    const auto rows = isStart ? cli::TheHost().StartList() : cli::TheHost().HomeList();
    if (!failure.empty() || !rows) {
        return nullptr;
    }
    json codes = json::array();
    for (const auto& row : *rows) {
        codes.push_back(row.issue_code);
    }
    return codes;
}

json Repair(const Trial& trial, const std::string& code, const json& solutions) {
    const auto& set = trial.Set();
    cli::SetUpHost(set);
    cli::Repair repair{code, cli::ToDocument(solutions), cli::ToDocument(set.ListSettings()), {}};
    const std::size_t before = set.ReadJournal().size();
    RequestApplySolution(code.c_str());
    json steps = json::array();
    json failed = json::array();
    for (const cli::RepairStep& step : cli::SettledSteps(set, before, repair)) {
        steps.push_back(json(step.document));
        failed.push_back(cli::FailureOf(step.document).has_value());
    }
    json requests = json::array();
    for (json entry : repair.journal) {
        if (entry.at("kind") != "log") {
            entry.erase("time");
            requests.push_back(entry);
        }
    }
    return {{"steps", steps}, {"failed", failed}, {"requests", requests}};
}

// --- Start and home list ---

/// The condition that keeps the entry from the start list, as the system's rules have it; empty for none.
std::string Hindrance(const Situation& situation, const Entry& entry, std::size_t place) {
    const auto fault = [&situation](const std::string& pointer) {
        return situation.faults.contains(json::json_pointer("/engine/" + pointer));
    };
    const std::string number = std::to_string(entry.code.number);
    std::string appeared;
    std::string gone;
    for (const auto& record : situation.inferences) {
        std::string& newest = record.present ? appeared : gone;
        newest = record.code == entry.code.number ? std::max(newest, record.time) : newest;
    }
    std::string solved;
    bool isApplied = false;
    for (const auto& record : situation.repaired) {
        if (record.code == entry.code.number && record.time >= solved) {
            solved = record.time;
            isApplied = record.applied;
        }
    }
    const bool isTuner = situation.channel == 2 && situation.source == 0;
    const bool isSeen = entry.source == "DTV"    ? isTuner
                        : entry.source == "HDMI" ? situation.source == 13
                                                 : true;
    if (fault("subscribe") || fault("silent") || situation.declared > situation.entries.size()) {
        return "run";
    }
    if (place >= situation.declared) {
        return "declared count";
    }
    if (entry.ground == "bg") {
        return "foreground";
    }
    if (appeared.empty() || fault("inference/" + number + "/true")) {
        return "appeared";
    }
    if (gone > appeared && !fault("inference/" + number + "/false")) {
        return "still there";
    }
    if (isApplied && solved >= appeared && !fault("solution/" + number)) {
        return "unsolved";
    }
    return !isSeen ? "source" : entry.viewer != "USER" ? "viewer" : "";
}

/// What every explanation fulfils. Returns the listed codes.
json CheckVerdicts(const json& verdicts, Tally& tally) {
    json listed = json::array();
    for (const json& verdict : verdicts) {
        const json& tests = verdict.at("tests");
        for (std::size_t i = 0; i + 1 < tests.size(); ++i) {
            Require(tests[i].at("passed") == true, "a condition that failed is not the last");
        }
        Require(tests.back().at("passed") == verdict.at("listed"), "the last condition does not decide");
        Require(verdict.at("decided_by") == tests.back().at("test"), "another condition decides");
        for (const json& test : tests) {
            Require(!test.at("saw").get<std::string>().empty(), "a condition saw nothing");
        }
        if (verdict.at("listed") == true) {
            listed.push_back(verdict.at("issue_code"));
            ++tally.listed;
        }
        ++tally.decidedBy[verdict.at("decided_by").get<std::string>() +
                          (verdict.at("listed") == true ? " (listed)" : "")];
    }
    return listed;
}

/// Why and diagnosis of the same state; the state that the diagnosis leaves stays.
json CheckList(const Trial& trial, cli::ProblemList list, const Situation& situation, Tally& tally) {
    const Trial::State state = trial.Save();
    const json verdicts = Trial::InChild([&] { return Why(trial, list); });
    trial.Restore(state);
    const bool isSilent = situation.faults.contains("/engine/silent"_json_pointer);
    const json shown = Trial::InChild([&] { return Diagnose(trial, list, isSilent); });
    const json listed = CheckVerdicts(verdicts, tally);
    Require(listed == (shown.is_null() ? json::array() : shown),
            "listed " + listed.dump() + ", shown " + shown.dump());
    return verdicts;
}

void CheckStart(const Trial& trial, const Situation& situation, Tally& tally) {
    const json verdicts = CheckList(trial, cli::ProblemList::kStart, situation, tally);
    if (!situation.isMapSound) {
        Require(verdicts.empty(), "verdicts of a map that cannot be loaded");
        return;
    }
    Require(verdicts.size() == situation.entries.size(), "not one verdict an entry");
    for (std::size_t i = 0; i < verdicts.size(); ++i) {
        const std::string hindrance = Hindrance(situation, situation.entries[i], i);
        const std::string decided =
            verdicts[i].at("listed") == true ? "" : verdicts[i].at("decided_by").get<std::string>();
        Require(decided == hindrance, "entry " + std::to_string(i) + " is decided by \"" + decided +
                                          "\", expected \"" + hindrance + "\"");
    }
}

void CheckHome(const Trial& trial, const Situation& situation, Dice& dice, Tally& tally) {
    if (dice.Chance(50)) {
        trial.WriteStore(explain::RandomStore(dice));
    }
    trial.Show(dice.Chance(50) ? 0 : 13, dice.Chance(50) ? 2 : 5);
    CheckList(trial, cli::ProblemList::kHome, situation, tally);
}

// --- Repair ---

json SolutionsOf(const Situation& situation, const std::string& code) {
    json solutions = json::array();
    for (const Entry& entry : situation.entries) {
        if (entry.code.text == code) {
            solutions.push_back({{"sol_type", entry.type}, {"sol_name", entry.name}});
        }
    }
    return solutions;
}

bool IsCall(const json& entry) {
    const std::string kind = entry.at("kind");
    const std::string op = entry.value("op", "");
    return kind != "agent" && kind != "unfixed" && !(kind == "setting" && op.rfind("get_", 0) == 0) &&
           !(kind == "engine" && op != "record");
}

json Calls(const json& entries) {
    json calls = json::array();
    for (json entry : entries) {
        entry.erase("old");
        if (IsCall(entry)) {
            calls.push_back(entry);
        }
    }
    return calls;
}

/// Each step that is told to have succeeded has its effect, and each that failed has none.
void CheckEffects(const Trial& trial, const json& done, const std::string& code, json settings,
                  std::size_t records, Tally& tally) {
    for (std::size_t i = 0; i < done.at("steps").size(); ++i) {
        const json& step = done.at("steps")[i];
        const bool isFailed = done.at("failed")[i];
        const std::string kind = step.at("kind");
        ++tally.steps;
        tally.failedSteps += isFailed ? 1 : 0;
        if (kind == "setting" && step.contains("old")) {
            const std::string key = step.at("key");
            Require(step.at("old") == (settings.contains(key) ? settings.at(key) : json()), "old " + key);
            settings[key] = isFailed ? settings[key] : step.at("value");
        } else if (kind == "engine") {
            records += isFailed ? 0 : 1;
        } else if (kind == "unfixed") {
            Require(isFailed == trial.Keeps(code), "the store and the step differ");
        } else if (kind == "agent") {
            Require(isFailed == (step.at("text") != "true\n"), "the agent's command: " + step.dump());
        }
    }
    Require(settings == trial.Set().ListSettings(), "settings " + trial.Set().ListSettings().dump());
    Require(records == trial.Set().ListSolutions().size(), "the engine's records");
}

void CheckRepair(const Trial& trial, const Situation& situation, Dice& dice, Tally& tally) {
    if (situation.entries.empty()) {
        return;
    }
    const std::string code = dice.Any(situation.entries).code.text;
    const json solutions = situation.isMapSound ? SolutionsOf(situation, code) : json::array();
    const Trial::State state = trial.Save();
    const json told = Trial::InChild([&] { return Repair(trial, code, solutions); });
    trial.Restore(state);
    const json settings = trial.Set().ListSettings();
    const std::size_t records = trial.Set().ListSolutions().size();
    const json done = Trial::InChild([&] { return Repair(trial, code, solutions); });
    Require(told.at("steps") == done.at("steps"), "told " + told.dump() + ", done " + done.dump());
    Require(Calls(told.at("steps")) == Calls(done.at("requests")), "calls " + done.dump());
    CheckEffects(trial, done, code, settings, records, tally);
}

void CheckCase(const Trial& trial, unsigned seed, Tally& tally) {
    Dice dice(seed);
    const Situation situation = explain::RandomSituation(dice);
    try {
        trial.Prepare(situation);
        CheckStart(trial, situation, tally);
        CheckHome(trial, situation, dice, tally);
        CheckRepair(trial, situation, dice, tally);
        ++tally.cases;
    } catch (const std::exception& error) {
        throw std::runtime_error("case " + std::to_string(seed) + ": " + error.what() + "\nmap " +
                                 situation.map + "\nset " + trial.Set().Description().at("faults").dump());
    }
}

void Report(const Tally& tally) {
    std::printf("%lu cases; %lu listed; %lu steps of repairs, %lu failed; decided by:", tally.cases,
                tally.listed, tally.steps, tally.failedSteps);
    for (const auto& [name, count] : tally.decidedBy) {
        std::printf(" %s %lu;", name.c_str(), count);
    }
    std::puts("");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("explain-cases COUNT SEED, inside the sandbox of a set\n", stderr);
        return 64;
    }
    Tally tally;
    try {
        const Trial trial(kuraset::SetDirectory::FromEnvironment());
        const unsigned long count = std::stoul(argv[1]);
        const auto seed = static_cast<unsigned>(std::stoul(argv[2]));
        for (unsigned i = 0; i < count; ++i) {
            CheckCase(trial, seed + i, tally);
        }
        Report(tally);
        return 0;
    } catch (const std::exception& error) {
        Report(tally);
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
