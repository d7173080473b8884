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

    /// Sets the remaining, used and total bytes of the file system that holds path; 70 MiB always count as
    /// used. Returns 0, or -1 with the outputs untouched.
    int getFlashSize(const char* path, long long* remaining, long long* used, long long* total);
    /// Measures "/opt" into the figures below. Call m_CalculateTotalSizeOfSystem first.
    void sendFlashSize();
    /// Bytes of "/opt" in use when it was last measured.
    long long m_GetUsedSize();
    /// Bytes of "/opt" when it was last measured.
    long long m_GetTotalOptSize();
    /// The nominal size of the flash part less the size of "/opt", as of the last sendFlashSize. Negative
    /// when m_CalculateTotalSizeOfSystem was not called before that.
    long long m_GetSystemUsedSize();
    /// Reads the nominal size of the flash part; keeps the last one when it cannot be read.
    void m_CalculateTotalSizeOfSystem();
    /// 0 = nothing remains in "/opt", or it cannot be measured; 1 = less than 70 MiB remain; 2 = 70 MiB or
    /// more.
    int CheckFlashFreespaceState();
    /// 0 ("Normal") when nothing remains in "/opt", else 1 ("Good"). Also sends a usage event.
    int CheckDeviceState();
    /// The text id of a state: 0 normal, 1 good, anything else bad.
    std::string getSIDForDeviceState(int state);
    /// The screen that was set last; 6 when none was.
    _CurrentScreen m_GetCurrentScreen();
    /// Remembers the screen; nothing else depends on it.
    void m_SetCurrentScreen(_CurrentScreen screen);

    // --- Installed applications ---

    /// Rebuilds the app list; blocks until every application is measured. The list is empty after a failure.
    /// It leaves out applications that have no icon, that the terms hide, or that no client could measure.
    void sendAppList();
    /// A copy of the app list of the last sendAppList.
    std::vector<AppStorageInfo> m_GetAppsDataStructure();
    /// The number of applications of the last sendAppList.
    int m_GetAppsCount();
    /// Measures one application into the figures below. Blocks up to about 5 s for the agent, more for the
    /// package manager. Returns the length of the text "total|data|cache". Returns 0 and leaves the figures
    /// untouched when the package manager gives no client.
    int sendAppData(const char* packageName, const char* appId);
    /// All bytes of the application that was measured last.
    long m_GetTotalSizeOfApp();
    /// The bytes of its data.
    long m_GetDataSizeOfApp();
    /// The bytes of its cache.
    long m_GetCacheSizeOfApp();
    /// Sets the figure in bytes, kept in 32 bits.
    void m_SetTotalSizeOfApp(long size);
    /// Sets the figure in bytes, kept in 32 bits.
    void m_SetDataSizeOfApp(long size);
    /// Sets the figure in bytes, kept in 32 bits.
    void m_SetCacheSizeOfApp(long size);
    /// Asks the agent for the bytes of data and cache. The outputs stay untouched when it does not answer
    /// within about 5 s, or when the request cannot be written. An answer with one number sets only dataSize.
    void findDataCacheSize(char* packageName, char* appId, long* dataSize, long* cacheSize);
    /// The bytes of the package, cut to 32 bits. Otherwise an error: the package manager's own result code as
    /// it is, or -1, -2, -3 or -5. callback and userData are ignored.
    int getAppSize(pkgmgr_client* client, const char* packageId, unsigned uid, pkgmgr_getsize_type type,
                   pkgmgr_getsize_cb callback, void* userData);
    /// Returns 0 and sets *result, which the caller owns. Returns -2 when no attempt was answered and -5 when
    /// access was denied; *result is then untouched. Takes over params when its reference is floating.
    int pkgmgr_client_connection_send_request(pkgmgr_client* client, const char* method, GVariant* params,
                                              GVariant** result);
    /// Runs the command in a shell and returns the first word of the first line that it prints, standard
    /// error included. Only the first 255 characters of the line count.
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

    /// Asks the agent and waits. Returns 0 when the agent finished within 10 s, else -1.
    int performDeepClean();
    /// Asks the agent and does not wait. Returns 0 when the request was written, else -1.
    int performMemBoost();
    /// Asks the agent to end the application and does not wait. A failure is logged.
    void killApp(char* packageName);
    /// Asks the agent and does not wait. Returns 0 when the request was written, else -1.
    int clearAppCache(char* packageName, char* appId);
    /// Returns 0 when the data was cleared, 1 for a protected application, -1 after a failure.
    int clearAppData(char* packageName);
    /// 1 for an application whose data and cache are never cleared, else 0.
    int m_IfDisableClearDataCache(char* id);

    // --- Environment and launching ---

    /// The stored consent (1 = accepted); 0 when it cannot be read.
    int m_CheckTermsCond();
    /// Whether the default gateway answers. Also false when the set cannot be asked.
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
    /// Starts the application with the extra data that it expects. False when the launch was refused. Throws
    /// nothing.
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

/// Sets *total to the nominal size of the flash part in bytes and returns 0. Returns -1 and leaves *total
/// untouched when the size is not known.
KURA_API int getTotalSize(long long* total);

/// The bytes that the agent noted for YouTube; 0 when it noted none.
KURA_API long long getAppSizeForYoutube();

/// Kept for hosts that call it; has no effect.
KURA_API void sendUninstallProgress(int progress);

}  // namespace KURA
