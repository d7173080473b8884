#include "DiagnosisRun.h"

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_Storage.h"
#include "LibraryLog.h"
#include "host/Host.h"

namespace cli {

namespace {

using nlohmann::json;

/// No diagnosis takes this long on a set whose engine delivers.
constexpr std::chrono::seconds kLongestDiagnosis{60};

/// How long to wait for the engine: not at all when the set's description says that it never delivers.
std::chrono::seconds Patience(const kuraset::SetDirectory& set) {
    const bool isSilent = set.Description().value("/faults/engine/silent"_json_pointer, false);
    return isSilent ? std::chrono::seconds(0) : kLongestDiagnosis;
}

bool IsOf(const json& entry, const char* kind, const char* operation) {
    return entry.value("kind", json()) == kind && entry.value("op", json()) == operation;
}

/// Tells why the library was not called back, or not in time; empty when it was.
std::string EngineFailure(const std::vector<json>& journal, bool hasEnded) {
    bool isDelivered = false;
    for (const json& entry : journal) {
        const int result = IsOf(entry, "engine", "subscribe") ? entry.value("result", 0) : 0;
        if (result != 0) {
            return "the engine refuses the subscription with " + std::to_string(result);
        }
        isDelivered = isDelivered || IsOf(entry, "engine", "callback");
    }
    if (!isDelivered) {
        return "the engine takes the subscription and never delivers";
    }
    return hasEnded ? "" : "the diagnosis does not come to its end";
}

/// Creates the manager, which loads the map first. Null when the map cannot be loaded.
KURA::KURA_DiagManager* LoadedManager() {
    try {
        return KURA::KURA_DiagManager::GetInstance();
    } catch (const std::out_of_range&) {
        return nullptr;
    }
}

void RunOnSet(const kuraset::SetDirectory& set, ProblemList list, KURA::KURA_DiagManager& manager,
              DiagnosisRun& run) {
    const std::size_t before = set.ReadJournal().size();
    if (list == ProblemList::kStart) {
        manager.StartAutoDiagnosis();
    } else {
        manager.RemainingProblem();
    }
    std::string thrown;
    const bool hasEnded = kuraset::WaitForEngine(Patience(set), thrown);
    run.isBrokenOff = !thrown.empty();
    run.journal = JournalSince(set, before);
    run.engineFailure = EngineFailure(run.journal, hasEnded);
}

std::string FailedWith(const std::string& result) {
    return "the engine failed with " + result;
}

constexpr const char* kWithoutRecord = "the engine answered without a record";
constexpr const char* kNotSeenToGo = "the engine has not seen it go";

/// When the engine last saw the issue go. The library does not log this time when it lies before the
/// appearance.
std::string LastGone(int code) {
    std::vector<_WMInfDBRecord> records;
    GetInferenceDB(code, WM_TRANSITION_TYPE_FALSE, records);
    return records.empty() ? "" : records.front().lastUpdateTime;
}

/// Reads from the journal how the library evaluated the map.
class EvaluationReader {
public:
    void Read(const json& entry) {
        if (entry.value("kind", json()) == "engine") {
            m_question = entry;
            return;
        }
        if (Says(entry, Line::kSkippedBackground)) {
            m_evaluations.emplace_back();
            m_evaluations.back().isBackground = true;
        } else if (const auto code = ValuesOf(entry, Line::kSelected)) {
            m_evaluations.emplace_back();
            m_code = std::stoi(code->front());
            m_went.clear();
            m_solution.clear();
        } else if (!m_evaluations.empty()) {
            ReadAppearance(entry);
            ReadGoing(entry);
            ReadSolution(entry);
        }
    }

    std::vector<Evaluation> Take() { return std::move(m_evaluations); }

private:
    void Add(const std::string& name, bool passed, const std::string& saw) {
        m_evaluations.back().conditions.push_back({name, saw, passed});
    }

    void ReadAppearance(const json& entry) {
        if (Says(entry, Line::kNeverAppeared)) {
            Add("appeared", false, "the engine has not seen it appear");
        } else if (Says(entry, Line::kAppearedEmpty)) {
            Add("appeared", false, kWithoutRecord);
        } else if (const auto failure = ValuesOf(entry, Line::kQueryFailed)) {
            ReadFailure(FailedWith(failure->front()));
        }
    }

    /// The library logs the same line for its three questions; the engine's own entry tells which one failed.
    void ReadFailure(const std::string& saw) {
        if (m_question.value("op", json()) == "query-solution") {
            m_solution = saw;
        } else if (m_question.value("transition", false)) {
            Add("appeared", false, saw);
        } else {
            m_went = saw;
        }
    }

    void ReadGoing(const json& entry) {
        if (Says(entry, Line::kNeverWent)) {
            m_went = kNotSeenToGo;
        } else if (Says(entry, Line::kWentEmpty)) {
            m_went = kWithoutRecord;
        } else if (const auto times = ValuesOf(entry, Line::kWentLater)) {
            Add("appeared", true, "the engine saw it appear at " + times->at(1));
            Add("still there", false, "seen to go at " + times->at(0) + ", after " + times->at(1));
        }
    }

    void ReadSolution(const json& entry) {
        if (Says(entry, Line::kNoSolution)) {
            m_solution = "no solution is on record";
        } else if (const auto appearance = ValuesOf(entry, Line::kAppearance)) {
            const std::string& time = appearance->at(4);
            m_appearedAt = time;
            Add("appeared", true, "the engine saw it appear at " + time);
            Add("still there", true,
                m_went.empty() ? "seen to go at " + LastGone(m_code) + ", not after " + time : m_went);
        } else if (const auto solution = ValuesOf(entry, Line::kSolution)) {
            m_times = "solution recorded at " + solution->at(4) + ", appeared at " + m_appearedAt;
            m_outcome = ", and applied";
        } else if (Says(entry, Line::kCameBack)) {
            m_outcome = ": it came back";
        } else if (Says(entry, Line::kNotApplied)) {
            m_outcome = ", but never applied";
        } else {
            ReadEnd(entry);
        }
    }

    void ReadEnd(const json& entry) {
        const bool isFound = Says(entry, Line::kFound);
        if (!isFound && !Says(entry, Line::kNotFound)) {
            return;
        }
        const bool isForAnother = isFound && m_outcome == ", and applied";
        Add("unsolved", isFound,
            !m_solution.empty() ? m_solution
            : isForAnother      ? "the engine's solution is for another issue"
                                : m_times + m_outcome);
        m_evaluations.back().isFound = isFound;
    }

    std::vector<Evaluation> m_evaluations;
    json m_question = json::object();  // the engine's latest entry
    int m_code = 0;
    std::string m_appearedAt;
    std::string m_went;      // what was logged of its going; empty when it went and no line tells
    std::string m_solution;  // why no solution record counts
    std::string m_times;
    std::string m_outcome;
};

}  // namespace

DiagnosisRun RunDiagnosis(const kuraset::SetDirectory& set, ProblemList list) {
    DiagnosisRun run;
    KURA::KURA_DiagManager* manager = LoadedManager();
    KURA::TCInformationStorage::Instance()->GetSolutionInformation(run.declared, run.solutions);
    auto& results = *KURA::KURA_DiagResultManager::GetInstance();
    if (list == ProblemList::kHome) {
        results.LoadRemainingProblems();
        results.GetRemainingTable(run.kept);
    }
    if (manager == nullptr) {
        run.mapFailure = "the map cannot be loaded: a value stands before its first solution";
        return run;
    }
    RunOnSet(set, list, *manager, run);
    if (list == ProblemList::kHome) {
        results.GetRemainingTable(run.after);
    }
    run.shown = (list == ProblemList::kHome ? TheHost().HomeList() : TheHost().StartList())
                    .value_or(std::vector<KURA::MapToDBTable>());
    return run;
}

std::vector<Evaluation> EvaluationsOf(const std::vector<json>& journal) {
    EvaluationReader reader;
    for (const json& entry : journal) {
        reader.Read(entry);
    }
    return reader.Take();
}

HomeRun HomeRunOf(const std::vector<json>& journal) {
    HomeRun run;
    std::size_t loads = 0;
    std::size_t answered = 0;
    std::string goneLater;
    for (const json& entry : journal) {
        if (Says(entry, Line::kLoading)) {
            ++loads;
        } else if (Says(entry, Line::kLoaded) || Says(entry, Line::kNothingKept)) {
            ++answered;
        } else if (Says(entry, Line::kExamined)) {
            run.rows.emplace_back();
        } else if (run.rows.empty()) {
            continue;
        } else if (Says(entry, Line::kOnDemand)) {
            run.rows.back().isOnDemand = true;
        } else if (Says(entry, Line::kKeptNeverWent)) {
            run.rows.back().saw = kNotSeenToGo;
        } else if (const auto failure = ValuesOf(entry, Line::kKeptQueryFailed)) {
            run.rows.back().saw = FailedWith(failure->front());
        } else if (Says(entry, Line::kKeptWentEmpty)) {
            run.rows.back().saw = kWithoutRecord;
        } else if (const auto times = ValuesOf(entry, Line::kKeptWent)) {
            run.rows.back().saw = "seen to go at " + times->at(0) + ", not after " + times->at(1);
            goneLater = "seen to go at " + times->at(0) + ", after " + times->at(1);
        } else if (Says(entry, Line::kRemoving)) {
            run.rows.back().isRemoved = true;
            run.rows.back().saw = goneLater;
        }
    }
    // A load that logs neither line broke off at a damaged row.
    run.isDamaged = loads != answered;
    return run;
}

}  // namespace cli
