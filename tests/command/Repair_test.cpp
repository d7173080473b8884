// Repairs end to end: each action type reaches the part of the set that it is for, in order; the problem
// leaves what remains and the engine holds the repair.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Kura.h"

namespace {

using command::Codes;
using command::Kura;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

/// What fixing the issue asked of the set, an entry a line without its time.
std::vector<std::string> Requests(const Kura& kura, const std::string& code) {
    const json document = kura.Json({"fix", code});
    std::vector<std::string> lines;
    for (json request : document.at("requests")) {
        request.erase("time");
        lines.push_back(request.dump());
    }
    return lines;
}

std::string Record(int issue, int solution, int type) {
    return json({{"kind", "engine"},
                 {"op", "record"},
                 {"issue", issue},
                 {"solution", solution},
                 {"type", type},
                 {"started", 1},
                 {"result", 0}})
        .dump();
}

std::string Setting(const std::string& operation, const std::string& key, const json& value) {
    return json({{"kind", "setting"}, {"op", operation}, {"key", key}, {"value", value}, {"result", 0}})
        .dump();
}

TEST(Repair, SettingsKeysAreWrittenInTheirType) {
    const Kura kura;
    EXPECT_THAT(Requests(kura, "1001"),
                ElementsAre(Setting("set_int", "db/menu/picture/backlight", 35), Record(1001, 100101, 2)));
    EXPECT_THAT(Requests(kura, "5003"), ElementsAre(Setting("set_bool", "db/menu/hdmi/device_control", true),
                                                    Record(5003, 500301, 2)));
    EXPECT_EQ(kura.Json({"settings", "get", "db/menu/picture/backlight"}).at("value"), 35);
}

TEST(Repair, EverySolutionOfAnIssueIsAppliedAndTheLastOneIsRecorded) {
    const Kura kura;
    EXPECT_THAT(Requests(kura, "1006"),
                ElementsAre(Setting("set_str", "db/menu/system/usage_mode", "home"), Record(1006, 100602, 2),
                            Setting("set_str", "db/menu/picture/mode", "standard"), Record(1006, 100602, 2)));
}

TEST(Repair, TheSettingsServiceIsAsked) {
    const Kura kura;
    const json item = {{"kind", "setting"},   {"op", "SetItemValue"}, {"key", "sound_mode"},
                       {"value", "standard"}, {"notify", false},      {"result", 0}};
    EXPECT_THAT(Requests(kura, "2004"), ElementsAre(item.dump(), Record(2004, 200401, 0)));
}

TEST(Repair, ALaunchHasNoExtrasWhateverTheApplication) {
    const Kura kura;
    const json launch = {{"kind", "launch"},
                         {"app", "org.vesta.NetworkSetting-Vesta"},
                         {"operation", "default"},
                         {"extras", json::array()},
                         {"result", 0}};
    EXPECT_THAT(Requests(kura, "3001"), ElementsAre(launch.dump(), Record(3001, 300101, 4)));
}

TEST(Repair, ScreensOpenWithWhatTheyExpect) {
    const Kura kura;
    const json signal = kura.Json({"fix", "4001"}).at("requests");
    const auto launch = std::find_if(signal.begin(), signal.end(),
                                     [](const json& entry) { return entry.at("kind") == "launch"; });
    ASSERT_NE(launch, signal.end());
    EXPECT_EQ(launch->at("app"), "com.norvik.tv.broadcastingmenu");
    EXPECT_EQ(launch->at("extras"), json::parse(R"([["ID", "signal-information"],
        ["PrevSubmenu", "com.norvik.TVKuraHelp"], ["__K_RELOCATE_BELOW", "org.vesta.tv-viewer"]])"));
    const json storage = kura.Json({"fix", "16000001"}).at("requests");
    ASSERT_EQ(storage.size(), 3U);
    EXPECT_EQ(storage.at(0).at("screen"), "issues");
    EXPECT_EQ(storage.at(1).at("screen"), "storage");
}

TEST(Repair, AnInformationOnlyIsRecorded) {
    const Kura kura;
    EXPECT_THAT(Requests(kura, "9001"), ElementsAre(Record(9001, 900101, 5)));
}

TEST(Repair, ASolutionWithoutANameIsToldByItsTypeAlone) {
    const Kura kura;
    kura.WriteMap("<map><sm cnt=\"1\"/><solution issue_code=\"1\" sol_type=\"INFO\"/></map>");
    EXPECT_THAT(kura.Run({"fix", "1"}).out, testing::StartsWith("Applied INFO\n"));
}

TEST(Repair, TheAgentRunsAnAllowedCommand) {
    const Kura kura;
    const auto pages = kura.Opt("usr/home/owner/apps_rw/org.vesta.streambox/cache/pages");
    std::filesystem::create_directories(pages.parent_path());
    command::WriteFile(pages, "stale");
    kura.Json({"fix", "17000001"});
    EXPECT_FALSE(std::filesystem::exists(pages));
    const json answers = kura.Json({"journal", "--kind", "agent"}).at("entries");
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers.at(0).at("outcome"), "done");
    EXPECT_EQ(answers.at(0).at("status"), 0);
}

TEST(Repair, TheAgentRefusesEveryOtherCommand) {
    const Kura kura;
    kura.WriteMap(
        "<map><sm cnt=\"1\"/><solution issue_code=\"1\" sol_type=\"CMD\" sol_name=\"touch "
        "/tmp/ran\"/></map>");
    EXPECT_EQ(kura.Run({"fix", "1", "--json"}).status, 1);
    EXPECT_FALSE(std::filesystem::exists(kura.Set() / "files/tmp/ran"));
}

TEST(Repair, ADeepCleanIsAwaited) {
    const Kura kura;
    const json requests = kura.Json({"fix", "6001"}).at("requests");
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests.at(0).at("op"), "CleanAll.txt");
    EXPECT_EQ(requests.at(0).at("outcome"), "done");
    EXPECT_GT(requests.at(0).at("bytes"), 0);
}

TEST(Repair, ARepairedProblemLeavesWhatRemainsAndTheNextDiagnosis) {
    const Kura kura;
    const auto found = Codes(kura.Json({"diagnose"}).at("problems"));
    ASSERT_EQ(std::count(found.begin(), found.end(), "1001"), 1);
    kura.Json({"fix", "1001"});
    auto expected = found;
    expected.erase(std::remove(expected.begin(), expected.end(), "1001"), expected.end());
    EXPECT_EQ(Codes(kura.Json({"problems"}).at("problems")), expected);
    EXPECT_EQ(Codes(kura.Json({"diagnose"}).at("problems")), expected);
    const json records = kura.Json({"engine", "list"});
    const auto& solutions = records.at("solutions");
    EXPECT_TRUE(std::any_of(solutions.begin(), solutions.end(), [](const json& record) {
        return record.at("issue_code") == 1001 && record.at("solution_code") == 100101;
    }));
}

TEST(Repair, TheBackgroundVariantHandsTheRecordBack) {
    const Kura kura;
    kura.Json({"diagnose"});
    const json document = kura.Json({"fix", "1001", "--background"});
    EXPECT_EQ(document.at("record"),
              (json{{"issue_code", 1001}, {"solution_code", 100101}, {"solution_type", 2}, {"started", 1}}));
    for (const json& request : document.at("requests")) {
        EXPECT_NE(request.at("kind"), "engine");
    }
    const auto remaining = Codes(kura.Json({"problems"}).at("problems"));
    EXPECT_EQ(std::count(remaining.begin(), remaining.end(), "1001"), 0);
}

TEST(Repair, AnUnknownIssueIsExitCodeThree) {
    const Kura kura;
    EXPECT_EQ(kura.Run({"fix", "0001001", "--json"}).status, 3);
    EXPECT_EQ(kura.Run({"fix", "424242", "--json"}).status, 3);
}

TEST(Repair, ServicesThatFailLeaveTheProblemRecordedAsTried) {
    const Kura kura;
    kura.Json({"diagnose"});
    json description = kura.Description();
    description["faults"]["settings"]["refuse_writes"] = json::array({"db/menu/picture/backlight"});
    description["faults"]["settings_service"] = -1;
    kura.Describe(description);
    EXPECT_EQ(kura.Run({"fix", "1001"}).status, 1);
    EXPECT_EQ(kura.Run({"fix", "2004"}).status, 1);
    const auto remaining = Codes(kura.Json({"problems"}).at("problems"));
    EXPECT_EQ(std::count(remaining.begin(), remaining.end(), "1001"), 0);
    EXPECT_EQ(std::count(remaining.begin(), remaining.end(), "2004"), 0);
    const json lines = kura.Json({"log", "--function", "ProcessVconf_INT"}).at("lines");
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(),
                            [](const json& line) { return line.at("message") == "ret : 1"; }));
}

TEST(Repair, AStepThatFailedIsNamed) {
    const Kura kura;
    json description = kura.Description();
    description["faults"] = {{"settings", {{"refuse_writes", {"db/menu/picture/mode"}}}}};
    kura.Describe(description);
    const command::Answer text = kura.Run({"fix", "1006"});
    EXPECT_EQ(text.status, 1);
    const std::string step = "sets db/menu/picture/mode: dynamic -> standard (fails: -1)";
    EXPECT_THAT(text.out, testing::StartsWith("Applied VCONFSET_STR db/menu/system/usage_mode\n"
                                              "Failed VCONFSET_STR db/menu/picture/mode\n  " +
                                              step + "\n"));
    EXPECT_EQ(text.err, "kura: the repair of issue 1006 failed: " + step + "\n");
    const command::Answer answer = kura.Run({"fix", "1006", "--json"});
    EXPECT_EQ(answer.status, 1);
    const json document = answer.Document();
    EXPECT_EQ(document.at("error").at("kind"), "failed");
    EXPECT_EQ(document.at("error").at("message"), "the repair of issue 1006 failed: " + step);
    EXPECT_EQ(document.at("solutions").size(), 2U);
    EXPECT_EQ(document.at("requests").size(), 4U);
}

TEST(Repair, WhatTheSetRefusesIsAFailureOfTheRepair) {
    const Kura kura;
    kura.Json({"diagnose"});
    const json whole = kura.Description();
    struct Case {
        json faults;
        const char* issue;
        int status;
        const char* step;
    };
    // The agent's rows come first: whoever has run on the set has left its folders.
    const Case cases[] = {
        {{{"agent", "absent"}}, "1009", 4, "/tmp/vardo/runCmdNativeApps cannot be written"},
        {{{"agent", "absent"}}, "6001", 4, "CleanAll.txt cannot be written"},
        {{{"launch", {"*"}}}, "3001", 1, "launches org.vesta.NetworkSetting-Vesta (fails: -2)"},
        {{{"engine", {{"record", 5}}}}, "1001", 1, "solution 100101, type 2 (fails: 5)"},
        {{{"opt", "read-only"}}, "1006", 1, "removes issue 1006 from the unfixed problems (fails: "},
        {{{"opt", "full"}}, "5003", 1, "removes issue 5003 from the unfixed problems (fails: "},
    };
    for (const Case& row : cases) {
        json description = whole;
        description["faults"] = row.faults;
        kura.Describe(description);
        const command::Answer answer = kura.Run({"fix", row.issue});
        EXPECT_EQ(answer.status, row.status) << row.faults << answer.out << answer.err;
        EXPECT_THAT(answer.err, HasSubstr(row.step)) << row.faults;
        EXPECT_THAT(answer.out, testing::StartsWith("Failed ")) << row.faults;
    }
}

TEST(Repair, ARefusedLaunchIsAFailureOfLaunchOnly) {
    const Kura kura;
    json description = kura.Description();
    description["faults"]["launch"] = json::array({"org.vesta.menu"});
    kura.Describe(description);
    EXPECT_EQ(kura.Run({"launch", "org.vesta.menu", "--json"}).status, 1);
    EXPECT_EQ(kura.Run({"launch", "org.vesta.wizard", "--json"}).status, 0);
    const json launches = kura.Json({"journal", "--kind", "launch"}).at("entries");
    ASSERT_EQ(launches.size(), 2U);
    EXPECT_EQ(
        launches.at(0).at("extras"),
        json::parse(
            R"([["launchby","others"],["callerid","com.norvik.TVKuraHelp"],["type","networkstatus"]])"));
    EXPECT_EQ(launches.at(1).at("extras"), json::parse(R"([["type","TERMS_SETUP"]])"));
}

}  // namespace
