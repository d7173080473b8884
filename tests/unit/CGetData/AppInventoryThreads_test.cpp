#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "Inventory.h"

using fakes::Set;
using KURA::AppStorageInfo;
using KURA::CGetData;

namespace {

constexpr int kApps = 200;

/// Without a connection the package manager's result is -2 for both sizes, which leaves the agent's figures.
std::vector<AppStorageInfo> Measure(Inventory& inventory) {
    agent::MakeFolders();
    Set().intKeys["db/menu/lobby/homedatacontrol/defaultdisclaimeragree"] = 1;
    for (int i = 0; i < kApps; ++i) {
        inventory.Add("Title " + std::to_string(i), std::to_string(i) + "|" + std::to_string(1000 * i));
    }
    CGetData::GetInstance()->sendAppList();
    return CGetData::GetInstance()->m_GetAppsDataStructure();
}

}  // namespace

TEST(AppInventoryThreads, GivesEveryWorkerItsOwnRecord) {
    Inventory inventory;
    const std::vector<AppStorageInfo> apps = Measure(inventory);
    ASSERT_EQ(apps.size(), static_cast<std::size_t>(kApps));
    for (int i = 0; i < kApps; ++i) {
        const AppStorageInfo& app = apps[static_cast<std::size_t>(i)];
        EXPECT_EQ(app.title, "Title " + std::to_string(i));
        EXPECT_EQ(app.appId, "app" + std::to_string(i));
        EXPECT_EQ(app.totalSize, 1001 * i);
    }
    EXPECT_EQ(Set().livePkgmgrClients, 0);
}

TEST(AppInventoryThreads, SharesOneResultAmongFailingWorkers) {
    Inventory inventory;
    Set().pkgmgrClientAvailable = false;
    EXPECT_TRUE(Measure(inventory).empty());
    const std::vector<std::string> messages = Set().Messages("sendAppList");
    EXPECT_EQ(std::count(messages.begin(), messages.end(), "out of memory"), kApps);
}

TEST(AppInventoryThreads, CreatesOneObjectForManyThreads) {
    std::vector<CGetData*> seen(16);
    std::vector<std::thread> threads;
    for (CGetData*& device : seen) {
        threads.emplace_back([&device] { device = CGetData::GetInstance(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), CGetData::GetInstance()), 16);
    EXPECT_EQ(Set().Messages("CGetData").size(), 1u);
}
