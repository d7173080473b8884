// The platform functions of the simulated set, called as the library calls them.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <thread>

#include <gtest/gtest.h>

#include "TemporarySet.h"
#include "app_control.h"
#include "app_list.h"
#include "connection.h"
#include "dlog.h"
#include "home_data_control.h"
#include "kpi_logger.h"
#include "picture_api.h"
#include "power_api.h"
#include "set/KuraSet.h"
#include "settings_api.h"
#include "system_info.h"
#include "tv_service_api.h"
#include "vconf.h"

namespace {

using kuraset::json;
using simulator::TemporarySet;

/// The only entry of a kind, without its time.
json OnlyEntry(const kuraset::SetDirectory& set, const std::string& kind) {
    std::vector<json> entries = set.ReadJournal(kind);
    EXPECT_EQ(entries.size(), 1u) << kind;
    if (entries.empty()) {
        return {};
    }
    EXPECT_EQ(entries[0].erase("time"), 1u);
    return entries[0];
}

TEST(Log, KeepsThePartsOfALineApart) {
    TemporarySet set;
    EXPECT_GT(dlog_print(DLOG_ERROR, "TVKuraHelp", "%s: %s(%d) > [%s:%d] Path : %s", "A.cpp", "operator()",
                         12, "operator()", 12, "x(1) > [y:1] z"),
              0);
    EXPECT_EQ(OnlyEntry(*set, "log"), json({{"kind", "log"},
                                            {"priority", 6},
                                            {"tag", "TVKuraHelp"},
                                            {"file", "A.cpp"},
                                            {"function", "operator()"},
                                            {"message", "Path : x(1) > [y:1] z"}}));
}

TEST(Log, TakesALineWithoutPrefixAsItIs) {
    TemporarySet set;
    dlog_print(DLOG_INFO, nullptr, "%s", "a: b");
    const json entry = OnlyEntry(*set, "log");
    EXPECT_EQ(entry.at("message"), "a: b");
    EXPECT_EQ(entry.at("function"), "");
}

TEST(Log, CutsALongMessageAndTellsItsLength) {
    TemporarySet set;
    const std::string document(3 << 20, 'd');
    dlog_print(DLOG_INFO, "T", "%s: %s(%d) > [%s:%d] %s", "A.cpp", "f", 1, "f", 1, document.c_str());
    const json entry = OnlyEntry(*set, "log");
    EXPECT_EQ(entry.at("message").get<std::string>(), std::string(4096, 'd'));
    EXPECT_EQ(entry.at("cut"), true);
    EXPECT_EQ(entry.at("length"), 3 << 20);
}

TEST(Log, CutsNoCharacterInTwo) {
    TemporarySet set;
    dlog_print(DLOG_INFO, "T", "%s", (std::string(4095, 'd') + "\xc3\xa4\xc3\xa4").c_str());
    const json entry = OnlyEntry(*set, "log");
    EXPECT_EQ(entry.at("message").get<std::string>(), std::string(4095, 'd'));
    EXPECT_EQ(entry.at("length"), 4099);
}

TEST(Log, LeavesTheCallersErrorNumber) {
    TemporarySet set;
    errno = ELOOP;
    dlog_print(DLOG_INFO, "T", "x");
    EXPECT_EQ(errno, ELOOP);
}

TEST(Log, LosesNoLineOfManyThreads) {
    TemporarySet set;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (int line = 0; line < 250; ++line) {
                dlog_print(DLOG_INFO, "T", "line %d", line);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(set->ReadJournal("log").size(), 1000u);
}

TEST(SettingKeys, AnswerOnlyInTheirOwnType) {
    TemporarySet set(json::object(), json({{"n", 7}, {"b", true}, {"t", "7"}}));
    int value = 99;
    EXPECT_EQ(vconf_get_int("n", &value), 0);
    EXPECT_EQ(value, 7);
    EXPECT_NE(vconf_get_int("b", &value), 0);
    EXPECT_NE(vconf_get_int("t", &value), 0);
    EXPECT_NE(vconf_get_int("none", &value), 0);
    EXPECT_NE(vconf_get_int(nullptr, &value), 0);
    EXPECT_NE(vconf_get_int("n", nullptr), 0);
    EXPECT_EQ(value, 7);
    char* text = vconf_get_str("t");
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "7");
    free(text);
    EXPECT_EQ(vconf_get_str("n"), nullptr);
    EXPECT_EQ(vconf_get_str(nullptr), nullptr);
}

TEST(SettingKeys, AreWrittenToTheSet) {
    TemporarySet set;
    EXPECT_EQ(vconf_set_int("n", -5), 0);
    EXPECT_EQ(vconf_set_bool("b", 25), 0);
    EXPECT_EQ(vconf_set_str("t", "{\"id\" : \"x\"}"), 0);
    EXPECT_NE(vconf_set_str("t", nullptr), 0);
    EXPECT_EQ(set->ListSettings(), json({{"n", -5}, {"b", true}, {"t", "{\"id\" : \"x\"}"}}));
    const auto entries = set->ReadJournal("setting");
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[2].at("op"), "set_str");
    EXPECT_EQ(entries[2].at("key"), "t");
    EXPECT_EQ(entries[2].at("value"), "{\"id\" : \"x\"}");
    EXPECT_EQ(entries[2].at("result"), 0);
}

TEST(SettingKeys, SeeWhatAnotherProcessWrote) {
    TemporarySet set(json::object(), json({{"n", 1}}));
    int value = 0;
    ASSERT_EQ(vconf_get_int("n", &value), 0);
    set->SetSetting("n", 2);
    ASSERT_EQ(vconf_get_int("n", &value), 0);
    EXPECT_EQ(value, 2);
}

TEST(SettingKeys, RefuseWhatTheFaultsName) {
    TemporarySet set(json({{"faults", {{"settings", {{"refuse_reads", {"r"}}, {"refuse_writes", {"w"}}}}}}}),
                     json({{"r", 1}, {"w", 1}}));
    int value = 0;
    EXPECT_NE(vconf_get_int("r", &value), 0);
    EXPECT_EQ(vconf_set_int("r", 2), 0);
    EXPECT_NE(vconf_set_int("w", 2), 0);
    EXPECT_EQ(set->GetSetting("w"), json(1));
}

TEST(SettingKeys, OfADamagedFileHoldNothing) {
    TemporarySet set(json::object(), json({{"n", 1}}));
    simulator::WriteText(set->SettingsPath(), "{\"n\": ");
    int value = 0;
    EXPECT_NE(vconf_get_int("n", &value), 0);
    EXPECT_NE(vconf_set_int("n", 3), 0);
    EXPECT_EQ(simulator::ReadText(set->SettingsPath()), "{\"n\": ");
}

TEST(Launching, JournalsTheExtrasInTheirOrder) {
    TemporarySet set(json({{"faults", {{"launch", {"bad"}}}}}));
    app_control_h handle = nullptr;
    ASSERT_EQ(app_control_create(&handle), 0);
    EXPECT_EQ(app_control_set_operation(handle, APP_CONTROL_OPERATION_DEFAULT), 0);
    EXPECT_EQ(app_control_set_app_id(handle, "good"), 0);
    EXPECT_EQ(app_control_add_extra_data(handle, "z", "1"), 0);
    EXPECT_EQ(app_control_add_extra_data(handle, "a", "2"), 0);
    EXPECT_EQ(app_control_send_launch_request(handle, nullptr, nullptr), 0);
    const json extras = json::array({json::array({"z", "1"}), json::array({"a", "2"})});
    EXPECT_EQ(OnlyEntry(*set, "launch"), json({{"kind", "launch"},
                                               {"app", "good"},
                                               {"operation", "default"},
                                               {"extras", extras},
                                               {"result", 0}}));
    EXPECT_EQ(app_control_set_app_id(handle, "bad"), 0);
    EXPECT_NE(app_control_send_launch_request(handle, nullptr, nullptr), 0);
    EXPECT_EQ(app_control_destroy(handle), 0);
    EXPECT_NE(app_control_destroy(nullptr), 0);
}

TEST(UsageLogger, KeepsEveryByteLegible) {
    TemporarySet set(json({{"faults", {{"logger", 3}}}}));
    const std::string description = std::string("{user_time=") + '\x9c' + ";x=" + '\0' + '\n' + "}";
    EXPECT_EQ(KPILogFramework::CLogger::GetInstance()->AddEventLogSync("23", "E", "C", description), 3);
    const json entry = OnlyEntry(*set, "event");
    EXPECT_EQ(entry.at("user_time"), 0x9c);
    EXPECT_EQ(entry.at("description").get<std::string>(),
              std::string("{user_time=\xc2\x9c;x=") + '\0' + "\n}");
    EXPECT_NE(simulator::ReadText(set->JournalPath()).find("user_time=\\u009c;x=\\u0000\\n}"),
              std::string::npos);
}

TEST(SystemFacts, ComeFromTheDescription) {
    TemporarySet set(json({{"serial", "S1"},
                           {"series", "QN90"},
                           {"info", {{"5", "five"}, {"187", nullptr}}},
                           {"features", {{"f/int", 3}, {"f/bool", true}}},
                           {"panel", {{"width", 7680}}}}));
    char* text = nullptr;
    ASSERT_EQ(system_info_get_value_string(0, &text), 0);
    EXPECT_STREQ(text, "QN90");
    free(text);
    ASSERT_EQ(system_info_get_value_string(5, &text), 0);
    EXPECT_STREQ(text, "five");
    free(text);
    EXPECT_NE(system_info_get_value_string(187, &text), 0);
    EXPECT_NE(system_info_get_value_string(6, &text), 0);

    int number = -1;
    bool flag = false;
    EXPECT_EQ(system_info_get_custom_int("f/int", &number), 0);
    EXPECT_EQ(number, 3);
    EXPECT_NE(system_info_get_custom_int("f/bool", &number), 0);
    EXPECT_EQ(system_info_get_custom_bool("f/bool", &flag), 0);
    EXPECT_TRUE(flag);
    EXPECT_EQ(system_info_get_custom_int("com.norvik/featureconf/panel_resolution_width", &number), 0);
    EXPECT_EQ(number, 7680);
    EXPECT_NE(system_info_get_custom_int("com.norvik/featureconf/panel_resolution_height", &number), 0);
    EXPECT_NE(system_info_get_custom_int(nullptr, &number), 0);
}

TEST(SystemFacts, ChangeWhenTheDescriptionDoes) {
    TemporarySet set(json({{"source", 3}}));
    TVServiceAPI::ISourceControl* control = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateSourceControl(TVServiceAPI::PROFILE_MAIN, 0, &control), 0);
    int source = -1;
    EXPECT_GT(control->GetCurrentSource(&source), 0);
    EXPECT_EQ(source, 3);
    set->Describe({{"source", 13}});
    EXPECT_GT(control->GetCurrentSource(&source), 0);
    EXPECT_EQ(source, 13);
    set->Describe({{"source", 14}, {"faults", {{"source", {{"query", 0}, {"create", 5}}}}}});
    EXPECT_EQ(control->GetCurrentSource(&source), 0);
    EXPECT_EQ(source, 13);
    delete control;
    EXPECT_EQ(TVServiceAPI::CreateSourceControl(TVServiceAPI::PROFILE_MAIN, 0, &control), 5);
}

TEST(SystemFacts, TellTheNetworkAndTheConsentItems) {
    TemporarySet set(json({{"network", {{"connected", false}}}, {"terms", {"service_request"}}}));
    connection_h connection = nullptr;
    ASSERT_EQ(connection_create(&connection), 0);
    bool connected = true;
    EXPECT_EQ(connection_profile_check_default_gateway(&connected), 0);
    EXPECT_FALSE(connected);
    EXPECT_EQ(connection_destroy(connection), 0);
    set->Describe({{"network", {{"available", false}}}});
    EXPECT_NE(connection_create(&connection), 0);
    EXPECT_FALSE(CHomeDataControlAPI::GetInstance()->IsDisclaimerItemExist("service_request", "TV"));
    set->Describe({{"terms", {"service_request"}}});
    EXPECT_TRUE(CHomeDataControlAPI::GetInstance()->IsDisclaimerItemExist("service_request", "TV"));
}

TEST(TvServices, JournalWhatTheyAreAskedFor) {
    TemporarySet set(json({{"faults", {{"power", 4}, {"picture", 6}, {"settings_service", 8}}}}));
    TVServiceAPI::IVideoControl* video = nullptr;
    ASSERT_EQ(TVServiceAPI::CreateVideoControl(TVServiceAPI::PROFILE_MAIN, 0, &video), 0);
    EXPECT_EQ(video->ResetPictureSize(), 0);
    delete video;
    EXPECT_EQ(EPSystemAPI::nsEPPowerAPI::ResetOnOffTimer(static_cast<EPSystemAPI::EP_SYS_ONOFF>(2),
                                                         static_cast<EPSystemAPI::EP_TIMER_ID>(8)),
              4);
    EXPECT_EQ(pixo_reset_picture(1), 6);
    EXPECT_EQ(SettingsAPI::SetItemValue("caption-setting", "caption", false), 8);
    EXPECT_EQ(
        OnlyEntry(*set, "power"),
        json({{"kind", "power"}, {"op", "ResetOnOffTimer"}, {"on_off", 2}, {"timer", 8}, {"result", 4}}));
    EXPECT_EQ(OnlyEntry(*set, "picture"),
              json({{"kind", "picture"}, {"op", "pixo_reset_picture"}, {"mode", 1}, {"result", 6}}));
    EXPECT_EQ(OnlyEntry(*set, "setting"), json({{"kind", "setting"},
                                                {"op", "SetItemValue"},
                                                {"key", "caption-setting"},
                                                {"value", "caption"},
                                                {"notify", false},
                                                {"result", 8}}));
    EXPECT_EQ(set->ReadJournal("video").size(), 2u);
}

TEST(AppList, HandsOutTheAppsInTheirOrder) {
    TemporarySet set(json({{"apps",
                            {{{"title", "A"}, {"app_id", "a.app"}, {"package_id", "a"}, {"attribute2", 5}},
                             {{"title", "B"},
                              {"app_id", "b.app"},
                              {"package_id", "b"},
                              {"entry_id", "e"},
                              {"icon_dir", "/opt/i/"},
                              {"skip", 1}}}}}));
    EXPECT_EQ(was_get_app_count(), 2);
    was_app_entry* list = nullptr;
    int count = 0;
    ASSERT_EQ(was_get_app_list(2, &list, &count), 0);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(list[0].title, "A");
    EXPECT_STREQ(list[0].entry_id, "a.app");
    EXPECT_STREQ(list[0].icon_dir, "/opt/usr/apps/a/shared/res/");
    EXPECT_EQ(list[0].attribute2, 5);
    EXPECT_STREQ(list[1].entry_id, "e");
    EXPECT_STREQ(list[1].icon_dir, "/opt/i/");
    EXPECT_STREQ(list[1].package_id, "b");
    EXPECT_EQ(list[1].skip, 1);
    set->Describe({{"faults", {{"apps", 9}}}});
    EXPECT_EQ(was_get_app_list(2, &list, &count), 9);
}

TEST(CurrentSet, AnswersLikeAnEmptySetWhenThereIsNone) {
    unsetenv(kuraset::kSetDirectoryVariable);
    int value = 5;
    EXPECT_NE(vconf_get_int("n", &value), 0);
    EXPECT_NE(vconf_set_int("n", 1), 0);
    EXPECT_EQ(was_get_app_count(), 0);
    EXPECT_EQ(dlog_print(DLOG_INFO, "T", "abc"), 3);
}

struct Step {
    const char* killAt;
    std::size_t logLines;  ///< that the journal holds afterwards
    std::size_t settings;
};

TEST(CurrentSet, CutsThePowerAtTheNamedStep) {
    const Step table[] = {
        {"vconf_set_int:n", 1, 1},
        {"vconf_set_int:n#2", 2, 2},
        {"log:step 1", 2, 1},
        {"log:step*#3", 3, 2},
        {"app_control_send_launch_request:never", 3, 3},
    };
    for (const Step& row : table) {
        TemporarySet set(json({{"faults", {{"kill_at", row.killAt}}}}));
        const pid_t process = fork();
        if (process == 0) {
            for (int i = 0; i < 3; ++i) {
                dlog_print(DLOG_INFO, "T", "step %d", i);
                vconf_set_int("n", i);
            }
            _exit(0);
        }
        int status = 0;
        waitpid(process, &status, 0);
        const bool cut = row.settings < 3;
        EXPECT_EQ(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL, cut) << row.killAt;
        EXPECT_EQ(set->ReadJournal("log").size(), row.logLines) << row.killAt;
        EXPECT_EQ(set->ReadJournal("setting").size(), row.settings) << row.killAt;
    }
}

}  // namespace
