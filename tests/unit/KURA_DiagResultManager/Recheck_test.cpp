// Stored problems are examined again before the home screen shows them: an on-demand issue that has gone away
// since it was recorded is deleted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "Problems.h"

using fakes::Set;
using problems::CodesOf;
using problems::Disappeared;
using problems::Events;
using problems::IsUnlocked;
using problems::kEarlier;
using problems::kLater;
using problems::kTime;
using problems::Lines;
using problems::Manager;
using problems::Table;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// What the engine says of the stored issue 12345678, recorded at kTime.
struct Recheck {
    const char* name;
    std::function<void()> engine;
    std::vector<std::string> lines;  ///< after "ONDEMAND ISSUE"
    bool kept;
};

void PrintTo(const Recheck& recheck, std::ostream* out) {
    *out << recheck.name;
}

constexpr int kOnDemand = 12345678;
constexpr int kGone = WM_TRANSITION_TYPE_FALSE;
const std::string kCheck = "4 GetInferenceResult_Remaining: ";

const Recheck kRechecks[] = {
    {"NoMatch", [] {}, {kCheck + "No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : 12345678"}, true},
    {"Error",
     [] {
         Disappeared(kOnDemand, kLater);
         Set().inferenceResults[{kOnDemand, kGone}] = -3;
     },
     {"6 GetInferenceResult_Remaining: GetInferenceDB API Error : -3"},
     true},
    {"NoRecord",
     [] {
         Set().inferences[{kOnDemand, kGone}] = {};
     },
     {kCheck + "Result is Empty"},
     true},
    {"Earlier",
     [] { Disappeared(kOnDemand, kEarlier); },
     {kCheck + "INT_RESULT_TR_FALSE_TIME [2026-03-04T05:06:06] LAST_TIME [2026-03-04T05:06:07]"},
     true},
    {"Equal",
     [] { Disappeared(kOnDemand, kTime); },
     {kCheck + "INT_RESULT_TR_FALSE_TIME [2026-03-04T05:06:07] LAST_TIME [2026-03-04T05:06:07]"},
     true},
    {"Later",
     [] { Disappeared(kOnDemand, kLater); },
     {kCheck + "INT_RESULT_TR_FALSE_TIME [2026-03-04T05:06:08] LAST_TIME [2026-03-04T05:06:07]"},
     false},
    {"LongerText",
     [] { Disappeared(kOnDemand, std::string(kTime) + "0"); },
     {kCheck + "INT_RESULT_TR_FALSE_TIME [2026-03-04T05:06:070] LAST_TIME [2026-03-04T05:06:07]"},
     false},
    {"OnlyTheFirstCounts",
     [] {
         Disappeared(kOnDemand, kEarlier);
         Set().inferences[{kOnDemand, kGone}].push_back({kOnDemand, 0, 0, "", kLater});
     },
     {kCheck + "INT_RESULT_TR_FALSE_TIME [2026-03-04T05:06:06] LAST_TIME [2026-03-04T05:06:07]"},
     true},
};

class RemainingRecheck : public testing::TestWithParam<Recheck> {};

}  // namespace

// --- The re-check ---

TEST_P(RemainingRecheck, LogsItsStepsAndDecides) {
    database::Make();
    database::Add("1", "12345678", kTime);
    GetParam().engine();
    Manager().GetInferenceResult_Remaining();
    std::vector<std::string> expected = {kCheck + "GetInferenceResult_Remaining",
                                         kCheck + "INT_ISSUE_CODE : 12345678", kCheck + "ONDEMAND ISSUE"};
    expected.insert(expected.end(), GetParam().lines.begin(), GetParam().lines.end());
    EXPECT_EQ(Lines({"GetInferenceResult_Remaining"}), expected);
    EXPECT_THAT(database::Rows(), SizeIs(GetParam().kept ? 1 : 0));
    EXPECT_THAT(Set().calls, ElementsAre("GetInferenceDB(12345678, 0)"));
    EXPECT_THAT(CodesOf(Table()), ElementsAre("12345678"));
}

INSTANTIATE_TEST_SUITE_P(GetInferenceResult_Remaining, RemainingRecheck, testing::ValuesIn(kRechecks),
                         [](const auto& branch) { return std::string(branch.param.name); });

TEST(GetInferenceResult_Remaining, AsksOnlyForOnDemandIssues) {
    struct {
        const char* code;
        bool asked;
    } cases[] = {
        {"9999999", false},  {"10000000", true},    {"10000001", true},     {"19999999", true},
        {"20000000", false}, {"0", false},          {"junk", false},        {"-10000000", false},
        {"-1", false},       {"2147483647", false}, {"99999999999", false}, {"-2147483648", false},
        {"12345678x", true}, {"4304967296", false},
    };
    database::Make();
    for (const auto& row : cases) {
        database::Run("DELETE FROM remainingTBL;");
        database::Add("1", row.code);
        problems::ForgetRecords();
        Manager().GetInferenceResult_Remaining();
        EXPECT_EQ(Set().CountCalls("GetInferenceDB"), row.asked ? 1U : 0U) << row.code;
        EXPECT_EQ(Set().Logged(4, "ONDEMAND ISSUE"), row.asked) << row.code;
        EXPECT_EQ(Set().CountCalls(""), row.asked ? 1U : 0U) << row.code;
    }
}

TEST(GetInferenceResult_Remaining, StopsWhenNothingIsLoaded) {
    database::Make();
    Manager().GetInferenceResult_Remaining();
    EXPECT_THAT(Lines({"GetInferenceResult_Remaining", "GetRemainingTable"}),
                ElementsAre(kCheck + "GetInferenceResult_Remaining"));
    EXPECT_THAT(Set().calls, IsEmpty());
}

TEST(GetInferenceResult_Remaining, StopsAtADamagedIndex) {
    database::Make();
    database::Add("1", "12345678");
    database::Add("9", "12345679");
    Disappeared(12345678, kLater);
    Manager().GetInferenceResult_Remaining();
    EXPECT_THAT(Set().calls, IsEmpty());
    EXPECT_THAT(database::Codes(), ElementsAre("12345678", "12345679"));
}

TEST(GetInferenceResult_Remaining, ForgetsTheRecordsOfTheIssueBefore) {
    database::Make();
    database::Add("1", "10000001", kTime);
    database::Add("1", "10000002", kTime);
    Disappeared(10000001, kLater);
    Set().inferenceResults[{10000001, kGone}] = 9;
    Set().inferences[{10000002, kGone}] = {};
    Manager().GetInferenceResult_Remaining();
    EXPECT_THAT(database::Codes(), ElementsAre("10000001", "10000002"));
    EXPECT_TRUE(Set().Logged(4, "Result is Empty"));
}

TEST(GetInferenceResult_Remaining, LeavesTheTableAsItWasLoaded) {
    database::Make();
    database::Add("1", "10000001", kTime);
    database::Add("1", "10000002", kTime);
    Disappeared(10000001, kLater);
    Manager().GetInferenceResult_Remaining();
    EXPECT_THAT(CodesOf(Table()), ElementsAre("10000001", "10000002"));
    EXPECT_THAT(database::Codes(), ElementsAre("10000002"));
}

// --- Publication ---

TEST(CompareRemaining, ChecksLoadsAgainAndShows) {
    database::Make();
    database::Add("1", "12345678", kTime, "DTV");
    Manager().CompareRemaining();
    const std::string values =
        "12345678, 2026-03-04T05:06:07, sid_issue, sid_sol,  , sid_button1, sid_button2, action, "
        "toast1, toast2, sol_type";
    std::vector<std::string> events =
        Events({"CompareRemaining", "GetInferenceResult_Remaining", "GetRemainingTable"});
    EXPECT_THAT(
        events,
        ElementsAre("log 4 CompareRemaining: CompareRemaining",
                    "vconf_set_str(system/watchman/STOperation, {\"id\" : \"CompareRemaining\"})",
                    "log 4 GetInferenceResult_Remaining: GetInferenceResult_Remaining",
                    "log 4 GetRemainingTable: GetRemainingTable",
                    "log 4 GetRemainingTable: GetRemainingTable is done : 1",
                    "log 4 GetInferenceResult_Remaining: INT_ISSUE_CODE : 12345678",
                    "log 4 GetInferenceResult_Remaining: ONDEMAND ISSUE", "GetInferenceDB(12345678, 0)",
                    "log 4 GetInferenceResult_Remaining: No Matching WM_TRANSITION_TYPE_FALSE InferenceDB : "
                    "12345678",
                    "log 4 GetRemainingTable: GetRemainingTable",
                    "log 4 GetRemainingTable: GetRemainingTable is done : 1",
                    "log 4 CompareRemaining: CREATE_ERROR_LIST : " + values, "CUtils::GetChannelType()",
                    "CUtils::GetCurrentSourceInfo()", "log 4 CompareRemaining: CREATE_ERROR_LIST_BUNDLE_SEND",
                    "log 4 CompareRemaining: SendDataToRemotePort Key : Result, value : {" + values + "}",
                    "CHomeScreen::m_DiagResCallback(1)"));
    ASSERT_THAT(Set().homeScreenLists, SizeIs(1));
    EXPECT_EQ(Set().homeScreenLists[0][0].sid_button2, "sid_button2");
    EXPECT_THAT(Set().startScreenLists, IsEmpty());
}

TEST(CompareRemaining, DoesNotShowWhatHasGoneAway) {
    database::Make();
    database::Add("1", "12345678", kTime);
    database::Add("1", "5", kTime);
    Disappeared(12345678, kLater);
    Disappeared(5, kLater);
    Manager().CompareRemaining();
    ASSERT_THAT(Set().homeScreenLists, SizeIs(1));
    EXPECT_THAT(CodesOf(Set().homeScreenLists[0]), ElementsAre("5"));
    EXPECT_THAT(database::Codes(), ElementsAre("5"));
}

TEST(CompareRemaining, FiltersBySourceButNotByViewer) {
    database::Make();
    database::Add("1", "1", kTime, "DTV", "ENGINEER");
    database::Add("1", "2", kTime, "HDMI", "USER");
    database::Add("1", "3", kTime, "", "");
    Set().channelType = 2;
    Set().hostSource = 0;
    Manager().CompareRemaining();
    ASSERT_THAT(Set().homeScreenLists, SizeIs(1));
    EXPECT_THAT(CodesOf(Set().homeScreenLists[0]), ElementsAre("1", "3"));
    const std::vector<std::string> lines = Set().Messages("CompareRemaining");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "CREATE_ERROR_LIST_BUNDLE_SEND"), 2);
    EXPECT_EQ(
        std::count_if(lines.begin(), lines.end(),
                      [](const std::string& line) { return line.rfind("CREATE_ERROR_LIST : ", 0) == 0; }),
        3);
}

TEST(CompareRemaining, HandsOverAnEmptyListOnce) {
    Manager().CompareRemaining();
    EXPECT_THAT(Set().homeScreenLists, ElementsAre(IsEmpty()));
    EXPECT_THAT(Set().calls,
                ElementsAre("vconf_set_str(system/watchman/STOperation, {\"id\" : \"CompareRemaining\"})",
                            "CHomeScreen::m_DiagResCallback(0)"));
}

TEST(CompareRemaining, ShowsNothingOfADamagedStore) {
    database::Make();
    database::Add("1", "1");
    database::Add("-1", "2");
    Manager().CompareRemaining();
    EXPECT_THAT(Set().homeScreenLists, ElementsAre(IsEmpty()));
}

TEST(CompareRemaining, GoesOnWhenTheProgressKeyIsRefused) {
    database::Make();
    database::Add("1", "1");
    Set().refusedKeys.insert("system/watchman/STOperation");
    Manager().CompareRemaining();
    EXPECT_THAT(Set().homeScreenLists, ElementsAre(SizeIs(1)));
}

TEST(CompareRemaining, ReleasesItsLockWhenAColumnIsMissing) {
    database::MakeFolder();
    database::Run("CREATE TABLE remainingTBL(idx TEXT, issue_code TEXT);");
    database::Run("INSERT INTO remainingTBL VALUES('1', '7');");
    EXPECT_THROW(Manager().CompareRemaining(), std::out_of_range);
    EXPECT_THAT(Set().homeScreenLists, IsEmpty());
    EXPECT_TRUE(IsUnlocked());
}

TEST(CompareRemaining, ReleasesItsLockWhenTheHomeScreenThrows) {
    Set().onCall = [](const std::string& call) {
        if (call.rfind("CHomeScreen", 0) == 0) {
            throw std::runtime_error("screen");
        }
    };
    EXPECT_THROW(Manager().CompareRemaining(), std::runtime_error);
    Set().onCall = nullptr;
    EXPECT_TRUE(IsUnlocked());
}
