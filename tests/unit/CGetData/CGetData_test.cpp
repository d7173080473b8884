#include "CGetData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <limits>
#include <string>
#include <vector>

#include "Agent.h"
#include "Fakes.h"
#include "Interposed.h"

using fakes::Set;
using KURA::CGetData;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

constexpr long long kMib = 1024 * 1024;
constexpr long long kReserve = 73400320;
constexpr const char* kFlashSize = "com.norvik/featureconf/flash_size";

/// The object, with a clean log.
CGetData* Device() {
    CGetData* device = CGetData::GetInstance();
    Set().log.clear();
    Set().events.clear();
    Set().calls.clear();
    return device;
}

/// A partition in blocks of one byte: all, free for the superuser, free for users.
void SetBytes(long long all, long long free, long long available) {
    struct statvfs status {};
    status.f_bsize = 1;
    status.f_frsize = 512;
    status.f_blocks = static_cast<fsblkcnt_t>(all);
    status.f_bfree = static_cast<fsblkcnt_t>(free);
    status.f_bavail = static_cast<fsblkcnt_t>(available);
    interposed::SetPartition(status);
}

struct Figures {
    long long remaining = -11;
    long long used = -12;
    long long total = -13;
};

Figures Measure(const char* path, int expectedResult) {
    Figures figures;
    EXPECT_EQ(CGetData::GetInstance()->getFlashSize(path, &figures.remaining, &figures.used, &figures.total),
              expectedResult);
    return figures;
}

}  // namespace

TEST(CGetData, IsCreatedOnceWithItsLine) {
    CGetData* device = CGetData::GetInstance();
    EXPECT_EQ(CGetData::GetInstance(), device);
    EXPECT_THAT(agent::Log(), ElementsAre("4 CGetData: Start DiagnosisManager"));
    EXPECT_THAT(device->m_GetAppsDataStructure(), IsEmpty());
    EXPECT_EQ(device->m_GetAppsCount(), 0);
    EXPECT_EQ(device->m_GetCurrentScreen(), static_cast<KURA::_CurrentScreen>(6));
    EXPECT_EQ(device->m_GetUsedSize(), 0);
    EXPECT_EQ(device->m_GetTotalOptSize(), 0);
    EXPECT_EQ(device->m_GetSystemUsedSize(), 0);
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), 0);
    EXPECT_EQ(device->m_GetDataSizeOfApp(), 0);
    EXPECT_EQ(device->m_GetCacheSizeOfApp(), 0);
}

TEST(CGetData, KeepsTheHostsScreen) {
    CGetData* device = CGetData::GetInstance();
    device->m_SetCurrentScreen(static_cast<KURA::_CurrentScreen>(-3));
    EXPECT_EQ(device->m_GetCurrentScreen(), static_cast<KURA::_CurrentScreen>(-3));
}

TEST(CGetData, CountsTheReserveAsUsed) {
    const struct {
        long long available;
        long long remaining;
        long long countedAsUsed;
        int state;
    } rows[] = {
        {0, 0, 0, 0},
        {60 * kMib, 0, 60 * kMib, 0},
        {kReserve - 1, 0, kReserve - 1, 0},
        {kReserve, 0, kReserve, 0},
        {kReserve + 1, 1, kReserve, 1},
        {2 * kReserve - 1, kReserve - 1, kReserve, 1},
        {2 * kReserve, kReserve, kReserve, 2},
        {1LL << 40, (1LL << 40) - kReserve, kReserve, 2},
    };
    constexpr long long kUsedBlocks = 1000;
    for (const auto& row : rows) {
        if (row.available > static_cast<long long>(std::numeric_limits<fsblkcnt_t>::max() / 2)) {
            continue;  // more blocks than this machine counts
        }
        SetBytes(row.available + kUsedBlocks, row.available, row.available);
        const Figures figures = Measure("/opt", 0);
        EXPECT_EQ(figures.remaining, row.remaining) << row.available;
        EXPECT_EQ(figures.used, kUsedBlocks + row.countedAsUsed) << row.available;
        EXPECT_EQ(figures.total, figures.remaining + figures.used) << row.available;
        EXPECT_EQ(CGetData::GetInstance()->CheckFlashFreespaceState(), row.state) << row.available;
    }
}

TEST(CGetData, MeasuresInBlocksNotFragmentsAndIn64Bits) {
    struct statvfs status {};
    status.f_bsize = 1UL << 20;
    status.f_frsize = 4096;
    status.f_blocks = 0x30000;
    status.f_bfree = 0x20000;
    status.f_bavail = 0x18000;
    interposed::SetPartition(status);
    const Figures figures = Measure("/somewhere", 0);
    EXPECT_EQ(interposed::MeasuredPath(), "/somewhere");
    EXPECT_EQ(figures.remaining, (0x18000LL << 20) - kReserve);
    EXPECT_EQ(figures.used, (0x10000LL << 20) + kReserve);
    // What only the superuser may fill is in neither figure.
    EXPECT_EQ(figures.total, 0x28000LL << 20);
}

TEST(CGetData, LogsWhatItMeasured) {
    Device();
    SetBytes(kReserve + 1000, kReserve + 300, kReserve + 300);
    Measure("/opt", 0);
    EXPECT_THAT(agent::Log(), ElementsAre("4 getFlashSize: remainingSize = 300, usedSize = " +
                                          std::to_string(kReserve + 700)));
}

TEST(CGetData, LeavesTheOutputsWhenAPartitionCannotBeMeasured) {
    Device();
    interposed::FailStatvfs();
    for (const char* path : {"/opt", static_cast<const char*>(nullptr)}) {
        const Figures figures = Measure(path, -1);
        EXPECT_EQ(figures.remaining, -11);
        EXPECT_EQ(figures.used, -12);
        EXPECT_EQ(figures.total, -13);
    }
    EXPECT_THAT(agent::Log(),
                ElementsAre("6 getFlashSize: API statvfs fails", "6 getFlashSize: API statvfs fails"));
}

TEST(CGetData, TellsTheSystemsPartFromTheFlashPartsSize) {
    CGetData* device = Device();
    Set().customInts[kFlashSize] = 2;
    device->m_CalculateTotalSizeOfSystem();
    EXPECT_THAT(agent::Log(),
                ElementsAre("4 getTotalSize: get Total sIZe called", "4 getTotalSize: ram is 16",
                            "4 getTotalSize: total Bytes R -- 17179869184",
                            "4 m_CalculateTotalSizeOfSystem: total system size in fn Calculate total size of "
                            "system is 17179869184"));
    SetBytes(1000 * kMib, 400 * kMib, 300 * kMib);
    device->sendFlashSize();
    EXPECT_EQ(interposed::MeasuredPath(), "/opt");
    EXPECT_EQ(device->m_GetUsedSize(), 670 * kMib);
    EXPECT_EQ(device->m_GetTotalOptSize(), 900 * kMib);
    EXPECT_EQ(device->m_GetSystemUsedSize(), 17179869184 - 900 * kMib);
    EXPECT_TRUE(Set().Logged(4, "So system used will be " + std::to_string(17179869184 - 900 * kMib)));
}

TEST(CGetData, TellsANegativeSystemPartWhileTheFlashSizeIsUnknown) {
    CGetData* device = Device();
    SetBytes(1000, 0, 0);
    device->sendFlashSize();
    EXPECT_EQ(device->m_GetSystemUsedSize(), -1000);
}

TEST(CGetData, ForgetsTheFiguresWhenTheNextMeasurementFails) {
    CGetData* device = Device();
    SetBytes(1000, 0, 0);
    device->sendFlashSize();
    interposed::FailStatvfs();
    device->sendFlashSize();
    EXPECT_EQ(device->m_GetUsedSize(), 0);
    EXPECT_EQ(device->m_GetTotalOptSize(), 0);
    EXPECT_EQ(device->m_GetSystemUsedSize(), 0);
    EXPECT_TRUE(Set().Logged(4, "So system used will be 0"));
}

TEST(CGetData, KnowsFiveFlashSizes) {
    const long long gib[] = {4, 8, 16, 32, 64};
    for (int index = 0; index < 5; ++index) {
        Set().customInts[kFlashSize] = index;
        long long total = -1;
        EXPECT_EQ(KURA::getTotalSize(&total), 0);
        EXPECT_EQ(total, gib[index] * 1024 * kMib) << index;
    }
}

TEST(CGetData, RefusesOtherFlashSizes) {
    Device();
    for (const int index : {-1, -2, 5, 2147483647, -2147483647 - 1}) {
        Set().log.clear();
        Set().customInts[kFlashSize] = index;
        long long total = 77;
        EXPECT_EQ(KURA::getTotalSize(&total), -1);
        EXPECT_EQ(total, 77) << index;
        EXPECT_THAT(agent::Log(),
                    ElementsAre("4 getTotalSize: get Total sIZe called",
                                "6 getTotalSize: Failed ret[0] support[" + std::to_string(index) + "]"));
    }
    Set().customInts.clear();
    Set().log.clear();
    long long total = 77;
    EXPECT_EQ(KURA::getTotalSize(&total), -1);
    EXPECT_EQ(total, 77);
    EXPECT_TRUE(Set().Logged(6, "Failed ret[-1] support[-1]"));
}

TEST(CGetData, KeepsTheFlashSizeAtZeroWithoutTheFeature) {
    CGetData* device = Device();
    Set().customInts[kFlashSize] = 5;
    device->m_CalculateTotalSizeOfSystem();
    EXPECT_TRUE(Set().Logged(4, "total system size in fn Calculate total size of system is 0"));
}

TEST(CGetData, LogsTheFreeSpaceState) {
    CGetData* device = Device();
    SetBytes(60 * kMib + 10, 60 * kMib, 60 * kMib);
    EXPECT_EQ(device->CheckFlashFreespaceState(), 0);
    const std::string used = std::to_string(60 * kMib + 10);
    EXPECT_THAT(agent::Log(),
                ElementsAre("4 getFlashSize: remainingSize = 0, usedSize = " + used,
                            "4 CheckFlashFreespaceState: CheckFlashFreespaceState() : remaining "
                            "size : 0, used size : " +
                                used + ", total size : " + used,
                            "4 CheckFlashFreespaceState: freespaceRate is 0% "));
    Set().log.clear();
    SetBytes(kReserve + 1, kReserve + 1, kReserve + 1);
    EXPECT_EQ(device->CheckFlashFreespaceState(), 1);
    EXPECT_EQ(Set().Messages("CheckFlashFreespaceState").size(), 1u);
}

TEST(CGetData, CountsAnUnreadablePartitionAsFull) {
    CGetData* device = Device();
    interposed::FailStatvfs();
    EXPECT_EQ(device->CheckFlashFreespaceState(), 0);
    EXPECT_TRUE(
        Set().Logged(4, "CheckFlashFreespaceState() : remaining size : 0, used size : 0, total size : 0"));
}

TEST(CGetData, ReportsTheDeviceState) {
    const struct {
        long long available;
        int state;
        int result;
        const char* word;
    } rows[] = {{60 * kMib, 0, 0, "Normal"}, {kReserve + 1, 1, 1, "Good"}, {1LL << 30, 2, 1, "Good"}};
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().log.clear();
        Set().usageEvents.clear();
        SetBytes(row.available, row.available, row.available);
        EXPECT_EQ(device->CheckDeviceState(), row.result);
        EXPECT_THAT(Set().Messages("CheckDeviceState"),
                    ElementsAre("CheckDeviceState", "CheckFlashState : " + std::to_string(row.state)));
        EXPECT_TRUE(Set().Logged(4, "CheckDeviceState"));
        EXPECT_TRUE(Set().Logged(4, "CheckFlashState : " + std::to_string(row.state)));
        ASSERT_EQ(Set().usageEvents.size(), 1u);
        EXPECT_THAT(Set().usageEvents[0][3], HasSubstr("select_item=DeviceState;"));
        EXPECT_THAT(Set().usageEvents[0][3], HasSubstr("status=" + std::string(row.word) + ";"));
    }
}

TEST(CGetData, NamesTheTextOfADeviceState) {
    const struct {
        int state;
        const char* message;
        const char* id;
    } rows[] = {
        {0, "it is normal", "COM_SID_NORMAL"},
        {1, "state is good", "TV_SID_VOICEASSISTANT_WEATHER_GOOD"},
        {2, "It is bad", "TV_SID_VOICEASSISTANT_WEATHER_BAD"},
        {-1, "It is bad", "TV_SID_VOICEASSISTANT_WEATHER_BAD"},
    };
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().log.clear();
        EXPECT_EQ(device->getSIDForDeviceState(row.state), row.id);
        EXPECT_THAT(agent::Log(), ElementsAre("4 getSIDForDeviceState: get SID for device state",
                                              "4 getSIDForDeviceState: " + std::string(row.message)));
    }
}
