// Launches other applications with the extra data that each expects. The table below has a row for each
// application that expects some; any other is launched plainly.

#include <algorithm>
#include <cstring>
#include <exception>
#include <iterator>
#include <string>

#include "CGetData.h"
#include "KURA_DiagManager.h"
#include "app_control.h"
#include "base/AppControl.h"
#include "base/AppIds.h"
#include "base/CancellationHeld.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "host/CUtils.h"

namespace KURA {

namespace {

struct Extra {
    const char* key;
    const char* value;
};

/// What an application expects of its launch.
struct LaunchRule {
    const char* appId;
    bool setsMultitasking;
    bool showsSignalPage;  ///< a self-diagnosis chooses the page, which is passed as "ID"
    Extra extras[3];       ///< unused ones have no key
};

/// Tells a test application who started it.
constexpr Extra kLaunchedFrom{"launchedFrom", base::kCareApp};

constexpr LaunchRule kLaunchRules[] = {
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
     {{"PrevSubmenu", base::kCareApp}, {"__K_RELOCATE_BELOW", base::kTvViewerApp}}},
    {base::kMenuApp,
     false,
     false,
     {{"launchby", "others"}, {"callerid", base::kCareApp}, {"type", "networkstatus"}}},
    {base::kWizardApp, false, false, {{"type", "TERMS_SETUP"}}},
};

/// Null for an application that is launched plainly.
const LaunchRule* FindLaunchRule(const char* appId) {
    const auto* const rule =
        std::find_if(std::begin(kLaunchRules), std::end(kLaunchRules),
                     [appId](const LaunchRule& each) { return std::strcmp(appId, each.appId) == 0; });
    return rule == std::end(kLaunchRules) ? nullptr : rule;
}

bool Request(const LaunchRule& rule, const std::string& page) {
    const base::AppControl launch = base::NewLaunch(rule.appId);
    if (launch == nullptr) {
        return false;
    }
    if (rule.showsSignalPage) {
        app_control_add_extra_data(launch.get(), "ID", page.c_str());
    }
    for (const Extra& extra : rule.extras) {
        if (extra.key != nullptr) {
            app_control_add_extra_data(launch.get(), extra.key, extra.value);
        }
    }
    return base::Send(launch);
}

bool Launch(const char* function, const LaunchRule& rule, const std::string& page = "") {
    const bool accepted = Request(rule, page);
    if (!accepted) {
        KURA_LOG_AS(function, DLOG_INFO, "Error while executing Menu");
    }
    return accepted;
}

std::string StartSignalDiagnosis() {
    char target[] = "SignalInfo";
    std::string page = KURA_DiagManager::GetInstance()->StartSelfDiagnosis(target);
    KURA_LOG_AS("ProcessLaunchApp", DLOG_INFO, "signal launch %s", page.c_str());
    return page;
}

}  // namespace

void CGetData::launch_menu_app() {
    Launch(__func__, {base::kMenuApp, false, false, {{"menuitem", "tdm"}}});
}

void CGetData::launch_hotel_menu() {
    KURA_INFO("launch Hotel Menu");
    Launch(__func__, {base::kHotelMenuApp, false, false, {}});
}

bool CGetData::ProcessLaunchApp(const char* appId) {
    const LaunchRule plain{base::OrEmpty(appId), false, false, {}};
    const LaunchRule* found = FindLaunchRule(plain.appId);
    const LaunchRule& rule = found == nullptr ? plain : *found;
    try {
        const std::string page = rule.showsSignalPage ? StartSignalDiagnosis() : "";
        if (rule.setsMultitasking) {
            CUtils::Instance()->m_SetMultitaskingStatus(1);
        }
        return Launch(__func__, rule, page);
    } catch (const base::CancelledUnwinding&) {
        throw;
    } catch (const std::exception& error) {
        // Creating the diagnosis manager loads the solution map, and a malformed one throws.
        KURA_ERROR("%s", error.what());
    } catch (...) {
        KURA_ERROR("unknown exception");
    }
    return false;
}

}  // namespace KURA
