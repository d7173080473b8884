// What a repair would do, told before it is done, and why an issue is on a list.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "Kura.h"

namespace fs = std::filesystem;

using command::Kura;
using testing::HasSubstr;

namespace {

using Json = nlohmann::json;

/// Everything about the files below a folder that a repair could change.
using Snapshot = std::map<std::string, std::tuple<std::string, mode_t, long, long>>;

Snapshot Look(const fs::path& folder) {
    Snapshot snapshot;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        struct stat status {};
        EXPECT_EQ(lstat(entry.path().c_str(), &status), 0);
        // Bytes of the small files; the apps' are holes of hundreds of megabytes.
        const bool isSmall = S_ISREG(status.st_mode) && status.st_size < (1 << 20);
        snapshot[entry.path().lexically_relative(folder)] = {isSmall ? command::ReadFile(entry.path()) : "",
                                                             status.st_mode, status.st_mtim.tv_sec,
                                                             status.st_mtim.tv_nsec};
    }
    return snapshot;
}

std::string Solution(const std::string& code, const std::string& type, const std::string& name,
                     const std::string& value) {
    return "<solution issue_code=\"" + code + "\" sol_code=\"" + code + "01\" sol_type=\"" + type +
           "\" sol_name=\"" + name + "\" view_authority=\"USER\"><sol_val param_value=\"" + value +
           "\"/></solution>";
}

struct Case {
    const char* type;
    const char* name;
    const char* value;
};

/// Every action type, every operation and every screen.
const Case kCases[] = {
    {"VCONFSET_INT", "db/menu/picture/backlight", "35"},
    {"VCONFSET_BOOL", "db/menu/picture/eco_sensor", "1"},
    {"VCONFSET_STR", "db/menu/picture/mode", "standard"},
    {"API", "pixo_reset_picture", "2"},
    {"API", "ResetPictureSize", ""},
    {"API", "voiceguide_on", ""},
    {"API", "caption-setting", ""},
    {"API", "subtitle-setting", ""},
    {"API", "performDeepClean", ""},
    {"API", "ResetOnOffTimer", ""},
    {"CMD", "true", ""},
    {"LAUNCH", "org.vesta.picture-test", ""},
    {"INFO", "note", ""},
    {"MSGPORT", "ShowSignalInfo", ""},
    {"MSGPORT", "ShowMgrStorage", ""},
    {"MSGPORT", "ShowSoundTest", ""},
    {"SettingsAPI", "sound_mode", "standard"},
    {"NO_SUCH_TYPE", "x", ""},
};

std::string CodeOf(std::size_t position) {
    return std::to_string(2000 + position);
}

std::string MapOfAllTypes() {
    std::string body;
    std::size_t position = 0;
    for (const Case& row : kCases) {
        body += Solution(CodeOf(position++), row.type, row.name, row.value);
    }
    return "<solutionmap><sm cnt=\"" + std::to_string(position) + "\"/>" + body + "</solutionmap>";
}

/// What both the preview and the journal tell: the calls in order, without times and the agent's own notes.
std::vector<Json> Calls(const Json& entries) {
    std::vector<Json> calls;
    for (Json entry : entries) {
        const std::string kind = entry.at("kind");
        const std::string op = entry.value("op", "");
        const bool isRead =
            (kind == "setting" && op.rfind("get_", 0) == 0) || (kind == "engine" && op != "record");
        if (kind == "agent" || kind == "unfixed" || kind == "handed back" || isRead) {
            continue;
        }
        entry.erase("time");
        entry.erase("old");
        calls.push_back(entry);
    }
    return calls;
}

/// The agent's requests by name and how they ended.
std::vector<std::pair<std::string, std::string>> AgentRequests(const Json& entries, const char* name) {
    std::vector<std::pair<std::string, std::string>> requests;
    for (const Json& entry : entries) {
        if (entry.at("kind") == "agent") {
            requests.emplace_back(entry.at(name), entry.value("outcome", ""));
        }
    }
    return requests;
}

TEST(Preview, AgreesWithTheRepairForEveryActionType) {
    const Kura kura;
    kura.WriteMap(MapOfAllTypes());
    Json description = kura.Description();
    description["agent"]["commands"] = {"true"};
    kura.Describe(description);
    std::size_t calls = 0;
    for (const bool isBackground : {false, true}) {
        for (std::size_t i = 0; i < std::size(kCases); ++i) {
            std::vector<std::string> fix = {"fix", CodeOf(i)};
            if (isBackground && i % 4 != 0) {
                continue;  // in the background only the record differs, whatever the type
            }
            if (isBackground) {
                fix.emplace_back("--background");
            }
            std::vector<std::string> preview = fix;
            preview.emplace_back("--preview");
            const Json told = kura.Json(preview).at("steps");
            const Json done = kura.Json(fix).at("requests");
            EXPECT_EQ(Calls(told), Calls(done)) << kCases[i].type << ' ' << kCases[i].name;
            EXPECT_EQ(AgentRequests(told, "request"), AgentRequests(done, "op")) << kCases[i].name;
            calls += Calls(told).size() + AgentRequests(told, "request").size();
            // Removing the issue from the unfixed ones is the library's own work, which no call shows.
            EXPECT_EQ(std::count_if(told.begin(), told.end(),
                                    [](const Json& step) { return step.at("kind") == "unfixed"; }),
                      1);
        }
    }
    EXPECT_GT(calls, std::size(kCases));
}

TEST(Preview, ChangesNothing) {
    const Kura kura;
    kura.Json({"diagnose"});
    const Snapshot before = Look(kura.Set());
    for (const char* code : {"1001", "1006", "1009", "6001", "4001", "6002"}) {
        kura.Json({"fix", code, "--preview"});
        kura.Json({"fix", code, "--preview", "--background"});
        EXPECT_EQ(Look(kura.Set()), before) << code;
    }
    EXPECT_EQ(kura.Run({"fix", "4711", "--preview"}).status, 3);
    EXPECT_EQ(Look(kura.Set()), before);
}

TEST(Preview, TellsOldAndNewValuesStepByStep) {
    const Kura kura;
    kura.WriteMap("<m><sm cnt=\"2\"/>" + Solution("1", "VCONFSET_INT", "db/menu/picture/backlight", "35") +
                  Solution("1", "VCONFSET_INT", "db/menu/picture/backlight", "40") + "</m>");
    const Json steps = kura.Json({"fix", "1", "--preview"}).at("steps");
    EXPECT_EQ(steps[0].at("old"), 5);
    EXPECT_EQ(steps[0].at("value"), 35);
    EXPECT_EQ(steps[3].at("old"), 35);
    EXPECT_EQ(steps[3].at("value"), 40);
    EXPECT_THAT(kura.Run({"fix", "1", "--preview"}).out,
                testing::StartsWith("1. sets db/menu/picture/backlight: 5 -> 35\n"));
}

TEST(Preview, TellsTheAgentsFilesAndTheirText) {
    const Kura kura;
    const Json steps = kura.Json({"fix", "1009", "--preview"}).at("steps");
    EXPECT_EQ(steps[0].at("file"), "/tmp/vardo/runCmdNativeApps");
    EXPECT_EQ(steps[0].at("text"), "/usr/bin/panel-care --short-refresh\n");
    EXPECT_EQ(steps[0].at("trigger"), "/tmp/vardo/req/runCmdNativeApps");
    kura.Json({"fix", "1009"});
    EXPECT_EQ(command::ReadFile(kura.Set() / "files/tmp/vardo/runCmdNativeApps"), steps[0].at("text"));
}

TEST(Preview, TellsWhatWouldFail) {
    const Kura kura;
    Json description = kura.Description();
    description["faults"] = {
        {"settings", {{"refuse_writes", {"*"}}}}, {"launch", {"*"}}, {"agent", "absent"}, {"picture", 7}};
    kura.Describe(description);
    EXPECT_THAT(kura.Run({"fix", "1001", "--preview"}).out, HasSubstr("5 -> 35 (fails: "));
    EXPECT_THAT(kura.Run({"fix", "1004", "--preview"}).out,
                HasSubstr("launches org.vesta.picture-test (fails: "));
    EXPECT_THAT(kura.Run({"fix", "1002", "--preview"}).out, HasSubstr("(fails: 7)"));
    EXPECT_THAT(
        kura.Run({"fix", "1009", "--preview"}).out,
        HasSubstr("panel-care --short-refresh\" in /tmp/vardo/runCmdNativeApps, then "
                  "/tmp/vardo/req/runCmdNativeApps (fails: /tmp/vardo/runCmdNativeApps cannot be written)"));
}

TEST(Preview, TellsWhereARepairWouldBreakOff) {
    const Kura kura;
    Json description = kura.Description();
    description["faults"] = {{"kill_at", "vconf_set_str:db/menu/system/usage_mode"}};
    kura.Describe(description);
    const Json steps = kura.Json({"fix", "1006", "--preview"}).at("steps");
    EXPECT_EQ(steps[0].at("value"), "home");
    EXPECT_EQ(steps.back().at("kind"), "end");
    EXPECT_THAT(steps.back().at("reason").get<std::string>(), HasSubstr("signal 9"));
}

TEST(Preview, TellsThatAReadOnlySetKeepsTheIssue) {
    const Kura kura;
    kura.Json({"diagnose"});
    Json description = kura.Description();
    description["faults"] = {{"opt", "read-only"}};
    kura.Describe(description);
    EXPECT_THAT(kura.Run({"fix", "1001", "--preview"}).out, HasSubstr("from the unfixed problems (fails: "));
}

TEST(Preview, TellsTheRecordThatABackgroundRepairHandsBack) {
    const Kura kura;
    const Json steps = kura.Json({"fix", "1001", "--preview", "--background"}).at("steps");
    EXPECT_EQ(steps.back().at("kind"), "handed back");
    EXPECT_EQ(steps.back().at("record").at("solution_code"), 100101);
}

TEST(Preview, TakesAnyCodeForACode) {
    const Kura kura;
    const command::Answer answer = kura.Run({"fix", "--preview", "--", "-1"});
    EXPECT_EQ(answer.status, 3);
    EXPECT_THAT(answer.err, HasSubstr("the solution map has no issue -1"));
}

TEST(Preview, EndsCleanlyWhereThereIsNothingToTell) {
    const Kura kura;
    const command::Answer unknown = kura.Run({"fix", "4711", "--preview", "--json"});
    EXPECT_EQ(unknown.status, 3);
    EXPECT_EQ(unknown.Document().at("error").at("message"), "the solution map has no issue 4711");
    kura.WriteMap("<m><sol_val/></m>");
    EXPECT_EQ(kura.Run({"fix", "1001", "--preview"}).status, 1);
}

TEST(Why, GivesTheTestsInOrderAndTheDecidingOne) {
    const Kura kura;
    const Json listed = kura.Json({"why", "1001"}).at("issues")[0];
    EXPECT_EQ(listed.at("listed"), true);
    std::vector<std::string> names;
    for (const Json& test : listed.at("tests")) {
        names.push_back(test.at("test"));
    }
    EXPECT_THAT(names, testing::ElementsAre("in the map", "run", "declared count", "foreground", "appeared",
                                            "still there", "unsolved", "source", "viewer"));
    const std::vector<std::pair<std::string, std::string>> deciding = {
        {"1002", "appeared"}, {"1009", "foreground"}, {"2001", "still there"}, {"4711", "in the map"}};
    for (const auto& [code, test] : deciding) {
        const Json issue = kura.Json({"why", code}).at("issues")[0];
        EXPECT_EQ(issue.at("listed"), false) << code;
        EXPECT_EQ(issue.at("decided_by"), test) << code;
        EXPECT_EQ(issue.at("tests").back().at("passed"), false) << code;
    }
}

TEST(Why, KnowsRepairsFiltersAndReturns) {
    const Kura kura;
    const auto decidedBy = [&](const std::string& code) {
        return kura.Json({"why", code}).at("issues")[0].at("decided_by").get<std::string>();
    };
    kura.Json({"diagnose"});
    kura.Json({"fix", "1001"});
    EXPECT_EQ(decidedBy("1001"), "unsolved");
    kura.Json({"engine", "report", "1001", "--time", "2099-01-01T00:00:00"});
    EXPECT_EQ(decidedBy("1001"), "viewer");
    kura.WriteMap(
        "<m><sm cnt=\"2\"/><solution issue_code=\"1001\" source=\"HDMI\" view_authority=\"USER\"/>"
        "<solution issue_code=\"3001\" view_authority=\"SERVICE\"/></m>");
    EXPECT_EQ(decidedBy("1001"), "source");
    EXPECT_EQ(decidedBy("3001"), "viewer");
}

TEST(Why, LeavesNoTraceAndOutlivesACutOfPower) {
    const Kura kura;
    kura.Json({"diagnose"});
    Json description = kura.Description();
    description["faults"] = {{"kill_at", "GetInferenceDB:1001:true"}};
    kura.Describe(description);
    const Snapshot before = Look(kura.Set());
    EXPECT_EQ(kura.Json({"why", "1001"}).at("issues")[0].at("listed"), true);
    EXPECT_EQ(kura.Json({"why", "--list", "home"}).at("list"), "home");
    EXPECT_EQ(Look(kura.Set()), before);
}

TEST(Why, KnowsAnEngineThatNeverDelivers) {
    const Kura kura;
    kura.Json({"diagnose"});
    for (const Json& fault : {Json{{"silent", true}}, Json{{"subscribe", 3}}}) {
        Json description = kura.Description();
        description["faults"] = {{"engine", fault}};
        kura.Describe(description);
        for (const char* list : {"start", "home"}) {
            EXPECT_EQ(kura.Json({"why", "1001", "--list", list}).at("issues")[0].at("decided_by"), "run")
                << list;
        }
    }
}

TEST(Why, KnowsADeclaredCountThatDoesNotFit) {
    const Kura kura;
    const std::string two =
        "<solution issue_code=\"1001\" view_authority=\"USER\"/>"
        "<solution issue_code=\"3001\" view_authority=\"USER\"/>";
    kura.WriteMap("<m><sm cnt=\"3\"/>" + two + "</m>");
    EXPECT_EQ(kura.Json({"why", "1001"}).at("issues")[0].at("decided_by"), "run");
    kura.WriteMap("<m><sm cnt=\"1\"/>" + two + "</m>");
    EXPECT_EQ(kura.Json({"why", "3001"}).at("issues")[0].at("decided_by"), "declared count");
    kura.WriteMap("<m><sol_val/>" + two + "</m>");
    EXPECT_THAT(kura.Json({"why", "1001"}).at("issues")[0].at("tests").back().at("saw").get<std::string>(),
                HasSubstr("cannot be loaded"));
}

TEST(Why, ExplainsWhatRemains) {
    const Kura kura;
    const auto home = [&](const std::string& code) {
        return kura.Json({"why", code, "--list", "home"}).at("issues")[0];
    };
    EXPECT_EQ(home("1001").at("decided_by"), "kept");
    kura.Json({"diagnose"});
    EXPECT_EQ(home("1001").at("listed"), true);
    kura.Json({"engine", "report", "14000001", "--gone", "--time", "2099-01-01T00:00:00"});
    EXPECT_EQ(home("14000001").at("decided_by"), "still there");
    const auto shown = command::Codes(kura.Json({"problems"}).at("problems"));
    EXPECT_EQ(std::count(shown.begin(), shown.end(), "14000001"), 0);
    EXPECT_EQ(home("14000001").at("decided_by"), "kept");
}

TEST(Why, AgreesWithTheListForEveryIssueOfTheExample) {
    const Kura kura;
    const auto shown = command::Codes(kura.Json({"diagnose"}).at("problems"));
    std::vector<std::string> listed;
    const Json all = kura.Json({"why"});
    for (const Json& issue : all.at("issues")) {
        if (issue.at("listed") == true) {
            listed.push_back(issue.at("issue_code"));
        }
    }
    EXPECT_EQ(listed, shown);
    EXPECT_FALSE(shown.empty());
}

}  // namespace
