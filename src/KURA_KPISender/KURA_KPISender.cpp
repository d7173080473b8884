// The sender reads the device's facts once, when it is created. A report sets its own fields; all others keep
// their values, and the receiving statistics rely on that.
#include "KURA_KPISender.h"

#include <sys/statvfs.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>

#include "base/Exists.h"
#include "base/GuardedFile.h"
#include "base/Log.h"
#include "base/NeverDestroyed.h"
#include "base/OrEmpty.h"
#include "base/SetKeys.h"
#include "base/SetPaths.h"
#include "kpi_logger.h"
#include "system_info.h"
#include "vconf.h"

namespace KURA {

namespace {

constexpr const char* kUnknown = "NULL";
constexpr const char* kServiceCode = "23_kurahelp";
constexpr const char* kEventName = "KURAHELP";
constexpr const char* kCategory = "EV003";
constexpr int kSent = 1;

struct Freer {
    void operator()(char* text) const { std::free(text); }
};

using OwnedText = std::unique_ptr<char, Freer>;

/// Null after a failure.
OwnedText ReadInfo(int key) {
    char* text = nullptr;
    if (system_info_get_value_string(key, &text) != 0) {
        return nullptr;
    }
    return OwnedText(text);
}

/// Guards the fields of a report. It is never destroyed: the engine may report while the process ends.
std::mutex g_fieldsMutex;
static_assert(std::is_trivially_destructible_v<std::mutex>);

/// The size of the blocks in MiB, cut to 32 bits. The size of a block is first rounded down to whole KiB.
std::string Mebibytes(std::uint64_t blockBytes, std::uint64_t blocks) {
    constexpr std::uint64_t kKibi = 1024;
    return std::to_string(static_cast<std::uint32_t>(blockBytes / kKibi * blocks / kKibi));
}

}  // namespace

KURA_KPISender* KURA_KPISender::m_pInstance = nullptr;
static base::NeverDestroyed<boost::recursive_mutex> classMutex;
boost::recursive_mutex& KURA_KPISender::m_KDMmutex = classMutex.object;

KURA_KPISender* KURA_KPISender::GetInstance() {
    const boost::recursive_mutex::scoped_lock lock(m_KDMmutex);
    if (m_pInstance == nullptr) {
        m_pInstance = new KURA_KPISender;
    }
    return m_pInstance;
}

KURA_KPISender::KURA_KPISender() {
    KURA_ERROR("KURA_KPISender");
    m_initialize();
}

void KURA_KPISender::m_initialize() {
    KURA_INFO("m_initialize()");
    m_getChipID();
    KURA_INFO("m_chipID[%s]", m_chipID.c_str());
    m_getSerialNumber();
    KURA_INFO("m_serialNumber[%s]", m_serialNumber.c_str());
    m_getSeries();
    KURA_INFO("m_series[%s]", m_series.c_str());
    m_getImageType();
    KURA_INFO("m_imageType[%s]", m_imageType.c_str());
    m_getPlatform();
    KURA_INFO("m_platform[%s]", m_platform.c_str());
    m_getFlashSize();
    KURA_INFO("m_FlashSize[%s, %s]", m_totalStorage.c_str(), m_remainStorage.c_str());
}

void KURA_KPISender::m_getChipID() {
    m_chipID = kUnknown;
    const base::File file(std::fopen(base::kChipIdPath, "rte"));
    if (file == nullptr) {
        KURA_INFO("ERROR: failed to open chipID!!");
        return;
    }
    unsigned int numbers[4] = {};
    if (std::fscanf(file.get(), "0x%x 0x%x 0x%x 0x%x\n", &numbers[0], &numbers[1], &numbers[2], &numbers[3]) <
        1) {
        KURA_INFO("ERROR: failed to read chipID!!");
        return;
    }
    char text[128];
    std::snprintf(text, sizeof text, "%08X_%08X_%08X_%08X", numbers[0], numbers[1], numbers[2], numbers[3]);
    m_chipID = text;
}

void KURA_KPISender::m_getSerialNumber() {
    const OwnedText text = ReadInfo(base::kSerialNumberInfo);
    if (text == nullptr) {
        KURA_INFO("ERROR: failed to get serial number!!");
        m_serialNumber = kUnknown;
        return;
    }
    m_serialNumber = text.get();
}

void KURA_KPISender::m_getSeries() {
    const OwnedText text = ReadInfo(base::kSeriesInfo);
    if (text == nullptr) {
        KURA_INFO("ERROR: failed to get series!!");
        return;
    }
    // Kept: the series is appended to the initial "NULL" ("NULLQN9"); the statistics are keyed on that.
    for (const char* character = text.get(); *character != '\0'; ++character) {
        m_series += *character;
        if (std::isdigit(static_cast<unsigned char>(*character)) != 0) {
            return;
        }
    }
}

void KURA_KPISender::m_getImageType() {
    if (base::Exists(base::kReleaseMarkPath)) {
        m_imageType = "release";
    } else if (base::Exists(base::kDebugMarkPath)) {
        m_imageType = "debug";
    } else {
        m_imageType = "perf";
    }
}

void KURA_KPISender::m_getPlatform() {
    const OwnedText text(vconf_get_str(base::kPlatformKey));
    m_platform = text == nullptr || *text == '\0' ? kUnknown : text.get();
}

void KURA_KPISender::m_getFlashSize() {
    struct statvfs partition {};
    if (statvfs(base::kUserPartition, &partition) != 0) {
        return;
    }
    m_totalStorage = Mebibytes(partition.f_bsize, partition.f_blocks);
    m_remainStorage = Mebibytes(partition.f_bsize, partition.f_bavail);
}

int KURA_KPISender::m_getTTime() {
    KURA_ERROR("GetTTime");
    std::timespec now{};
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
        KURA_INFO("GetTTime Fail");
        return 0;
    }
    return static_cast<int>(now.tv_sec);
}

void KURA_KPISender::SendKurahelpKPI(char* selectItem) {
    KURA_INFO("SendKurahelp KPI");
    m_report(selectItem, nullptr, "");
}

void KURA_KPISender::SendKurahelpKPI(char* selectItem, char* status) {
    KURA_INFO("SendKurahelp KPI");
    m_report(selectItem, &KURA_KPISender::m_status, base::OrEmpty(status));
}

void KURA_KPISender::SendKurahelpKPI(char* selectItem, int count) {
    KURA_INFO("SendKurahelp KPI");
    m_report(selectItem, &KURA_KPISender::m_issueCount, std::to_string(count).c_str());
}

void KURA_KPISender::m_report(char* selectItem, std::string KURA_KPISender::*field, const char* value) {
    const int seconds = m_getTTime();
    std::string description;
    {
        // The logger may call back or block, so it is called after this lock is released.
        const std::lock_guard<std::mutex> lock(g_fieldsMutex);
        m_pSet_param_select_type(selectItem);
        m_selectItem = m_Get_param_select_type();
        if (field != nullptr) {
            this->*field = value;
        }
        // Kept: the time is one character, the low eight bits of the seconds, and may be a zero byte.
        m_userTime.assign(1, static_cast<char>(seconds));
        description = m_getKuraHelpDescription();
    }
    m_sendKPI(kEventName, kCategory, description);
}

std::string KURA_KPISender::m_getKuraHelpDescription() {
    struct Pair {
        const char* key;
        const std::string& value;
    };
    const Pair pairs[] = {
        {"chip_id=", m_chipID},
        {"sn=", m_serialNumber},
        {"series=", m_series},
        {"platform=", m_platform},
        {"img_type=", m_imageType},
        {"user_time=", m_userTime},
        {"select_item=", m_selectItem},
        {"status=", m_status},
        {"issue_count=", m_issueCount},
        {"issue_clear=", m_issueClear},
        {"total_storage=", m_totalStorage},
        {"remain_storage=", m_remainStorage},
        {"remain_count=", m_remainCount},
    };
    std::string description = "{";
    const char* separator = "";
    for (const Pair& pair : pairs) {
        description.append(separator).append(pair.key).append(pair.value);
        separator = ";";
    }
    return description + "}";
}

void KURA_KPISender::m_pSet_param_select_type(char* text) {
    m_param_select_type = base::OrEmpty(text);
}

std::string KURA_KPISender::m_Get_param_select_type() {
    return m_param_select_type;
}

void KURA_KPISender::m_sendKPI(const std::string& eventName, const std::string& category,
                               const std::string& description) {
    KURA_INFO("eventName[%s] category[%s] description[%s]", eventName.c_str(), category.c_str(),
              description.c_str());
    const int result = KPILogFramework::CLogger::GetInstance()->AddEventLogSync(kServiceCode, eventName,
                                                                                category, description);
    if (result != kSent) {
        KURA_INFO("ERROR: could not send event log!! [%d]", result);
    }
}

}  // namespace KURA
