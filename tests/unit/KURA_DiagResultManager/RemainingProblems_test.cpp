#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <future>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "Problems.h"

using database::Row;
using fakes::Set;
using problems::CodesOf;
using problems::Disappeared;
using problems::Events;
using problems::kEarlier;
using problems::kLater;
using problems::kTime;
using problems::Lines;
using problems::Manager;
using problems::Solution;
using problems::Table;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Fills the table with a row of each.
void Fill(const std::vector<KURA::KURA_Solution>& solutions) {
    problems::Present(solutions);
    ASSERT_EQ(Manager().GetInferenceResult(), static_cast<int>(solutions.size()));
    problems::ForgetRecords();
}

/// The log of a load of one row, but for index, code and time the row that database::Add makes.
std::vector<std::string> LoadedLines(const std::string& index, const std::string& code,
                                     const std::string& time) {
    const std::string label = "4 LoadRemainingProblems: mdt.";
    return {label + "index : " + index,
            label + "issue_code : " + code,
            label + "is_fix : 0",
            label + "last_time : " + time,
            label + "last_time : sol_type",
            label + "sid_issue : sid_issue",
            label + "sid_sol : sid_sol",
            label + "sid_button1 : sid_button1",
            label + "sid_button2 : sid_button2",
            label + "action : action",
            label + "toast1 : toast1",
            label + "toast2 : toast2",
            label + "source : DTV",
            label + "view_authority : USER"};
}

/// Whether another thread gets the lock: false means never.
bool IsUnlocked() {
    std::async(std::launch::async, [] { Manager().ClearRemainingProblems(); }).get();
    return true;
}

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

// --- Saving ---

TEST(SaveRemainingProblems, WritesTheFourteenColumns) {
    database::MakeFolder();
    Fill({KURA::KURA_Solution("0042", "code", "type", "name", "issue sid", "sol sid", "button 1", "button 2",
                              "reboot", "fg", "do it", "toast 1", "toast 2", "Component", "USER")});
    Manager().SaveRemainingProblems();
    EXPECT_THAT(database::Rows(),
                ElementsAre(Row{"1", "0042", "0", kTime, "type", "issue sid", "sol sid", "button 1",
                                "button 2", "do it", "toast 1", "toast 2", "Component", "USER"}));
    EXPECT_THAT(Lines({"SaveRemainingProblems", "ClearRemainingProblems"}),
                ElementsAre("4 SaveRemainingProblems: SaveRemainingProblems",
                            "4 ClearRemainingProblems: ClearRemainingProblems",
                            "4 SaveRemainingProblems: Remaining DB is saved"));
}

TEST(SaveRemainingProblems, OpensClearsAndWritesInThisOrder) {
    database::Make();
    Fill({Solution("1")});
    Manager().SaveRemainingProblems();
    EXPECT_THAT(Events({"SaveRemainingProblems", "ClearRemainingProblems", "OpenDB", "FlushDB", "SetDB"}),
                ElementsAre("log 4 SaveRemainingProblems: SaveRemainingProblems",
                            "log 4 ClearRemainingProblems: ClearRemainingProblems",
                            "log 6 OpenDB: OpenDB : 2", "log 6 FlushDB: FlushDB", "log 6 OpenDB: OpenDB : 2",
                            "CUtils::GetChannelType()", "CUtils::GetCurrentSourceInfo()",
                            "log 6 SetDB: SetDB", "log 4 SaveRemainingProblems: Remaining DB is saved"));
}

TEST(SaveRemainingProblems, KeepsOnlyWhatIsShownHereToTheUser) {
    database::MakeFolder();
    Set().channelType = 2;
    Set().hostSource = 0;
    Fill({Solution("1"), Solution("2", "", "ENGINEER"), Solution("3", "HDMI"), Solution("4", "DTV"),
          Solution("5", "DTV", "USER "), Solution("6", "other")});
    Manager().SaveRemainingProblems();
    EXPECT_THAT(database::Codes(), ElementsAre("1", "4", "6"));
}

TEST(SaveRemainingProblems, KeepsAnIssueForTheUserWithIndexOneAndNotFixed) {
    database::MakeFolder();
    Fill({Solution("1"), Solution("2", "", "VIEWER")});
    Manager().SaveRemainingProblems();
    EXPECT_THAT(database::Run("SELECT idx, issue_code, is_fix FROM remainingTBL;"),
                ElementsAre(Row{"1", "1", "0"}));
}

TEST(SaveRemainingProblems, ReplacesTheStore) {
    database::Make();
    database::Add("1", "99");
    Fill({Solution("1")});
    Manager().SaveRemainingProblems();
    EXPECT_THAT(database::Codes(), ElementsAre("1"));
}

TEST(SaveRemainingProblems, EmptiesTheStoreForAnEmptyTable) {
    database::Make();
    database::Add("1", "99");
    Manager().SaveRemainingProblems();
    EXPECT_THAT(database::Rows(), IsEmpty());
    EXPECT_TRUE(Set().Logged(4, "Remaining DB is saved"));
}

TEST(SaveRemainingProblems, LeavesOutARowThatTheStatementCannotHold) {
    database::MakeFolder();
    KURA::KURA_Solution quoted = Solution("2");
    quoted.sid_issue = "a \" quote";
    Fill({Solution("1"), quoted, Solution("3")});
    Manager().SaveRemainingProblems();
    EXPECT_THAT(database::Codes(), ElementsAre("1", "3"));
    EXPECT_TRUE(Set().Logged(4, "Remaining DB is saved"));
}

TEST(SaveRemainingProblems, GoesOnWithoutAStore) {
    Fill({Solution("1")});
    Manager().SaveRemainingProblems();
    EXPECT_TRUE(Set().Logged(4, "Remaining DB is saved"));
    EXPECT_FALSE(std::filesystem::exists(database::kPath));
    EXPECT_THAT(Table(), SizeIs(1));
}

TEST(SaveRemainingProblems, KeepsNoHalfListWhenTheHostThrows) {
    database::Make();
    Fill({Solution("1"), Solution("2")});
    int asked = 0;
    Set().onCall = [&](const std::string& call) {
        if (call == "CUtils::GetChannelType()" && ++asked == 2) {
            throw std::runtime_error("host");
        }
    };
    EXPECT_THROW(Manager().SaveRemainingProblems(), std::runtime_error);
    Set().onCall = nullptr;
    EXPECT_THAT(database::Rows(), IsEmpty());
    Manager().SaveRemainingProblems();
    EXPECT_THAT(database::Codes(), ElementsAre("1", "2"));
}

// --- Clearing and deleting ---

TEST(ClearRemainingProblems, DeletesEveryRowAndKeepsTheTable) {
    database::Make();
    database::Add("1", "1");
    database::Add("1", "2");
    Manager().ClearRemainingProblems();
    EXPECT_THAT(database::Rows(), IsEmpty());
    EXPECT_THAT(Events({"ClearRemainingProblems", "OpenDB", "FlushDB"}),
                ElementsAre("log 4 ClearRemainingProblems: ClearRemainingProblems",
                            "log 6 OpenDB: OpenDB : 2", "log 6 FlushDB: FlushDB"));
}

TEST(DeleteRemainingDBColumn, DeletesEveryRowOfTheIssue) {
    database::Make();
    database::Add("1", "7");
    database::Add("1", "77");
    database::Add("2", "7");
    Manager().DeleteRemainingDBColumn("7");
    EXPECT_THAT(database::Codes(), ElementsAre("77"));
    EXPECT_THAT(Events({"DeleteRemainingDBColumn", "OpenDB", "DeleteDB"}),
                ElementsAre("log 4 DeleteRemainingDBColumn: DeleteRemainingDBColumn",
                            "log 6 OpenDB: OpenDB : 2", "log 6 DeleteDB: DeleteDB"));
}

TEST(DeleteRemainingDBColumn, LeavesTheResultTableAlone) {
    database::MakeFolder();
    Fill({Solution("7")});
    Manager().SaveRemainingProblems();
    Manager().DeleteRemainingDBColumn("7");
    EXPECT_THAT(database::Rows(), IsEmpty());
    EXPECT_THAT(CodesOf(Table()), ElementsAre("7"));
}

TEST(RemainingProblems, CloseTheDatabaseAfterEveryOperation) {
    database::Make();
    database::Add("1", "7");
    const auto openFiles = [] {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return std::distance(begin(files), end(files));
    };
    const auto before = openFiles();
    Manager().LoadRemainingProblems();
    Manager().SaveRemainingProblems();
    Manager().DeleteRemainingDBColumn("7");
    Manager().ClearRemainingProblems();
    EXPECT_EQ(openFiles(), before);
}

// --- Loading ---

TEST(LoadRemainingProblems, FillsTheTableAndLogsEveryValue) {
    database::Make();
    database::Add("1", "7", kTime, "DTV");
    database::Add("2", "8", kLater, "DTV");
    EXPECT_TRUE(Manager().LoadRemainingProblems());
    std::vector<std::string> expected = {"4 LoadRemainingProblems: LoadRemainingProblems",
                                         "4 CleanDiagResult: CleanDiagResult"};
    for (const auto& lines : {LoadedLines("1", "7", kTime), LoadedLines("2", "8", kLater)}) {
        expected.insert(expected.end(), lines.begin(), lines.end());
    }
    expected.push_back("4 LoadRemainingProblems: Remain Problem is Loaded : 2");
    EXPECT_EQ(Lines({"LoadRemainingProblems", "CleanDiagResult"}), expected);

    const std::vector<KURA::MapToDBTable> rows = Table();
    ASSERT_THAT(rows, SizeIs(2));
    EXPECT_EQ(rows[1].index, 2);
    EXPECT_EQ(rows[1].issue_code, "8");
    EXPECT_EQ(rows[1].is_fix, 0);
    EXPECT_EQ(rows[1].last_time, kLater);
    EXPECT_EQ(rows[1].sol_type, "sol_type");
    EXPECT_EQ(rows[1].sol_name, "");
    EXPECT_EQ(rows[1].sid_issue, "sid_issue");
    EXPECT_EQ(rows[1].sid_sol, "sid_sol");
    EXPECT_EQ(rows[1].sid_button1, "sid_button1");
    EXPECT_EQ(rows[1].sid_button2, "sid_button2");
    EXPECT_EQ(rows[1].action, "action");
    EXPECT_EQ(rows[1].toast1, "toast1");
    EXPECT_EQ(rows[1].toast2, "toast2");
    EXPECT_EQ(rows[1].source, "DTV");
    EXPECT_EQ(rows[1].view_authority, "USER");
}

TEST(LoadRemainingProblems, ReadsTheFourteenColumnsInOneOpening) {
    database::Make();
    Manager().LoadRemainingProblems();
    std::vector<std::string> queries;
    for (const std::string& message : Set().Messages("m_Select")) {
        if (message.rfind("QUERY : ", 0) == 0) {
            queries.push_back(message);
        }
    }
    EXPECT_THAT(
        queries,
        ElementsAre(
            "QUERY : SELECT idx FROM remainingTBL;", "QUERY : SELECT issue_code FROM remainingTBL;",
            "QUERY : SELECT is_fix FROM remainingTBL;", "QUERY : SELECT last_time FROM remainingTBL;",
            "QUERY : SELECT sol_type FROM remainingTBL;", "QUERY : SELECT sid_issue FROM remainingTBL;",
            "QUERY : SELECT sid_sol FROM remainingTBL;", "QUERY : SELECT sid_button1 FROM remainingTBL;",
            "QUERY : SELECT sid_button2 FROM remainingTBL;", "QUERY : SELECT action FROM remainingTBL;",
            "QUERY : SELECT toast1 FROM remainingTBL;", "QUERY : SELECT toast2 FROM remainingTBL;",
            "QUERY : SELECT source FROM remainingTBL;", "QUERY : SELECT view_authority FROM remainingTBL;"));
    EXPECT_THAT(Set().Messages("OpenDB"), ElementsAre("OpenDB : 2"));
    EXPECT_THAT(Set().Messages("GetDB"), SizeIs(14));
}

TEST(LoadRemainingProblems, ReplacesTheTable) {
    database::Make();
    database::Add("1", "7");
    Fill({Solution("1"), Solution("2")});
    EXPECT_TRUE(Manager().LoadRemainingProblems());
    EXPECT_THAT(CodesOf(Table()), ElementsAre("7"));
    EXPECT_TRUE(Set().Logged(4, "m_table Clear"));
}

TEST(LoadRemainingProblems, SaysSoWhenNothingIsStored) {
    database::Make();
    Fill({Solution("1")});
    EXPECT_FALSE(Manager().LoadRemainingProblems());
    EXPECT_THAT(Lines({"LoadRemainingProblems"}),
                ElementsAre("4 LoadRemainingProblems: LoadRemainingProblems",
                            "4 LoadRemainingProblems: Remain Problem is empty : 0"));
    EXPECT_THAT(Table(), IsEmpty());
}

TEST(LoadRemainingProblems, FindsNothingWithoutAStore) {
    EXPECT_FALSE(Manager().LoadRemainingProblems());
    EXPECT_TRUE(Set().Logged(4, "Remain Problem is empty : 0"));
}

TEST(LoadRemainingProblems, LoadsEveryRowOfIndexOne) {
    database::Make();
    for (const char* code : {"1", "2", "3", "4"}) {
        database::Add("1", code);
    }
    EXPECT_TRUE(Manager().LoadRemainingProblems());
    EXPECT_THAT(CodesOf(Table()), ElementsAre("1", "2", "3", "4"));
}

TEST(LoadRemainingProblems, StopsAtADamagedIndex) {
    struct {
        std::vector<std::string> indices;
        bool loaded;
        std::vector<std::string> kept;
    } cases[] = {
        {{"1", "3", "1"}, true, {"0", "1", "2"}},
        {{"1", "4", "1"}, false, {"0"}},
        {{"1", "-1", "1"}, false, {"0"}},
        {{"-1", "1"}, false, {}},
        {{"2"}, false, {}},
        {{"1"}, true, {"0"}},
        {{"0"}, true, {"0"}},
        {{"junk"}, true, {"0"}},
        {{"1x"}, true, {"0"}},
        {{"1", "99999999999"}, false, {"0"}},
        {{"1", "4294967297"}, false, {"0"}},  // one more than a wrap: not 1
        {{"1", "-99999999999"}, false, {"0"}},
    };
    database::Make();
    for (const auto& row : cases) {
        database::Run("DELETE FROM remainingTBL;");
        int code = 0;
        for (const std::string& index : row.indices) {
            database::Add(index, std::to_string(code++));
        }
        problems::ForgetRecords();
        EXPECT_EQ(Manager().LoadRemainingProblems(), row.loaded) << testing::PrintToString(row.indices);
        const std::vector<std::string> lines = Lines({"LoadRemainingProblems"});
        const bool told = std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
            return line.find("Remain Problem is") != std::string::npos;
        });
        EXPECT_EQ(told, row.loaded) << testing::PrintToString(row.indices);
        EXPECT_EQ(CodesOf(Table()), row.kept) << testing::PrintToString(row.indices);
    }
    EXPECT_TRUE(IsUnlocked());
}

TEST(LoadRemainingProblems, ReadsTheFixedMarkAsANumber) {
    database::Make();
    database::Add("1", "1");
    database::Run("UPDATE remainingTBL SET is_fix = '5x';");
    ASSERT_TRUE(Manager().LoadRemainingProblems());
    EXPECT_EQ(Table().front().is_fix, 5);
}

TEST(LoadRemainingProblems, ThrowsForAMissingColumnWithEverythingReleased) {
    database::MakeFolder();
    database::Run("CREATE TABLE remainingTBL(idx TEXT, issue_code TEXT);");
    database::Run("INSERT INTO remainingTBL VALUES('1', '7');");
    EXPECT_THROW(Manager().LoadRemainingProblems(), std::out_of_range);
    EXPECT_THAT(Table(), IsEmpty());
    EXPECT_TRUE(IsUnlocked());
    EXPECT_THAT(database::Rows(), IsEmpty());
}

TEST(LoadRemainingProblems, GivesItsRowsTheTargetOfTheRowBuiltLast) {
    database::Make();
    database::Add("1", "7");
    database::Add("1", "8");
    Fill({Solution("1"), Solution("2")});
    ASSERT_TRUE(Manager().LoadRemainingProblems());
    for (const KURA::MapToDBTable& row : Table()) {
        EXPECT_EQ(row.sol_name, "sol_name 2");
    }
    Manager().CleanDiagResult();
    ASSERT_TRUE(Manager().LoadRemainingProblems());
    EXPECT_EQ(Table().front().sol_name, "sol_name 2");
}

TEST(LoadRemainingProblems, GivesItsRowsNoTargetAfterARejection) {
    database::Make();
    database::Add("1", "7");
    problems::Present({Solution("1"), Solution("2")});
    problems::Applied(2, 1, kLater);
    ASSERT_EQ(Manager().GetInferenceResult(), 1);
    ASSERT_TRUE(Manager().LoadRemainingProblems());
    EXPECT_EQ(Table().front().sol_name, "");
}

TEST(GetRemainingTable, AppendsToWhatIsThere) {
    Fill({Solution("1"), Solution("2")});
    std::vector<KURA::MapToDBTable> rows(1);
    rows.front().issue_code = "kept";
    EXPECT_TRUE(Manager().GetRemainingTable(rows));
    EXPECT_THAT(CodesOf(rows), ElementsAre("kept", "1", "2"));
    EXPECT_EQ(rows.back().sol_name, "sol_name 2");
    EXPECT_THAT(Lines({"GetRemainingTable"}),
                ElementsAre("4 GetRemainingTable: GetRemainingTable",
                            "4 GetRemainingTable: GetRemainingTable is done : 2"));
}

TEST(GetRemainingTable, LeavesTheOutputForAnEmptyTable) {
    std::vector<KURA::MapToDBTable> rows(1);
    EXPECT_FALSE(Manager().GetRemainingTable(rows));
    EXPECT_THAT(rows, SizeIs(1));
    EXPECT_THAT(Lines({"GetRemainingTable"}),
                ElementsAre("4 GetRemainingTable: GetRemainingTable",
                            "4 GetRemainingTable: Remain Problem Table is empty : 0"));
}

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
