// The set and the host that the model asks. Every question is recorded, and the answers are those that the
// fakes give the library. The model writes into settings of its own.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "KURA_MapToDBTable.h"
#include "Record.h"
#include "watchman.h"

namespace model {

using Rows = std::vector<KURA::MapToDBTable>;

class Set {
public:
    explicit Set(Record& record) : m_record(record) {}

    int VconfSetInt(const std::string& key, int value);
    void VconfSetBool(const std::string& key, int value);
    void VconfSetStr(const std::string& key, const std::string& value);
    std::string VconfGetStr(const std::string& key);
    bool ValueString(int key, std::string& out);

    /// Whether a launch request with these extras was accepted; sent runs with that before the handle is
    /// released.
    bool Launch(const std::string& appId, const std::vector<std::pair<std::string, std::string>>& extras,
                const std::function<void(bool accepted)>& sent = {});

    int GetInferenceDB(int code, int type, std::vector<_WMInfDBRecord>& records);
    int GetSolutionDB(int code, _WMSolDBRecord& record);
    void SetSolutionDB(const WMSolutionParams& params);
    void Subscribe(char who);

    int AddEvent(const std::string& description);
    int SetItemValue(const std::string& item, const std::string& value);
    int ResetPicture(int mode);
    int ResetPictureSize();
    int ResetOnOffTimer();
    /// Above 0, and source filled in, when the TV service answers.
    int CurrentSource(int& source);

    int ChannelType();
    int HostSource();
    const char* LaunchFrom();
    void MultitaskingStatus(int status);
    void HideIssues();
    void ShowStorage();
    void ShowAtHome(const Rows& rows);
    void ShowAtStart(const Rows& rows);

    // What was written and shown, to be compared.
    std::map<std::string, int> intKeys;
    std::map<std::string, std::string> stringKeys;
    std::vector<Rows> homeLists;
    std::vector<Rows> startLists;
    /// Who waits for the engine: 'T'utor, 'R'emaining or 'S'olution.
    std::string subscribers;

private:
    bool IsRefused(const std::string& key) const;

    Record& m_record;
};

}  // namespace model
