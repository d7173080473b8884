// One action each: a settings key, a command line for the agent, a launch, a settings item, or one of a few
// named operations of the set. A failed call is logged at most, and the repair goes on.
#include "KURA_SO_Interface.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "CGetData.h"
#include "KURA_SolutionMap.h"
#include "base/AppControl.h"
#include "base/CancellationHeld.h"
#include "base/GuardedFile.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "base/SetPaths.h"
#include "base/Text32.h"
#include "picture_api.h"
#include "power_api.h"
#include "settings_api.h"
#include "tv_service_api.h"
#include "vconf.h"

namespace {

using KURA::base::File;
using KURA::base::OpenGuarded;
using KURA::base::OrEmpty;
using KURA::base::WriteAndClose;
using KURA::base::WriteGuarded;

bool WriteCommand(const char* command) {
    File file = OpenGuarded(KURA::base::kRunCommandData);
    if (file == nullptr) {
        return false;
    }
    KURA_LOG_AS("ProcessCMD", DLOG_ERROR, "\nsolution is cmd type : %s\n\n", command);
    return WriteAndClose(std::move(file), std::string(command) + "\n");
}

void ResetPicture(const char* firstValue) {
    pixo_reset_picture(KURA::base::ToInt32(firstValue));
}

void ResetPictureSize(const char*) {
    KURA_LOG_AS("ProcessAPI", DLOG_INFO, "Reset picture Size");
    TVServiceAPI::IVideoControl* created = nullptr;
    TVServiceAPI::CreateVideoControl(TVServiceAPI::PROFILE_MAIN, 0, &created);
    const KURA::base::Owned<TVServiceAPI::IVideoControl> control(created);
    if (control != nullptr) {
        control->ResetPictureSize();
    }
}

// Kept: this and the next two operations pass their own name as the item and do not use the solution's
// values.
void TurnVoiceGuideOn(const char*) {
    KURA_LOG_AS("ProcessAPI", DLOG_INFO, "Voice guide is ON");
    const int result = SettingsAPI::SetItemValue("voiceguide_on", "voiceguide", false);
    KURA_LOG_AS("ProcessAPI", DLOG_INFO, "ret value: %d", result);
}

void OpenCaptionSetting(const char*) {
    SettingsAPI::SetItemValue("caption-setting", "caption", false);
}

void OpenSubtitleSetting(const char*) {
    SettingsAPI::SetItemValue("subtitle-setting", "subtitle", false);
}

void DeepClean(const char*) {
    KURA::CGetData::GetInstance()->performDeepClean();
}

void ResetOnOffTimer(const char*) {
    constexpr auto kOnOff = static_cast<EPSystemAPI::EP_SYS_ONOFF>(2);
    constexpr auto kTimer = static_cast<EPSystemAPI::EP_TIMER_ID>(8);
    if (EPSystemAPI::nsEPPowerAPI::ResetOnOffTimer(kOnOff, kTimer) != 0) {
        KURA_LOG_AS("ProcessAPI", DLOG_INFO, "Fail to set ResetOnOFfTimer");
    }
}

struct Operation {
    const char* name;
    void (*perform)(const char* firstValue);
};

constexpr Operation kOperations[] = {
    {"pixo_reset_picture", ResetPicture},      {"ResetPictureSize", ResetPictureSize},
    {"voiceguide_on", TurnVoiceGuideOn},       {"caption-setting", OpenCaptionSetting},
    {"subtitle-setting", OpenSubtitleSetting}, {"performDeepClean", DeepClean},
    {"ResetOnOffTimer", ResetOnOffTimer},
};

}  // namespace

void ProcessVconf_STR(const char* key, const char* value) {
    vconf_set_str(OrEmpty(key), OrEmpty(value));
    // Kept: the line says INT for texts too; whoever reads the log searches for it.
    KURA_INFO("SetVconf_INT : option_name_%s , option_val_%s", OrEmpty(key), OrEmpty(value));
}

void ProcessVconf_BOOL(const char* key, const char* value) {
    const std::int32_t number = KURA::base::ToInt32(OrEmpty(value));
    vconf_set_bool(OrEmpty(key), number);
    KURA_INFO("SetVconf_INT : option_name_%s , option_val_%s, option_value_%d", OrEmpty(key), OrEmpty(value),
              number);
}

void ProcessVconf_INT(const char* key, const char* value) {
    KURA_ERROR("ProcessVconf_INT!!!!!!!!!!!!");
    const std::int32_t number = KURA::base::ToInt32(OrEmpty(value));
    const bool failed = vconf_set_int(OrEmpty(key), number) != 0;
    KURA_ERROR("ret : %d", failed ? 1 : 0);
    KURA_ERROR("SetVconf_INT : option_name_%s , option_val_%s, option_value_%d", OrEmpty(key), OrEmpty(value),
               number);
}

// The agent acts as soon as the request appears, so the command is complete and closed before that.
int ProcessCMD(const char* command) {
    KURA_ERROR("ProcessCMD!!!!!!!!!!!!");
    if (!WriteCommand(OrEmpty(command))) {
        KURA_ERROR("File creation failed (%s)", KURA::base::kRunCommandData);
        return -1;
    }
    if (!WriteGuarded(KURA::base::kRunCommandTrigger, "")) {
        KURA_ERROR("File creation failed (%s)", KURA::base::kRunCommandTrigger);
        return -1;
    }
    KURA_ERROR("File creation success (%s)", KURA::base::kRunCommandTrigger);
    return 0;
}

void ProcessLaunchApp(const char* appId) {
    KURA_INFO("ProcessLaunchApp");
    const KURA::base::AppControl launch = KURA::base::NewLaunch(OrEmpty(appId));
    if (!Send(launch)) {
        KURA_ERROR("Error while executing Menu");
    }
}

void ProcessSettingAPI(const char* key, const char* value) {
    KURA_INFO("ProcessSettingAPI : key : %s , val : %s", OrEmpty(key), OrEmpty(value));
    SettingsAPI::SetItemValue(OrEmpty(key), OrEmpty(value), false);
}

void ProcessAPI(const char* name, std::vector<KURA::KURA_SolutionValue>* values) {
    const char* operationName = OrEmpty(name);
    const char* firstValue = values == nullptr || values->empty() ? "" : values->front().param_value.c_str();
    KURA_INFO("Process API called with name %s", operationName);
    for (const Operation& operation : kOperations) {
        if (std::strcmp(operationName, operation.name) == 0) {
            operation.perform(firstValue);
        }
    }
    // Kept: the log says success for every name and every result.
    KURA_INFO("SUCCESS APPLY API");
    KURA_INFO("Apply_API : option_name_%s , option_val_%s", operationName, firstValue);
    KURA_INFO("Process API EXIT");
}
