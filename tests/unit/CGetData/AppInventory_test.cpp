#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Fakes.h"
#include "Interposed.h"
#include "Inventory.h"
#include "PackageBus.h"
#include "Signals.h"

using fakes::Set;
using KURA::AppStorageInfo;
using KURA::CGetData;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace fs = std::filesystem;

namespace {

const std::string kFeatures = "com.norvik/featureconf/";
constexpr const char* kTerms = "db/menu/lobby/homedatacontrol/defaultdisclaimeragree";
const std::string kWebCache = "/opt/usr/home/owner/.cache/Apps/WebAppsCache/";

/// Terms accepted, a package manager that answers 1000 and 300, and the agent's folders.
class AppInventory : public ::testing::Test {
protected:
    void SetUp() override {
        agent::MakeFolders();
        fs::create_directories(kWebCache);
        Set().intKeys[kTerms] = 1;
        m_bus.ServeSizes(0, 1000, 300);
        Set().pkgmgrConnection = m_bus.Connection();
        m_device = CGetData::GetInstance();
        Set().log.clear();
    }

    /// The titles listed after a new inventory.
    std::vector<std::string> List() {
        m_device->sendAppList();
        std::vector<std::string> titles;
        for (const AppStorageInfo& app : m_device->m_GetAppsDataStructure()) {
            titles.push_back(app.title);
        }
        EXPECT_EQ(static_cast<std::size_t>(m_device->m_GetAppsCount()), titles.size());
        EXPECT_EQ(Set().livePkgmgrClients, 0);
        return titles;
    }

    AppStorageInfo ListOne() {
        const std::vector<std::string> titles = List();
        EXPECT_THAT(titles, SizeIs(1));
        return titles.empty() ? AppStorageInfo{} : m_device->m_GetAppsDataStructure()[0];
    }

    /// How often it waited between an application and the next.
    std::ptrdiff_t Pauses() const {
        const std::vector<std::chrono::nanoseconds> waits = interposed::Waits();
        return std::count(waits.begin(), waits.end(), std::chrono::milliseconds(10));
    }

    PackageBus m_bus;
    Inventory m_inventory;
    CGetData* m_device = nullptr;
};

}  // namespace

TEST_F(AppInventory, FillsARecord) {
    was_app_entry& entry = m_inventory.Add("A Title");
    entry.attribute1 = 11;
    entry.attribute2 = -12;
    entry.attribute3 = 13;
    fs::create_directories(kWebCache + "app0");
    const AppStorageInfo app = ListOne();
    EXPECT_TRUE(app.hasIcon);
    EXPECT_EQ(app.title, "A Title");
    EXPECT_EQ(app.packageId, "package0");
    EXPECT_EQ(app.appId, "app0");
    EXPECT_EQ(app.entryId, "entry0");
    EXPECT_EQ(app.iconPath, "/opt/icons/0/304x304.png");
    EXPECT_EQ(app.attribute1, 11);
    EXPECT_EQ(app.attribute2, -12);
    EXPECT_EQ(app.attribute3, 13);
    EXPECT_EQ(app.flag, 0);
    const std::vector<SizeCall> calls = m_bus.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].type, 0);
    EXPECT_EQ(calls[1].type, 1);
    EXPECT_EQ(calls[0].packageId, "package0");
    EXPECT_EQ(agent::Read("/tmp/vardo/calcAppDataCacheSize_app0"), "package0|app0\n");
    EXPECT_EQ(Pauses(), 1);
}

TEST_F(AppInventory, SaysWhatItDoesInOrder) {
    m_inventory.Add("Title");
    List();
    char list[64];
    std::snprintf(list, sizeof list, "app_list = %p,  apps count: 1", static_cast<void*>(Set().apps.data()));
    EXPECT_THAT(Set().Messages("sendAppList"),
                ElementsAre("The app count is: [1]", list, "Fetching information for 0 -> Title...",
                            "actual value of count of apps is 1"));
    const std::vector<std::string> calls = {
        "was_get_app_count()",
        "system_info_get_custom_int(" + kFeatures + "panel_resolution_width)",
        "system_info_get_custom_int(" + kFeatures + "panel_resolution_height)",
        "was_get_app_list(2)",
        "vconf_get_int(" + std::string(kTerms) + ")",
        "TCThreadPool(20)",
        "~TCThreadPool()",
    };
    std::vector<std::string> seen;
    std::copy_if(Set().calls.begin(), Set().calls.end(), std::back_inserter(seen),
                 [](const std::string& call) { return call.rfind("pkgmgr", 0) != 0; });
    EXPECT_EQ(seen, calls);
    EXPECT_TRUE(std::all_of(Set().log.begin(), Set().log.end(),
                            [](const fakes::LogLine& line) { return line.priority == 4; }));
}

TEST_F(AppInventory, AddsUpThreeSources) {
    m_inventory.Add("Title");
    EXPECT_EQ(ListOne().totalSize, 20 + 7 + (1000 - 300));
    fs::create_directories(kWebCache + "app0");
    agent::Write(kWebCache + "app0/file", std::string(5000, 'x'));
    agent::Answer("app0", "20|7");
    const std::string measured = m_device->GetStdoutFromCommand("du -bs " + kWebCache + "app0");
    EXPECT_GE(std::stoi(measured), 5000);
    EXPECT_EQ(ListOne().totalSize, 20 + 7 + (1000 + std::stoi(measured) - 300));
}

TEST_F(AppInventory, CountsNoWebCacheWithoutItsFolder) {
    m_inventory.Add("Title");
    EXPECT_EQ(ListOne().totalSize, 727);
    EXPECT_THAT(interposed::Commands(), ElementsAre("re du -bs " + kWebCache + "app0 2>&1"));
    EXPECT_TRUE(Set().Logged(4, "Buffer2 is : du:"));
}

TEST_F(AppInventory, NarrowsSizesTo32Bits) {
    m_inventory.Add("Title", "0|0");
    m_bus.ServeSizes(0, 3221225472, 0);
    EXPECT_EQ(ListOne().totalSize, -1073741824);
}

TEST_F(AppInventory, AddsTheAgentsSizeForYouTube) {
    agent::Write("/tmp/vardo/cobalt_size", "5000000000");
    m_inventory.Add("YouTube");
    m_inventory.Add("YouTube Kids");
    ASSERT_THAT(List(), ElementsAre("YouTube", "YouTube Kids"));
    const std::vector<AppStorageInfo> apps = m_device->m_GetAppsDataStructure();
    EXPECT_EQ(apps[0].totalSize, static_cast<std::int32_t>(727 + 5000000000));
    EXPECT_EQ(apps[1].totalSize, 727);
    EXPECT_TRUE(Set().Logged(4, "final value of appsize for Youtube is 5000001000"));
    EXPECT_EQ(Set().Messages("getAppSizeForYoutube").size(), 2u);
}

TEST_F(AppInventory, BearsTheLargestYouTubeSize) {
    agent::Write("/tmp/vardo/cobalt_size", "9223372036854775807");
    m_inventory.Add("YouTube", "1|0");
    EXPECT_EQ(ListOne().totalSize, static_cast<std::int32_t>(-1 + 1000 - 300 + 1));
}

TEST_F(AppInventory, ChoosesTheIconByThePanel) {
    Set().customInts["com.norvik/featureconf/panel_resolution_width"] = 7680;
    Set().customInts["com.norvik/featureconf/panel_resolution_height"] = 4320;
    m_inventory.Add("Big");
    agent::Write("/opt/icons/0/448x448.png", "icon");
    EXPECT_EQ(ListOne().iconPath, "/opt/icons/0/448x448.png");
}

TEST_F(AppInventory, FallsBackToThePlainIcon) {
    m_inventory.Add("Title");
    fs::remove("/opt/icons/0/304x304.png");
    agent::Write("/opt/icons/0/icon.png", "icon");
    const AppStorageInfo app = ListOne();
    EXPECT_TRUE(app.hasIcon);
    EXPECT_EQ(app.iconPath, "/opt/icons/0/icon.png");
}

TEST_F(AppInventory, NeverListsAnApplicationWithoutAnIcon) {
    m_inventory.Add("Without");
    m_inventory.Add("With");
    fs::remove("/opt/icons/0/304x304.png");
    agent::Write("/opt/icons/0/448x448.png", "of another panel");
    EXPECT_THAT(List(), ElementsAre("With"));
    EXPECT_TRUE(Set().Logged(4, "Icon of the app doesnt exist"));
    EXPECT_EQ(m_bus.CallCount(), 4);
    EXPECT_EQ(Pauses(), 2);
}

TEST_F(AppInventory, AppendsTheIconNameDirectly) {
    was_app_entry& entry = m_inventory.Add("Title");
    entry.icon_dir = "/opt/icons/prefix-";
    agent::Write("/opt/icons/prefix-304x304.png", "icon");
    EXPECT_EQ(ListOne().iconPath, "/opt/icons/prefix-304x304.png");
}

TEST_F(AppInventory, CutsALongIconPath) {
    std::string folder = "/opt";
    while (folder.size() < 1000) {
        folder += "/" + std::string(99, 'd');
    }
    fs::create_directories(folder);
    // So long that only "304" of the name fits.
    const std::string prefix = folder + "/" + std::string(1023 - 3 - folder.size() - 1, 'p');
    was_app_entry& entry = m_inventory.Add("Title");
    entry.icon_dir = prefix.c_str();
    agent::Write(prefix + "304", "icon");
    EXPECT_EQ(ListOne().iconPath, prefix + "304");
}

TEST_F(AppInventory, ShowsTwoApplicationsWithoutTheTerms) {
    for (const int terms : {0, 2, -1}) {
        Set().intKeys[kTerms] = terms;
        Set().apps.clear();
        for (const char* title : {"HelpBook", "Store", "WebBrowser", "helpbook"}) {
            m_inventory.Add(title);
        }
        EXPECT_THAT(List(), ElementsAre("HelpBook", "WebBrowser")) << terms;
    }
    Set().refusedKeys.insert(kTerms);
    Set().intKeys[kTerms] = 1;
    EXPECT_THAT(List(), ElementsAre("HelpBook", "WebBrowser"));
}

TEST_F(AppInventory, MeasuresAlsoWhatTheTermsHide) {
    Set().intKeys[kTerms] = 0;
    m_inventory.Add("Store");
    fs::remove("/opt/icons/0/304x304.png");
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_EQ(m_bus.CallCount(), 2);
    EXPECT_THAT(interposed::Commands(), SizeIs(1));
    EXPECT_TRUE(Set().Logged(4, "T&C NOT accepted"));
    EXPECT_FALSE(Set().Logged(4, "Icon of the app doesnt exist"));
    EXPECT_EQ(Pauses(), 1);
    EXPECT_TRUE(Set().Logged(4, "The app count is: [1]"));
    EXPECT_TRUE(Set().Logged(4, "actual value of count of apps is 0"));
}

TEST_F(AppInventory, LeavesOutSkippedEntriesUnmeasured) {
    m_inventory.Add("Skipped").skip = -1;
    m_inventory.Add("Taken");
    EXPECT_THAT(List(), ElementsAre("Taken"));
    EXPECT_EQ(Set().CountCalls("pkgmgr_client_new"), 1u);
    EXPECT_FALSE(agent::Stands("/tmp/vardo/calcAppDataCacheSize_app0"));
    EXPECT_FALSE(Set().Logged(4, "Fetching information for 0 -> Skipped..."));
    EXPECT_TRUE(Set().Logged(4, "Fetching information for 1 -> Taken..."));
    EXPECT_EQ(Pauses(), 1);
}

TEST_F(AppInventory, KeepsTheOrderOfTheService) {
    std::vector<std::string> titles;
    for (int i = 0; i < 50; ++i) {
        titles.push_back("Title " + std::to_string(i));
        m_inventory.Add(titles.back());
    }
    EXPECT_EQ(List(), titles);
    EXPECT_EQ(Pauses(), 50);
}

TEST_F(AppInventory, ReplacesTheListBefore) {
    m_inventory.Add("First");
    List();
    Set().apps.clear();
    m_inventory.Add("Second");
    EXPECT_THAT(List(), ElementsAre("Second"));
    Set().appListResult = -1;
    Set().log.clear();
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_EQ(agent::Log().back(), "6 sendAppList: get app list failed");
    EXPECT_EQ(Set().CountCalls("TCThreadPool"), 2u);
}

TEST_F(AppInventory, MakesAPoolAlsoForNoApplication) {
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_THAT(Set().calls, Contains("TCThreadPool(20)"));
    EXPECT_THAT(Set().calls, Contains("~TCThreadPool()"));
    EXPECT_TRUE(Set().Logged(4, "actual value of count of apps is 0"));
}

TEST_F(AppInventory, GoesOnWithoutAClient) {
    m_inventory.Add("Title");
    Set().pkgmgrClientAvailable = false;
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_THAT(agent::Log(), Contains("6 sendAppList: out of memory"));
    EXPECT_FALSE(agent::Stands("/tmp/vardo/calcAppDataCacheSize_app0"));
    EXPECT_EQ(Pauses(), 0);
}

TEST_F(AppInventory, KeepsAWorkersExceptionInside) {
    m_inventory.Add("One");
    m_inventory.Add("Two");
    m_inventory.Add("Three");
    std::atomic<int> clients{0};
    Set().onCall = [&clients](const std::string& call) {
        if (call != "pkgmgr_client_new(0)") {
            return;
        }
        switch (++clients) {
            case 1:
                throw std::runtime_error("a service that throws");
            case 2:
                throw "a text";
            default:
                return;
        }
    };
    EXPECT_THAT(List(), SizeIs(1));
    Set().onCall = nullptr;
    EXPECT_THAT(agent::Log(), Contains("6 sendAppList: a service that throws"));
    EXPECT_THAT(agent::Log(), Contains("6 sendAppList: unknown exception"));
}

TEST_F(AppInventory, LetsACancelledWorkerEnd) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP()
        << "UndefinedBehaviorSanitizer takes the unwinding, which is no C++ object, for a null reference";
#endif
    m_inventory.Add("One");
    m_inventory.Add("Two");
    std::atomic<int> clients{0};
    Set().onCall = [&clients](const std::string& call) {
        if (call == "pkgmgr_client_new(0)" && ++clients == 1) {
            pthread_cancel(pthread_self());
            pthread_testcancel();
        }
    };
    EXPECT_THAT(List(), SizeIs(1));
    Set().onCall = nullptr;
}

TEST_F(AppInventory, ReadsNullTextsAsEmpty) {
    was_app_entry& entry = m_inventory.Add("Title");
    entry = {nullptr, nullptr, nullptr, nullptr, nullptr, 0, 1, 2, 3};
    agent::Answer("", "5|6");
    Set().intKeys[kTerms] = 1;
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_TRUE(Set().Logged(4, "Fetching information for 0 -> ..."));
    EXPECT_TRUE(Set().Logged(4, "Icon of the app doesnt exist"));
    EXPECT_EQ(m_bus.Calls().at(0).packageId, "");
    const std::string folder = "/opt/icons/0/";
    entry.icon_dir = folder.c_str();
    agent::Answer("", "5|6");
    const AppStorageInfo app = ListOne();
    EXPECT_EQ(app.title, "");
    EXPECT_EQ(app.packageId, "");
    EXPECT_EQ(app.appId, "");
    EXPECT_EQ(app.entryId, "");
    EXPECT_EQ(app.attribute3, 3);
}

TEST_F(AppInventory, GivesTheShellOneWordForAnyId) {
    const struct {
        std::string id;
        std::string word;
    } rows[] = {
        {"Plain.Id_1-2", kWebCache + "Plain.Id_1-2"},
        {"a b", "'" + kWebCache + "a b'"},
        {"$(touch /tmp/pwned)", "'" + kWebCache + "$(touch /tmp/pwned)'"},
        {"`touch /tmp/pwned`", "'" + kWebCache + "`touch /tmp/pwned`'"},
        {"x;touch /tmp/pwned", "'" + kWebCache + "x;touch /tmp/pwned'"},
        {"x'; touch /tmp/pwned; '", "'" + kWebCache + "x'\\''; touch /tmp/pwned; '\\'''"},
        {"x\ntouch /tmp/pwned", "'" + kWebCache + "x\ntouch /tmp/pwned'"},
        {"x|touch /tmp/pwned", "'" + kWebCache + "x|touch /tmp/pwned'"},
        {"x>/tmp/pwned", "'" + kWebCache + "x>/tmp/pwned'"},
        {"'\\''", "'" + kWebCache + "'\\''\\'\\'''\\'''"},
        {"*", "'" + kWebCache + "*'"},
        {"\xc3\xa4", "'" + kWebCache + "\xc3\xa4'"},
    };
    for (const auto& row : rows) {
        Set().apps.clear();
        was_app_entry& entry = m_inventory.Add("Title");
        entry.app_id = row.id.c_str();
        const std::size_t before = interposed::Commands().size();
        List();
        ASSERT_EQ(interposed::Commands().size(), before + 1);
        EXPECT_EQ(interposed::Commands().back(), "re du -bs " + row.word + " 2>&1");
        EXPECT_FALSE(agent::Stands("/tmp/pwned")) << row.id;
    }
}

TEST_F(AppInventory, MeasuresTheFolderOfAnUnusualId) {
    const std::string id = "it's $HOME";
    fs::create_directories(kWebCache + id);
    agent::Write(kWebCache + id + "/file", std::string(6000, 'x'));
    was_app_entry& entry = m_inventory.Add("Title");
    entry.app_id = id.c_str();
    agent::Answer(id, "0|0");
    EXPECT_GE(ListOne().totalSize, 6000 + 700);
}

TEST(CommandOutput, IsReadOnAfterASignal) {
    const signals::Timer timer(5000);
    EXPECT_EQ(CGetData::GetInstance()->GetStdoutFromCommand("printf wo; sleep 0.2; echo rd"), "word");
}

TEST(CommandOutput, IsTheFirstWordOfTheFirstLine) {
    const struct {
        const char* command;
        const char* line;  // as read
        const char* word;
    } rows[] = {
        {"echo one two; echo three", "one two\n", "one"},
        {"printf '  padded\\tword\\n'", "  padded\tword\n", "padded"},
        {"printf 'no line feed'", "no line feed", "no"},
        {"printf '\\nsecond\\n'", "\n", ""},
        {"printf '   \\n'", "   \n", ""},
        {"sh -c 'echo from the error stream >&2'", "from the error stream\n", "from"},
        {"printf '%%s %%n'", "%s %n", "%s"},
    };
    CGetData* device = CGetData::GetInstance();
    for (const auto& row : rows) {
        Set().log.clear();
        EXPECT_EQ(device->GetStdoutFromCommand(row.command), row.word) << row.command;
        EXPECT_THAT(agent::Log(),
                    ElementsAre("4 GetStdoutFromCommand: Buffer1 is : " + std::string(row.line),
                                "4 GetStdoutFromCommand: Buffer2 is : " + std::string(row.word)));
        EXPECT_EQ(interposed::Commands().back(), "re " + std::string(row.command) + " 2>&1");
    }
}

TEST(CommandOutput, IsCutAt255Characters) {
    CGetData* device = CGetData::GetInstance();
    EXPECT_EQ(device->GetStdoutFromCommand("printf '%0300d' 7"), std::string(255, '0'));
    EXPECT_EQ(device->GetStdoutFromCommand("yes word"), "word");
}

TEST(CommandOutput, IsEmptyWhenThereIsNone) {
    CGetData* device = CGetData::GetInstance();
    Set().log.clear();
    EXPECT_EQ(device->GetStdoutFromCommand("true"), "");
    interposed::FailPopen();
    EXPECT_EQ(device->GetStdoutFromCommand("echo word"), "");
    EXPECT_THAT(Set().log, IsEmpty());
}

TEST(ThreadCallbacks, OnlyLog) {
    CGetData* device = CGetData::GetInstance();
    Set().log.clear();
    Set().calls.clear();
    CGetData::app_list_handle_function(nullptr, nullptr);
    CGetData::app_list_error_handle_function(nullptr, nullptr);
    CGetData::app_list_handle_terminate_function(nullptr, nullptr);
    device->EcoreToSendAppList();
    EXPECT_THAT(
        agent::Log(),
        ElementsAre("4 app_list_handle_function: app_list_handle fn START-----",
                    "6 app_list_error_handle_function: Failed to run ecore thread to execute "
                    "app_list_handle_function",
                    "4 app_list_handle_terminate_function: app_list_handle_terminate_function called... "
                    "ecore thread to send app list terminating..."));
    EXPECT_THAT(Set().calls, IsEmpty());
}
