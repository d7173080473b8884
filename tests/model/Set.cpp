#include "Set.h"

#include "Fakes.h"

namespace model {

namespace {

std::string Joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}

/// Releases the handle however the launch ends.
struct Handle {
    Record& record;
    ~Handle() { record.Call("app_control_destroy()"); }
};

}  // namespace

bool Set::IsRefused(const std::string& key) const {
    return fakes::Set().refusedKeys.count(key) != 0;
}

int Set::VconfSetInt(const std::string& key, int value) {
    m_record.Call("vconf_set_int(" + key + ", " + std::to_string(value) + ")");
    if (IsRefused(key)) {
        return -1;
    }
    intKeys[key] = value;
    return 0;
}

void Set::VconfSetBool(const std::string& key, int value) {
    m_record.Call("vconf_set_bool(" + key + ", " + std::to_string(value) + ")");
    if (!IsRefused(key)) {
        intKeys[key] = value;
    }
}

void Set::VconfSetStr(const std::string& key, const std::string& value) {
    m_record.Call("vconf_set_str(" + key + ", " + value + ")");
    if (!IsRefused(key)) {
        stringKeys[key] = value;
    }
}

std::string Set::VconfGetStr(const std::string& key) {
    m_record.Call("vconf_get_str(" + key + ")");
    const auto entry = stringKeys.find(key);
    return IsRefused(key) || entry == stringKeys.end() ? "" : entry->second;
}

bool Set::ValueString(int key, std::string& out) {
    m_record.Call("system_info_get_value_string(" + std::to_string(key) + ")");
    const auto entry = fakes::Set().valueStrings.find(key);
    if (fakes::Set().nullValueStrings.count(key) != 0 || entry == fakes::Set().valueStrings.end()) {
        return false;
    }
    out = entry->second;
    return true;
}

bool Set::Launch(const std::string& appId, const std::vector<std::pair<std::string, std::string>>& extras,
                 const std::function<void(bool accepted)>& sent) {
    m_record.Call("app_control_create()");
    const Handle handle{m_record};
    m_record.Call("app_control_set_operation(default)");
    m_record.Call("app_control_set_app_id(" + appId + ")");
    for (const auto& [key, value] : extras) {
        m_record.Call("app_control_add_extra_data(" + key + ", " + value + ")");
    }
    m_record.Call("app_control_send_launch_request(" + appId + ")");
    const bool accepted = fakes::Set().launchResult == 0;
    if (sent) {
        sent(accepted);
    }
    return accepted;
}

int Set::GetInferenceDB(int code, int type, std::vector<_WMInfDBRecord>& records) {
    m_record.Call("GetInferenceDB(" + std::to_string(code) + ", " + std::to_string(type) + ")");
    const fakes::FakeSet& set = fakes::Set();
    const auto found = set.inferences.find({code, type});
    if (found != set.inferences.end()) {
        records.insert(records.end(), found->second.begin(), found->second.end());
    }
    const auto result = set.inferenceResults.find({code, type});
    if (result != set.inferenceResults.end()) {
        return result->second;
    }
    return found == set.inferences.end() ? 4 : 0;
}

int Set::GetSolutionDB(int code, _WMSolDBRecord& record) {
    m_record.Call("GetSolutionDB(" + std::to_string(code) + ")");
    const fakes::FakeSet& set = fakes::Set();
    const auto found = set.solutions.find(code);
    if (found != set.solutions.end()) {
        record = found->second;
    }
    const auto result = set.solutionResults.find(code);
    if (result != set.solutionResults.end()) {
        return result->second;
    }
    return found == set.solutions.end() ? 4 : 0;
}

void Set::SetSolutionDB(const WMSolutionParams& params) {
    m_record.Call("SetSolutionDB(" +
                  Joined({std::to_string(params.issueCode), std::to_string(params.solutionCode),
                          std::to_string(params.solutionType), std::to_string(params.started)}) +
                  ")");
}

void Set::Subscribe(char who) {
    m_record.Call("InferenceSubscribeOnce(10000000)");
    subscribers += who;
}

int Set::AddEvent(const std::string& description) {
    m_record.Call("AddEventLogSync(" + Joined({"23_kurahelp", "KURAHELP", "EV003", description}) + ")");
    return fakes::Set().loggerResult;
}

int Set::SetItemValue(const std::string& item, const std::string& value) {
    m_record.Call("SetItemValue(" + item + ", " + value + ", 0)");
    return fakes::Set().setItemValueResult;
}

int Set::ResetPicture(int mode) {
    m_record.Call("pixo_reset_picture(" + std::to_string(mode) + ")");
    return fakes::Set().resetPictureResult;
}

int Set::ResetPictureSize() {
    m_record.Call("CreateVideoControl(1, 0)");
    if (fakes::Set().createTvControlResult != 0) {
        return -1;
    }
    m_record.Call("ResetPictureSize()");
    return fakes::Set().resetPictureSizeResult;
}

int Set::ResetOnOffTimer() {
    m_record.Call("ResetOnOffTimer(2, 8)");
    return fakes::Set().resetOnOffTimerResult;
}

int Set::CurrentSource(int& source) {
    m_record.Call("CreateSourceControl(1, 0)");
    if (fakes::Set().createTvControlResult != 0) {
        return 0;
    }
    m_record.Call("GetCurrentSource()");
    if (fakes::Set().getCurrentSourceResult > 0) {
        source = fakes::Set().currentSource;
    }
    return fakes::Set().getCurrentSourceResult;
}

int Set::ChannelType() {
    m_record.Call("CUtils::GetChannelType()");
    return fakes::Set().channelType;
}

int Set::HostSource() {
    m_record.Call("CUtils::GetCurrentSourceInfo()");
    return fakes::Set().hostSource;
}

const char* Set::LaunchFrom() {
    m_record.Call("CUtils::m_pGetLaunchFrom()");
    return fakes::Set().launchFrom;
}

void Set::MultitaskingStatus(int status) {
    m_record.Call("CUtils::m_SetMultitaskingStatus(" + std::to_string(status) + ")");
}

void Set::HideIssues() {
    m_record.Call("CStartKHIssues::m_HideStartKHIssue()");
}

void Set::ShowStorage() {
    m_record.Call("CManageStorage::m_CreateManageStorageScreen()");
}

void Set::ShowAtHome(const Rows& rows) {
    m_record.Call("CHomeScreen::m_DiagResCallback(" + std::to_string(rows.size()) + ")");
    homeLists.push_back(rows);
}

void Set::ShowAtStart(const Rows& rows) {
    m_record.Call("CStartKH::m_DiagResCallback(" + std::to_string(rows.size()) + ")");
    startLists.push_back(rows);
}

}  // namespace model
