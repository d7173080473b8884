// The singleton, the size of the user partition, and the states derived from it.
#include "CGetData.h"

#include <sys/statvfs.h>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

#include "KURA_KPISender.h"
#include "base/Log.h"
#include "base/NeverDestroyed.h"
#include "base/OrEmpty.h"
#include "base/SetKeys.h"
#include "base/SetPaths.h"
#include "system_info.h"

namespace KURA {

namespace {

/// 70 MiB, which always count as used and never as remaining.
constexpr std::uint64_t kReserve = 73400320;

constexpr int kFlashGib[] = {4, 8, 16, 32, 64};

constexpr int kNothingRemains = 0;
constexpr int kBelowReserve = 1;
constexpr int kEnoughRemains = 2;

}  // namespace

CGetData* CGetData::m_pInstance = nullptr;
static base::NeverDestroyed<boost::mutex> classMutex;
boost::mutex& CGetData::m_KDMmutex = classMutex.object;

CGetData::CGetData() {
    // Kept: the line names the diagnosis manager; whoever reads the log searches for it.
    KURA_INFO("Start DiagnosisManager");
}

CGetData* CGetData::GetInstance() {
    const boost::lock_guard<boost::mutex> lock(m_KDMmutex);
    if (m_pInstance == nullptr) {
        m_pInstance = new CGetData;
    }
    return m_pInstance;
}

// Kept: free blocks that are reserved for the superuser count neither as used nor as remaining.
int CGetData::getFlashSize(const char* path, long long* remaining, long long* used, long long* total) {
    struct statvfs status {};
    if (statvfs(base::OrEmpty(path), &status) != 0) {
        KURA_ERROR("API statvfs fails");
        return -1;
    }
    const std::uint64_t blockSize = status.f_bsize;
    const std::uint64_t usedBytes = (std::uint64_t{status.f_blocks} - status.f_bfree) * blockSize;
    const std::uint64_t availableBytes = std::uint64_t{status.f_bavail} * blockSize;
    const bool beyondReserve = availableBytes > kReserve;
    const std::uint64_t remainingBytes = beyondReserve ? availableBytes - kReserve : 0;
    const std::uint64_t countedAsUsed = usedBytes + (beyondReserve ? kReserve : availableBytes);
    *remaining = static_cast<long long>(remainingBytes);
    *used = static_cast<long long>(countedAsUsed);
    KURA_INFO("remainingSize = %lld, usedSize = %lld", *remaining, *used);
    *total = static_cast<long long>(remainingBytes + countedAsUsed);
    return 0;
}

void CGetData::sendFlashSize() {
    m_usedSize = 0;
    m_totalOptSize = 0;
    long long remaining = 0;
    getFlashSize(base::kUserPartition, &remaining, &m_usedSize, &m_totalOptSize);
    m_systemUsedSize = m_totalFlashSize - m_totalOptSize;
    KURA_INFO("So system used will be %lld", m_systemUsedSize);
}

long long CGetData::m_GetUsedSize() {
    return m_usedSize;
}

long long CGetData::m_GetTotalOptSize() {
    return m_totalOptSize;
}

long long CGetData::m_GetSystemUsedSize() {
    return m_systemUsedSize;
}

int getTotalSize(long long* total) {
    KURA_INFO("get Total sIZe called");
    int index = -1;
    const int result = system_info_get_custom_int(base::kFlashSizeFeature, &index);
    if (result != 0 || index < 0 || static_cast<std::size_t>(index) >= std::size(kFlashGib)) {
        KURA_ERROR("Failed ret[%d] support[%d]", result, index);
        return -1;
    }
    const int gib = kFlashGib[index];
    // Kept: the line says "ram" and means the flash part.
    KURA_INFO("ram is %d", gib);
    *total = static_cast<long long>(gib) << 30;
    KURA_INFO("total Bytes R -- %lld", *total);
    return 0;
}

void CGetData::m_CalculateTotalSizeOfSystem() {
    getTotalSize(&m_totalFlashSize);
    KURA_INFO("total system size in fn Calculate total size of system is %lld", m_totalFlashSize);
}

int CGetData::CheckFlashFreespaceState() {
    long long remaining = 0;
    long long used = 0;
    long long total = 0;
    getFlashSize(base::kUserPartition, &remaining, &used, &total);
    KURA_INFO("CheckFlashFreespaceState() : remaining size : %lld, used size : %lld, total size : %lld",
              remaining, used, total);
    if (remaining == 0) {
        KURA_INFO("freespaceRate is %d%% ", 0);
        return kNothingRemains;
    }
    return remaining < static_cast<long long>(kReserve) ? kBelowReserve : kEnoughRemains;
}

int CGetData::CheckDeviceState() {
    KURA_INFO("CheckDeviceState");
    const int state = CheckFlashFreespaceState();
    KURA_INFO("CheckFlashState : %d", state);
    // Kept: the user is never told worse than normal, also when nothing remains.
    const bool good = state != kNothingRemains;
    char item[] = "DeviceState";
    std::string word = good ? "Good" : "Normal";
    KURA_KPISender::GetInstance()->SendKurahelpKPI(item, word.data());
    return good ? 1 : 0;
}

std::string CGetData::getSIDForDeviceState(int state) {
    KURA_INFO("get SID for device state");
    if (state == 0) {
        KURA_INFO("it is normal");
        return "COM_SID_NORMAL";
    }
    if (state == 1) {
        KURA_INFO("state is good");
        return "TV_SID_VOICEASSISTANT_WEATHER_GOOD";
    }
    KURA_INFO("It is bad");
    return "TV_SID_VOICEASSISTANT_WEATHER_BAD";
}

_CurrentScreen CGetData::m_GetCurrentScreen() {
    return m_currentScreen;
}

void CGetData::m_SetCurrentScreen(_CurrentScreen screen) {
    m_currentScreen = screen;
}

}  // namespace KURA
