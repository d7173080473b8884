#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Device.h"
#include "Fakes.h"
#include "Interposed.h"

using agent::kFolder;
using agent::kRequests;
using agent::Read;
using agent::Stands;
using agent::Text;
using fakes::Set;
using KURA::CGetData;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

const std::string kCleanAll = kRequests + "/CleanAll.txt";
const std::string kWaitingLine =
    "4 performDeepClean: Waiting for another 1 second to complete deep Clean Process";
const std::string kCreatedLine =
    "4 performDeepClean: [KELMGR] File (/tmp/vardo/req/CleanAll.txt) Created Successfully";

/// The object, with a clean log, and the agent's folders.
CGetData* Device() {
    agent::MakeFolders();
    return CleanDevice();
}

/// Created, n times waiting, and what may follow.
std::vector<std::string> DeepCleanLog(int waits, const std::vector<std::string>& end = {}) {
    std::vector<std::string> lines = {kCreatedLine};
    lines.insert(lines.end(), static_cast<std::size_t>(waits), kWaitingLine);
    lines.insert(lines.end(), end.begin(), end.end());
    return lines;
}

}  // namespace

TEST(CleanUp, FindsADeepCleanDoneAtTheNthTest) {
    CGetData* device = Device();
    for (int test = 1; test <= 10; ++test) {
        Set().log.clear();
        const std::size_t waitsBefore = interposed::Waits().size();
        const int statsBefore = interposed::StatCount();
        interposed::OnStat(kCleanAll, [&](int number) {
            if (number - statsBefore == test) {
                EXPECT_EQ(Read(kCleanAll), "CleanUp\n");
                EXPECT_EQ(agent::OpenDescriptors(kCleanAll), 0);
                fs::remove(kCleanAll);
            }
        });
        EXPECT_EQ(device->performDeepClean(), 0) << test;
        const int waits = static_cast<int>(interposed::Waits().size() - waitsBefore);
        EXPECT_EQ(waits, test - 1);
        EXPECT_EQ(interposed::StatCount() - statsBefore, test);
        EXPECT_EQ(agent::Log(), DeepCleanLog(test - 1));
    }
    EXPECT_THAT(interposed::Waits(), Each(std::chrono::nanoseconds(std::chrono::seconds(1))));
}

TEST(CleanUp, EndsADeepCleanThatVanishesDuringAWait) {
    CGetData* device = Device();
    interposed::OnWait([](int number) {
        if (number == 6) {
            fs::remove(kCleanAll);
        }
    });
    EXPECT_EQ(device->performDeepClean(), 0);
    EXPECT_THAT(interposed::Waits(), SizeIs(6));
}

TEST(CleanUp, GivesADeepCleanUpAfterTenWaits) {
    CGetData* device = Device();
    interposed::OnStat(kCleanAll, nullptr);
    EXPECT_EQ(device->performDeepClean(), -1);
    EXPECT_THAT(interposed::Waits(), SizeIs(10));
    EXPECT_EQ(interposed::StatCount(), 10);
    EXPECT_EQ(Read(kCleanAll), "CleanUp\n");
    EXPECT_EQ(
        agent::Log(),
        DeepCleanLog(10, {"6 performDeepClean: Deep Clean Process unable to complete in 10 seconds.. so "
                          "returning failure..."}));
}

TEST(CleanUp, WaitsForADeepCleanThatCannotBeLookedAt) {
    CGetData* device = Device();
    const agent::Unprivileged unprivileged;
    interposed::OnStat(kCleanAll, [](int number) {
        if (number == 1) {
            fs::permissions(kRequests, fs::perms::none);
        }
        if (number == 4) {
            fs::permissions(kRequests, fs::perms::owner_all);
            fs::remove(kCleanAll);
        }
    });
    EXPECT_EQ(device->performDeepClean(), 0);
    EXPECT_EQ(interposed::StatCount(), 4);
    EXPECT_EQ(agent::Log(), DeepCleanLog(3));
}

TEST(CleanUp, GivesADeepCleanUpThatVanishesDuringTheLastWait) {
    CGetData* device = Device();
    interposed::OnWait([](int number) {
        if (number == 10) {
            fs::remove(kCleanAll);
        }
    });
    EXPECT_EQ(device->performDeepClean(), -1);
    EXPECT_THAT(interposed::Waits(), SizeIs(10));
}

TEST(CleanUp, RefusesADeepCleanWithoutTheAgentsFolder) {
    CGetData* device = Device();
    fs::remove_all(kFolder);
    EXPECT_EQ(device->performDeepClean(), -1);
    EXPECT_THAT(agent::Log(),
                ElementsAre("4 performDeepClean: File creation failed (/tmp/vardo/req/CleanAll.txt)"));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
    EXPECT_FALSE(fs::exists(kFolder));
}

TEST(CleanUp, OverwritesAStaleTrigger) {
    CGetData* device = Device();
    agent::Write(kCleanAll, "something longer than the command");
    agent::Write(kRequests + "/memBoost", "stale");
    interposed::OnWait([](int) {
        EXPECT_EQ(Read(kCleanAll), "CleanUp\n");
        fs::remove(kCleanAll);
    });
    EXPECT_EQ(device->performDeepClean(), 0);
    EXPECT_EQ(device->performMemBoost(), 0);
    EXPECT_EQ(Read(kRequests + "/memBoost"), "");
}

TEST(CleanUp, AsksForAMemoryBoostInSilence) {
    CGetData* device = Device();
    EXPECT_EQ(device->performMemBoost(), 0);
    ASSERT_TRUE(fs::is_regular_file(kRequests + "/memBoost"));
    EXPECT_EQ(fs::file_size(kRequests + "/memBoost"), 0u);
    EXPECT_THAT(Set().log, IsEmpty());
    EXPECT_THAT(interposed::Waits(), IsEmpty());
}

TEST(CleanUp, TellsTheErrorOfARefusedMemoryBoost) {
    const auto line = [](int error) {
        return "4 performMemBoost: File creation failed (/tmp/vardo/req/memBoost) with error number : " +
               std::to_string(error);
    };
    CGetData* device = Device();
    const std::string path = kRequests + "/memBoost";
    agent::Write("/tmp/elsewhere", "kept");
    fs::create_symlink("/tmp/elsewhere", path);
    EXPECT_EQ(device->performMemBoost(), -1);
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_EQ(device->performMemBoost(), -1);
    fs::remove_all(kFolder);
    EXPECT_EQ(device->performMemBoost(), -1);
    agent::Write(kFolder, "no folder");
    EXPECT_EQ(device->performMemBoost(), -1);
    EXPECT_THAT(agent::Log(), ElementsAre(line(ELOOP), line(EISDIR), line(ENOENT), line(ENOTDIR)));
    EXPECT_EQ(Read("/tmp/elsewhere"), "kept");
}

TEST(CleanUp, WritesWhomToKillBeforeTheTrigger) {
    CGetData* device = Device();
    device->killApp(Text("com.example.app"));
    EXPECT_EQ(Read(kFolder + "/killApp"), "com.example.app\n");
    ASSERT_TRUE(fs::is_regular_file(kRequests + "/killApp"));
    EXPECT_EQ(fs::file_size(kRequests + "/killApp"), 0u);
    EXPECT_THAT(agent::Log(),
                ElementsAre("4 killApp: Package Name for the app to be killed is : com.example.app",
                            "4 killApp: [KELMGR-NATIVE] file created successfully (/tmp/vardo/killApp)",
                            "4 killApp: [KELMGR-NATIVE] file created successfully (/tmp/vardo/req/killApp)"));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
}

TEST(CleanUp, ClosesTheDataFileBeforeTheTriggerStands) {
    CGetData* device = Device();
    int seen = 0;
    const auto expectData = [&seen](const std::string& name, const std::string& text) {
        interposed::AfterRealpath(kRequests + "/" + name, [&seen, name, text] {
            ++seen;
            EXPECT_EQ(Read(kFolder + "/" + name), text);
            EXPECT_EQ(agent::OpenDescriptors(kFolder + "/" + name), 0);
            EXPECT_FALSE(Stands(kRequests + "/" + name));
        });
    };
    expectData("killApp", "package\n");
    device->killApp(Text("package"));
    expectData("clearAppCache", "package|app\n");
    device->clearAppCache(Text("package"), Text("app"));
    EXPECT_EQ(seen, 2);
}

TEST(CleanUp, LeavesTheDataFileWhenTheTriggerIsRefused) {
    CGetData* device = Device();
    fs::remove_all(kRequests);
    device->killApp(Text("com.example.app"));
    EXPECT_EQ(Read(kFolder + "/killApp"), "com.example.app\n");
    EXPECT_THAT(agent::Log(),
                ElementsAre("4 killApp: Package Name for the app to be killed is : com.example.app",
                            "4 killApp: [KELMGR-NATIVE] file created successfully (/tmp/vardo/killApp)",
                            "4 killApp: [KELMGR-NATIVE] file creation failed (/tmp/vardo/req/killApp)"));
    Set().log.clear();
    EXPECT_EQ(device->clearAppCache(Text("package"), Text("app")), -1);
    EXPECT_EQ(Read(kFolder + "/clearAppCache"), "package|app\n");
    EXPECT_THAT(
        agent::Log(),
        ElementsAre("4 clearAppCache: Package Name and Vesta Id of App for cache clean are package and app",
                    "4 clearAppCache: [KELMGR-NATIVE] file created successfully (/tmp/vardo/clearAppCache)",
                    "4 clearAppCache: [KELMGR-NATIVE] file creation failed (/tmp/vardo/req/clearAppCache)"));
}

TEST(CleanUp, ClearsTheCacheAlsoOfProtectedApplications) {
    CGetData* device = Device();
    EXPECT_EQ(device->clearAppCache(Text("org.vesta.netflix-app"), Text("netflix id")), 0);
    EXPECT_EQ(Read(kFolder + "/clearAppCache"), "org.vesta.netflix-app|netflix id\n");
    ASSERT_TRUE(fs::is_regular_file(kRequests + "/clearAppCache"));
    EXPECT_EQ(fs::file_size(kRequests + "/clearAppCache"), 0u);
    EXPECT_THAT(
        agent::Log(),
        ElementsAre(
            "4 clearAppCache: Package Name and Vesta Id of App for cache clean are "
            "org.vesta.netflix-app and netflix id",
            "4 clearAppCache: [KELMGR-NATIVE] file created successfully (/tmp/vardo/clearAppCache)",
            "4 clearAppCache: [KELMGR-NATIVE] file created successfully (/tmp/vardo/req/clearAppCache)"));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
}

TEST(CleanUp, TellsWhereAStandingCacheTriggerLeads) {
    const auto third = [](CGetData* device) {
        Set().log.clear();
        device->clearAppCache(Text("package"), Text("app"));
        const std::vector<std::string> log = agent::Log();
        return log.size() < 4 ? std::vector<std::string>{} : std::vector<std::string>{log[2], log[3]};
    };
    CGetData* device = Device();
    device->clearAppCache(Text("package"), Text("app"));
    EXPECT_THAT(third(device), ElementsAre("4 clearAppCache: realpath1 is /tmp/vardo/req/clearAppCache",
                                           "4 clearAppCache: [KELMGR-NATIVE] file created successfully "
                                           "(/tmp/vardo/req/clearAppCache)"));
    agent::Write("/tmp/elsewhere", "kept");
    fs::remove(kRequests + "/clearAppCache");
    fs::create_symlink("/tmp/elsewhere", kRequests + "/clearAppCache");
    EXPECT_THAT(third(device), ElementsAre("4 clearAppCache: realpath1 is /tmp/elsewhere",
                                           "4 clearAppCache: [KELMGR-NATIVE] file creation failed "
                                           "(/tmp/vardo/req/clearAppCache)"));
    EXPECT_EQ(Read("/tmp/elsewhere"), "kept");
}

TEST(CleanUp, ReadsNullNamesAsEmpty) {
    CGetData* device = Device();
    device->killApp(nullptr);
    EXPECT_EQ(Read(kFolder + "/killApp"), "\n");
    EXPECT_EQ(device->clearAppCache(nullptr, nullptr), 0);
    EXPECT_EQ(Read(kFolder + "/clearAppCache"), "|\n");
    EXPECT_EQ(device->m_IfDisableClearDataCache(nullptr), 0);
    EXPECT_EQ(device->clearAppData(nullptr), 0);
    EXPECT_TRUE(Set().Called("pkgmgr_client_clear_user_data(NULL, , 1)"));
}

TEST(CleanUp, CreatesNoTriggerWhenTheDiskIsFull) {
    CGetData* device = Device();
    {
        const agent::FullDisk full;
        EXPECT_EQ(device->performDeepClean(), -1);
        device->killApp(Text("package"));
        EXPECT_EQ(device->clearAppCache(Text("package"), Text("app")), -1);
        EXPECT_EQ(device->performMemBoost(), 0);
    }
    EXPECT_FALSE(Stands(kRequests + "/killApp"));
    EXPECT_FALSE(Stands(kRequests + "/clearAppCache"));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
    EXPECT_THAT(
        agent::Log(),
        ElementsAre("4 performDeepClean: File creation failed (/tmp/vardo/req/CleanAll.txt)",
                    "4 killApp: Package Name for the app to be killed is : package",
                    "4 killApp: [KELMGR-NATIVE] file creation failed (/tmp/vardo/killApp)",
                    "4 clearAppCache: Package Name and Vesta Id of App for cache clean are package and app",
                    "4 clearAppCache: [KELMGR-NATIVE] file creation failed (/tmp/vardo/clearAppCache)"));
}

TEST(CleanUp, ProtectsThreeApplicationsByTheirWholeId) {
    const struct {
        const char* id;
        int isProtected;
    } rows[] = {{"org.vesta.primevideo", 1},  {"9Ur5IzDKqV", 1},  {"org.vesta.netflix-app", 1},
                {"9Ur5IzDKqV.app", 0},        {"9Ur5IzDKq", 0},   {"9ur5izdkqv", 0},
                {"org.vesta.primevideo2", 0}, {" 9Ur5IzDKqV", 0}, {"", 0}};
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().log.clear();
        EXPECT_EQ(device->m_IfDisableClearDataCache(Text(row.id)), row.isProtected) << row.id;
        if (row.isProtected == 1) {
            EXPECT_THAT(agent::Log(),
                        ElementsAre("4 m_IfDisableClearDataCache: Do not clear data as prime, youtube "
                                    "& Netflix"));
        } else {
            EXPECT_THAT(Set().log, IsEmpty());
        }
    }
}

TEST(CleanUp, NeverAsksToClearAProtectedApplicationsData) {
    CGetData* device = Device();
    EXPECT_EQ(device->clearAppData(Text("9Ur5IzDKqV")), 1);
    EXPECT_THAT(Set().calls, IsEmpty());
}

TEST(CleanUp, ClearsAnApplicationsData) {
    CGetData* device = Device();
    EXPECT_EQ(device->clearAppData(Text("9Ur5IzDKqV.app")), 0);
    EXPECT_THAT(Set().calls,
                ElementsAre("pkgmgr_client_new(0)", "pkgmgr_client_clear_user_data(NULL, 9Ur5IzDKqV.app, 1)",
                            "pkgmgr_client_free()"));
    EXPECT_THAT(agent::Log(),
                ElementsAre("4 clearAppData: Return value of pkgmgr_client_clear_user_data api is : 0"));
    EXPECT_EQ(Set().livePkgmgrClients, 0);
}

TEST(CleanUp, ReportsDataThatCouldNotBeCleared) {
    CGetData* device = Device();
    Set().clearUserDataResult = 7;
    EXPECT_EQ(device->clearAppData(Text("package")), -1);
    Set().pkgmgrClientAvailable = false;
    EXPECT_EQ(device->clearAppData(Text("package")), -1);
    EXPECT_THAT(agent::Log(),
                ElementsAre("4 clearAppData: Return value of pkgmgr_client_clear_user_data api is : 7",
                            "4 clearAppData: Return value of pkgmgr_client_clear_user_data api is : -1"));
    EXPECT_EQ(Set().CountCalls("pkgmgr_client_clear_user_data"), 2u);
    EXPECT_EQ(Set().livePkgmgrClients, 0);
}

TEST(CleanUp, TakesUninstallProgressWithoutEffect) {
    agent::MakeFolders();
    const auto before = agent::FilesBelow("/tmp");
    for (const int progress : {0, 50, 100, -2147483647 - 1}) {
        KURA::sendUninstallProgress(progress);
    }
    EXPECT_THAT(Set().events, IsEmpty());
    EXPECT_EQ(agent::FilesBelow("/tmp"), before);
}
