// The list of installed applications. The agent needs seconds for each, so a pool of workers measures several
// at a time. Each worker fills its own record; a record that stays empty is not listed.
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CGetData.h"
#include "CGetData/AppSizes.h"
#include "CGetData/PackageClient.h"
#include "app_list.h"
#include "base/CancellationHeld.h"
#include "base/Exists.h"
#include "base/Log.h"
#include "base/OrEmpty.h"
#include "base/SetKeys.h"
#include "base/SetPaths.h"
#include "base/Text32.h"
#include "host/TCThreadPool.h"
#include "vconf.h"

namespace KURA {

namespace {

constexpr const char* kOperation = "sendAppList";
constexpr unsigned int kWorkers = 20;
constexpr int kListKind = 2;
constexpr int kTermsAccepted = 1;
constexpr std::chrono::milliseconds kPause{10};

using Pipe = std::unique_ptr<std::FILE, base::Release<pclose>>;

/// What the workers share. A worker only reads it, except for result and its own record.
struct Inventory {
    CGetData* device;
    const was_app_entry* entries;
    bool bigIcons;
    bool termsAccepted;
    std::vector<AppStorageInfo> records;
    std::atomic<int> result{0};  ///< -1 once a worker could not create a client
};

/// Kept: a path of more than 1023 characters is cut, and the cut path is used.
std::string IconPath(const std::string& folder, const char* name) {
    constexpr std::size_t kLongest = 1023;
    return (folder + name).substr(0, kLongest);
}

std::string ChooseIcon(const char* folder, bool bigIcons) {
    const std::string icon = IconPath(folder, bigIcons ? "448x448.png" : "304x304.png");
    return base::Exists(icon) ? icon : IconPath(folder, "icon.png");
}

bool IsPlainForShell(const std::string& id) {
    return id.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-") ==
           std::string::npos;
}

/// Quotes text so that the shell takes it as one word: ids come from outside.
std::string QuoteForShell(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

/// 0 when there is no cache: du then prints an error, which is no number.
std::int32_t WebCacheSize(CGetData& device, const std::string& appId) {
    const std::string path = base::kWebAppsCachePrefix + appId;
    const std::string command = "du -bs " + (IsPlainForShell(appId) ? path : QuoteForShell(path));
    std::int32_t size = 0;
    base::ScanInt32(device.GetStdoutFromCommand(command).c_str(), size);
    return size;
}

/// False when the package manager gives no client.
bool MeasureApp(CGetData& device, const was_app_entry& entry, const std::string& title, AppSizes& sizes) {
    const PackageClient client = NewPackageClient();
    if (client == nullptr) {
        KURA_LOG_AS(kOperation, DLOG_ERROR, "out of memory");
        return false;
    }
    std::string package = base::OrEmpty(entry.package_id);
    std::string app = base::OrEmpty(entry.app_id);
    const unsigned user = getuid();
    sizes.packageTotal =
        device.getAppSize(client.get(), package.c_str(), user, PKGMGR_SIZE_TOTAL, nullptr, nullptr);
    if (title == "YouTube") {
        sizes.packageTotal = AddSizes(sizes.packageTotal, getAppSizeForYoutube());
        KURA_LOG_AS(kOperation, DLOG_INFO, "final value of appsize for Youtube is %lld", sizes.packageTotal);
    }
    device.findDataCacheSize(package.data(), app.data(), &sizes.agentData, &sizes.agentCache);
    sizes.packageData =
        device.getAppSize(client.get(), package.c_str(), user, PKGMGR_SIZE_DATA, nullptr, nullptr);
    return true;
}

bool IsShownWithoutTerms(const std::string& title) {
    return title == "HelpBook" || title == "WebBrowser";
}

/// The record of a measured application; left empty when it is not to be shown.
AppStorageInfo MakeRecord(const Inventory& inventory, const was_app_entry& entry, const std::string& title,
                          const AppSizes& sizes) {
    AppStorageInfo record;
    if (!IsShownWithoutTerms(title) && !inventory.termsAccepted) {
        KURA_LOG_AS(kOperation, DLOG_INFO, "T&C NOT accepted");
        return record;
    }
    const std::string icon = ChooseIcon(base::OrEmpty(entry.icon_dir), inventory.bigIcons);
    if (!base::Exists(icon)) {
        KURA_LOG_AS(kOperation, DLOG_INFO, "Icon of the app doesnt exist");
        return record;
    }
    record.hasIcon = true;
    record.title = title;
    record.totalSize = CombinedSize(sizes);
    record.packageId = base::OrEmpty(entry.package_id);
    record.appId = base::OrEmpty(entry.app_id);
    record.entryId = base::OrEmpty(entry.entry_id);
    record.iconPath = icon;
    record.attribute1 = entry.attribute1;
    record.attribute2 = entry.attribute2;
    record.attribute3 = entry.attribute3;
    return record;
}

int MeasureEntry(Inventory& inventory, std::size_t index) {
    const was_app_entry& entry = inventory.entries[index];
    if (entry.skip != 0) {
        return inventory.result;
    }
    const std::string title = base::OrEmpty(entry.title);
    KURA_LOG_AS(kOperation, DLOG_INFO, "Fetching information for %d -> %s...", static_cast<int>(index),
                title.c_str());
    AppSizes sizes;
    if (!MeasureApp(*inventory.device, entry, title, sizes)) {
        inventory.result = -1;
        return -1;
    }
    sizes.webCache = WebCacheSize(*inventory.device, base::OrEmpty(entry.app_id));
    inventory.records[index] = MakeRecord(inventory, entry, title, sizes);
    std::this_thread::sleep_for(kPause);
    return inventory.result;
}

/// Catches exceptions, because one that leaves a worker would end the host. Lets the unwinding of a cancelled
/// thread pass.
int RunWorker(Inventory& inventory, std::size_t index) {
    try {
        return MeasureEntry(inventory, index);
    } catch (const base::CancelledUnwinding&) {
        throw;
    } catch (const std::exception& error) {
        KURA_LOG_AS(kOperation, DLOG_ERROR, "%s", error.what());
    } catch (...) {
        KURA_LOG_AS(kOperation, DLOG_ERROR, "unknown exception");
    }
    inventory.result = -1;
    return -1;
}

/// Returns when every record is done: the pool's destructor waits.
void MeasureAll(Inventory& inventory) {
    const base::CancellationHeld held;
    TCThreadPool pool(kWorkers);
    for (std::size_t index = 0; index < inventory.records.size(); ++index) {
        inventory.records[index].hasIcon = false;
        pool.Post([&inventory, index] { return RunWorker(inventory, index); });
    }
}

/// Reads the first line with its line feed, at most 255 characters. Reads again when a signal interrupts.
std::string ReadLine(std::FILE* pipe) {
    constexpr std::size_t kLongest = 255;
    std::string line;
    while (line.size() < kLongest && (line.empty() || line.back() != '\n')) {
        const int character = std::getc(pipe);
        if (character != EOF) {
            line += static_cast<char>(character);
        } else if (std::ferror(pipe) != 0 && errno == EINTR) {
            std::clearerr(pipe);
        } else {
            break;
        }
    }
    return line;
}

std::string FirstWord(const std::string& line) {
    constexpr const char* kBlanks = " \t\n\v\f\r";
    const std::size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string::npos) {
        return "";
    }
    return line.substr(start, line.find_first_of(kBlanks, start) - start);
}

}  // namespace

void CGetData::sendAppList() {
    std::vector<AppStorageInfo>().swap(m_appList);
    m_appsCount = 0;
    KURA_INFO("The app count is: [%d]", was_get_app_count());
    const bool bigIcons = m_GetTypeOfTV();
    was_app_entry* entries = nullptr;
    int count = 0;
    if (was_get_app_list(kListKind, &entries, &count) != 0 || (entries == nullptr && count > 0)) {
        KURA_ERROR("get app list failed");
        return;
    }
    KURA_INFO("app_list = %p,  apps count: %d", static_cast<void*>(entries), count);
    const auto length = static_cast<std::size_t>(count > 0 ? count : 0);
    int terms = 0;
    const bool termsRead = vconf_get_int(base::kTermsKey, &terms) == 0;
    Inventory inventory{this, entries, bigIcons, termsRead && terms == kTermsAccepted, {}};
    inventory.records.resize(length);
    MeasureAll(inventory);
    for (AppStorageInfo& record : inventory.records) {
        if (record.hasIcon) {
            m_appList.push_back(std::move(record));
            ++m_appsCount;
        }
    }
    KURA_INFO("actual value of count of apps is %d", m_appsCount);
}

std::vector<AppStorageInfo> CGetData::m_GetAppsDataStructure() {
    return m_appList;
}

int CGetData::m_GetAppsCount() {
    return m_appsCount;
}

std::string CGetData::GetStdoutFromCommand(std::string command) {
    command += " 2>&1";
    const Pipe pipe(popen(command.c_str(), "re"));
    const std::string line = pipe == nullptr ? "" : ReadLine(pipe.get());
    if (line.empty()) {
        return "";
    }
    KURA_INFO("Buffer1 is : %s", line.c_str());
    std::string word = FirstWord(line.substr(0, line.find('\0')));
    KURA_INFO("Buffer2 is : %s", word.c_str());
    return word;
}

// --- Kept: the host's event-loop threads find these by name ---

void CGetData::EcoreToSendAppList() {}

void CGetData::app_list_handle_function(void*, void*) {
    KURA_INFO("app_list_handle fn START-----");
}

void CGetData::app_list_error_handle_function(void*, void*) {
    KURA_ERROR("Failed to run ecore thread to execute app_list_handle_function");
}

void CGetData::app_list_handle_terminate_function(void*, void*) {
    KURA_INFO("app_list_handle_terminate_function called... ecore thread to send app list terminating...");
}

}  // namespace KURA
