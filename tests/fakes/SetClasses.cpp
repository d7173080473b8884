// The set's C++ services: the diagnosis engine, the logger, settings, TV, timers, consent.
#include "Fakes.h"
#include "Recorder.h"
#include "home_data_control.h"
#include "kpi_logger.h"
#include "power_api.h"
#include "settings_api.h"
#include "tv_service_api.h"
#include "watchman.h"

using fakes::AnswerLock;
using fakes::Enter;
using fakes::Set;

int InferenceSubscribeOnce(int period, WMInferenceCallback callback) {
    Enter("InferenceSubscribeOnce", period);
    const AnswerLock lock;
    Set().subscriptions.push_back(callback);
    return Set().subscribeResult;
}

int GetInferenceDB(int issue_code, int transition_type, std::vector<_WMInfDBRecord>& records) {
    Enter("GetInferenceDB", issue_code, transition_type);
    constexpr int kNoMatch = 4;
    const AnswerLock lock;
    const auto key = std::make_pair(issue_code, transition_type);
    const auto found = Set().inferences.find(key);
    if (found != Set().inferences.end()) {
        records.insert(records.end(), found->second.begin(), found->second.end());
    }
    const auto result = Set().inferenceResults.find(key);
    if (result != Set().inferenceResults.end()) {
        return result->second;
    }
    return found == Set().inferences.end() ? kNoMatch : 0;
}

int GetSolutionDB(int issue_code, _WMSolDBRecord& record) {
    Enter("GetSolutionDB", issue_code);
    constexpr int kNoMatch = 4;
    const AnswerLock lock;
    const auto found = Set().solutions.find(issue_code);
    if (found != Set().solutions.end()) {
        record = found->second;
    }
    const auto result = Set().solutionResults.find(issue_code);
    if (result != Set().solutionResults.end()) {
        return result->second;
    }
    return found == Set().solutions.end() ? kNoMatch : 0;
}

int SetSolutionDB(WMSolutionParams params) {
    Enter("SetSolutionDB", params.issueCode, params.solutionCode, params.solutionType, params.started);
    const AnswerLock lock;
    Set().recordedSolutions.push_back(params);
    return 0;
}

namespace KPILogFramework {

CLogger* CLogger::GetInstance() {
    static CLogger logger;
    return &logger;
}

int CLogger::AddEventLogSync(const std::string& serviceCode, const std::string& eventName,
                             const std::string& category, const std::string& description) {
    Enter("AddEventLogSync", serviceCode, eventName, category, description);
    const AnswerLock lock;
    if (Set().keepRecords) {
        Set().usageEvents.push_back({serviceCode, eventName, category, description});
    }
    return Set().loggerResult;
}

}  // namespace KPILogFramework

namespace SettingsAPI {

int SetItemValue(std::string item, std::string value, bool notify) {
    Enter("SetItemValue", item, value, notify);
    const AnswerLock lock;
    return Set().setItemValueResult;
}

}  // namespace SettingsAPI

namespace TVServiceAPI {

namespace {

/// Counts the objects that the library has to delete.
struct CountedControl {
    CountedControl() { ++Set().liveTvControls; }
    CountedControl(const CountedControl&) = delete;
    CountedControl& operator=(const CountedControl&) = delete;
    ~CountedControl() {
        const AnswerLock lock;
        --Set().liveTvControls;
    }
};

class FakeSourceControl : public ISourceControl {
public:
    int GetCurrentSource(int* source) override {
        Enter("GetCurrentSource");
        const AnswerLock lock;
        if (Set().getCurrentSourceResult > 0) {
            *source = Set().currentSource;
        }
        return Set().getCurrentSourceResult;
    }

private:
    CountedControl m_counted;
};

class FakeVideoControl : public IVideoControl {
public:
    int ResetPictureSize() override {
        Enter("ResetPictureSize");
        const AnswerLock lock;
        return Set().resetPictureSizeResult;
    }

private:
    CountedControl m_counted;
};

}  // namespace

int CreateSourceControl(EProfile profile, int reserved, ISourceControl** control) {
    Enter("CreateSourceControl", profile, reserved);
    const AnswerLock lock;
    if (Set().createTvControlResult == 0) {
        *control = new FakeSourceControl;
    }
    return Set().createTvControlResult;
}

int CreateVideoControl(EProfile profile, int reserved, IVideoControl** control) {
    Enter("CreateVideoControl", profile, reserved);
    const AnswerLock lock;
    if (Set().createTvControlResult == 0) {
        *control = new FakeVideoControl;
    }
    return Set().createTvControlResult;
}

}  // namespace TVServiceAPI

namespace EPSystemAPI::nsEPPowerAPI {

int ResetOnOffTimer(EP_SYS_ONOFF onOff, EP_TIMER_ID timer) {
    Enter("ResetOnOffTimer", onOff, timer);
    const AnswerLock lock;
    return Set().resetOnOffTimerResult;
}

}  // namespace EPSystemAPI::nsEPPowerAPI

CHomeDataControlAPI* CHomeDataControlAPI::GetInstance() {
    static CHomeDataControlAPI control;
    return &control;
}

bool CHomeDataControlAPI::IsDisclaimerItemExist(std::string item, std::string device) {
    Enter("IsDisclaimerItemExist", item, device);
    const AnswerLock lock;
    return Set().disclaimerItemExists;
}
