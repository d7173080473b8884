#include "Why.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "DiagnosisRun.h"
#include "KURA_DiagResultManager.h"
#include "host/Host.h"

namespace cli {

namespace {

using KURA::KURA_Solution;
using KURA::MapToDBTable;

std::string Quoted(const std::string& text) {
    return "\"" + text + "\"";
}

/// Collects the conditions of one candidate, up to the first that fails.
class Conditions {
public:
    explicit Conditions(std::string issue) { m_verdict.issue = std::move(issue); }

    bool Add(const std::string& name, bool passed, const std::string& saw) {
        m_verdict.conditions.push_back({name, saw, passed});
        return passed;
    }

    bool Add(const Condition& condition) { return Add(condition.name, condition.passed, condition.saw); }

    Verdict Take(bool isListed) {
        m_verdict.isListed = isListed;
        return std::move(m_verdict);
    }

private:
    Verdict m_verdict;
};

std::string SourceText(const std::string& source) {
    const HostFacts& facts = TheHost().Facts();
    return "source " + Quoted(source) + "; the input is " + std::to_string(facts.currentSource) +
           ", the channel type " + std::to_string(facts.channelType);
}

/// The library's filters look at source and viewer alone, so rows of one issue that share both are either all
/// shown or all left out.
bool IsShown(const DiagnosisRun& run, const KURA_Solution& solution) {
    return std::any_of(run.shown.begin(), run.shown.end(), [&solution](const MapToDBTable& row) {
        return row.issue_code == solution.issue_code && row.source == solution.source &&
               row.view_authority == solution.view_authority;
    });
}

bool IsShown(const DiagnosisRun& run, const MapToDBTable& kept) {
    return std::any_of(run.shown.begin(), run.shown.end(), [&kept](const MapToDBTable& row) {
        return row.issue_code == kept.issue_code && row.source == kept.source;
    });
}

/// Adds the condition that the diagnosis came to its end.
bool AddRun(Conditions& conditions, const DiagnosisRun& run) {
    if (!run.engineFailure.empty()) {
        return conditions.Add("run", false, run.engineFailure);
    }
    const std::string numbers = "the map declares " + std::to_string(run.declared) + " and holds " +
                                std::to_string(run.solutions.size());
    return conditions.Add("run", !run.isBrokenOff,
                          run.isBrokenOff ? numbers + ": every diagnosis breaks off" : numbers);
}

/// Explains the entry of the map with that number, from 1.
Verdict ExplainEntry(const DiagnosisRun& run, const std::vector<Evaluation>& evaluations,
                     std::size_t number) {
    const KURA_Solution& solution = run.solutions[number - 1];
    Conditions conditions(solution.issue_code);
    conditions.Add("in the map", true,
                   "solution " + std::to_string(number) + " of " + std::to_string(run.solutions.size()));
    if (!AddRun(conditions, run) ||
        !conditions.Add("declared count", number <= evaluations.size(),
                        "the first " + std::to_string(evaluations.size()) + " are evaluated")) {
        return conditions.Take(false);
    }
    const Evaluation& evaluation = evaluations[number - 1];
    conditions.Add("foreground", !evaluation.isBackground, "is_fg_bg " + Quoted(solution.is_fg_bg));
    for (const Condition& condition : evaluation.conditions) {
        conditions.Add(condition);
    }
    if (!evaluation.isFound) {
        return conditions.Take(false);
    }
    const bool isListed = IsShown(run, solution);
    // The library does not log which of its two filters held a row back, so each filter is asked again.
    auto& filters = *KURA::KURA_DiagResultManager::GetInstance();
    if (conditions.Add("source", isListed || filters.CheckSourceType(solution.source.c_str()),
                       SourceText(solution.source))) {
        conditions.Add("viewer", isListed, "view_authority " + Quoted(solution.view_authority));
    }
    return conditions.Take(isListed);
}

Verdict NotFound(const std::string& code, const std::string& condition, const std::string& saw) {
    Conditions conditions(code);
    conditions.Add(condition, false, saw);
    return conditions.Take(false);
}

std::vector<Verdict> ExplainStart(const DiagnosisRun& run, const std::string& code) {
    const std::vector<Evaluation> evaluations = EvaluationsOf(run.journal);
    std::vector<Verdict> verdicts;
    for (std::size_t i = 0; i < run.solutions.size(); ++i) {
        if (code.empty() || run.solutions[i].issue_code == code) {
            verdicts.push_back(ExplainEntry(run, evaluations, i + 1));
        }
    }
    if (verdicts.empty() && !code.empty()) {
        verdicts.push_back(NotFound(code, "in the map",
                                    run.mapFailure.empty() ? "the map has no such issue" : run.mapFailure));
    }
    return verdicts;
}

/// Tells in words what the library found and did about the row's going.
std::string GoingText(const Examination& examination, bool isKept) {
    std::string saw =
        examination.isOnDemand ? examination.saw : "no on-demand code, so the engine is not asked again";
    if (isKept && examination.isRemoved) {
        saw += ", but the store does not remove it";
    } else if (!isKept && !examination.isRemoved) {
        saw += ", but removed with another entry of the issue";
    }
    return saw;
}

Verdict ExplainRow(const DiagnosisRun& run, const HomeRun& home, std::size_t place) {
    const MapToDBTable& row = run.kept[place];
    Conditions conditions(row.issue_code);
    conditions.Add("kept", true, "kept as unfixed, seen at " + row.last_time);
    const std::string& stop = run.mapFailure.empty() ? run.engineFailure : run.mapFailure;
    if (!conditions.Add("run", stop.empty(), stop.empty() ? "the engine delivers" : stop) ||
        !conditions.Add(
            "store", !home.isDamaged,
            home.isDamaged ? "the store holds a damaged row: nothing is shown" : "the store reads well")) {
        return conditions.Take(false);
    }
    const bool isKept = std::any_of(run.after.begin(), run.after.end(), [&row](const MapToDBTable& kept) {
        return kept.issue_code == row.issue_code;
    });
    const Examination examination = place < home.rows.size() ? home.rows[place] : Examination();
    if (!conditions.Add("still there", isKept, GoingText(examination, isKept))) {
        return conditions.Take(false);
    }
    const bool isListed = IsShown(run, row);
    conditions.Add("source", isListed, SourceText(row.source));
    return conditions.Take(isListed);
}

std::vector<Verdict> ExplainHome(const DiagnosisRun& run, const std::string& code) {
    const HomeRun home = HomeRunOf(run.journal);
    std::vector<Verdict> verdicts;
    const auto isKnown = [&verdicts](const std::string& issue) {
        return std::any_of(verdicts.begin(), verdicts.end(),
                           [&issue](const Verdict& verdict) { return verdict.issue == issue; });
    };
    for (std::size_t i = 0; i < run.kept.size(); ++i) {
        if (code.empty() || run.kept[i].issue_code == code) {
            verdicts.push_back(ExplainRow(run, home, i));
        }
    }
    const std::string saw = "not among the unfixed problems that the last diagnosis left";
    for (const KURA_Solution& solution : run.solutions) {
        if (code.empty() && !isKnown(solution.issue_code)) {
            verdicts.push_back(NotFound(solution.issue_code, "kept", saw));
        }
    }
    if (verdicts.empty() && !code.empty()) {
        verdicts.push_back(NotFound(code, "kept", saw));
    }
    return verdicts;
}

}  // namespace

std::vector<Verdict> Explain(const kuraset::SetDirectory& set, ProblemList list, const std::string& code) {
    const DiagnosisRun run = RunDiagnosis(set, list);
    return list == ProblemList::kStart ? ExplainStart(run, code) : ExplainHome(run, code);
}

Json ToJson(const std::vector<Verdict>& verdicts) {
    Json documents = Json::array();
    for (const Verdict& verdict : verdicts) {
        Json tests = Json::array();
        for (const Condition& condition : verdict.conditions) {
            tests.push_back({{"test", condition.name}, {"passed", condition.passed}, {"saw", condition.saw}});
        }
        documents.push_back({{"issue_code", verdict.issue},
                             {"listed", verdict.isListed},
                             {"decided_by", verdict.conditions.back().name},
                             {"tests", std::move(tests)}});
    }
    return documents;
}

}  // namespace cli
