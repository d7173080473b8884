// The set and the host in process, for tests. Every function of platform/ answers from the tables below and
// records its call. There is one global set in a process. Each test runs in a process of its own, in a
// sandbox with an empty, writable /opt, /home and /tmp; a test may also make files in /proc and /etc, for
// example /proc/vex_chipid_val, /etc/release and /etc/debug, which do not exist before.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "KURA_MapToDBTable.h"
#include "app_list.h"
#include "tv_service_api.h"
#include "watchman.h"

namespace fakes {

/// One line of the log. text is the whole formatted line; the parts are cut from its prefix.
struct LogLine {
    int priority = 0;
    std::string tag;
    std::string format;  ///< as passed
    std::string text;    ///< as formatted
    std::string file;    ///< "KURA_Storage.cpp"
    std::string function;
    int line = 0;         ///< 0 when the two line numbers of the prefix differ
    std::string message;  ///< what follows the prefix
};

/// What a launch request asked for.
struct Launch {
    std::string operation;
    std::string appId;
    std::vector<std::pair<std::string, std::string>> extras;  ///< in the order added
    bool hadCallback = false;
};

/// Answers and records. Fill the answers before the call under test; read the records after it. Recording is
/// thread-safe; read the vectors while nothing runs.
class FakeSet {
public:
    // --- Records ---

    /// Every platform and host call but the log, in order, written like "vconf_set_str(key, value)". Formats:
    ///   vconf_get_int(key) vconf_get_str(key) vconf_set_int(key, 5) vconf_set_bool(key, 0)
    ///   vconf_set_str(key, value) app_control_create() app_control_set_operation(default)
    ///   app_control_set_app_id(id) app_control_add_extra_data(key, value)
    ///   app_control_send_launch_request(id) app_control_destroy() pkgmgr_client_new(0) pkgmgr_client_free()
    ///   pkgmgr_client_clear_user_data(NULL, package, 1) system_info_get_value_string(187)
    ///   system_info_get_custom_int(key) system_info_get_custom_bool(key) connection_create()
    ///   connection_profile_check_default_gateway() connection_destroy() InferenceSubscribeOnce(10000000)
    ///   GetInferenceDB(code, type) GetSolutionDB(code) SetSolutionDB(code, solution, type, started)
    ///   AddEventLogSync(service, event, category, description) SetItemValue(item, value, 0)
    ///   CreateSourceControl(1, 0) GetCurrentSource() CreateVideoControl(1, 0) ResetPictureSize()
    ///   ResetOnOffTimer(2, 8) pixo_reset_picture(mode) was_get_app_count() was_get_app_list(2)
    ///   IsDisclaimerItemExist(item, device) CHomeScreen::m_DiagResCallback(rows)
    ///   CStartKH::m_DiagResCallback(rows) CStartKHIssues::m_HideStartKHIssue()
    ///   CManageStorage::m_CreateManageStorageScreen() CUtils::GetChannelType()
    ///   CUtils::GetCurrentSourceInfo() CUtils::m_pGetLaunchFrom() CUtils::m_GetSwModel()
    ///   CUtils::m_SetMultitaskingStatus(1) TCThreadPool(20) ~TCThreadPool()
    std::vector<std::string> calls;
    std::vector<LogLine> log;
    /// Calls and log lines together, in order; a log line reads "log 4 function: message".
    std::vector<std::string> events;

    std::vector<Launch> launches;
    std::vector<WMInferenceCallback> subscriptions;
    std::vector<WMSolutionParams> recordedSolutions;
    std::vector<std::vector<std::string>> usageEvents;  ///< service, event, category, description
    std::vector<std::vector<KURA::MapToDBTable>> homeScreenLists;
    std::vector<std::vector<KURA::MapToDBTable>> startScreenLists;
    int liveAppControls = 0;  ///< created and not destroyed
    int livePkgmgrClients = 0;
    int liveTvControls = 0;
    int liveConnections = 0;

    // --- Answers: settings keys ---
    std::map<std::string, int> intKeys;             ///< also written by vconf_set_int and vconf_set_bool
    std::map<std::string, std::string> stringKeys;  ///< also written by vconf_set_str
    std::set<std::string> refusedKeys;              ///< every access answers -1 (vconf_get_str: null)

    // --- Answers: engine ---
    std::map<std::pair<int, int>, std::vector<_WMInfDBRecord>> inferences;  ///< by (code, transition type)
    std::map<std::pair<int, int>, int> inferenceResults;  ///< default: 0 with records, 4 without an entry
    std::map<int, _WMSolDBRecord> solutions;
    std::map<int, int>
        solutionResults;  ///< default: 0 with a record, 4 without; a record is filled in either way
    int subscribeResult = 0;

    // --- Answers: the set ---
    std::map<int, std::string> valueStrings;  ///< absent: -1
    std::set<int> nullValueStrings;           ///< success with a null text
    std::map<std::string, int> customInts;    ///< absent: -1
    std::map<std::string, bool> customBools;  ///< absent: -1
    int createAppControlResult = 0;
    int launchResult = 0;
    int loggerResult = 1;
    int setItemValueResult = 0;
    int resetPictureResult = 0;
    int resetPictureSizeResult = 0;
    int resetOnOffTimerResult = 0;
    int createTvControlResult = 0;   ///< non-zero: no object is created
    int currentSource = 0;           ///< what the source control fills in
    int getCurrentSourceResult = 1;  ///< below 1: the source is not filled in
    int createConnectionResult = 0;
    int checkGatewayResult = 0;
    bool gatewayConnected = true;
    bool disclaimerItemExists = true;
    bool pkgmgrClientAvailable = true;
    void* pkgmgrConnection = nullptr;  ///< the GDBusConnection* of new clients
    int clearUserDataResult = 0;       ///< a null client answers -1 whatever this says
    int appCount = 0;
    int appListResult = 0;
    std::vector<was_app_entry> apps;

    // --- Answers: the host ---
    int channelType = 2;
    int hostSource = 0;
    const char* launchFrom = nullptr;
    std::string swModel;

    /// Runs at the start of every recorded call with its text; may throw or block.
    std::function<void(const std::string& call)> onCall;
    /// The same for every log line.
    std::function<void()> onLog;
    /// Off for threads and benchmarks: calls and log lines are then counted but not kept, nor are launches,
    /// usage events and screen lists. Subscriptions and recorded solutions are always kept.
    bool keepRecords = true;
    std::atomic<std::size_t> callCount{0};
    std::atomic<std::size_t> logCount{0};

    // --- Helpers ---

    /// The messages of the log, all or of one function.
    std::vector<std::string> Messages() const;
    std::vector<std::string> Messages(const std::string& function) const;
    bool Logged(int priority, const std::string& message) const;
    bool Called(const std::string& call) const;
    std::size_t CountCalls(const std::string& prefix) const;

    void Record(const std::string& call);
    void RecordLog(LogLine line);

private:
    std::mutex m_mutex;  ///< guards the records
};

FakeSet& Set();

}  // namespace fakes
