// Device figures and maintenance for the host's storage screens. Sizes are in bytes.
#pragma once

#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "KURA_Export.h"
#include "pkgmgr_client.h"

namespace KURA {

/// The host's screens; the numbers are the host's own.
enum _CurrentScreen : int {};

/// One installed application.
struct AppStorageInfo {
    bool hasIcon = false;         ///< the file at iconPath exists
    std::string title;            ///< for people
    std::int32_t totalSize = 0;   ///< bytes
    std::string packageId;        ///< the package's id
    std::string appId;            ///< the application's id
    std::string entryId;          ///< the id of its entry in the launcher
    std::string iconPath;         ///< at most 1023 characters
    std::int32_t attribute1 = 0;  ///< as the set's list of applications has it
    std::int32_t attribute2 = 0;  ///< as the set's list of applications has it
    std::int16_t flag = 0;        ///< never set
    std::int32_t attribute3 = 0;  ///< as the set's list of applications has it
};

/// GetInstance is thread-safe; for the operations the caller serialises. Null texts read as empty.
class KURA_API CGetData {
public:
    /// Created on the first call, never destroyed.
    static CGetData* GetInstance();
    CGetData(const CGetData&) = delete;
    CGetData& operator=(const CGetData&) = delete;

    // --- Storage and device state ---

    /// 0, or -1 with the outputs untouched. 70 MiB always count as used.
    int getFlashSize(const char* path, long long* remaining, long long* used, long long* total);
    /// Measures "/opt" into the figures below. Call m_CalculateTotalSizeOfSystem first.
    void sendFlashSize();
    /// Bytes of "/opt" in use when it was last measured.
    long long m_GetUsedSize();
    /// Bytes of "/opt" when it was last measured.
    long long m_GetTotalOptSize();
    /// The flash part's nominal size less that of "/opt"; negative before m_CalculateTotalSizeOfSystem.
    long long m_GetSystemUsedSize();
    /// Reads the flash part's nominal size; an unknown one leaves the last.
    void m_CalculateTotalSizeOfSystem();
    /// 0 = nothing remains, 1 = less than 70 MiB remain, 2 = 70 MiB or more.
    int CheckFlashFreespaceState();
    /// 1 ("Good") or 0 ("Normal"); also sends a usage event.
    int CheckDeviceState();
    /// The text id of a state: 0 normal, 1 good, anything else bad.
    std::string getSIDForDeviceState(int state);
    /// The screen that was set last; 6 before.
    _CurrentScreen m_GetCurrentScreen();
    /// Remembers the screen; nothing else depends on it.
    void m_SetCurrentScreen(_CurrentScreen screen);

    // --- Installed applications ---

    /// Rebuilds the app list; blocks until every application is measured.
    void sendAppList();
    /// A copy of the app list of the last sendAppList.
    std::vector<AppStorageInfo> m_GetAppsDataStructure();
    /// The number of applications of the last sendAppList.
    int m_GetAppsCount();
    /// Measures one application into the figures below (blocks up to about 5 s for the agent, more for the
    /// package manager). Returns the length of "total|data|cache"; 0, the figures untouched, without a
    /// client.
    int sendAppData(const char* packageName, const char* appId);
    /// Bytes of the application measured last, all of it.
    long m_GetTotalSizeOfApp();
    /// Bytes of its data.
    long m_GetDataSizeOfApp();
    /// Bytes of its cache.
    long m_GetCacheSizeOfApp();
    /// Sets the figure in bytes, kept in 32 bits.
    void m_SetTotalSizeOfApp(long size);
    /// Sets the figure in bytes, kept in 32 bits.
    void m_SetDataSizeOfApp(long size);
    /// Sets the figure in bytes, kept in 32 bits.
    void m_SetCacheSizeOfApp(long size);
    /// Asks the agent; the outputs stay untouched when it does not answer within about 5 s.
    void findDataCacheSize(char* packageName, char* appId, long* dataSize, long* cacheSize);
    /// Bytes, or a negative error; callback and userData are ignored.
    int getAppSize(pkgmgr_client* client, const char* packageId, unsigned uid, pkgmgr_getsize_type type,
                   pkgmgr_getsize_cb callback, void* userData);
    /// 0 with *result owned by the caller, -2 when no attempt was answered, -5 when access was denied. A
    /// floating params is taken over.
    int pkgmgr_client_connection_send_request(pkgmgr_client* client, const char* method, GVariant* params,
                                              GVariant** result);
    /// The first word of the command's first output line; runs a shell.
    std::string GetStdoutFromCommand(std::string command);
    /// Kept for hosts that call it; has no effect.
    void EcoreToSendAppList();
    /// Kept for hosts that pass it on; only logs.
    static void app_list_handle_function(void* data, void* thread);
    /// Kept for hosts that pass it on; only logs.
    static void app_list_error_handle_function(void* data, void* thread);
    /// Kept for hosts that pass it on; only logs.
    static void app_list_handle_terminate_function(void* data, void* thread);

    // --- Clean-up ---

    /// 0 when the agent finished within 10 s, else -1. Blocks.
    int performDeepClean();
    /// 0 once the request stands, else -1. Does not wait.
    int performMemBoost();
    /// Asks the agent to end the application. Does not wait; a failure is logged.
    void killApp(char* packageName);
    /// 0 once the request stands, else -1. Does not wait.
    int clearAppCache(char* packageName, char* appId);
    /// 0, 1 for a protected application, -1 on failure.
    int clearAppData(char* packageName);
    /// 1 for an application whose data and cache are never cleared, else 0.
    int m_IfDisableClearDataCache(char* id);

    // --- Environment and launching ---

    /// The stored consent (1 = accepted); 0 when it cannot be read.
    int m_CheckTermsCond();
    /// Whether the default gateway answers; false, too, when the set cannot be asked.
    bool m_CheckNetwork();
    /// Whether the host may offer a service request.
    bool check_request_support_enable();
    /// Whether the panel is 7680 x 4320.
    bool m_GetTypeOfTV();
    /// Whether the last occurrence of model in the software model is at its start.
    bool m_CheckForSwModel(std::string model);
    /// Starts the menu at the diagnosis page; a refusal is logged.
    void launch_menu_app();
    /// Starts the hotel menu; a refusal is logged.
    void launch_hotel_menu();
    /// Starts the application, with what its id asks for; false when it was refused. Throws nothing.
    bool ProcessLaunchApp(const char* appId);

private:
    CGetData();

    std::vector<AppStorageInfo> m_appList;
    long long m_usedSize = 0;
    long long m_totalOptSize = 0;
    long long m_systemUsedSize = 0;
    long long m_totalFlashSize = 0;
    std::int32_t m_totalSizeOfApp = 0;
    std::int32_t m_dataSizeOfApp = 0;
    std::int32_t m_cacheSizeOfApp = 0;
    _CurrentScreen m_currentScreen = static_cast<_CurrentScreen>(6);
    std::int32_t m_appsCount = 0;

    static CGetData* m_pInstance;
    static boost::mutex& m_KDMmutex;  ///< never destroyed
};

/// The flash part's nominal size: 0 when *total was set, -1 with *total untouched otherwise.
KURA_API int getTotalSize(long long* total);

/// The size that the agent keeps for YouTube; 0 when there is none.
KURA_API long long getAppSizeForYoutube();

/// Kept for hosts that call it; has no effect.
KURA_API void sendUninstallProgress(int progress);

}  // namespace KURA
