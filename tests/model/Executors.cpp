// One action each: settings, commands for the agent, launches, the settings service, named operations.
#include <cerrno>

#include "Model.h"
#include "Numbers.h"

namespace model {

namespace {

constexpr const char* kCleanTrigger = "/tmp/vardo/req/CleanAll.txt";

}  // namespace

int Model::Write(const std::string& path, const std::string& text) {
    wroteFiles = true;
    return WriteGuarded(files, path, text);
}

void Model::VconfStr(const std::string& key, const std::string& value) {
    set.VconfSetStr(key, value);
    record.Log(kInfo, "ProcessVconf_STR", "SetVconf_INT : option_name_%s , option_val_%s", key.c_str(),
               value.c_str());
}

void Model::VconfBool(const std::string& key, const std::string& value) {
    const int number = ToSigned(value);
    set.VconfSetBool(key, number);
    record.Log(kInfo, "ProcessVconf_BOOL", "SetVconf_INT : option_name_%s , option_val_%s, option_value_%d",
               key.c_str(), value.c_str(), number);
}

void Model::VconfInt(const std::string& key, const std::string& value) {
    constexpr const char* kName = "ProcessVconf_INT";
    record.Log(kError, kName, "ProcessVconf_INT!!!!!!!!!!!!");
    const int number = ToSigned(value);
    const int result = set.VconfSetInt(key, number);
    record.Log(kError, kName, "ret : %d", result != 0 ? 1 : 0);
    record.Log(kError, kName, "SetVconf_INT : option_name_%s , option_val_%s, option_value_%d", key.c_str(),
               value.c_str(), number);
}

int Model::Cmd(const std::string& command) {
    constexpr const char* kName = "ProcessCMD";
    constexpr const char* kData = "/tmp/vardo/runCmdNativeApps";
    constexpr const char* kTrigger = "/tmp/vardo/req/runCmdNativeApps";
    record.Log(kError, kName, "ProcessCMD!!!!!!!!!!!!");
    if (Write(kData, command + "\n") != 0) {
        record.Log(kError, kName, "File creation failed (%s)", kData);
        return -1;
    }
    record.Log(kError, kName, "\nsolution is cmd type : %s\n\n", command.c_str());
    if (Write(kTrigger, "") != 0) {
        record.Log(kError, kName, "File creation failed (%s)", kTrigger);
        return -1;
    }
    record.Log(kError, kName, "File creation success (%s)", kTrigger);
    return 0;
}

void Model::LaunchApp(const std::string& appId) {
    record.Log(kInfo, "ProcessLaunchApp", "ProcessLaunchApp");
    set.Launch(appId, {}, [this](bool accepted) {
        if (!accepted) {
            record.Log(kError, "ProcessLaunchApp", "Error while executing Menu");
        }
    });
}

void Model::SettingApi(const std::string& key, const std::string& value) {
    record.Log(kInfo, "ProcessSettingAPI", "ProcessSettingAPI : key : %s , val : %s", key.c_str(),
               value.c_str());
    set.SetItemValue(key, value);
}

void Model::Api(const std::string& name, const std::string& firstValue) {
    constexpr const char* kName = "ProcessAPI";
    record.Log(kInfo, kName, "Process API called with name %s", name.c_str());
    if (name == "pixo_reset_picture") {
        set.ResetPicture(ToSigned(firstValue));
    } else if (name == "ResetPictureSize") {
        record.Log(kInfo, kName, "Reset picture Size");
        set.ResetPictureSize();
    } else if (name == "voiceguide_on") {
        record.Log(kInfo, kName, "Voice guide is ON");
        const int result = set.SetItemValue("voiceguide_on", "voiceguide");
        record.Log(kInfo, kName, "ret value: %d", result);
    } else if (name == "caption-setting") {
        set.SetItemValue("caption-setting", "caption");
    } else if (name == "subtitle-setting") {
        set.SetItemValue("subtitle-setting", "subtitle");
    } else if (name == "performDeepClean") {
        PerformDeepClean();
    } else if (name == "ResetOnOffTimer" && set.ResetOnOffTimer() != 0) {
        record.Log(kInfo, kName, "Fail to set ResetOnOFfTimer");
    }
    record.Log(kInfo, kName, "SUCCESS APPLY API");
    record.Log(kInfo, kName, "Apply_API : option_name_%s , option_val_%s", name.c_str(), firstValue.c_str());
    record.Log(kInfo, kName, "Process API EXIT");
}

void Model::MakeDevice() {
    if (!deviceExists) {
        deviceExists = true;
        record.Log(kInfo, "CGetData", "Start DiagnosisManager");
    }
}

int Model::PerformDeepClean() {
    constexpr const char* kName = "performDeepClean";
    MakeDevice();
    if (Write(kCleanTrigger, "CleanUp\n") != 0) {
        record.Log(kInfo, kName, "File creation failed (%s)", kCleanTrigger);
        return -1;
    }
    record.Log(kInfo, kName, "[KELMGR] File (%s) Created Successfully", kCleanTrigger);
    for (int wait = 1; wait <= 10; ++wait) {
        if (files.count(kCleanTrigger) == 0) {
            return 0;
        }
        record.Log(kInfo, kName, "Waiting for another 1 second to complete deep Clean Process");
        if (++waits == agentCleansAt) {
            files.erase(kCleanTrigger);
        }
    }
    record.Log(kError, kName,
               "Deep Clean Process unable to complete in 10 seconds.. so returning failure...");
    return -1;
}

int Model::PerformMemBoost() {
    constexpr const char* kTrigger = "/tmp/vardo/req/memBoost";
    MakeDevice();
    const int error = Write(kTrigger, "");
    if (error != 0) {
        record.Log(kInfo, "performMemBoost", "File creation failed (%s) with error number : %s", kTrigger,
                   error == kAnyError ? kAny : std::to_string(error).c_str());
        return -1;
    }
    return 0;
}

}  // namespace model
