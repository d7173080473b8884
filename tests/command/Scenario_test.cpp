// Scenarios as a user runs and records them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Kura.h"

namespace {

namespace fs = std::filesystem;
using command::Answer;
using command::Kura;
using nlohmann::json;
using testing::HasSubstr;

/// A scenario beside the set, named by its path.
std::string Write(const Kura& kura, const std::string& name, const json& scenario) {
    const fs::path path = kura.Set().parent_path() / name;
    command::WriteFile(path, scenario.dump(2));
    return path.string();
}

json Repair(int expected) {
    return json::parse(R"({"steps": [{"name": "repair", "run": ["fix", "1001"], "expect": {
        "settings": {"db/menu/picture/backlight": )" +
                       std::to_string(expected) + "}}}]}");
}

TEST(Replay, TellsTheFirstDifferenceWithItsStep) {
    const Kura kura;
    const std::string good = Write(kura, "good.json", Repair(35));
    const std::string bad = Write(kura, "bad.json", Repair(36));
    const Answer answer = kura.Run({"replay", "--jobs", "1", good, bad});
    EXPECT_EQ(answer.status, 2);
    EXPECT_EQ(answer.out,
              "ok  " + good + "\ndifferent  " + bad +
                  "\n    step 1 \"repair\": settings.db/menu/picture/backlight\n    - 36\n    + 35\n"
                  "2 scenarios, 1 ok, 1 different\n");
    EXPECT_EQ(answer.err, "");
    EXPECT_EQ(kura.Run({"replay", good}).status, 0);
}

TEST(Replay, AnswersWithOneDocument) {
    const Kura kura;
    const Answer answer = kura.Run({"--json", "replay", Write(kura, "good.json", Repair(35)),
                                    Write(kura, "bad.json", Repair(36)),
                                    Write(kura, "wrong.json", {{"stepz", 1}}), "/no/such"});
    EXPECT_EQ(answer.status, 1);
    const json document = answer.Document();
    EXPECT_EQ(document.at("summary"),
              json::parse(R"({"scenarios": 4, "ok": 1, "different": 1, "unreadable": 2, "failed": 0})"));
    const json& results = document.at("scenarios");
    EXPECT_EQ(results.at(0).at("result"), "ok");
    EXPECT_EQ(results.at(1).at("difference").at("expected"), "36");
    EXPECT_THAT(results.at(2).at("message").get<std::string>(),
                HasSubstr("wrong.json:2: stepz: unknown key; did you mean \"steps\"?"));
    EXPECT_EQ(results.at(3).at("message"), "/no/such: no such file");
}

TEST(Replay, TakesFoldersAndPatternsAndAFilter) {
    const Kura kura;
    const fs::path folder = kura.Set().parent_path() / "all";
    fs::create_directories(folder / "below/set");
    command::WriteFile(folder / "one.json", Repair(35).dump());
    command::WriteFile(folder / "below/two.json", Repair(35).dump());
    command::WriteFile(folder / "below/set/set.json", "{}");
    command::WriteFile(folder / "three.json", R"({"name": "Nothing runs", "steps": [{"clock": null}]})");
    const auto filesOf = [&kura](std::vector<std::string> words) {
        words.insert(words.begin(), {"--json", "replay"});
        std::vector<std::string> files;
        const json document = kura.Run(words).Document();
        for (const json& result : document.at("scenarios")) {
            files.push_back(fs::path(result.at("file").get<std::string>()).filename());
        }
        return files;
    };
    const std::string all = folder.string();
    EXPECT_EQ(filesOf({all}), (std::vector<std::string>{"two.json", "one.json", "three.json"}));
    EXPECT_EQ(filesOf({all + "/t*.json", all}),
              (std::vector<std::string>{"three.json", "two.json", "one.json"}));
    EXPECT_EQ(filesOf({all, "--filter", "below"}), std::vector<std::string>{"two.json"});
    EXPECT_EQ(filesOf({all, "--filter", "Nothing*"}), std::vector<std::string>{"three.json"});
    for (const std::vector<std::string>& none : {std::vector<std::string>{"replay", all, "--filter", "four"},
                                                 {"replay", all + "/x*"},
                                                 {"replay", all + "/below/set"}}) {
        const Answer answer = kura.Run(none);
        EXPECT_EQ(answer.status, 1);
        EXPECT_THAT(answer.err,
                    testing::AnyOf(HasSubstr("no scenario fits the filter"), HasSubstr("/x*: no file fits"),
                                   HasSubstr("/below/set: holds no scenario")));
    }
}

TEST(Replay, TellsEveryDifferenceAndOnlyWhatFailed) {
    const Kura kura;
    json scenario = Repair(36);
    scenario["steps"][0]["expect"]["launches"] = {"org.vesta.browser"};
    const std::string bad = Write(kura, "bad.json", scenario);
    const std::string good = Write(kura, "good.json", Repair(35));
    EXPECT_EQ(kura.Run({"replay", "--all-differences", "--only-failed", "--jobs", "1", good, bad}).out,
              "different  " + bad +
                  "\n    step 1 \"repair\": launches[0]\n    - {\"app\":\"org.vesta.browser\"}\n    + nothing"
                  "\n    step 1 \"repair\": settings.db/menu/picture/backlight\n    - 36\n    + 35\n"
                  "2 scenarios, 1 ok, 1 different\n");
    EXPECT_EQ(kura.Run({"replay", "--tap", "--jobs", "1", good, bad}).out,
              "TAP version 13\n1..2\nok 1 - " + good + "\nnot ok 2 - " + bad +
                  "\n# step 1 \"repair\": launches[0]\n# - {\"app\":\"org.vesta.browser\"}\n# + nothing"
                  "\n# step 1 \"repair\": settings.db/menu/picture/backlight\n# - 36\n# + 35\n");
}

TEST(Replay, UpdatesWhatDiffersAndShowsIt) {
    const Kura kura;
    json scenario = Repair(36);
    scenario["steps"][0]["expect"]["written"] = {"db/menu/picture/contrast"};
    scenario["steps"][0]["expect"]["exit"] = 7;
    const std::string file = Write(kura, "bad.json", scenario);
    const Answer answer = kura.Run({"replay", "--update", file});
    EXPECT_EQ(answer.status, 0);
    EXPECT_THAT(answer.out,
                HasSubstr("updated  " + file + "\n    step 1 \"repair\": exit\n    - 7\n    + 0\n"));
    EXPECT_THAT(answer.out, HasSubstr("1 scenario, 0 ok, 1 updated\n"));
    const json now = json::parse(command::ReadFile(file)).at("steps").at(0).at("expect");
    EXPECT_EQ(now, json::parse(R"({"settings": {"db/menu/picture/backlight": 35},
                                   "written": ["db/menu/picture/backlight"]})"));
    EXPECT_EQ(kura.Run({"replay", file}).status, 0);
}

TEST(Replay, LeavesPatternsAndTheLogToTheirAuthor) {
    const Kura kura;
    json scenario = Repair(35);
    scenario["steps"][0]["expect"]["log"] = {"no such line"};
    const std::string file = Write(kura, "log.json", scenario);
    const std::string before = command::ReadFile(file);
    const Answer answer = kura.Run({"replay", "--update", file});
    EXPECT_EQ(answer.status, 2);
    EXPECT_THAT(answer.out, HasSubstr("different  " + file + ": patterns and lines of the log are"));
    EXPECT_EQ(command::ReadFile(file), before);
}

TEST(Replay, WritesJUnit) {
    const Kura kura;
    json scenario = Repair(36);
    scenario["name"] = "brackets < and \x01 & \"quotes\"";
    const std::string file = (kura.Set().parent_path() / "junit.xml").string();
    EXPECT_EQ(kura.Run({"replay", "--junit", file, Write(kura, "bad.json", scenario), "/no/such"}).status, 1);
    const std::string text = command::ReadFile(file);
    EXPECT_THAT(text, HasSubstr(R"(<testsuite name="kura replay" tests="2" failures="1" errors="1")"));
    EXPECT_THAT(text, HasSubstr("name=\"brackets &lt; and ? &amp; &quot;quotes&quot;\""));
    EXPECT_THAT(text, HasSubstr("message=\"step 1 &quot;repair&quot;, settings.db/menu/picture/backlight\""));
    EXPECT_THAT(text, HasSubstr("- 36\n+ 35"));
    EXPECT_THAT(text, HasSubstr("message=\"/no/such: no such file\""));
    const Answer answer =
        kura.Run({"replay", "--junit", "/no/such/folder/x", Write(kura, "g.json", Repair(35))});
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.err, HasSubstr("/no/such/folder/x: cannot be written"));
}

TEST(Replay, LeavesNothingBehindButWhatIsKept) {
    const Kura kura;
    const std::string before = command::ReadFile(kura.Set() / "settings.json");
    const fs::path temporary = kura.Set().parent_path() / "temporary";
    fs::create_directory(temporary);
    setenv("TMPDIR", temporary.c_str(), 1);
    const fs::path keep = kura.Set().parent_path() / "kept";
    const std::string good = Write(kura, "good.json", Repair(35));
    EXPECT_EQ(kura.Run({"replay", "--keep", keep.string(), good}).status, 0);
    EXPECT_EQ(kura.Run({"replay", good, Write(kura, "bad.json", Repair(36))}).status, 2);
    EXPECT_TRUE(fs::is_empty(temporary));
    unsetenv("TMPDIR");
    EXPECT_EQ(command::ReadFile(kura.Set() / "settings.json"), before);
    EXPECT_THAT(command::ReadFile(keep / "good" / "settings.json"),
                HasSubstr("\"db/menu/picture/backlight\": 35"));
    const Answer again = kura.Run({"replay", "--keep", keep.string(), good});
    EXPECT_EQ(again.status, 1);
    EXPECT_THAT(again.out, HasSubstr("there is something already"));
}

TEST(Replay, EndsInGoodOrderWhenToldTo) {
    const Kura kura;
    const fs::path temporary = kura.Set().parent_path() / "temporary";
    fs::create_directory(temporary);
    const std::string slow = Write(
        kura, "slow.json", {{"set", {{"faults", {{"agent", "late"}}}}}, {"steps", {{{"run", {"clean"}}}}}});
    const std::string line = "TMPDIR=" + temporary.string() + " timeout --preserve-status 2 " + KURA_COMMAND +
                             " replay " + slow + " > /dev/null 2>&1";
    const int status = std::system(line.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_TRUE(fs::is_empty(temporary));
}

TEST(Replay, KeepsLinksInTheSetFromLeadingOutOfIt) {
    const Kura kura;
    const fs::path outside = kura.Set().parent_path() / "outside";
    fs::create_directory(outside);
    const json scenario = {
        {"set",
         {{"files", {{"/opt/out", {{"link", outside.string()}}}, {"/opt/out/written", "by the scenario"}}}}},
        {"steps", json::array()}};
    const Answer answer = kura.Run({"replay", Write(kura, "s.json", scenario)});
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(answer.out, HasSubstr("/opt/out/written: a link stands on the way to it"));
    EXPECT_TRUE(fs::is_empty(outside));
}

TEST(Replay, WithoutASandboxTheReasonIsTold) {
    const Kura kura;
    const std::string scenario = Write(kura, "good.json", Repair(35));
    const fs::path bin = kura.Set().parent_path() / "bin";
    fs::create_directory(bin);
    command::WriteFile(bin / "bwrap",
                       "#!/bin/sh\necho 'bwrap: No permissions to create new namespace' >&2\nexit 1\n");
    fs::permissions(bin / "bwrap", fs::perms::owner_all);
    const std::string path = std::getenv("PATH");
    setenv("PATH", (bin.string() + ":" + path).c_str(), 1);
    const Answer text = kura.Run({"replay", scenario});
    const Answer answer = kura.Run({"--json", "replay", scenario});
    const Answer preview = kura.Run({"fix", "1001", "--preview"});
    setenv("PATH", path.c_str(), 1);
    EXPECT_EQ(text.status, 1);
    const std::string reason = "can be made here (bubblewrap: No permissions to create new namespace); ";
    EXPECT_THAT(text.out, testing::StartsWith("failed  "));
    EXPECT_THAT(text.out, HasSubstr(reason));
    EXPECT_EQ(answer.status, 1);
    const json document = answer.Document();
    EXPECT_EQ(document.at("summary").at("failed"), 1);
    EXPECT_EQ(document.at("scenarios").at(0).at("result"), "failed");
    EXPECT_THAT(document.at("scenarios").at(0).at("message").get<std::string>(), HasSubstr(reason));
    EXPECT_EQ(preview.status, 1);
    EXPECT_THAT(preview.err, HasSubstr(reason));
}

TEST(Replay, WithoutAFileIsAMistake) {
    const Kura kura;
    EXPECT_EQ(kura.Run({"--json", "replay"}).status, 64);
    EXPECT_EQ(kura.Run({"--json", "replay", "--jobs", "0", "x"}).status, 64);
}

TEST(StartOfAScenario, CanBeLookedAt) {
    const Kura kura;
    const json scenario = {{"set", {{"clock", "2025-01-02T03:04:05"}, {"describe", {{"source", 13}}}}},
                           {"steps", json::array()}};
    const Answer made = kura.Run({"set", "new", "--force", "--scenario", Write(kura, "s.json", scenario)});
    EXPECT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(kura.Description().at("clock"), "2025-01-02T03:04:05");
    EXPECT_EQ(kura.Description().at("source"), 13);
    const Answer wrong = kura.Run({"--json", "set", "new", "--force", "--scenario", "/no/such"});
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.Document().at("error").at("message"), "/no/such: no such file");
    EXPECT_EQ(kura.Description().at("source"), 13) << "the set that was there stays";
}

struct Situation {
    const char* name;
    std::vector<std::vector<std::string>> before;  ///< verbs that make the set what it is
    std::vector<std::string> recorded;
};

void PrintTo(const Situation& situation, std::ostream* stream) {
    *stream << situation.name;
}

class Record : public testing::TestWithParam<Situation> {};

TEST_P(Record, ReplaysGreen) {
    const Kura kura;
    for (const auto& verb : GetParam().before) {
        ASSERT_EQ(kura.Run(verb).status, 0) << verb.front();
    }
    const std::string file = (kura.Set().parent_path() / "recorded.json").string();
    std::vector<std::string> line = {"record", "-o", file, "--"};
    line.insert(line.end(), GetParam().recorded.begin(), GetParam().recorded.end());
    const Answer recorded = kura.Run(line);
    EXPECT_EQ(recorded.status, 0) << recorded.out << recorded.err;
    const Answer replayed = kura.Run({"replay", file});
    EXPECT_EQ(replayed.status, 0) << replayed.out << command::ReadFile(file);
}

const Situation kSituations[] = {
    {"AFreshSet",
     {},
     {"diagnose", "--", "fix", "1001", "--", "problems", "--", "guide", "--", "guide", "--background"}},
    {"EveryKindOfRepair", {}, {"fix",  "1005", "--",       "fix",  "1006", "--",   "fix",
                               "3001", "--",   "fix",      "4001", "--",   "fix",  "8001",
                               "--",   "fix",  "17000001", "--",   "fix",  "6004", "--background"}},
    {"AVerbThatFails",
     {},
     {"fix", "12345", "--", "settings", "get", "no/such", "--", "page", "Nowhere", "--", "engine", "report",
      "x", "--", "app", "nobody"}},
    {"ASetWithFaults",
     {{"set", "put", "faults.agent", "partial"},
      {"set", "put", "faults.pkgmgr", "denied"},
      {"set", "put", "faults.settings.refuse_writes", "[\"*\"]"},
      {"set", "put", "faults.engine.solution.2004", "9"}},
     {"diagnose", "--", "fix", "1001", "--", "app", "org.vesta.browser", "--", "problems"}},
    {"ASetWithAHistory",
     {{"diagnose"},
      {"fix", "1001"},
      {"engine", "report", "14000001", "--gone"},
      {"settings", "set", "a/b", "5"},
      {"set", "put", "source", "13"},
      {"clear-cache", "org.vesta.browser"}},
     {"problems", "--", "diagnose", "--", "storage", "--", "state", "--", "apps", "--", "engine", "list"}},
    {"ACutOfPower",
     {{"diagnose"}, {"set", "put", "faults.kill_at", "log:m_SqlExecute query : INSERT*#3"}},
     {"diagnose"}},
    {"Reports", {}, {"engine", "report", "1002", "--", "diagnose", "--", "settings", "set", "x", "y"}},
};

INSTANTIATE_TEST_SUITE_P(Situations, Record, testing::ValuesIn(kSituations),
                         [](const auto& one) { return std::string(one.param.name); });

TEST(RecordFile, SaysWhatHappenedAndLosesNothing) {
    const Kura kura;
    const fs::path file = kura.Set().parent_path() / "recorded.json";
    const json document = kura.Run({"--json", "record", "-o", file.string(), "--", "fix", "1001"}).Document();
    EXPECT_EQ(document.at("replays"), true);
    EXPECT_EQ(document.at("steps").at(0).at("exit"), 0);
    const json recorded = json::parse(command::ReadFile(file));
    const json& expect = recorded.at("steps").at(0).at("expect");
    EXPECT_EQ(expect.at("settings").at("db/menu/picture/backlight"), 35);
    EXPECT_EQ(expect.at("written").at(0).at("value"), 35);
    EXPECT_EQ(expect.at("recorded").at(0).at("issue"), 1001);
    EXPECT_FALSE(recorded.at("set").contains("settings")) << "nothing was different before";

    const std::string before = command::ReadFile(file);
    EXPECT_EQ(kura.Run({"record", "-o", file.string(), "--", "replay", "x"}).status, 64);
    EXPECT_EQ(kura.Run({"record", "-o", file.string(), "--", "fix", "1001", "--json"}).status, 64);
    EXPECT_EQ(kura.Run({"record", "-o", file.string(), "--", "--", "fix"}).status, 64);
    EXPECT_EQ(kura.Run({"record", "-o", file.string()}).status, 64);
    EXPECT_EQ(kura.Run({"record", "-o", "/no/such/folder/x", "--", "fix", "1002"}).status, 1);
    EXPECT_EQ(command::ReadFile(file), before);
    EXPECT_TRUE(kura.Json({"journal", "--kind", "picture"}).at("entries").empty())
        << "nothing runs whose recording could not be kept";
}

}  // namespace
