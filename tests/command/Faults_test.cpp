// Every fault that a set can have, set as a user sets it: what the library does with it, at which exit code,
// and what it says in the log. What each fault does to a whole run is told by the scenarios of the examples.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "Kura.h"

namespace {

using command::Answer;
using command::Kura;
using nlohmann::json;
using testing::HasSubstr;

struct Fault {
    const char* name;
    std::vector<std::pair<std::string, std::string>> put;
    std::vector<std::string> verb;
    int status;
    json answer;       ///< members of the answer
    std::string kind;  ///< of journal entries; one of them has these members
    json entry;
    std::string log;  ///< the beginning of a line
};

void PrintTo(const Fault& fault, std::ostream* stream) {
    *stream << fault.name;
}

bool Has(const json& value, const json& members) {
    return std::all_of(members.items().begin(), members.items().end(), [&](const auto& member) {
        return value.contains(member.key()) && value.at(member.key()) == member.value();
    });
}

const char* const kBrowser = "org.vesta.browser";

const Fault kFaults[] = {
    {"InferenceQuery",
     {{"faults.engine.inference.1001.true", "7"}},
     {"diagnose"},
     0,
     json::object(),
     "engine",
     {{"op", "query-inference"}, {"issue", 1001}, {"result", 7}, {"records", 0}},
     "GetInferenceDB API Error : 7"},
    {"InferenceQueryWithoutRecords",
     {{"faults.engine.inference.1001.true", "0"}},
     {"diagnose"},
     0,
     json::object(),
     "engine",
     {{"op", "query-inference"}, {"issue", 1001}, {"result", 0}, {"records", 0}},
     "TR true Result is empty! : 1001"},
    {"InferenceQueryOfWhatWentAway",
     {{"faults.engine.inference.2001.false", "8"}},
     {"diagnose"},
     0,
     json::object(),
     "engine",
     {{"op", "query-solution"}, {"issue", 2001}},
     "GetInferenceDB API Error : 8"},
    {"SolutionQuery",
     {{"faults.engine.solution.4003", "9"}},
     {"diagnose"},
     0,
     json::object(),
     "engine",
     {{"op", "query-solution"}, {"issue", 4003}, {"result", 9}},
     "GetInferenceDB API Error : 9"},
    {"Subscription",
     {{"faults.engine.subscribe", "3"}},
     {"diagnose"},
     4,
     json::object(),
     "engine",
     {{"op", "subscribe"}, {"result", 3}},
     "EndAutoDiagnosis"},
    {"RecordOfARepair",
     {{"faults.engine.record", "5"}},
     {"fix", "1001"},
     1,
     json::object(),
     "engine",
     {{"op", "record"}, {"issue", 1001}, {"result", 5}},
     "Choose_Solution"},
    {"SilentEngine",
     {{"faults.engine.silent", "true"}},
     {"diagnose", "--patience", "1"},
     4,
     json::object(),
     "engine",
     {{"op", "subscribe"}, {"result", 0}},
     "EndAutoDiagnosis"},
    {"AgentAbsent",
     {{"faults.agent", "absent"}},
     {"boost"},
     4,
     json::object(),
     "",
     {},
     "File creation failed (/tmp/vardo/req/memBoost) with error number : 2"},
    {"AgentLate",
     {{"faults.agent", "late"}},
     {"app", kBrowser},
     4,
     {{"total_size", nullptr}, {"data_size", nullptr}, {"cache_size", nullptr}},
     "",
     {},
     ""},
    {"AgentSlow",
     {{"faults.agent", R"({"mode": "slow", "seconds": 1})"}},
     {"clean"},
     0,
     {{"deep_clean", "done"}},
     "agent",
     {{"op", "CleanAll.txt"}, {"outcome", "done"}},
     ""},
    {"AgentPartial",
     {{"faults.agent", "partial"}},
     {"app", kBrowser},
     4,
     {{"total_size", nullptr}, {"data_size", 8388608}, {"cache_size", nullptr}},
     "agent",
     {{"op", "calcAppDataCacheSize_org.vesta.browser"}},
     ""},
    {"AgentFlood",
     {{"faults.agent", "flood"}},
     {"app", kBrowser},
     4,
     {{"total_size", nullptr}, {"data_size", nullptr}},
     "",
     {},
     ""},
    {"AgentBinary",
     {{"faults.agent", "binary"}},
     {"app", kBrowser},
     4,
     {{"data_size", nullptr}, {"cache_size", nullptr}},
     "",
     {},
     ""},
    {"PackageManagerAbsent", {{"faults.pkgmgr", "absent"}}, {"app", kBrowser}, 4, json::object(), "", {}, ""},
    {"PackageManagerWithoutService",
     {{"faults.pkgmgr", "no_service"}},
     {"app", kBrowser},
     4,
     {{"total_size", nullptr}, {"data_size", 8388608}},
     "",
     {},
     "request failed: -2"},
    {"PackageManagerDenied",
     {{"faults.pkgmgr", "denied"}},
     {"app", kBrowser},
     1,
     {{"total_size", nullptr}, {"data_size", 8388608}},
     "",
     {},
     "request failed: -5"},
    {"PackageManagerOfAnotherType",
     {{"faults.pkgmgr", "wrong_type"}},
     {"app", kBrowser},
     1,
     {{"total_size", nullptr}, {"data_size", 8388608}},
     "",
     {},
     "request result failed: "},
    {"PackageManagerSlow",
     {{"faults.pkgmgr", R"({"mode": "slow", "seconds": 1})"}},
     {"app", kBrowser},
     0,
     {{"data_size", 8388608}, {"cache_size", 42991616}},
     "package",
     {{"op", "getsize_sync"}, {"result", 0}},
     ""},
    {"PackageManagersResult",
     {{"faults.pkgmgr.result", "-3"}},
     {"app", kBrowser},
     1,
     {{"total_size", nullptr}, {"data_size", 8388608}},
     "package",
     {{"op", "getsize_sync"}, {"result", -3}},
     "request result failed: -3"},
    {"PackageManagersSize",
     {{"faults.pkgmgr.size", "12345"}},
     {"app", kBrowser},
     0,
     {{"data_size", 8388608}},
     "package",
     {{"op", "getsize_sync"}, {"size", 12345}},
     ""},
    {"ClearingOfData",
     {{"faults.pkgmgr.clear_user_data", "5"}},
     {"clear-data", kBrowser},
     1,
     json::object(),
     "package",
     {{"op", "pkgmgr_client_clear_user_data"}, {"result", 5}},
     ""},
    {"SettingsReads",
     {{"faults.settings.refuse_reads", R"(["*"])"}},
     {"check", "terms"},
     0,
     {{"result", 0}},
     "setting",
     {{"op", "get_int"}, {"result", -1}},
     ""},
    {"SettingsWrites",
     {{"faults.settings.refuse_writes", R"(["db/menu/picture/backlight"])"}},
     {"fix", "1001"},
     1,
     json::object(),
     "setting",
     {{"op", "set_int"}, {"key", "db/menu/picture/backlight"}, {"result", -1}},
     "ret : 1"},
    {"Launch",
     {{"faults.launch", R"(["org.vesta.browser"])"}},
     {"launch", kBrowser},
     1,
     json::object(),
     "launch",
     {{"app", kBrowser}, {"result", -2}},
     ""},
    {"Logger",
     {{"faults.logger", "0"}},
     {"diagnose"},
     0,
     json::object(),
     "event",
     {{"result", 0}},
     "ERROR: could not send event log!! [0]"},
    {"SettingsService",
     {{"faults.settings_service", "-4"}},
     {"fix", "2004"},
     1,
     json::object(),
     "setting",
     {{"op", "SetItemValue"}, {"result", -4}},
     ""},
    {"Picture",
     {{"faults.picture", "-4"}},
     {"fix", "1002"},
     1,
     json::object(),
     "picture",
     {{"result", -4}},
     ""},
    {"Power",
     {{"faults.power", "-4"}},
     {"fix", "8001"},
     1,
     json::object(),
     "power",
     {{"op", "ResetOnOffTimer"}, {"result", -4}},
     ""},
    {"VideoControl",
     {{"faults.video.create", "-4"}},
     {"fix", "1003"},
     1,
     json::object(),
     "video",
     {{"op", "CreateVideoControl"}, {"result", -4}},
     ""},
    {"VideoReset",
     {{"faults.video.reset", "-4"}},
     {"fix", "1003"},
     1,
     json::object(),
     "video",
     {{"op", "ResetPictureSize"}, {"result", -4}},
     ""},
    {"SourceControl",
     {{"faults.source.create", "-4"}},
     {"page", "SignalInfo"},
     0,
     json::object(),
     "source",
     {{"op", "CreateSourceControl"}, {"result", -4}},
     ""},
    {"SourceQuery",
     {{"faults.source.query", "0"}},
     {"page", "SignalInfo"},
     0,
     json::object(),
     "source",
     {{"op", "GetCurrentSource"}, {"result", 0}},
     ""},
    {"ConnectionService",
     {{"faults.network.create", "-4"}},
     {"check", "network"},
     0,
     {{"result", false}},
     "network",
     {{"op", "connection_create"}, {"result", -4}},
     ""},
    {"Gateway",
     {{"faults.network.check", "-4"}},
     {"check", "network"},
     0,
     {{"result", false}},
     "network",
     {{"op", "connection_profile_check_default_gateway"}, {"result", -4}},
     ""},
    {"AppList", {{"faults.apps", "-4"}}, {"apps"}, 1, json::object(), "apps", {{"result", -4}}, ""},
    {"ReadOnlyPartition",
     {{"faults.opt", "read-only"}},
     {"diagnose"},
     1,
     json::object(),
     "screen",
     {{"screen", "start"}, {"rows", 11}},
     "ERROR: /opt/usr/home/owner/share/remaining.db open is fail!!"},
    {"FullPartition",
     {{"faults.opt", "full"}},
     {"diagnose"},
     1,
     json::object(),
     "screen",
     {{"screen", "start"}, {"rows", 11}},
     "ERROR: sql execute is fail!! ( database or disk is full )"},
    {"CutOfPower",
     {{"faults.kill_at", "SetSolutionDB:1001"}},
     {"fix", "1001"},
     1,
     json::object(),
     "engine",
     {{"op", "record"}, {"issue", 1001}},
     ""},
};

class Faults : public testing::TestWithParam<Fault> {};

TEST_P(Faults, ShowInAnswerJournalAndLog) {
    const Fault& fault = GetParam();
    const Kura kura;
    for (const auto& [key, value] : fault.put) {
        const Answer put = kura.Run({"set", "put", key, value});
        ASSERT_EQ(put.status, 0) << put.err;
    }
    std::vector<std::string> verb = fault.verb;
    verb.emplace_back("--json");
    const Answer answer = kura.Run(verb);
    EXPECT_EQ(answer.status, fault.status) << answer.out << answer.err;
    EXPECT_TRUE(Has(answer.Document(), fault.answer)) << answer.out;
    if (!fault.kind.empty()) {
        const json entries = kura.Json({"journal", "--kind", fault.kind}).at("entries");
        EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), [&](const json& entry) {
            return Has(entry, fault.entry);
        })) << entries.dump(2);
    }
    if (!fault.log.empty()) {
        const json lines = kura.Json({"log"}).at("lines");
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const json& line) {
            return line.at("message").get<std::string>().rfind(fault.log, 0) == 0;
        })) << fault.log;
    }
}

INSTANTIATE_TEST_SUITE_P(Set, Faults, testing::ValuesIn(kFaults),
                         [](const auto& one) { return std::string(one.param.name); });

/// Twelve calls of 25 seconds each would be waited for; a few seconds show that the first one is.
TEST(SilentPackageManager, IsWaitedFor) {
    const Kura kura;
    kura.Json({"set", "put", "faults.pkgmgr", "silent"});
    const std::string line = std::string("timeout 4 ") + KURA_COMMAND + " --set " + kura.Set().string() +
                             " app org.vesta.browser > /dev/null 2>&1";
    const int status = std::system(line.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 124) << "timeout ended it";
    const json calls = kura.Json({"journal", "--kind", "package"}).at("entries");
    const auto asked = std::count_if(calls.begin(), calls.end(), [](const json& call) {
        return Has(call, {{"op", "getsize_sync"}, {"fault", "silent"}});
    });
    EXPECT_EQ(asked, 1);
}

TEST(SetPut, ChangesOneValueAndRemovesIt) {
    const Kura kura;
    EXPECT_EQ(kura.Json({"set", "put", "source", "13"}).at("value"), 13);
    EXPECT_EQ(kura.Description().at("source"), 13);
    kura.Json({"set", "put", "serial", "12 34"});
    EXPECT_EQ(kura.Description().at("serial"), "12 34");
    kura.Json({"set", "put", "serial", "\"12\""});
    EXPECT_EQ(kura.Description().at("serial"), "12");
    kura.Json({"set", "put", "apps.2.skip", "1"});
    EXPECT_EQ(kura.Description().at("apps").at(2).at("skip"), 1);
    kura.Json({"set", "put", R"(features.com\.norvik/featureconf/flash_size)", "4"});
    EXPECT_EQ(kura.Description().at("features").at("com.norvik/featureconf/flash_size"), 4);
    kura.Json({"set", "put", "faults.agent", "late"});
    kura.Json({"set", "put", "faults.agent.mode", "slow"});
    EXPECT_EQ(kura.Description().at("faults"), json::parse(R"({"agent": {"mode": "slow"}})"));
    kura.Json({"set", "put", "faults.agent.mode", "null"});
    EXPECT_FALSE(kura.Description().contains("faults")) << "nothing is left of it";
    const auto apps = kura.Description().at("apps").size();
    kura.Json({"set", "put", "apps." + std::to_string(apps),
               R"({"title": "New", "app_id": "new", "package_id": "new.pkg", "sizes": {"app": 5}})"});
    EXPECT_TRUE(std::filesystem::exists(kura.Opt("usr/apps/new.pkg/bin/new.pkg")));
    kura.Json({"set", "put", "apps." + std::to_string(apps), "null"});
    EXPECT_EQ(kura.Description().at("apps").size(), apps);
}

TEST(SetPut, RefusesWhatASetCannotBeAndChangesNothing) {
    const Kura kura;
    const std::string before = command::ReadFile(kura.Set() / "set.json");
    struct Case {
        std::vector<std::string> words;
        int status;
        const char* complaint;
    };
    const Case cases[] = {
        {{"fault.agent", "absent"}, 1, "set.json: fault: unknown key; did you mean \"faults\"?"},
        {{"faults.agent", "away"}, 1, "set.json: faults.agent: must be absent, late"},
        {{"faults.agent.hours", "1"}, 1, "set.json: faults.agent.hours: unknown key"},
        {{"faults.opt", "5"}, 1, "set.json: faults.opt: must be a text or null"},
        {{"faults.engine.solution.x", "5"}, 1, "the key must be an issue code"},
        {{"clock", "noon"}, 1, "set.json: clock: must be a local time that looks like 2026-01-31T23:59:59"},
        {{"apps.99.skip", "1"}, 64, "apps.99.skip: \"99\" is no element of a list of 11"},
        {{"apps.first.skip", "1"}, 64, "apps.first.skip: \"first\" is no element of a list of 11"},
        {{"faults..agent", "1"}, 64, "not a path into set.json: \"faults..agent\""},
        {{"", "1"}, 64, "not a path into set.json: \"\""},
        {{"source"}, 64, "value is required"},
    };
    for (const Case& one : cases) {
        std::vector<std::string> line = {"--json", "set", "put"};
        line.insert(line.end(), one.words.begin(), one.words.end());
        const Answer answer = kura.Run(line);
        EXPECT_EQ(answer.status, one.status) << one.words.front();
        EXPECT_THAT(answer.Document().at("error").at("message").get<std::string>(), HasSubstr(one.complaint));
        EXPECT_EQ(command::ReadFile(kura.Set() / "set.json"), before) << one.words.front();
    }
}

TEST(Clock, StandsWhereTheSetSays) {
    const Kura kura;
    kura.Json({"set", "put", "clock", "2031-02-03T04:05:06"});
    kura.Json({"engine", "report", "1002"});
    kura.Json({"fix", "1001"});
    const json records = kura.Json({"engine", "list"});
    EXPECT_EQ(records.at("inferences").at(0).at("last_update_time"), "2031-02-03T04:05:06");
    EXPECT_EQ(records.at("solutions").at(0).at("register_time"), "2031-02-03T04:05:06");
    kura.Json({"set", "put", "clock", "null"});
    const std::string now = kura.Json({"engine", "report", "1002"}).at("inference").at("register_time");
    EXPECT_NE(now, "2031-02-03T04:05:06");
}

}  // namespace
