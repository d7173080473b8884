// Diagnosis end to end: a real document, a real engine on a thread of its own, real databases, and a second
// process that remembers. What is expected of the sample set is written down in examples/set/README.md.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "Kura.h"

namespace {

using command::Codes;
using command::Kura;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

const std::vector<std::string> kListed = {"1001",     "1006", "1006", "2004",     "3001", "4001",
                                          "14000001", "5003", "6001", "16000001", "8001"};
const std::vector<std::string> kEvaluated = {"1001",     "1006", "1006", "2004", "3001",     "3008", "4001",
                                             "14000001", "5001", "5003", "6001", "16000001", "8001"};

std::vector<std::string> Without(std::vector<std::string> codes, const std::string& code) {
    codes.erase(std::remove(codes.begin(), codes.end(), code), codes.end());
    return codes;
}

TEST(Diagnosis, ListsWhatIsPresentAndForThisViewer) {
    const Kura kura;
    const json document = kura.Json({"diagnose"});
    EXPECT_EQ(document.at("screen"), "start");
    EXPECT_EQ(Codes(document.at("problems")), kListed);
    EXPECT_EQ(document.at("map").at("declared_count"), document.at("map").at("solutions"));
}

TEST(Diagnosis, RowsCarryAllFifteenFields) {
    const Kura kura;
    const std::set<std::string> fields = {"index",       "issue_code",  "is_fix",        "last_time",
                                          "sol_type",    "sol_name",    "sid_issue",     "sid_sol",
                                          "sid_button1", "sid_button2", "action",        "toast1",
                                          "toast2",      "source",      "view_authority"};
    for (const std::string verb : {"diagnose", "problems", "guide"}) {
        const json document = kura.Json({verb});
        ASSERT_FALSE(document.at("problems").empty()) << verb;
        for (const json& row : document.at("problems")) {
            for (const std::string& field : fields) {
                EXPECT_TRUE(row.contains(field)) << verb << ": " << field;
            }
            EXPECT_EQ(row.at("index"), 1) << verb;
            EXPECT_EQ(row.at("is_fix"), 0) << verb;
        }
    }
}

TEST(Diagnosis, ResolvesTheTextsInBothLanguages) {
    const Kura kura;
    const json english = kura.Json({"diagnose"}).at("problems").at(0);
    const json german = kura.Json({"--language", "de", "diagnose"}).at("problems").at(0);
    EXPECT_NE(english.at("texts").at("issue"), english.at("sid_issue"));
    EXPECT_NE(german.at("texts").at("issue"), english.at("texts").at("issue"));
}

TEST(Diagnosis, FollowsTheInputSource) {
    const Kura kura;
    json description = kura.Description();
    description["source"] = 13;
    kura.Describe(description);
    EXPECT_THAT(
        Codes(kura.Json({"diagnose"}).at("problems")),
        ElementsAre("1001", "1006", "1006", "2004", "3001", "5001", "5003", "6001", "16000001", "8001"));
}

TEST(Diagnosis, SendsOneUsageEventWithTheNumberOfEvaluatedRows) {
    const Kura kura;
    kura.Json({"diagnose"});
    const json events = kura.Json({"journal", "--kind", "event"}).at("entries");
    ASSERT_EQ(events.size(), 1U);
    const std::string description = events.at(0).at("description");
    EXPECT_THAT(description, HasSubstr("select_item=CreateErrorList;"));
    EXPECT_THAT(description, HasSubstr(";issue_count=13;"));
    EXPECT_THAT(description, HasSubstr(";series=NULL"));
}

TEST(Diagnosis, ASecondProcessRemembersWhatIsUnfixed) {
    const Kura kura;
    EXPECT_TRUE(kura.Json({"problems"}).at("problems").empty());
    kura.Json({"diagnose"});
    const json document = kura.Json({"problems"});
    EXPECT_EQ(document.at("screen"), "home");
    EXPECT_EQ(Codes(document.at("problems")), kListed);
}

TEST(Diagnosis, AnOnDemandProblemThatIsGoneLeavesTheListAndTheStore) {
    const Kura kura;
    kura.Json({"diagnose"});
    kura.Json({"engine", "report", "14000001", "--gone"});
    kura.Json({"engine", "report", "1001", "--gone"});
    EXPECT_EQ(Codes(kura.Json({"problems"}).at("problems")), Without(kListed, "14000001"));
    EXPECT_EQ(Codes(kura.Json({"problems"}).at("problems")), Without(kListed, "14000001"));
}

TEST(Diagnosis, ANewDiagnosisReplacesWhatWasRemembered) {
    const Kura kura;
    kura.Json({"diagnose"});
    kura.Json({"engine", "report", "1001", "--gone"});
    EXPECT_EQ(Codes(kura.Json({"diagnose"}).at("problems")), Without(kListed, "1001"));
    EXPECT_EQ(Codes(kura.Json({"problems"}).at("problems")), Without(kListed, "1001"));
}

TEST(Diagnosis, ARepairOnRecordSilencesAProblemUntilItComesBack) {
    const Kura kura;
    kura.Json({"engine", "report", "1001", "--repaired", "--solution", "1"});
    EXPECT_EQ(Codes(kura.Json({"diagnose"}).at("problems")), Without(kListed, "1001"));
    kura.Json({"engine", "report", "1001", "--time", "2099-01-01T00:00:00"});
    EXPECT_EQ(Codes(kura.Json({"diagnose"}).at("problems")), kListed);
}

TEST(Diagnosis, GuideWritesEveryIssueCodeWithoutFilters) {
    const Kura kura;
    const json document = kura.Json({"guide"});
    EXPECT_EQ(document.at("file"), "/tmp/tutorlink/inference_result");
    EXPECT_EQ(document.at("issue_codes").get<std::vector<std::string>>(), kEvaluated);
    std::string expected;
    for (const std::string& code : kEvaluated) {
        expected += code + "\n";
    }
    EXPECT_EQ(command::ReadFile(kura.Set() / "files/tmp/tutorlink/inference_result"), expected);
    EXPECT_TRUE(kura.Json({"problems"}).at("problems").empty());
}

TEST(Diagnosis, GuideInTheBackgroundWritesToTheDocuments) {
    const Kura kura;
    const json document = kura.Json({"guide", "--background"});
    EXPECT_EQ(document.at("file"), "/opt/usr/home/owner/content/Documents/inference_result");
    EXPECT_EQ(document.at("issue_codes").get<std::vector<std::string>>(), kEvaluated);
}

TEST(Diagnosis, LeavesItsProgressAndMarksTheDatabasesAsFresh) {
    const Kura kura;
    kura.Json({"settings", "set", "db/kurahelp/db_reset", "true", "--type", "bool"});
    kura.Json({"diagnose"});
    EXPECT_EQ(kura.Json({"settings", "get", "system/watchman/STOperation"}).at("value"),
              R"({"id" : "CreateErrorList"})");
    EXPECT_EQ(kura.Json({"settings", "get", "db/kurahelp/db_reset"}).at("value"), false);
}

TEST(Diagnosis, ExitCodeTellsOfProblemsOnRequest) {
    const Kura kura;
    EXPECT_EQ(kura.Run({"problems", "--exit-code"}).status, 0);
    EXPECT_EQ(kura.Run({"diagnose", "--exit-code"}).status, 2);
    EXPECT_EQ(kura.Run({"problems", "--exit-code"}).status, 2);
    EXPECT_EQ(kura.Run({"problems"}).status, 0);
}

TEST(Diagnosis, PagesFollowTheSourceAndLaunchTheNetworkSettings) {
    const Kura kura;
    EXPECT_EQ(kura.Json({"page", "SignalInfo"}).at("page"), "signal-information");
    json description = kura.Description();
    description["source"] = 47;
    kura.Describe(description);
    EXPECT_EQ(kura.Json({"page", "SignalInfo"}).at("page"), "hdmi-information");
    EXPECT_EQ(kura.Json({"page", "NetworkSetting"}).at("page"), "");
    const json launches = kura.Json({"journal", "--kind", "launch"}).at("entries");
    ASSERT_EQ(launches.size(), 1U);
    EXPECT_EQ(launches.at(0).at("app"), "org.vesta.NetworkSetting-Vesta");
}

TEST(Diagnosis, OptimizeCleansAndBoosts) {
    const Kura kura;
    const json document = kura.Json({"optimize"});
    EXPECT_EQ(document.at("deep_clean"), "done");
    EXPECT_EQ(document.at("memory_boost"), "done");
    EXPECT_FALSE(std::filesystem::exists(kura.Set() / "files/tmp/vardo/req/CleanAll.txt"));
}

TEST(Diagnosis, LogHoldsTheLibrarysLinesInOrder) {
    const Kura kura;
    kura.Json({"diagnose"});
    const json lines = kura.Json({"log", "--function", "CreateErrorList"}).at("lines");
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.at(0).at("message"), "CreateErrorList");
    const json errors = kura.Json({"log", "--priority", "6"});
    for (const json& line : errors.at("lines")) {
        EXPECT_GE(line.at("priority"), 6);
    }
}

}  // namespace
