// A set that does nothing, so that only the library is measured: the log returns at once, every service
// answers that it failed or is empty unless a measurement says otherwise, the screens ignore what they
// receive.
#include "BenchSet.h"

#include <cstring>
#include <string>
#include <vector>

#include "KURA_MapToDBTable.h"
#include "app_control.h"
#include "app_list.h"
#include "connection.h"
#include "dlog.h"
#include "home_data_control.h"
#include "host/CHomeScreen.h"
#include "host/CManageStorage.h"
#include "host/CStartKH.h"
#include "host/CStartKHIssues.h"
#include "host/CUtils.h"
#include "kpi_logger.h"
#include "picture_api.h"
#include "pkgmgr_client.h"
#include "power_api.h"
#include "settings_api.h"
#include "system_info.h"
#include "tv_service_api.h"
#include "vconf.h"
#include "watchman.h"

namespace bench {

Set& TheSet() {
    static Set set;
    return set;
}

}  // namespace bench

namespace {

constexpr int kNoMatchingRecord = 4;
constexpr const char* kTermsKey = "db/menu/lobby/homedatacontrol/defaultdisclaimeragree";
constexpr const char* kAppearedAt = "2026-01-31T12:00:00";

}  // namespace

extern "C" {

int dlog_print(int, const char*, const char*, ...) {
    return 0;
}

int vconf_get_int(const char* key, int* value) {
    if (!bench::TheSet().termsAccepted || std::strcmp(key, kTermsKey) != 0) {
        return -1;
    }
    *value = 1;
    return 0;
}
char* vconf_get_str(const char*) {
    return nullptr;
}
int vconf_set_int(const char*, int) {
    return 0;
}
int vconf_set_bool(const char*, int) {
    return 0;
}
int vconf_set_str(const char*, const char*) {
    return 0;
}

int app_control_create(app_control_h*) {
    return -1;
}
int app_control_set_operation(app_control_h, const char*) {
    return -1;
}
int app_control_set_app_id(app_control_h, const char*) {
    return -1;
}
int app_control_add_extra_data(app_control_h, const char*, const char*) {
    return -1;
}
int app_control_send_launch_request(app_control_h, app_control_reply_cb, void*) {
    return -1;
}
int app_control_destroy(app_control_h) {
    return -1;
}

int was_get_app_count(void) {
    return static_cast<int>(bench::TheSet().apps.size());
}
int was_get_app_list(int, was_app_entry** list, int* count) {
    *list = bench::TheSet().apps.data();
    *count = was_get_app_count();
    return 0;
}

int connection_create(connection_h*) {
    return -1;
}
int connection_profile_check_default_gateway(bool*) {
    return -1;
}
int connection_destroy(connection_h) {
    return -1;
}

int pixo_reset_picture(int) {
    return -1;
}

pkgmgr_client* pkgmgr_client_new(pkgmgr_client_type type) {
    GDBusConnection* connection = bench::TheSet().packageManager;
    return connection == nullptr ? nullptr : new pkgmgr_client{type, connection};
}
int pkgmgr_client_free(pkgmgr_client* client) {
    delete client;
    return 0;
}
int pkgmgr_client_clear_user_data(pkgmgr_client*, const char*, const char*, int) {
    return -1;
}

int system_info_get_value_string(int, char**) {
    return -1;
}
int system_info_get_custom_int(const char*, int*) {
    return -1;
}
int system_info_get_custom_bool(const char*, bool*) {
    return -1;
}
}

int InferenceSubscribeOnce(int, WMInferenceCallback) {
    return -1;
}
int GetInferenceDB(int code, int transition, std::vector<_WMInfDBRecord>& records) {
    const bench::Engine engine = bench::TheSet().engine;
    if (engine == bench::Engine::kFails) {
        return -1;
    }
    if (engine == bench::Engine::kNoRecord || transition == WM_TRANSITION_TYPE_FALSE || code % 2 != 0) {
        return kNoMatchingRecord;
    }
    records.push_back({code, transition, code, kAppearedAt, kAppearedAt});
    return 0;
}
int GetSolutionDB(int, _WMSolDBRecord&) {
    return bench::TheSet().engine == bench::Engine::kFails ? -1 : kNoMatchingRecord;
}
int SetSolutionDB(WMSolutionParams params) {
    bench::TheSet().recorded = params;
    return 0;
}

CHomeDataControlAPI* CHomeDataControlAPI::GetInstance() {
    static CHomeDataControlAPI instance;
    return &instance;
}
bool CHomeDataControlAPI::IsDisclaimerItemExist(std::string, std::string) {
    return false;
}

namespace KPILogFramework {

CLogger* CLogger::GetInstance() {
    static CLogger instance;
    return &instance;
}
int CLogger::AddEventLogSync(const std::string&, const std::string&, const std::string&, const std::string&) {
    return 1;
}

}  // namespace KPILogFramework

namespace SettingsAPI {

int SetItemValue(std::string, std::string, bool) {
    return -1;
}

}  // namespace SettingsAPI

namespace TVServiceAPI {

int CreateSourceControl(EProfile, int, ISourceControl**) {
    return -1;
}
int CreateVideoControl(EProfile, int, IVideoControl**) {
    return -1;
}

}  // namespace TVServiceAPI

namespace EPSystemAPI::nsEPPowerAPI {

int ResetOnOffTimer(EP_SYS_ONOFF, EP_TIMER_ID) {
    return -1;
}

}  // namespace EPSystemAPI::nsEPPowerAPI

namespace KURA {

CHomeScreen* CHomeScreen::Instance() {
    static CHomeScreen instance;
    return &instance;
}
void CHomeScreen::m_DiagResCallback(std::vector<MapToDBTable>) {}

CStartKH* CStartKH::Instance() {
    static CStartKH instance;
    return &instance;
}
void CStartKH::m_DiagResCallback(std::vector<MapToDBTable>) {}

CStartKHIssues* CStartKHIssues::Instance() {
    static CStartKHIssues instance;
    return &instance;
}
void CStartKHIssues::m_HideStartKHIssue() {}

CManageStorage* CManageStorage::Instance() {
    static CManageStorage instance;
    return &instance;
}
void CManageStorage::m_CreateManageStorageScreen() {}

CUtils* CUtils::Instance() {
    static CUtils instance;
    return &instance;
}
int CUtils::GetChannelType() {
    return 0;
}
int CUtils::GetCurrentSourceInfo() {
    return 0;
}
const char* CUtils::m_pGetLaunchFrom() {
    return "";
}
std::string CUtils::m_GetSwModel() {
    return {};
}
void CUtils::m_SetMultitaskingStatus(int) {}

}  // namespace KURA
