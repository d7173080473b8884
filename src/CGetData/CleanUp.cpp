// Actions that free space or memory. The package manager clears an application's data; the agent does
// everything else, asked through request files. Only the deep clean waits for the agent; every other request
// succeeds once its trigger is written.
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <sstream>
#include <string>
#include <thread>

#include "CGetData.h"
#include "CGetData/PackageClient.h"
#include "base/AppIds.h"
#include "base/GuardedFile.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "base/SetPaths.h"

namespace KURA {

namespace {

constexpr int kDeepCleanAttempts = 10;

constexpr const char* kProtectedApps[] = {base::kPrimeVideoApp, base::kYouTubeApp, base::kNetflixApp};

bool RequestDeepClean() {
    if (!base::WriteGuarded(base::kDeepCleanTrigger, "CleanUp\n")) {
        KURA_LOG_AS("performDeepClean", DLOG_INFO, "File creation failed (%s)", base::kDeepCleanTrigger);
        return false;
    }
    KURA_LOG_AS("performDeepClean", DLOG_INFO, "[KELMGR] File (%s) Created Successfully",
                base::kDeepCleanTrigger);
    return true;
}

/// Logs whether one file of a request was written.
bool Report(const char* function, const char* path, bool created) {
    KURA_LOG_AS(function, DLOG_INFO, "[KELMGR-NATIVE] file %s (%s)",
                created ? "created successfully" : "creation failed", path);
    return created;
}

bool WriteReported(const char* function, const char* path, const std::string& text) {
    return Report(function, path, base::WriteGuarded(path, text));
}

bool CreateCacheTrigger() {
    std::string resolved;
    const bool plain = base::IsPlainPath(base::kClearAppCacheTrigger, &resolved);
    if (!resolved.empty()) {
        KURA_LOG_AS("clearAppCache", DLOG_INFO, "realpath1 is %s", resolved.c_str());
    }
    return plain &&
           base::WriteAndClose(base::OpenPlainFile(base::kClearAppCacheTrigger, base::WriteMode::kWrite), "");
}

/// Whether the agent is done and has deleted its trigger. Only "no such file" means that; any other failure
/// to look at the path tells nothing.
bool IsGone(const char* path) {
    struct stat status {};
    return stat(path, &status) != 0 && errno == ENOENT;
}

}  // namespace

int CGetData::performDeepClean() {
    if (!RequestDeepClean()) {
        return -1;
    }
    for (int attempt = 0; attempt < kDeepCleanAttempts; ++attempt) {
        if (IsGone(base::kDeepCleanTrigger)) {
            return 0;
        }
        KURA_INFO("Waiting for another 1 second to complete deep Clean Process");
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    KURA_ERROR("Deep Clean Process unable to complete in 10 seconds.. so returning failure...");
    return -1;
}

int CGetData::performMemBoost() {
    if (!base::WriteGuarded(base::kMemBoostTrigger, "")) {
        KURA_INFO("File creation failed (%s) with error number : %d", base::kMemBoostTrigger, errno);
        return -1;
    }
    return 0;
}

void CGetData::killApp(char* packageName) {
    const char* package = base::OrEmpty(packageName);
    KURA_INFO("Package Name for the app to be killed is : %s", package);
    if (!WriteReported(__func__, base::kKillAppData, std::string(package) + "\n")) {
        return;
    }
    WriteReported(__func__, base::kKillAppTrigger, "");
}

int CGetData::clearAppCache(char* packageName, char* appId) {
    const char* package = base::OrEmpty(packageName);
    const char* app = base::OrEmpty(appId);
    KURA_INFO("Package Name and Vesta Id of App for cache clean are %s and %s", package, app);
    if (!WriteReported(__func__, base::kClearAppCacheData, std::string(package) + "|" + app + "\n")) {
        return -1;
    }
    return Report(__func__, base::kClearAppCacheTrigger, CreateCacheTrigger()) ? 0 : -1;
}

int CGetData::m_IfDisableClearDataCache(char* id) {
    for (const char* app : kProtectedApps) {
        if (std::strcmp(base::OrEmpty(id), app) == 0) {
            KURA_INFO("Do not clear data as prime, youtube & Netflix");
            return 1;
        }
    }
    return 0;
}

int CGetData::clearAppData(char* packageName) {
    if (m_IfDisableClearDataCache(packageName) == 1) {
        return 1;
    }
    constexpr int kClearMode = 1;
    // A null client is passed on: the call refuses it, and its result is logged.
    const PackageClient client = NewPackageClient();
    const int result =
        pkgmgr_client_clear_user_data(client.get(), nullptr, base::OrEmpty(packageName), kClearMode);
    KURA_INFO("Return value of pkgmgr_client_clear_user_data api is : %d", result);
    return result == 0 ? 0 : -1;
}

void sendUninstallProgress(int progress) {
    // Kept: the text is discarded. The host tracks the progress itself and only needs the call to link.
    std::ostringstream text;
    text << progress;
}

}  // namespace KURA
