// The Watchman engine. Its queries answer from the records in its databases, newest first; a fault of the set
// replaces the answer by its own result.
#include "watchman.h"

#include <chrono>

#include "CurrentSet.h"
#include "EngineThread.h"
#include "set/EngineStore.h"

namespace {

using kuraset::CurrentSet;
using kuraset::EngineStore;
using kuraset::EngineThread;
using kuraset::Entry;

constexpr int kSuccess = 0;
constexpr int kBroken = 1;
constexpr int kInvalid = 2;
constexpr int kNoRecord = 4;
constexpr int kDefaultDelayMs = 10;
constexpr std::chrono::hours kNever{24 * 365};

int Finish(const std::string& step, Entry entry, int result) {
    entry["result"] = result;
    CurrentSet::Get().NoteAndMaybeDie(step, entry);
    return result;
}

Entry EngineEntry(const char* operation) {
    return Entry{{"kind", "engine"}, {"op", operation}};
}

/// Sets result to the one that the set's faults give to the query; false when they give none.
bool FaultOf(const std::string& place, int& result) {
    CurrentSet& set = CurrentSet::Get();
    if (!set.Contains(place.c_str())) {
        return false;
    }
    result = set.Number(place.c_str(), kBroken);
    return true;
}

int FetchInferences(int issueCode, bool present, std::vector<_WMInfDBRecord>& records) {
    int result = kSuccess;
    const std::string place =
        "/faults/engine/inference/" + std::to_string(issueCode) + (present ? "/true" : "/false");
    if (FaultOf(place, result)) {
        return result;
    }
    const kuraset::SetDirectory* directory = CurrentSet::Get().Directory();
    if (directory == nullptr) {
        return kNoRecord;
    }
    const std::vector<kuraset::InferenceRecord> found =
        EngineStore(directory->FilesHome()).Inferences(issueCode, present);
    for (const kuraset::InferenceRecord& record : found) {
        records.push_back({record.issueCode,
                           record.present ? WM_TRANSITION_TYPE_TRUE : WM_TRANSITION_TYPE_FALSE,
                           record.solutionCode, record.registerTime, record.lastUpdateTime});
    }
    return found.empty() ? kNoRecord : kSuccess;
}

int FetchSolution(int issueCode, _WMSolDBRecord& record) {
    int result = kSuccess;
    if (FaultOf("/faults/engine/solution/" + std::to_string(issueCode), result)) {
        return result;
    }
    const kuraset::SetDirectory* directory = CurrentSet::Get().Directory();
    if (directory == nullptr) {
        return kNoRecord;
    }
    const std::vector<kuraset::SolutionRecord> found =
        EngineStore(directory->FilesHome()).Solutions(issueCode);
    if (found.empty()) {
        return kNoRecord;
    }
    const kuraset::SolutionRecord& newest = found.front();
    record = {newest.issueCode, newest.solutionCode, newest.type, newest.applied ? 1 : 0,
              newest.registerTime};
    return kSuccess;
}

/// Runs the query. A damaged or busy database becomes the engine's own error, never an exception in the
/// caller.
template <typename Query>
int Guarded(Query query, std::string& failure) {
    try {
        return query();
    } catch (const std::exception& error) {
        failure = error.what();
        return kBroken;
    }
}

}  // namespace

int InferenceSubscribeOnce(int period, WMInferenceCallback callback) {
    CurrentSet& set = CurrentSet::Get();
    const int refusal = callback == nullptr ? kInvalid : set.Number("/faults/engine/subscribe", kSuccess);
    const bool silent = set.Read<bool>("/faults/engine/silent", false);
    Entry entry = EngineEntry("subscribe");
    entry["period"] = period;
    const int result = Finish("InferenceSubscribeOnce", entry, refusal);
    if (result == kSuccess) {
        // A silent engine accepts the subscription and never delivers it.
        const std::chrono::milliseconds delay(set.Number("/engine/delay_ms", kDefaultDelayMs));
        EngineThread::Get().Arm(period, callback, silent ? kNever : delay);
    }
    return result;
}

int GetInferenceDB(int issue_code, int transition_type, std::vector<_WMInfDBRecord>& records) {
    const bool present = transition_type == WM_TRANSITION_TYPE_TRUE;
    const std::size_t before = records.size();
    std::string failure;
    const int result = Guarded([&] { return FetchInferences(issue_code, present, records); }, failure);

    Entry entry = EngineEntry("query-inference");
    entry["issue"] = issue_code;
    entry["transition"] = present;
    entry["records"] = records.size() - before;
    if (!failure.empty()) {
        entry["failure"] = kuraset::Legible(failure);
    }
    return Finish("GetInferenceDB:" + std::to_string(issue_code) + (present ? ":true" : ":false"), entry,
                  result);
}

int GetSolutionDB(int issue_code, _WMSolDBRecord& record) {
    std::string failure;
    const int result = Guarded([&] { return FetchSolution(issue_code, record); }, failure);

    Entry entry = EngineEntry("query-solution");
    entry["issue"] = issue_code;
    if (!failure.empty()) {
        entry["failure"] = kuraset::Legible(failure);
    }
    return Finish("GetSolutionDB:" + std::to_string(issue_code), entry, result);
}

int SetSolutionDB(WMSolutionParams params) {
    std::string failure;
    const int result = Guarded(
        [&] {
            CurrentSet& set = CurrentSet::Get();
            const int refusal = set.Number("/faults/engine/record", kSuccess);
            if (refusal != kSuccess || set.Directory() == nullptr) {
                return refusal != kSuccess ? refusal : kBroken;
            }
            set.Directory()->ReportSolution(params.issueCode, params.solutionCode, params.solutionType,
                                            params.started != 0);
            return kSuccess;
        },
        failure);

    Entry entry = EngineEntry("record");
    entry["issue"] = params.issueCode;
    entry["solution"] = params.solutionCode;
    entry["type"] = params.solutionType;
    entry["started"] = params.started;
    if (!failure.empty()) {
        entry["failure"] = kuraset::Legible(failure);
    }
    return Finish("SetSolutionDB:" + std::to_string(params.issueCode), entry, result);
}
