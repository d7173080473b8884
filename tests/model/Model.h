// The rules of evaluation, remaining problems, publication, apply and the executors, written a second time
// as plainly as possible and without a look at the library. One model stands beside one library for as long
// as the process lives, and keeps what the library keeps between two calls.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "CGetData.h"
#include "Files.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "KURA_SolutionMap.h"
#include "Record.h"
#include "Set.h"
#include "Store.h"

namespace model {

/// What stands at the path of the solution map.
struct Document {
    enum class State { Missing, Folder, Text } state = State::Missing;
    std::string text;
};

struct Model {
    Record record;
    Set set{record};
    Tree files;
    bool wroteFiles = false;  ///< or tried to
    Document document;
    Store store{record};

    /// The agent removes its trigger during this wait of a host call, counted from 1; never for 0.
    int agentCleansAt = 0;
    int waits = 0;
    long long clockSeconds = 0;
    bool clockFails = false;
    std::string standardOutput;
    std::string standardError;

    // --- The solution map (Map.cpp) ---
    unsigned int version = 0;
    unsigned int count = 0;
    std::vector<KURA::KURA_Solution> solutions;

    bool Parse(const std::string& text, KURA::KURA_SolutionMap& map);
    bool XmlParse(const Document& from, const std::string& path, KURA::KURA_SolutionMap& map);
    void ParseSolutionMap();
    void GetSolutionInformation(unsigned int& outCount, std::vector<KURA::KURA_Solution>& out);

    // --- Evaluation (Evaluation.cpp) ---
    Rows table;
    KURA::MapToDBTable row;

    int GetInferenceResult();
    int FindErrorCodeInDB(const KURA::KURA_Solution& sol, const std::vector<_WMInfDBRecord>& infData,
                          const _WMSolDBRecord& solData);
    int CompareTime(const std::string& a, const std::string& b);
    bool CheckViewType(const std::string& viewAuthority);
    bool CheckSourceType(const std::string& source);

    // --- Remaining problems (Remaining.cpp) ---
    void SaveRemainingProblems();
    bool LoadRemainingProblems();
    bool GetRemainingTable(Rows& out);
    void GetInferenceResultRemaining();
    void CompareRemaining();
    void DeleteRemainingColumn(const std::string& issueCode);
    void ClearRemainingProblems();

    // --- Publication (Publication.cpp) ---
    void CreateErrorList();
    void CreateTutorErrList();
    void OpenTutorForWrite(const std::string& path);
    void CleanDiagResult();

    // --- Apply (Apply.cpp) ---
    void RequestApplySolution(const std::string& value, bool background);
    void FillSolutionParams(const std::string& issueCode, const std::string& state, WMSolutionParams& params);
    void SaveResultToSolutionDB(const std::string& issueCode, const std::string& state);
    void RemoveSolvedProblem(const std::string& issueCode);

    // --- Executors (Executors.cpp) ---
    void VconfStr(const std::string& key, const std::string& value);
    void VconfBool(const std::string& key, const std::string& value);
    void VconfInt(const std::string& key, const std::string& value);
    int Cmd(const std::string& command);
    void LaunchApp(const std::string& appId);
    void SettingApi(const std::string& key, const std::string& value);
    void Api(const std::string& name, const std::string& firstValue);
    bool deviceExists = false;
    void MakeDevice();
    int PerformDeepClean();
    int PerformMemBoost();

    // --- The diagnosis manager and the launches with extras (Manager.cpp) ---
    bool managerExists = false;
    bool loopEnded = false;

    void MakeManager();
    std::string StartSelfDiagnosis(const std::string& target);
    void StartTutorDiagnosis();
    void StartAutoDiagnosis();
    void RemainingProblem();
    void Complete(char who);
    int OptimizeDevice();
    bool LaunchWithExtras(const std::string& appId);

    // --- Usage reports (Usage.cpp) ---
    bool senderExists = false;
    std::string description;  ///< the facts, gathered at the first report, up to the time
    std::string storage;      ///< the two sizes
    std::string status = "NULL";
    std::string issueCount = "0";

    void MakeSender();
    void Report(const std::string& selectItem, const std::optional<std::string>& newStatus,
                const std::optional<int>& newCount);

private:
    int Write(const std::string& path, const std::string& text);
    void ApplyOne(const KURA::KURA_Solution& sol, const std::string& value, bool background);
    void ApplyAction(const KURA::KURA_Solution& sol);
    bool TryLaunchWithExtras(const std::string& appId);
    void ShowScreen(const std::string& name);
    bool IsGone(const std::vector<_WMInfDBRecord>& present, int code);
    std::string ReadFlashSizes(std::string& total);
};

}  // namespace model
