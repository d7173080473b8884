// Starts the diagnosis modes and receives the engine's completions. Each mode arms one completion; its
// callback marks how far the diagnosis came and has the result manager publish the outcome to the screen of
// that mode.
#include "KURA_DiagManager.h"

#include <dlfcn.h>
#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/recursive_mutex.hpp>
#include <string>
#include <string_view>

#include "CGetData.h"
#include "KURA_DiagResultManager.h"
#include "base/AppIds.h"
#include "base/CancellationHeld.h"
#include "base/Log.h"
#include "base/NeverDestroyed.h"
#include "base/SetKeys.h"
#include "base/SetPaths.h"
#include "tv_service_api.h"
#include "vconf.h"
#include "watchman.h"

extern "C" {
GMainLoop* loop = nullptr;
}

namespace KURA {

namespace {

using Lock = boost::lock_guard<boost::recursive_mutex>;

/// First argument of every subscription. Only the engine knows its unit.
constexpr int kSubscriptionPeriod = 10000000;

// Kept: 46 and 47 count as HDMI here, but not in the list that filters HDMI problems. The screens rely on
// both lists as they are.
constexpr std::array<int, 8> kHdmiSources{13, 14, 15, 16, 38, 39, 46, 47};

template <typename Function>
void LookUp(void* library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(dlsym(library, name));
}

std::string ChooseSignalPage() {
    constexpr const char* kOperation = "StartSelfDiagnosis";
    const int source = GetCurrentSourceInfo();
    if (std::find(kHdmiSources.begin(), kHdmiSources.end(), source) != kHdmiSources.end()) {
        KURA_LOG_AS(kOperation, DLOG_INFO, "HDMI MODE");
        return "hdmi-information";
    }
    KURA_LOG_AS(kOperation, DLOG_INFO, "NOT HDMI MODE");
    return "signal-information";
}

}  // namespace

int GetCurrentSourceInfo() {
    int source = -1;
    TVServiceAPI::ISourceControl* created = nullptr;
    TVServiceAPI::CreateSourceControl(TVServiceAPI::PROFILE_MAIN, 0, &created);
    const base::Owned<TVServiceAPI::ISourceControl> control(created);
    if (control != nullptr && control->GetCurrentSource(&source) > 0) {
        KURA_INFO("GetCurrentSourceInfo success");
    }
    KURA_INFO("Current source : %d", source);
    return source;
}

KURA_DiagManager* KURA_DiagManager::m_pInstance = nullptr;
static base::NeverDestroyed<boost::recursive_mutex> classMutex;
boost::recursive_mutex& KURA_DiagManager::m_KDMmutex = classMutex.object;

KURA_DiagManager* KURA_DiagManager::GetInstance() {
    const Lock lock(m_KDMmutex);
    if (m_pInstance == nullptr) {
        m_pInstance = new KURA_DiagManager;
    }
    return m_pInstance;
}

KURA_DiagManager::KURA_DiagManager() {
    KURA_INFO("Start DiagnosisManager");
    createLibHandler();
    if (m_ParseSolutionMap != nullptr) {
        KURA_INFO("calling thro dlysm parse solution");
        m_ParseSolutionMap();
    }
}

KURA_DiagManager::~KURA_DiagManager() = default;

void KURA_DiagManager::createLibHandler() {
    KURA_INFO("create Lib Handler");
    m_libraryHandle = dlopen(base::kLibraryPath, RTLD_LAZY);
    if (m_libraryHandle == nullptr) {
        KURA_ERROR("dlopen error: %s", dlerror());
        return;
    }
    KURA_INFO("dlopen success: handle %p", m_libraryHandle);
    KURA_INFO("dlysm before call");
    LookUp(m_libraryHandle, "ParseSolutionMap", m_ParseSolutionMap);
    if (const char* error = dlerror(); error != nullptr) {
        KURA_ERROR("dlsym failed for parse Solution Map: %s", error);
        return;
    }
    LookUp(m_libraryHandle, "RequestApplySolution", m_RequestApplySolution);
    LookUp(m_libraryHandle, "SaveResultToSolutionDB", m_SaveResultToSolutionDB);
    LookUp(m_libraryHandle, "ProcessLaunchApp", m_ProcessLaunchApp);
    if (const char* error = dlerror(); error != nullptr) {
        KURA_ERROR("dlsym failed: %s", error);
    }
}

std::string KURA_DiagManager::StartSelfDiagnosis(char* target) {
    KURA_INFO("StartSelfDiagnosis!!!!!!!!!!!!!");
    const std::string_view text = target == nullptr ? "" : target;
    if (text == "NetworkSetting") {
        KURA_INFO("launch Network Setting");
        if (m_ProcessLaunchApp != nullptr) {
            m_ProcessLaunchApp(base::kNetworkSettingApp);
        }
        return "";
    }
    if (text == "SignalInfo") {
        KURA_INFO("launch Signal Info from KURA Native side");
        return ChooseSignalPage();
    }
    KURA_ERROR("Unknown Value : %s", text.data());
    return "";
}

void KURA_DiagManager::StartTutorDiagnosis() {
    // Kept: log readers search for the misspelt name and the error priority.
    KURA_ERROR("StarTutor Diagnosis");
    InferenceSubscribeOnce(kSubscriptionPeriod, TutorCallbackFunc);
    KURA_INFO("End Tutor Diagnosis");
}

void KURA_DiagManager::StartAutoDiagnosis() {
    KURA_INFO("StartAutoDiagnosis");
    InferenceSubscribeOnce(kSubscriptionPeriod, SolutionCallbackFunc);
    m_isDiagnosisStarted = true;
    KURA_INFO("EndAutoDiagnosis");
}

void KURA_DiagManager::RemainingProblem() {
    KURA_INFO("RemainingProblem");
    vconf_set_str(base::kProgressKey, "{\"id\" : \"InferenceRemaining\"}");
    InferenceSubscribeOnce(kSubscriptionPeriod, RemainingCallbackFunc);
    m_isDiagnosisStarted = true;
}

void KURA_DiagManager::EnterRemaining() {
    KURA_INFO("EnterRemaining");
}

int KURA_DiagManager::OptimizeDevice() {
    KURA_INFO("OptimizeDevice");
    CGetData* device = CGetData::GetInstance();
    device->performDeepClean();
    return device->performMemBoost();
}

void KURA_DiagManager::SetIsCallBackFinish(bool finished) {
    isCallBackFinish = finished;
}

void KURA_DiagManager::SetExitFlag(int status) {
    // Kept: it sets no flag, despite its name. The host calls it to end without exit handlers.
    _exit(status);
}

int KURA_DiagManager::GetExitFlag() {
    return m_exitFlag;
}

void KURA_DiagManager::TutorCallbackFunc(unsigned int, WMSignalData) {
    KURA_INFO("TutorCallbackFunc");
    const Lock lock(m_KDMmutex);
    GetInstance()->SetIsCallBackFinish(true);
    KURA_DiagResultManager::GetInstance()->CreateTutorErrList();
    if (loop != nullptr) {
        const base::CancellationHeld held;
        // Kept: unref, then quit. Hosts hold a reference of their own, so the loop outlives both calls.
        g_main_loop_unref(loop);
        g_main_loop_quit(loop);
    }
}

void KURA_DiagManager::RemainingCallbackFunc(unsigned int, WMSignalData) {
    KURA_INFO("RemainingCallbackFunc");
    const Lock lock(m_KDMmutex);
    vconf_set_str(base::kProgressKey, "{\"id\" : \"RemainingCallback\"}");
    KURA_DiagResultManager::GetInstance()->CompareRemaining();
}

void KURA_DiagManager::SolutionCallbackFunc(unsigned int, WMSignalData) {
    KURA_INFO("SolutionCallbackFunc");
    const Lock lock(m_KDMmutex);
    vconf_set_str(base::kProgressKey, "{\"id\" : \"SolutionCallback\"}");
    KURA_INFO("CreateErrorList start..");
    KURA_DiagResultManager::GetInstance()->CreateErrorList();
    KURA_INFO("CreateErrorList end..");
}

}  // namespace KURA
