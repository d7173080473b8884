// The diagnosis modes, the engine's completions, and the launches that carry extra data.
#include <exception>

#include "Model.h"

namespace model {

namespace {

constexpr const char* kStep = "system/watchman/STOperation";

bool ShowsHdmi(int source) {
    return (source >= 13 && source <= 16) || source == 38 || source == 39 || source == 46 || source == 47;
}

using Extras = std::vector<std::pair<std::string, std::string>>;

}  // namespace

void Model::MakeManager() {
    if (managerExists) {
        return;
    }
    record.Log(kInfo, "KURA_DiagManager", "Start DiagnosisManager");
    record.Log(kInfo, "createLibHandler", "create Lib Handler");
    record.Log(kInfo, "createLibHandler", "dlopen success: handle %s", kAny);
    record.Log(kInfo, "createLibHandler", "dlysm before call");
    record.Log(kInfo, "KURA_DiagManager", "calling thro dlysm parse solution");
    ParseSolutionMap();
    managerExists = true;
}

std::string Model::StartSelfDiagnosis(const std::string& target) {
    constexpr const char* kName = "StartSelfDiagnosis";
    record.Log(kInfo, kName, "StartSelfDiagnosis!!!!!!!!!!!!!");
    if (target == "NetworkSetting") {
        record.Log(kInfo, kName, "launch Network Setting");
        LaunchApp("org.vesta.NetworkSetting-Vesta");
        return "";
    }
    if (target != "SignalInfo") {
        record.Log(kError, kName, "Unknown Value : %s", target.c_str());
        return "";
    }
    record.Log(kInfo, kName, "launch Signal Info from KURA Native side");
    int source = -1;
    if (set.CurrentSource(source) > 0) {
        record.Log(kInfo, "GetCurrentSourceInfo", "GetCurrentSourceInfo success");
    }
    record.Log(kInfo, "GetCurrentSourceInfo", "Current source : %d", source);
    const bool hdmi = ShowsHdmi(source);
    record.Log(kInfo, kName, hdmi ? "HDMI MODE" : "NOT HDMI MODE");
    return hdmi ? "hdmi-information" : "signal-information";
}

void Model::StartTutorDiagnosis() {
    record.Log(kError, "StartTutorDiagnosis", "StarTutor Diagnosis");
    set.Subscribe('T');
    record.Log(kInfo, "StartTutorDiagnosis", "End Tutor Diagnosis");
}

void Model::StartAutoDiagnosis() {
    record.Log(kInfo, "StartAutoDiagnosis", "StartAutoDiagnosis");
    set.Subscribe('S');
    record.Log(kInfo, "StartAutoDiagnosis", "EndAutoDiagnosis");
}

void Model::RemainingProblem() {
    record.Log(kInfo, "RemainingProblem", "RemainingProblem");
    set.VconfSetStr(kStep, R"({"id" : "InferenceRemaining"})");
    set.Subscribe('R');
}

void Model::Complete(char who) {
    if (who == 'T') {
        record.Log(kInfo, "TutorCallbackFunc", "TutorCallbackFunc");
        CreateTutorErrList();
        loopEnded = true;
    } else if (who == 'R') {
        record.Log(kInfo, "RemainingCallbackFunc", "RemainingCallbackFunc");
        set.VconfSetStr(kStep, R"({"id" : "RemainingCallback"})");
        CompareRemaining();
    } else {
        record.Log(kInfo, "SolutionCallbackFunc", "SolutionCallbackFunc");
        set.VconfSetStr(kStep, R"({"id" : "SolutionCallback"})");
        record.Log(kInfo, "SolutionCallbackFunc", "CreateErrorList start..");
        CreateErrorList();
        record.Log(kInfo, "SolutionCallbackFunc", "CreateErrorList end..");
    }
}

int Model::OptimizeDevice() {
    record.Log(kInfo, "OptimizeDevice", "OptimizeDevice");
    PerformDeepClean();
    return PerformMemBoost();
}

/// An exception of the set or the host is logged, and the launch counts as refused.
bool Model::LaunchWithExtras(const std::string& appId) {
    try {
        return TryLaunchWithExtras(appId);
    } catch (const std::exception& error) {
        record.Log(kError, "ProcessLaunchApp", "%s", error.what());
    } catch (...) {
        record.Log(kError, "ProcessLaunchApp", "unknown exception");
    }
    return false;
}

bool Model::TryLaunchWithExtras(const std::string& appId) {
    constexpr const char* kHost = "com.norvik.TVKuraHelp";
    MakeDevice();
    Extras extras;
    if (appId == "org.vesta.picture-test" || appId == "com.norvik.video-test" ||
        appId == "org.vesta.sound-test" || appId == "org.vesta.lobbyhub-reset" ||
        appId == "org.vesta.lobbyhub-connection-test" || appId == "org.vesta.mled-installation-test") {
        set.MultitaskingStatus(1);
        extras = {{"launchedFrom", kHost}};
    } else if (appId == "com.norvik.tv.hdmi-troubleshooting") {
        extras = {{"type", "VIDEO_TROUBLE_SHOOTING_SETUP"}};
    } else if (appId == "com.norvik.tv.broadcastingmenu") {
        MakeManager();
        const std::string page = StartSelfDiagnosis("SignalInfo");
        record.Log(kInfo, "ProcessLaunchApp", "signal launch %s", page.c_str());
        set.MultitaskingStatus(1);
        extras = {{"ID", page}, {"PrevSubmenu", kHost}, {"__K_RELOCATE_BELOW", "org.vesta.tv-viewer"}};
    } else if (appId == "org.vesta.menu") {
        extras = {{"launchby", "others"}, {"callerid", kHost}, {"type", "networkstatus"}};
    } else if (appId == "org.vesta.wizard") {
        extras = {{"type", "TERMS_SETUP"}};
    }
    const bool accepted = set.Launch(appId, extras);
    if (!accepted) {
        record.Log(kInfo, "ProcessLaunchApp", "Error while executing Menu");
    }
    return accepted;
}

}  // namespace model
