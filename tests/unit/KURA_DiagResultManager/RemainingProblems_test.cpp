#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
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
using problems::Events;
using problems::IsUnlocked;
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
