// A set on which every operation of the library has something to do, and the operations by name.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "CGetData.h"
#include "Fakes.h"
#include "KURA_DBManager.h"
#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_KPISender.h"
#include "KURA_SO_Interface.h"
#include "KURA_Storage.h"
#include "unit/CGetData/Agent.h"
#include "unit/KURA_DiagManager/SetUp.h"
#include "unit/KURA_SO_Interface/Files.h"

namespace host {

/// An issue with one solution of each type; "9" is the issue.
inline std::string Solutions() {
    std::string text;
    for (const char* type :
         {"VCONFSET_INT", "VCONFSET_BOOL", "VCONFSET_STR", "INFO", "CMD", "LAUNCH", "SettingsAPI"}) {
        text += files::Solution("9", type, "name", {"1"});
    }
    for (const char* name : {"ShowSignalInfo", "ShowMgrStorage", "ShowSoundTest"}) {
        text += files::Solution("9", "MSGPORT", name);
    }
    for (const char* name : {"pixo_reset_picture", "ResetPictureSize", "voiceguide_on", "ResetOnOffTimer"}) {
        text += files::Solution("9", "API", name, {"1"});
    }
    return text;
}

inline void Install() {
    setup::Install();
    agent::MakeFolders();
    setup::WriteMap("<root><sminfo version=\"7\"/><sm cnt=\"2\"/>" + setup::Issue("5") +
                    setup::Issue("10000001") + Solutions() + "</root>");
}

struct Entry {
    const char* name;
    std::function<void()> call;
    /// How many log lines and calls of the set it is looked at for: fewer where the operation then waits for
    /// long.
    std::size_t places = 100000;
};

inline std::vector<Entry> Diagnoses() {
    auto* manager = KURA::KURA_DiagManager::GetInstance();
    auto* results = KURA::KURA_DiagResultManager::GetInstance();
    return {
        {"StartAutoDiagnosis", [=] { manager->StartAutoDiagnosis(); }},
        {"RemainingProblem", [=] { manager->RemainingProblem(); }},
        {"StartTutorDiagnosis", [=] { manager->StartTutorDiagnosis(); }},
        {"StartSelfDiagnosis", [=] { manager->StartSelfDiagnosis(std::string("SignalInfo").data()); }},
        {"SolutionCallbackFunc", [] { KURA::KURA_DiagManager::SolutionCallbackFunc(0, {}); }},
        {"RemainingCallbackFunc", [] { KURA::KURA_DiagManager::RemainingCallbackFunc(0, {}); }},
        {"TutorCallbackFunc", [] { KURA::KURA_DiagManager::TutorCallbackFunc(0, {}); }},
        {"CreateErrorList", [=] { results->CreateErrorList(); }},
        {"CompareRemaining", [=] { results->CompareRemaining(); }},
        {"DeleteRemainingDBColumn", [=] { results->DeleteRemainingDBColumn("5"); }},
        {"ClearRemainingProblems", [=] { results->ClearRemainingProblems(); }},
    };
}

inline std::vector<Entry> Repairs() {
    return {
        {"ParseSolutionMap", ParseSolutionMap},
        {"RequestApplySolution", [] { RequestApplySolution("9"); }},
        {"RequestApplySolution_BG",
         [] {
             WMSolutionParams params{};
             RequestApplySolution_BG("9", &params);
         }},
        {"SaveResultToSolutionDB", [] { SaveResultToSolutionDB("9", "start"); }},
        {"RemoveSolvedProblemFromRemainingDB", [] { RemoveSolvedProblemFromRemainingDB("9"); }},
        {"SendSelfDiagnosisResult", [] { SendSelfDiagnosisResult("item", "status"); }},
    };
}

inline std::vector<Entry> DeviceCalls() {
    auto* device = KURA::CGetData::GetInstance();
    return {
        {"OptimizeDevice", [] { KURA::KURA_DiagManager::GetInstance()->OptimizeDevice(); }, 4},
        {"sendAppData", [=] { device->sendAppData("package", "app"); }, 2},
        {"sendAppList", [=] { device->sendAppList(); }},
        {"performMemBoost", [=] { device->performMemBoost(); }},
        {"killApp", [=] { device->killApp(std::string("app").data()); }},
        {"clearAppCache",
         [=] { device->clearAppCache(std::string("package").data(), std::string("app").data()); }},
        {"clearAppData", [=] { device->clearAppData(std::string("package").data()); }},
        {"CheckDeviceState", [=] { device->CheckDeviceState(); }},
        {"m_CheckNetwork", [=] { device->m_CheckNetwork(); }},
        {"ProcessLaunchApp", [=] { device->ProcessLaunchApp("app"); }},
        {"GetStdoutFromCommand", [=] { device->GetStdoutFromCommand("echo 1"); }},
    };
}

/// The database manager used by the host itself.
inline std::vector<Entry> StoreCalls() {
    auto* store = TCDBManager::GetInstance();
    return {
        {"OpenDB", [=] { store->OpenDB(EDB_TEST); }},
        {"GetDB",
         [=] {
             std::vector<std::string> out;
             store->GetDB(EDB_TEST, "TR", out);
         }},
        {"SetDB",
         [=] {
             store->SetDB("testTBL", {"1", "2", "3", "4", "5"});
         }},
        {"DeleteDB", [=] { store->DeleteDB("5"); }},
        {"FlushDB", [=] { store->FlushDB(EDB_TEST); }},
        {"CloseDB", [=] { store->CloseDB(); }},
    };
}

}  // namespace host
