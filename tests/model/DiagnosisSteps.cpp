// The host starts a diagnosis, the engine finishes, and the host uses the result manager itself.
#include <glib.h>

#include "Fakes.h"
#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_SO_Interface.h"
#include "RandomMap.h"
#include "Steps.h"

namespace model::steps {

namespace {

using KURA::KURA_DiagManager;
using KURA::KURA_DiagResultManager;

KURA_DiagResultManager& Results() {
    return *KURA_DiagResultManager::GetInstance();
}

void RunCallback(WMInferenceCallback callback, std::string& saw) {
    loop = g_main_loop_new(nullptr, TRUE);
    GMainLoop* const kept = g_main_loop_ref(loop);
    try {
        callback(0, WMSignalData{});
    } catch (...) {
        g_main_loop_unref(kept);
        g_main_loop_unref(kept);
        loop = nullptr;
        throw;
    }
    const bool isEnded = g_main_loop_is_running(kept) == FALSE;
    if (!isEnded) {
        g_main_loop_unref(kept);
    }
    g_main_loop_unref(kept);
    loop = nullptr;
    saw = isEnded ? "loop ended" : "loop runs";
}

}  // namespace

// --- Diagnosis ---

void Start(Driver& driver) {
    Model& m = driver.model;
    switch (driver.dice.Below(3)) {
        case 0:
            return Plain(
                driver, "StartAutoDiagnosis", [] { KURA_DiagManager::GetInstance()->StartAutoDiagnosis(); },
                [&m] {
                    m.MakeManager();
                    m.StartAutoDiagnosis();
                });
        case 1:
            return Plain(
                driver, "RemainingProblem", [] { KURA_DiagManager::GetInstance()->RemainingProblem(); },
                [&m] {
                    m.MakeManager();
                    m.RemainingProblem();
                });
        default:
            return Plain(
                driver, "StartTutorDiagnosis", [] { KURA_DiagManager::GetInstance()->StartTutorDiagnosis(); },
                [&m] {
                    m.MakeManager();
                    m.StartTutorDiagnosis();
                });
    }
}

/// The engine has finished: the callback that was armed first runs.
void Complete(Driver& driver) {
    Model& m = driver.model;
    auto& armed = fakes::Set().subscriptions;
    if (armed.empty() || m.set.subscribers.empty()) {
        return Start(driver);
    }
    const WMInferenceCallback callback = armed.front();
    armed.erase(armed.begin());
    const char who = m.set.subscribers.front();
    m.set.subscribers.erase(0, 1);
    driver.capturesErrors = who == 'T';
    const bool hasLoop = driver.dice.Percent(50);
    driver.Call(
        std::string("completion of ") + who,
        [&] {
            std::string saw;
            if (hasLoop) {
                RunCallback(callback, saw);
            } else {
                callback(0, WMSignalData{});
            }
            return saw;
        },
        [&]() -> std::string {
            m.loopEnded = false;
            m.Complete(who);
            return !hasLoop ? "" : m.loopEnded ? "loop ended" : "loop runs";
        });
}

void SelfDiagnosis(Driver& driver) {
    Model& m = driver.model;
    HostText target =
        Given(driver.dice, driver.dice.Pick<std::string>({"NetworkSetting", "SignalInfo", "SignalInfo",
                                                          "NetworkSettings", "", "signalinfo"}));
    driver.Call(
        "StartSelfDiagnosis " + target.Named(),
        [&] { return KURA_DiagManager::GetInstance()->StartSelfDiagnosis(target.Writable()); },
        [&] {
            m.MakeManager();
            return m.StartSelfDiagnosis(target.text);
        });
}

void Optimize(Driver& driver) {
    Model& m = driver.model;
    driver.Call(
        "OptimizeDevice", [] { return std::to_string(KURA_DiagManager::GetInstance()->OptimizeDevice()); },
        [&] {
            m.MakeManager();
            return std::to_string(m.OptimizeDevice());
        });
}

// --- The result manager's own operations ---

void Evaluate(Driver& driver) {
    Model& m = driver.model;
    driver.Call(
        "GetInferenceResult", [] { return std::to_string(Results().GetInferenceResult()); },
        [&] { return std::to_string(m.GetInferenceResult()); });
}

void CreateList(Driver& driver) {
    Model& m = driver.model;
    Plain(
        driver, "CreateErrorList", [] { Results().CreateErrorList(); }, [&] { m.CreateErrorList(); });
}

void Compare(Driver& driver) {
    Model& m = driver.model;
    Plain(
        driver, "CompareRemaining", [] { Results().CompareRemaining(); }, [&] { m.CompareRemaining(); });
}

void Load(Driver& driver) {
    Model& m = driver.model;
    driver.Call(
        "LoadRemainingProblems", [] { return std::to_string(Results().LoadRemainingProblems()); },
        [&] { return std::to_string(m.LoadRemainingProblems()); });
}

void Recheck(Driver& driver) {
    Model& m = driver.model;
    Plain(
        driver, "GetInferenceResult_Remaining", [] { Results().GetInferenceResult_Remaining(); },
        [&] { m.GetInferenceResultRemaining(); });
}

void Table(Driver& driver) {
    Model& m = driver.model;
    driver.Call(
        "GetRemainingTable behind one row",
        [] {
            Rows rows(1);
            const bool result = Results().GetRemainingTable(rows);
            return std::to_string(result) + Shown(rows);
        },
        [&] {
            Rows rows(1);
            const bool result = m.GetRemainingTable(rows);
            return std::to_string(result) + Shown(rows);
        });
}

void Save(Driver& driver) {
    Model& m = driver.model;
    switch (driver.dice.Below(4)) {
        case 0:
            return Plain(
                driver, "ClearRemainingProblems", [] { Results().ClearRemainingProblems(); },
                [&] { m.ClearRemainingProblems(); });
        case 1:
            return Plain(
                driver, "CleanDiagResult", [] { Results().CleanDiagResult(); }, [&] { m.CleanDiagResult(); });
        default:
            return Plain(
                driver, "SaveRemainingProblems", [] { Results().SaveRemainingProblems(); },
                [&] { m.SaveRemainingProblems(); });
    }
}

void Delete(Driver& driver) {
    Model& m = driver.model;
    const std::string code = SomeCode(driver);
    if (driver.dice.Percent(50)) {
        return Plain(
            driver, "DeleteRemainingDBColumn \"" + code + "\"",
            [&] { Results().DeleteRemainingDBColumn(code); }, [&] { m.DeleteRemainingColumn(code); });
    }
    Plain(
        driver, "RemoveSolvedProblemFromRemainingDB \"" + code + "\"",
        [&] { RemoveSolvedProblemFromRemainingDB(code); }, [&] { m.RemoveSolvedProblem(code); });
}

void Tutor(Driver& driver) {
    Model& m = driver.model;
    driver.capturesErrors = true;
    if (driver.dice.Percent(50)) {
        return Plain(
            driver, "CreateTutorErrList", [] { Results().CreateTutorErrList(); },
            [&] { m.CreateTutorErrList(); });
    }
    std::string path =
        driver.dice.Pick<std::string>({kGuideFile, kDocumentsFile, "/home/victims/folder/guide"});
    Plain(
        driver, "openTutorForWrite " + path, [&] { Results().openTutorForWrite(path.data()); },
        [&] { m.OpenTutorForWrite(path); });
}

void Find(Driver& driver) {
    Model& m = driver.model;
    Dice& dice = driver.dice;
    KURA::KURA_Solution sol(dice.Pick(kCodes), "70", "INFO", RandomText(dice), "issue", "sol", "one", "two",
                            "no", "fg", "action", "toast1", "toast2", "DTV", "USER");
    std::vector<_WMInfDBRecord> records;
    for (std::size_t n = dice.Below(3); n > 0; --n) {
        records.push_back({static_cast<int>(dice.Below(2)), 1, 3, dice.Pick(kTimes), dice.Pick(kTimes)});
    }
    _WMSolDBRecord applied = {static_cast<int>(dice.Below(2)), 2, 5, static_cast<int>(dice.Below(3)) - 1,
                              dice.Pick(kTimes)};
    driver.Call(
        "FindErrorCodeInDB",
        [&] { return std::to_string(Results().FindErrorCodeInDB(sol, records, applied)); },
        [&] { return std::to_string(m.FindErrorCodeInDB(sol, records, applied)); });
}

void Check(Driver& driver) {
    Model& m = driver.model;
    Dice& dice = driver.dice;
    const HostText source =
        Given(dice, dice.Pick<std::string>({"DTV", "HDMI", "dtv", "", "HDMI2", "DTV ", "AV"}));
    const HostText viewer = Given(dice, dice.Pick<std::string>({"USER", "user", "USER ", "", "SVC"}));
    std::string a = dice.Pick(kTimes);
    const std::string b = dice.Pick(kTimes);
    driver.Call(
        "CheckSourceType " + source.Named() + ", CheckViewType " + viewer.Named() + ", CompareTime",
        [&] {
            return std::to_string(Results().CheckSourceType(source.Constant())) +
                   std::to_string(Results().CheckViewType(viewer.Constant())) +
                   std::to_string(Results().CompareTime(a, b));
        },
        [&] {
            return std::to_string(m.CheckSourceType(source.text)) +
                   std::to_string(m.CheckViewType(viewer.text)) + std::to_string(m.CompareTime(a, b));
        });
}

}  // namespace model::steps
