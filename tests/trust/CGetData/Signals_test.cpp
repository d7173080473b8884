// Signals that interrupt whatever waits in the system: every result is the one without them.
#include "Signals.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "Inventory.h"
#include "PackageBus.h"
#include "trust/Trust.h"

using agent::kFolder;
using agent::Text;
using fakes::Set;
using KURA::AppStorageInfo;
using KURA::CGetData;

namespace fs = std::filesystem;

namespace {

const std::string kDeepClean = agent::kRequests + "/CleanAll.txt";

class SignalsTest : public ::testing::Test {
protected:
    void SetUp() override {
        trust::Watch();
        agent::MakeFolders();
        agent::Write(kFolder + "/cobalt_size", "5000");
        const std::string webCache = "/opt/usr/home/owner/.cache/Apps/WebAppsCache/app0";
        fs::create_directories(webCache);
        agent::Write(webCache + "/file", std::string(5000, 'x'));
        m_bus.ServeSizes(0, 1000, 300);
        Set().pkgmgrConnection = m_bus.Connection();
        Set().intKeys["db/menu/lobby/homedatacontrol/defaultdisclaimeragree"] = 1;
        m_inventory.Add("YouTube");
        m_inventory.Add("Two");
        interposed::OnStat(kDeepClean, [](int number) {
            if (number % 3 == 0) {
                fs::remove(kDeepClean);
            }
        });
        m_device = CGetData::GetInstance();
    }

    /// What every operation that asks the system for something gives, as a text.
    std::string Results() {
        Set().calls.clear();
        Set().events.clear();
        Set().log.clear();
        interposed::Forget();
        std::ostringstream text;
        for (const char* app : {"app0", "app1"}) {
            agent::Answer(app, "20|7");
        }
        m_device->sendAppList();
        for (const AppStorageInfo& app : m_device->m_GetAppsDataStructure()) {
            text << app.title << ' ' << app.totalSize << ' ' << app.iconPath << '\n';
        }
        agent::Answer("app", "1|2");
        text << m_device->sendAppData("9Ur5IzDKqV", "app") << ' ' << m_device->m_GetTotalSizeOfApp() << '\n';
        text << m_device->GetStdoutFromCommand("printf wo; sleep 0.02; echo rd") << '\n';
        text << m_device->performDeepClean() << m_device->performMemBoost() << '\n';
        m_device->killApp(Text("package"));
        text << agent::Read(kFolder + "/killApp");
        text << m_device->clearAppCache(Text("package"), Text("app"))
             << agent::Read(kFolder + "/clearAppCache");
        return text.str();
    }

    PackageBus m_bus;
    Inventory m_inventory;
    CGetData* m_device = nullptr;
};

}  // namespace

TEST_F(SignalsTest, AtAnyRateChangeNoResult) {
    const std::string expected = Results();
    const std::size_t rounds = trust::Count(2, 100);
    for (const suseconds_t distance : {1000, 250, 50}) {
        const std::size_t before = signals::g_taken;
        for (std::size_t round = 0; round < rounds; ++round) {
            const signals::Timer timer(distance);
            EXPECT_EQ(Results(), expected) << distance;
        }
        EXPECT_GT(signals::g_taken, before);
        trust::Report("Signals", std::to_string(1000 / distance) + " kHz, to the process", rounds);
    }
}

TEST_F(SignalsTest, ToEveryThreadChangeNoResult) {
    const std::string expected = Results();
    const std::size_t rounds = trust::Count(2, 100);
    for (std::size_t round = 0; round < rounds; ++round) {
        const signals::Storm storm;
        EXPECT_EQ(Results(), expected);
    }
    EXPECT_GT(signals::g_taken, 0U);
    trust::Report("Signals", "to every thread in turn, without a pause", rounds);
}
