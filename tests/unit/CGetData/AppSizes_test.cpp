#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Device.h"
#include "Fakes.h"
#include "Interposed.h"
#include "PackageBus.h"

using agent::kAcks;
using agent::kFolder;
using agent::kRequests;
using agent::OpenDescriptors;
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

constexpr long kDataBefore = -1000;
constexpr long kCacheBefore = -2000;

const std::string kAck = kAcks + "/appDataCacheSize_app";
const std::string kResult = kFolder + "/appDataCacheSize_app";

/// The object, with a clean log, and the agent's folders.
CGetData* Device() {
    agent::MakeFolders();
    return CleanDevice();
}

struct Found {
    long data = kDataBefore;
    long cache = kCacheBefore;
};

bool operator==(const Found& left, const Found& right) {
    return left.data == right.data && left.cache == right.cache;
}

Found Find(const std::string& appId = "app") {
    Found found;
    CGetData::GetInstance()->findDataCacheSize(Text("package"), Text(appId), &found.data, &found.cache);
    return found;
}

}  // namespace

TEST(AppSizes, AsksTheAgentInTwoFiles) {
    Device();
    agent::Answer("app", "123|456");
    EXPECT_EQ(Find(), (Found{123, 456}));
    EXPECT_EQ(Read(kFolder + "/calcAppDataCacheSize_app"), "package|app\n");
    EXPECT_EQ(Read(kRequests + "/calcAppDataCacheSize_app"), "package|app\n");
    EXPECT_FALSE(Stands(kAck));
    EXPECT_FALSE(Stands(kResult));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
    EXPECT_THAT(Set().log, IsEmpty());
}

TEST(AppSizes, FindsTheAnswerAtOneOfFiveTests) {
    Device();
    for (int test = 1; test <= 5; ++test) {
        const std::size_t waitsBefore = interposed::Waits().size();
        interposed::OnWait([&](int number) {
            if (static_cast<std::size_t>(number) - waitsBefore == static_cast<std::size_t>(test - 1)) {
                agent::Answer("app", "1|2");
            }
        });
        if (test == 1) {
            agent::Answer("app", "1|2");
        }
        EXPECT_EQ(Find(), (Found{1, 2})) << test;
        EXPECT_EQ(interposed::Waits().size() - waitsBefore, static_cast<std::size_t>(test - 1));
    }
    EXPECT_THAT(interposed::Waits(), Each(std::chrono::nanoseconds(std::chrono::seconds(1))));
}

TEST(AppSizes, GivesUpInSilenceAfterFiveWaits) {
    Device();
    interposed::OnStat(kAck, nullptr);
    interposed::OnWait([](int number) {
        if (number == 5) {
            agent::Answer("app", "1|2");
        }
    });
    EXPECT_EQ(Find(), Found());
    EXPECT_THAT(interposed::Waits(), SizeIs(5));
    EXPECT_EQ(interposed::StatCount(), 5);
    EXPECT_TRUE(Stands(kAck));
    EXPECT_EQ(Read(kResult), "1|2");
    EXPECT_TRUE(Stands(kRequests + "/calcAppDataCacheSize_app"));
    EXPECT_THAT(Set().log, IsEmpty());
}

TEST(AppSizes, LeavesTheAcknowledgementWhenThereIsNoResult) {
    Device();
    agent::Write(kAck, "");
    EXPECT_EQ(Find(), Found());
    EXPECT_TRUE(Stands(kAck));
    EXPECT_THAT(agent::Log(),
                ElementsAre("6 findDataCacheSize: [VARDO-NATIVE] Unable to open file " + kResult));
}

TEST(AppSizes, SetsOnlyWhatParses) {
    const struct {
        std::string text;
        Found found;
    } rows[] = {
        {"1|2", {1, 2}},
        {"1|2\n", {1, 2}},
        {"1|2 and more", {1, 2}},
        {"0|0", {0, 0}},
        {"-5|-6", {-5, -6}},
        {"+5| 6", {5, 6}},
        {"\n\t 5|\n6", {5, 6}},
        {"5|", {5, kCacheBefore}},
        {"5|x", {5, kCacheBefore}},
        {"5", {5, kCacheBefore}},
        {"5 |6", {5, kCacheBefore}},
        {"5,6", {5, kCacheBefore}},
        {"5||6", {5, kCacheBefore}},
        {"", {}},
        {"|6", {}},
        {"x|6", {}},
        {"-|6", {}},
        {"0x10|6", {0, kCacheBefore}},
        {"2147483647|2147483648", {2147483647, 2147483647}},
        {"-2147483648|-2147483649", {-2147483647L - 1, -2147483647L - 1}},
        {"99999999999999999999999999|-99999999999999999999999999", {2147483647, -2147483647L - 1}},
        {std::string("5\0|6", 4), {5, kCacheBefore}},
        {std::string(100000, ' ') + "5|6", {}},
        {std::string(4095, ' ') + "56|7", {5, kCacheBefore}},
        {"5|" + std::string(1 << 20, '9'), {5, 2147483647}},
    };
    Device();
    for (const auto& row : rows) {
        agent::Answer("app", row.text);
        const Found found = Find();
        EXPECT_EQ(found.data, row.found.data) << row.text.substr(0, 40);
        EXPECT_EQ(found.cache, row.found.cache) << row.text.substr(0, 40);
        EXPECT_FALSE(Stands(kAck));
        EXPECT_FALSE(Stands(kResult));
    }
}

TEST(AppSizes, RefusesTheDataFileAndThenTheTrigger) {
    Device();
    fs::create_directory(kRequests + "/calcAppDataCacheSize_app");
    EXPECT_EQ(Find(), Found());
    EXPECT_EQ(Read(kFolder + "/calcAppDataCacheSize_app"), "package|app\n");
    fs::remove_all(kFolder);
    EXPECT_EQ(Find(), Found());
    EXPECT_THAT(agent::Log(), ElementsAre("6 findDataCacheSize: [KELMGR-NATIVE] file creation failed for "
                                          "/tmp/vardo/req/calcAppDataCacheSize_app",
                                          "6 findDataCacheSize: [KELMGR-NATIVE] File creation failed of "
                                          "/tmp/vardo/calcAppDataCacheSize_app"));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
    EXPECT_FALSE(fs::exists(kFolder));
}

TEST(AppSizes, RemovesTheAcknowledgementBeforeTheResult) {
    Device();
    agent::Answer("app", "1|2");
    Find();
    EXPECT_THAT(interposed::Removed(), ElementsAre(kAck, kResult));
}

TEST(AppSizes, ClosesTheAnswerBeforeAnythingIsRemoved) {
    Device();
    agent::Answer("app", "1|2");
    int open = -1;
    interposed::BeforeRemoval([&] { open = OpenDescriptors(kResult); });
    Find();
    EXPECT_EQ(open, 0);
}

TEST(AppSizes, NeedsNoRightToReadTheAcknowledgement) {
    Device();
    agent::Answer("app", "20|7");
    fs::permissions(kAck, fs::perms::none);
    const agent::Unprivileged unprivileged;
    EXPECT_EQ(Find(), (Found{20, 7}));
    EXPECT_THAT(interposed::Waits(), IsEmpty());
    EXPECT_FALSE(Stands(kAck));
}

TEST(AppSizes, RemovesNothingBelowAFolderThatBecameALink) {
    Device();
    agent::Answer("app", "1|2");
    fs::create_directories("/home/ack");
    agent::Write("/home/ack/appDataCacheSize_app", "kept");
    agent::Write("/home/appDataCacheSize_app", "kept");
    interposed::BeforeRemoval([] {
        fs::rename(kFolder, "/tmp/moved");
        fs::create_symlink("/home", kFolder);
    });
    EXPECT_EQ(Find(), (Found{1, 2}));
    EXPECT_EQ(Read("/home/ack/appDataCacheSize_app"), "kept");
    EXPECT_EQ(Read("/home/appDataCacheSize_app"), "kept");
    EXPECT_FALSE(Stands("/tmp/moved/ack/appDataCacheSize_app")) << "the folder was open already";
    EXPECT_TRUE(Stands("/tmp/moved/appDataCacheSize_app"));
}

TEST(AppSizes, ClosesTheDataFileBeforeTheTriggerStands) {
    Device();
    agent::Answer("app", "1|2");
    bool seen = false;
    interposed::AfterRealpath(kRequests + "/calcAppDataCacheSize_app", [&seen] {
        seen = true;
        EXPECT_EQ(Read(kFolder + "/calcAppDataCacheSize_app"), "package|app\n");
        EXPECT_EQ(OpenDescriptors(kFolder + "/calcAppDataCacheSize_app"), 0);
        EXPECT_FALSE(Stands(kRequests + "/calcAppDataCacheSize_app"));
    });
    interposed::OnStat(kAck, [](int) {
        EXPECT_EQ(Read(kRequests + "/calcAppDataCacheSize_app"), "package|app\n");
        EXPECT_EQ(OpenDescriptors(kRequests + "/calcAppDataCacheSize_app"), 0);
    });
    EXPECT_EQ(Find(), (Found{1, 2}));
    EXPECT_TRUE(seen);
    EXPECT_EQ(OpenDescriptors(kResult), 0);
}

TEST(AppSizes, RefusesATriggerThatTheDiskHasNoRoomFor) {
    Device();
    agent::Answer("app", "1|2");
    std::optional<agent::FullDisk> full;
    interposed::AfterRealpath(kRequests + "/calcAppDataCacheSize_app", [&full] { full.emplace(); });
    EXPECT_EQ(Find(), Found());
    full.reset();
    EXPECT_THAT(agent::Log(), ElementsAre("6 findDataCacheSize: [KELMGR-NATIVE] file creation failed for "
                                          "/tmp/vardo/req/calcAppDataCacheSize_app"));
    EXPECT_TRUE(Stands(kAck));
}

TEST(AppSizes, RefusesToAskWhenTheDiskIsFull) {
    Device();
    {
        const agent::FullDisk full;
        EXPECT_EQ(Find(), Found());
    }
    EXPECT_FALSE(Stands(kRequests + "/calcAppDataCacheSize_app"));
    EXPECT_THAT(agent::Log(), ElementsAre("6 findDataCacheSize: [KELMGR-NATIVE] File creation failed of "
                                          "/tmp/vardo/calcAppDataCacheSize_app"));
}

TEST(AppSizes, WritesNothingOutsideForAnIdThatLeadsElsewhere) {
    Device();
    // Folders as somebody who waits for such an id would lay them out.
    for (const std::string& folder : {kFolder, kRequests, kAcks}) {
        for (const char* name : {"calcAppDataCacheSize_", "calcAppDataCacheSize_x", "appDataCacheSize_x"}) {
            fs::create_directories(folder + "/" + name);
        }
    }
    fs::create_directories("/tmp/vardo/calcAppDataCacheSize_x/inner");
    const auto tmpBefore = agent::FilesBelow("/tmp");
    const auto homeBefore = agent::FilesBelow("/home");
    for (const std::string id :
         {"/../../../home/escaped", "x/../../../home/escaped", "x/../escaped", "x/escaped",
          "x/inner/../escaped", "/", "x/", "/home/escaped", "../escaped"}) {
        Set().log.clear();
        EXPECT_EQ(Find(id), Found()) << id;
        EXPECT_THAT(agent::Log(), ElementsAre("6 findDataCacheSize: [KELMGR-NATIVE] File creation failed of "
                                              "/tmp/vardo/calcAppDataCacheSize_" +
                                              id));
    }
    EXPECT_EQ(agent::FilesBelow("/tmp"), tmpBefore);
    EXPECT_EQ(agent::FilesBelow("/home"), homeBefore);
    EXPECT_THAT(interposed::Waits(), IsEmpty());
}

TEST(AppSizes, TakesUnusualIdsAsFileNames) {
    Device();
    for (const std::string id : {"", "..", ".", "a b", "$(touch x)", "'", "\xff\xfe", "*"}) {
        agent::Answer(id, "1|2");
        EXPECT_EQ(Find(id), (Found{1, 2})) << id;
        EXPECT_EQ(Read(fs::path(kFolder) / std::string("calcAppDataCacheSize_").append(id)),
                  std::string("package|").append(id).append("\n"));
    }
    EXPECT_EQ(Find(std::string(300, 'x')), Found());
}

TEST(AppSizes, ReadsNullIdsAsEmpty) {
    CGetData* device = Device();
    agent::Answer("", "1|2");
    Found found;
    device->findDataCacheSize(nullptr, nullptr, &found.data, &found.cache);
    EXPECT_EQ(found, (Found{1, 2}));
    EXPECT_EQ(Read(kFolder + "/calcAppDataCacheSize_"), "|\n");
}

TEST(AppSizes, ReadsTheSizeOfYouTubeIn64Bits) {
    const struct {
        const char* text;
        long long size;
    } rows[] = {
        {"12345", 12345},
        {"5000000000\n", 5000000000},
        {"  -7 bytes", -7},
        {"9223372036854775807", 9223372036854775807LL},
        {"9223372036854775808", 9223372036854775807LL},
        {"-9223372036854775809", -9223372036854775807LL - 1},
    };
    Device();
    for (const auto& row : rows) {
        Set().log.clear();
        agent::Write(kFolder + "/cobalt_size", row.text);
        EXPECT_EQ(KURA::getAppSizeForYoutube(), row.size) << row.text;
        EXPECT_THAT(agent::Log(), ElementsAre("4 getAppSizeForYoutube: request size 4 YouTube",
                                              "4 getAppSizeForYoutube: size obtained for cobalt = " +
                                                  std::to_string(row.size)));
        EXPECT_EQ(OpenDescriptors(kFolder + "/cobalt_size"), 0);
    }
}

TEST(AppSizes, KeepsAYouTubeFileWithoutANumberOpen) {
    Device();
    int opened = 0;
    for (const char* text : {"abc", "", "-", "\n"}) {
        Set().log.clear();
        agent::Write(kFolder + "/cobalt_size", text);
        EXPECT_EQ(KURA::getAppSizeForYoutube(), 0);
        EXPECT_THAT(agent::Log(), ElementsAre("4 getAppSizeForYoutube: request size 4 YouTube",
                                              "4 getAppSizeForYoutube: size obtained for cobalt = 0"));
        EXPECT_EQ(OpenDescriptors(kFolder + "/cobalt_size"), ++opened);
    }
}

TEST(AppSizes, TellsThatThereIsNoYouTubeSize) {
    Device();
    EXPECT_EQ(KURA::getAppSizeForYoutube(), 0);
    EXPECT_THAT(
        agent::Log(),
        ElementsAre("4 getAppSizeForYoutube: request size 4 YouTube",
                    "6 getAppSizeForYoutube: [VARDO-NATIVE] Unable to open file /tmp/vardo/cobalt_size"));
}

TEST(AppSizes, CombinesThreeSourcesForOneApplication) {
    CGetData* device = Device();
    PackageBus bus;
    bus.ServeSizes(0, 1000, 300);
    Set().pkgmgrConnection = bus.Connection();
    agent::Answer("app", "20|7");
    EXPECT_EQ(device->sendAppData("package", "app"), static_cast<int>(std::string("727|20|7").size()));
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), 727);
    EXPECT_EQ(device->m_GetDataSizeOfApp(), 20);
    EXPECT_EQ(device->m_GetCacheSizeOfApp(), 7);
    EXPECT_THAT(Set().calls, ElementsAre("pkgmgr_client_new(0)", "pkgmgr_client_free()"));
    EXPECT_EQ(Set().livePkgmgrClients, 0);
    EXPECT_THAT(
        agent::Log(),
        ElementsAre("4 sendAppData: Total App Data size for requested app with Package name : package and "
                    "Vesta ID : app is 1000",
                    "4 sendAppData: App Data + App Cache size for requested app with Package name : "
                    "package and Vesta ID : app is 300"));
    const std::vector<SizeCall> calls = bus.Calls();
    ASSERT_EQ(calls.size(), 2u);
    for (int type = 0; type < 2; ++type) {
        EXPECT_EQ(calls[static_cast<std::size_t>(type)].user, getuid());
        EXPECT_EQ(calls[static_cast<std::size_t>(type)].packageId, "package");
        EXPECT_EQ(calls[static_cast<std::size_t>(type)].type, type);
    }
}

TEST(AppSizes, AddsTheAgentsSizeForYouTube) {
    CGetData* device = Device();
    PackageBus bus;
    bus.ServeSizes(0, 1000, 300);
    Set().pkgmgrConnection = bus.Connection();
    agent::Write(kFolder + "/cobalt_size", "5000000000");
    agent::Answer("app", "20|7");
    device->sendAppData("9Ur5IzDKqV", "app");
    const long total = static_cast<std::int32_t>(1000 + 5000000000);
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), static_cast<std::int32_t>(total - 300 + 27));
    EXPECT_THAT(
        Set().Messages("sendAppData"),
        ElementsAre("Total App Data size for requested app with Package name : 9Ur5IzDKqV and Vesta ID : "
                    "app is 1000",
                    "For utube", "final value of appsize for Youtube is " + std::to_string(total),
                    "App Data + App Cache size for requested app with Package name : 9Ur5IzDKqV and Vesta "
                    "ID : app is 300"));
    EXPECT_TRUE(Set().Logged(4, "For utube"));
    EXPECT_TRUE(Set().Logged(4, "final value of appsize for Youtube is " + std::to_string(total)));
    Set().log.clear();
    device->sendAppData("9Ur5IzDKqV2", "other");
    EXPECT_FALSE(Set().Logged(4, "For utube"));
}

TEST(AppSizes, LeavesTheFiguresWithoutAClient) {
    CGetData* device = Device();
    device->m_SetTotalSizeOfApp(1);
    device->m_SetDataSizeOfApp(2);
    device->m_SetCacheSizeOfApp(3);
    Set().pkgmgrClientAvailable = false;
    agent::Answer("app", "20|7");
    EXPECT_EQ(device->sendAppData("package", "app"), 0);
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), 1);
    EXPECT_EQ(device->m_GetDataSizeOfApp(), 2);
    EXPECT_EQ(device->m_GetCacheSizeOfApp(), 3);
    EXPECT_THAT(agent::Log(), ElementsAre("6 sendAppData: out of memory"));
    EXPECT_FALSE(Stands(kResult));
}

TEST(AppSizes, PutsFailedQueriesIntoTheFormulaAsTheyAre) {
    CGetData* device = Device();
    PackageBus bus;
    bus.Serve([](GDBusMessage* message, const SizeCall& call) {
        return PackageBus::Reply(message, g_variant_new("(ix)", call.type == 0 ? -40 : -5, gint64{9}));
    });
    Set().pkgmgrConnection = bus.Connection();
    agent::Answer("app", "20|7");
    EXPECT_EQ(device->sendAppData("package", "app"), static_cast<int>(std::string("-8|20|7").size()));
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), 20 + 7 + (-40 - -5));
}

TEST(AppSizes, MeasuresWithNullIdsAsEmptyOnes) {
    CGetData* device = Device();
    PackageBus bus;
    bus.ServeSizes(0, 10, 4);
    Set().pkgmgrConnection = bus.Connection();
    agent::Answer("", "1|2");
    EXPECT_EQ(device->sendAppData(nullptr, nullptr), 5);
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), 9);
    EXPECT_EQ(bus.Calls().at(0).packageId, "");
}

TEST(AppSizes, StoresFiguresIn32Bits) {
    CGetData* device = Device();
    device->m_SetTotalSizeOfApp(static_cast<long>(2147483647));
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), 2147483647);
    if (sizeof(long) > 4) {
        const long wide = static_cast<long>(4294967301LL);
        device->m_SetTotalSizeOfApp(wide);
        device->m_SetDataSizeOfApp(wide + 1);
        device->m_SetCacheSizeOfApp(wide + 2);
        EXPECT_EQ(device->m_GetTotalSizeOfApp(), 5);
        EXPECT_EQ(device->m_GetDataSizeOfApp(), 6);
        EXPECT_EQ(device->m_GetCacheSizeOfApp(), 7);
    }
}

TEST(AppSizes, WrapsASumBeyond32Bits) {
    CGetData* device = Device();
    PackageBus bus;
    bus.ServeSizes(0, 2147483647, 0);
    Set().pkgmgrConnection = bus.Connection();
    agent::Answer("app", "2147483647|2");
    EXPECT_EQ(device->sendAppData("package", "app"), static_cast<int>(std::string("0|2147483647|2").size()));
    EXPECT_EQ(device->m_GetTotalSizeOfApp(), 0);
}
