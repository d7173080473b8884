#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Agent.h"
#include "CGetData.h"
#include "Device.h"
#include "Fakes.h"

using fakes::Set;
using KURA::CGetData;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Extras = std::vector<std::pair<std::string, std::string>>;

CGetData* Device() {
    return CleanDevice();
}

void ExpectOneLaunch(const std::string& appId, const Extras& extras) {
    ASSERT_EQ(Set().launches.size(), 1u) << appId;
    EXPECT_EQ(Set().launches[0].operation, "default");
    EXPECT_EQ(Set().launches[0].appId, appId);
    EXPECT_EQ(Set().launches[0].extras, extras) << appId;
    EXPECT_FALSE(Set().launches[0].hadCallback);
    EXPECT_EQ(Set().liveAppControls, 0);
}

}  // namespace

TEST(Launching, SendsWhatEachApplicationExpects) {
    const Extras launchedFrom = {{"launchedFrom", "com.norvik.TVKuraHelp"}};
    const struct {
        const char* appId;
        bool setsMultitasking;
        Extras extras;
    } rows[] = {
        {"org.vesta.picture-test", true, launchedFrom},
        {"com.norvik.video-test", true, launchedFrom},
        {"org.vesta.sound-test", true, launchedFrom},
        {"org.vesta.lobbyhub-reset", true, launchedFrom},
        {"org.vesta.lobbyhub-connection-test", true, launchedFrom},
        {"org.vesta.mled-installation-test", true, launchedFrom},
        {"com.norvik.tv.hdmi-troubleshooting", false, {{"type", "VIDEO_TROUBLE_SHOOTING_SETUP"}}},
        {"org.vesta.menu",
         false,
         {{"launchby", "others"}, {"callerid", "com.norvik.TVKuraHelp"}, {"type", "networkstatus"}}},
        {"org.vesta.wizard", false, {{"type", "TERMS_SETUP"}}},
        {"org.vesta.menu2", false, {}},
        {"org.vesta.men", false, {}},
        {"ORG.VESTA.MENU", false, {}},
        {"", false, {}},
    };
    CGetData* device = Device();
    for (const auto& row : rows) {
        Set().calls.clear();
        Set().launches.clear();
        EXPECT_TRUE(device->ProcessLaunchApp(row.appId)) << row.appId;
        ExpectOneLaunch(row.appId, row.extras);
        ASSERT_FALSE(Set().calls.empty());
        EXPECT_EQ(Set().Called("CUtils::m_SetMultitaskingStatus(1)"), row.setsMultitasking) << row.appId;
        EXPECT_EQ(Set().calls.front() == "CUtils::m_SetMultitaskingStatus(1)", row.setsMultitasking);
    }
    EXPECT_THAT(Set().log, IsEmpty());
}

TEST(Launching, OpensTheBroadcastingMenuAtTheSignalPage) {
    CGetData* device = Device();
    EXPECT_TRUE(device->ProcessLaunchApp("com.norvik.tv.broadcastingmenu"));
    ASSERT_EQ(Set().launches.size(), 1u);
    ASSERT_EQ(Set().launches[0].extras.size(), 3u);
    const std::string page = Set().launches[0].extras[0].second;
    EXPECT_THAT(page, ::testing::AnyOf("hdmi-information", "signal-information"));
    ExpectOneLaunch("com.norvik.tv.broadcastingmenu", {{"ID", page},
                                                       {"PrevSubmenu", "com.norvik.TVKuraHelp"},
                                                       {"__K_RELOCATE_BELOW", "org.vesta.tv-viewer"}});
    EXPECT_THAT(agent::Log(), Contains("4 ProcessLaunchApp: signal launch " + page));
    const auto position = [](const std::string& event) {
        const auto& events = Set().events;
        return std::find(events.begin(), events.end(), event) - events.begin();
    };
    const auto line = position("log 4 ProcessLaunchApp: signal launch " + page);
    const auto status = position("CUtils::m_SetMultitaskingStatus(1)");
    EXPECT_LT(line, status);
    EXPECT_LT(status, position("app_control_create()"));
    EXPECT_LT(position("app_control_create()"), static_cast<std::ptrdiff_t>(Set().events.size()));
}

TEST(Launching, LaunchesNothingWhenTheSolutionMapCannotBeRead) {
    namespace fs = std::filesystem;
    fs::create_directories("/opt/usr/share/TVKuraHelp");
    agent::Write("/opt/usr/share/TVKuraHelp/SolutionMap.xml", "<root><sol_val param_value=\"1\"/></root>");
    CGetData* device = Device();
    EXPECT_FALSE(device->ProcessLaunchApp("com.norvik.tv.broadcastingmenu"));
    EXPECT_THAT(Set().launches, IsEmpty());
    EXPECT_EQ(Set().log.back().function, "ProcessLaunchApp");
    EXPECT_EQ(Set().log.back().priority, 6);
}

TEST(Launching, LetsNoExceptionOfTheSetPass) {
    CGetData* device = Device();
    Set().onCall = [](const std::string&) { throw 7; };
    EXPECT_FALSE(device->ProcessLaunchApp("org.vesta.wizard"));
    EXPECT_EQ(Set().log.back().message, "unknown exception");
    EXPECT_EQ(Set().log.back().priority, 6);
}

TEST(Launching, GoesThroughCreateToDestroy) {
    Device()->ProcessLaunchApp("org.vesta.wizard");
    EXPECT_THAT(Set().calls,
                ElementsAre("app_control_create()", "app_control_set_operation(default)",
                            "app_control_set_app_id(org.vesta.wizard)",
                            "app_control_add_extra_data(type, TERMS_SETUP)",
                            "app_control_send_launch_request(org.vesta.wizard)", "app_control_destroy()"));
}

TEST(Launching, ReportsARefusedLaunch) {
    CGetData* device = Device();
    Set().launchResult = -1;
    EXPECT_FALSE(device->ProcessLaunchApp("org.vesta.menu"));
    device->launch_menu_app();
    device->launch_hotel_menu();
    EXPECT_THAT(agent::Log(), ElementsAre("4 ProcessLaunchApp: Error while executing Menu",
                                          "4 launch_menu_app: Error while executing Menu",
                                          "4 launch_hotel_menu: launch Hotel Menu",
                                          "4 launch_hotel_menu: Error while executing Menu"));
    EXPECT_EQ(Set().liveAppControls, 0);
}

TEST(Launching, ReportsALaunchThatCannotEvenBePrepared) {
    CGetData* device = Device();
    Set().createAppControlResult = -1;
    EXPECT_FALSE(device->ProcessLaunchApp("org.vesta.menu"));
    EXPECT_THAT(agent::Log(), ElementsAre("4 ProcessLaunchApp: Error while executing Menu"));
    EXPECT_THAT(Set().calls, ElementsAre("app_control_create()"));
}

TEST(Launching, ReadsANullIdAsEmpty) {
    EXPECT_TRUE(Device()->ProcessLaunchApp(nullptr));
    ExpectOneLaunch("", {});
}

TEST(Launching, OpensTheMenuAtItsEntry) {
    Device()->launch_menu_app();
    ExpectOneLaunch("org.vesta.menu", {{"menuitem", "tdm"}});
    EXPECT_THAT(Set().log, IsEmpty());
}

TEST(Launching, OpensTheHotelMenuPlainly) {
    Device()->launch_hotel_menu();
    ExpectOneLaunch("org.vesta.ep-hotel-factory", {});
    EXPECT_THAT(agent::Log(), ElementsAre("4 launch_hotel_menu: launch Hotel Menu"));
}
