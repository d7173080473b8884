// Thousands of calls in one process. Its memory and descriptors do not grow after the first thousand.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "Inventory.h"
#include "PackageBus.h"
#include "trust/Trust.h"

using agent::Text;
using fakes::Set;
using KURA::CGetData;

namespace fs = std::filesystem;

/// AddressSanitizer's; it knows of memory what malloc's own figures do not show then.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes() __attribute__((weak));

namespace {

std::size_t AllocatedBytes() {
    interposed::Forget();
    return __sanitizer_get_current_allocated_bytes != nullptr ? __sanitizer_get_current_allocated_bytes()
                                                              : mallinfo2().uordblks;
}

std::ptrdiff_t Descriptors() {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

void ExpectFlat(const char* what, std::size_t count, const std::function<void()>& call) {
    // Caches of the C library and of GLib fill at random moments, but not without an end.
    constexpr std::size_t kCaches = std::size_t{32} << 10;
    const std::size_t first = std::min<std::size_t>(1000, count / 2);
    for (std::size_t i = 0; i < first; ++i) {
        call();
    }
    const std::size_t bytes = AllocatedBytes();
    const std::ptrdiff_t descriptors = Descriptors();
    for (std::size_t i = first; i < count; ++i) {
        call();
    }
    EXPECT_LE(AllocatedBytes(), bytes + kCaches);
    EXPECT_EQ(Descriptors(), descriptors);
    trust::Report("Long run in one process", what, count);
}

/// The agent's folders, a package manager that answers, and no records, which would grow.
class LongRun : public ::testing::Test {
protected:
    void SetUp() override {
        trust::Watch();
        agent::MakeFolders();
        m_bus.ServeSizes(0, 1000, 300);
        Set().pkgmgrConnection = m_bus.Connection();
        Set().intKeys["db/menu/lobby/homedatacontrol/defaultdisclaimeragree"] = 1;
        Set().customInts["com.norvik/featureconf/flash_size"] = 2;
        Set().keepRecords = false;
        m_device = CGetData::GetInstance();
    }

    PackageBus m_bus;
    Inventory m_inventory;
    CGetData* m_device = nullptr;
};

}  // namespace

TEST_F(LongRun, OfDeviceFigures) {
    agent::Write(agent::kFolder + "/cobalt_size", "5000");
    ExpectFlat("device figures, one application's sizes, checks and requests", trust::Count(400, 25000), [&] {
        m_device->m_CalculateTotalSizeOfSystem();
        m_device->sendFlashSize();
        EXPECT_EQ(m_device->getSIDForDeviceState(m_device->CheckDeviceState()).substr(0, 3), "TV_");
        EXPECT_FALSE(m_device->m_GetTypeOfTV());
        EXPECT_EQ(m_device->m_CheckTermsCond(), 1);
        EXPECT_TRUE(m_device->m_CheckNetwork());
        EXPECT_FALSE(m_device->m_CheckForSwModel("model"));
        m_device->check_request_support_enable();
        agent::Answer("app", "20|7");
        m_device->sendAppData("9Ur5IzDKqV", "app");
        EXPECT_EQ(m_device->m_GetTotalSizeOfApp(), 20 + 7 + 1000 + 5000 - 300);
        m_device->killApp(Text("package"));
        EXPECT_EQ(m_device->clearAppCache(Text("package"), Text("app")), 0);
        EXPECT_EQ(m_device->performMemBoost(), 0);
        EXPECT_EQ(m_device->performDeepClean(), -1);
        EXPECT_TRUE(m_device->ProcessLaunchApp("org.vesta.menu"));
    });
}

TEST_F(LongRun, OfInventories) {
    m_inventory.Add("One");
    m_inventory.Add("Two");
    ExpectFlat("inventories of two applications", trust::Count(200, 10000), [&] {
        agent::Answer("app0", "20|7");
        m_device->sendAppList();
        EXPECT_EQ(m_device->m_GetAppsCount(), 2);
    });
}
