// Launches of other applications with the extra data that each expects. The rows below say what an
// application wants; whatever is not in them is launched plainly.
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "CGetData.h"
#include "KURA_DiagManager.h"
#include "app_control.h"
#include "base/AppIds.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "host/CUtils.h"

namespace KURA {

namespace {

/// Stands for the page id that a self-diagnosis of the signal returns.
constexpr const char* kSignalPage = nullptr;

struct Extra {
    const char* key;
    const char* value;
};

struct LaunchRule {
    const char* appId;
    bool setsMultitasking;
    bool startsSignalDiagnosis;
    std::vector<Extra> extras;
};

/// The tests of the set's parts know by this who started them.
const Extra kLaunchedFrom = {"launchedFrom", base::kCareApp};

const std::vector<LaunchRule>& LaunchRules() {
    static const std::vector<LaunchRule> rules = {
        {base::kPictureTestApp, true, false, {kLaunchedFrom}},
        {base::kVideoTestApp, true, false, {kLaunchedFrom}},
        {base::kSoundTestApp, true, false, {kLaunchedFrom}},
        {base::kLobbyHubResetApp, true, false, {kLaunchedFrom}},
        {base::kLobbyHubConnectionTestApp, true, false, {kLaunchedFrom}},
        {base::kMledInstallationTestApp, true, false, {kLaunchedFrom}},
        {base::kHdmiTroubleshootingApp, false, false, {{"type", "VIDEO_TROUBLE_SHOOTING_SETUP"}}},
        {base::kBroadcastingMenuApp,
         true,
         true,
         {{"ID", kSignalPage}, {"PrevSubmenu", base::kCareApp}, {"__K_RELOCATE_BELOW", base::kTvViewerApp}}},
        {base::kMenuApp,
         false,
         false,
         {{"launchby", "others"}, {"callerid", base::kCareApp}, {"type", "networkstatus"}}},
        {base::kWizardApp, false, false, {{"type", "TERMS_SETUP"}}},
    };
    return rules;
}

LaunchRule FindLaunchRule(const char* appId) {
    for (const LaunchRule& rule : LaunchRules()) {
        if (std::strcmp(appId, rule.appId) == 0) {
            return rule;
        }
    }
    return {appId, false, false, {}};
}

struct AppControlDestroyer {
    void operator()(app_control_h control) const { app_control_destroy(control); }
};

using AppControl = std::unique_ptr<std::remove_pointer_t<app_control_h>, AppControlDestroyer>;

bool Request(const char* appId, const std::vector<Extra>& extras) {
    app_control_h created = nullptr;
    if (app_control_create(&created) != 0) {
        return false;
    }
    const AppControl control(created);
    app_control_set_operation(control.get(), APP_CONTROL_OPERATION_DEFAULT);
    app_control_set_app_id(control.get(), appId);
    for (const Extra& extra : extras) {
        app_control_add_extra_data(control.get(), extra.key, extra.value);
    }
    return app_control_send_launch_request(control.get(), nullptr, nullptr) == 0;
}

bool Launch(const char* function, const char* appId, const std::vector<Extra>& extras) {
    const bool accepted = Request(appId, extras);
    if (!accepted) {
        KURA_LOG_AS(function, DLOG_INFO, "Error while executing Menu");
    }
    return accepted;
}

std::string StartSignalDiagnosis() {
    std::string target = "SignalInfo";
    std::string page = KURA_DiagManager::GetInstance()->StartSelfDiagnosis(target.data());
    KURA_LOG_AS("ProcessLaunchApp", DLOG_INFO, "signal launch %s", page.c_str());
    return page;
}

/// Does what comes before the launch, then launches.
bool Launch(const LaunchRule& rule) {
    const std::string page = rule.startsSignalDiagnosis ? StartSignalDiagnosis() : std::string();
    if (rule.setsMultitasking) {
        CUtils::Instance()->m_SetMultitaskingStatus(1);
    }
    std::vector<Extra> extras = rule.extras;
    for (Extra& extra : extras) {
        if (extra.value == kSignalPage) {
            extra.value = page.c_str();
        }
    }
    return Launch("ProcessLaunchApp", rule.appId, extras);
}

}  // namespace

void CGetData::launch_menu_app() {
    Launch(__func__, base::kMenuApp, {{"menuitem", "tdm"}});
}

void CGetData::launch_hotel_menu() {
    KURA_INFO("launch Hotel Menu");
    Launch(__func__, base::kHotelMenuApp, {});
}

bool CGetData::ProcessLaunchApp(const char* appId) {
    try {
        return Launch(FindLaunchRule(base::OrEmpty(appId)));
    } catch (const std::exception& error) {
        // Creating the diagnosis manager loads the solution map, and a malformed one throws.
        KURA_ERROR("%s", error.what());
        return false;
    }
}

}  // namespace KURA
