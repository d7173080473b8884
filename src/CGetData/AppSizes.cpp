// The space that one application takes. The package manager knows the package with its data and cache. Only
// the agent can look into data and cache; for YouTube it keeps another size in a file.
#include "CGetData/AppSizes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "CGetData.h"
#include "CGetData/PackageClient.h"
#include "base/AppIds.h"
#include "base/GuardedFile.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "base/SetPaths.h"
#include "base/Text32.h"

namespace KURA {

namespace {

constexpr int kAckTests = 5;
constexpr std::size_t kAnswerTextSize = 64;

long Narrow(long long size) {
    return static_cast<std::int32_t>(size);
}

/// An acknowledgement is a regular file, no link. It need not be readable, so it is not opened.
bool IsAcknowledged(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool WaitForAcknowledgement(const std::string& ack) {
    for (int test = 0; test < kAckTests; ++test) {
        if (IsAcknowledged(ack)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    return false;
}

/// Reads "%ld|%ld" and sets as much as parses.
void ScanSizes(const char* text, long* dataSize, long* cacheSize) {
    const char* end = text;
    const std::int32_t data = base::ToInt32(text, &end);
    if (end == text) {
        return;
    }
    *dataSize = data;
    std::int32_t cache = 0;
    if (*end == '|' && base::ScanInt32(end + 1, cache)) {
        *cacheSize = cache;
    }
}

/// Reads at most 4096 bytes: an answer is one number or two, and nothing behind them belongs to it.
std::string ReadAnswer(std::FILE* file) {
    std::string text(4096, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), file));
    return text;
}

}  // namespace

void CGetData::findDataCacheSize(char* packageName, char* appId, long* dataSize, long* cacheSize) {
    const std::string app = base::OrEmpty(appId);
    const std::string line = std::string(base::OrEmpty(packageName)) + "|" + app + "\n";
    const std::string data = base::kCalcSizeDataPrefix + app;
    // With a slash the id would lead to another folder.
    if (app.find('/') != std::string::npos || !base::WriteGuarded(data, line)) {
        KURA_ERROR("[KELMGR-NATIVE] File creation failed of %s", data.c_str());
        return;
    }
    const std::string trigger = base::kCalcSizeTriggerPrefix + app;
    if (!base::WriteGuarded(trigger, line)) {
        KURA_ERROR("[KELMGR-NATIVE] file creation failed for %s", trigger.c_str());
        return;
    }
    const std::string ack = base::kSizeAckPrefix + app;
    if (!WaitForAcknowledgement(ack)) {
        return;
    }
    const std::string result = base::kSizeResultPrefix + app;
    base::File answer = base::OpenPlainFileForReading(result.c_str());
    if (answer == nullptr) {
        KURA_ERROR("[VARDO-NATIVE] Unable to open file %s", result.c_str());
        return;
    }
    ScanSizes(ReadAnswer(answer.get()).c_str(), dataSize, cacheSize);
    answer.reset();
    // The acknowledgement goes first, because it promises a result.
    base::RemoveFile(ack);
    base::RemoveFile(result);
}

long long getAppSizeForYoutube() {
    KURA_INFO("request size 4 YouTube");
    base::File file = base::OpenPlainFileForReading(base::kCobaltSizePath);
    if (file == nullptr) {
        KURA_ERROR("[VARDO-NATIVE] Unable to open file %s", base::kCobaltSizePath);
        return 0;
    }
    const std::string text = ReadAnswer(file.get());
    char* end = nullptr;
    const long long size = std::strtoll(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        // Kept: without a number the FILE is leaked.
        static_cast<void>(file.release());
    }
    file.reset();
    KURA_INFO("size obtained for cobalt = %lld", size);
    return size;
}

int CGetData::sendAppData(const char* packageName, const char* appId) {
    std::string package = base::OrEmpty(packageName);
    std::string app = base::OrEmpty(appId);
    AppSizes sizes;
    findDataCacheSize(package.data(), app.data(), &sizes.agentData, &sizes.agentCache);
    PackageClient client = NewPackageClient();
    if (client == nullptr) {
        KURA_ERROR("out of memory");
        return 0;
    }
    const unsigned user = getuid();
    sizes.packageTotal = getAppSize(client.get(), package.c_str(), user, PKGMGR_SIZE_TOTAL, nullptr, nullptr);
    KURA_INFO("Total App Data size for requested app with Package name : %s and Vesta ID : %s is %ld",
              package.c_str(), app.c_str(), Narrow(sizes.packageTotal));
    if (package == base::kYouTubeApp) {
        KURA_INFO("For utube");
        sizes.packageTotal = Narrow(AddSizes(sizes.packageTotal, getAppSizeForYoutube()));
        KURA_INFO("final value of appsize for Youtube is %ld", Narrow(sizes.packageTotal));
    }
    sizes.packageData = getAppSize(client.get(), package.c_str(), user, PKGMGR_SIZE_DATA, nullptr, nullptr);
    KURA_INFO("App Data + App Cache size for requested app with Package name : %s and Vesta ID : %s is %ld",
              package.c_str(), app.c_str(), Narrow(sizes.packageData));
    client.reset();
    m_totalSizeOfApp = CombinedSize(sizes);
    m_dataSizeOfApp = static_cast<std::int32_t>(sizes.agentData);
    m_cacheSizeOfApp = static_cast<std::int32_t>(sizes.agentCache);
    // Kept: the result is the length of a text that nobody gets. The host takes the figures from the getters.
    std::array<char, kAnswerTextSize> text{};
    return std::snprintf(text.data(), text.size(), "%ld|%ld|%ld", m_GetTotalSizeOfApp(), m_GetDataSizeOfApp(),
                         m_GetCacheSizeOfApp());
}

long CGetData::m_GetTotalSizeOfApp() {
    return m_totalSizeOfApp;
}

long CGetData::m_GetDataSizeOfApp() {
    return m_dataSizeOfApp;
}

long CGetData::m_GetCacheSizeOfApp() {
    return m_cacheSizeOfApp;
}

void CGetData::m_SetTotalSizeOfApp(long size) {
    m_totalSizeOfApp = static_cast<std::int32_t>(size);
}

void CGetData::m_SetDataSizeOfApp(long size) {
    m_dataSizeOfApp = static_cast<std::int32_t>(size);
}

void CGetData::m_SetCacheSizeOfApp(long size) {
    m_cacheSizeOfApp = static_cast<std::int32_t>(size);
}

}  // namespace KURA
