#include "KURA_DBManager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "LogLines.h"

using database::Query;
using database::Value;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

constexpr const char* kRemainingColumns =
    "(idx TEXT, issue_code TEXT, is_fix TEXT, last_time TEXT, sol_type TEXT, sid_issue TEXT, sid_sol TEXT, "
    "sid_button1 TEXT, sid_button2 TEXT, action TEXT, toast1 TEST, toast2 TEXT, source TEXT, view_authority "
    "TEXT)";
constexpr const char* kInferenceColumns =
    "(registerTime TEXT, lastUpdatedTime TEXT, issueCode TEXT, TR INTEGER, solutionCode INTEGER)";
constexpr const char* kSolutionColumns =
    "(registerTime TEXT, issueCode TEXT, solutionCode TEXT, type TEXT, isApply INTEFER)";
constexpr EDBName kNoDatabase = static_cast<EDBName>(7);

struct Known {
    EDBName db;
    const char* path;
    const char* table;
    std::string columns;
};

const std::vector<Known> kKnown = {
    {EDB_INFERENCE, database::kInference, "inferenceTBL", kInferenceColumns},
    {EDB_SOLUTION, database::kSolution, "solutionTBL", kSolutionColumns},
    {EDB_REMAINING, database::kRemaining, "remainingTBL", kRemainingColumns},
    {EDB_TEST, database::kTest, "testTBL", kInferenceColumns},
};

TCDBManager& Manager() {
    return *TCDBManager::GetInstance();
}

// An explicit instantiation may name the private member.
sqlite3*& HandleOf(TCDBManager& manager);

template <sqlite3* TCDBManager::*kMember>
struct HandleAccess {
    friend sqlite3*& HandleOf(TCDBManager& manager) { return manager.*kMember; }
};

template struct HandleAccess<&TCDBManager::m_handle>;

using fakes::TakeLog;

std::string QueryLine(const std::string& query) {
    return "6 m_SqlExecute: m_SqlExecute query : " + query;
}

std::string SqlError(const std::string& text) {
    return "6 m_SqlExecute: ERROR: sql execute is fail!! ( " + text + " )";
}

bool Set(const std::string& table, const std::vector<std::string>& values) {
    return Manager().SetDB(table, {values.begin(), values.end()});
}

std::vector<std::string> Get(EDBName db, const std::string& column) {
    std::vector<std::string> values;
    EXPECT_TRUE(Manager().GetDB(db, column, values));
    return values;
}

/// The folders are there, the manager is, and the log is empty.
class DBManager : public testing::Test {
protected:
    void SetUp() override {
        database::MakeFolders();
        Manager();
        TakeLog();
    }
};

/// The remaining database is open as well.
class OpenDBManager : public DBManager {
protected:
    void SetUp() override {
        DBManager::SetUp();
        ASSERT_TRUE(Manager().OpenDB(EDB_REMAINING));
        TakeLog();
    }
    void TearDown() override { EXPECT_TRUE(Manager().CloseDB()); }
};

}  // namespace

TEST(DBManagerInstance, IsMadeOnceAndLogsItsConstruction) {
    TCDBManager* first = TCDBManager::GetInstance();
    EXPECT_EQ(TCDBManager::GetInstance(), first);
    EXPECT_THAT(TakeLog(), ElementsAre("6 TCDBManager: TCDBManager()"));
}

TEST(DBManagerInstance, OpensNothingByItself) {
    database::MakeFolders();
    TCDBManager::GetInstance();
    EXPECT_TRUE(fs::is_empty(database::kFolder));
    EXPECT_TRUE(fs::is_empty(database::kWatchmanFolder));
}

TEST_F(DBManager, LogsUnderTheLibrarysTagAndItsOwnFile) {
    Manager().OpenDB(EDB_REMAINING);
    Manager().CloseDB();
    ASSERT_FALSE(fakes::Set().log.empty());
    for (const fakes::LogLine& line : fakes::Set().log) {
        EXPECT_EQ(line.tag, "TVKuraHelp");
        EXPECT_EQ(line.file, "KURA_DBManager.cpp");
        EXPECT_EQ(line.priority, 6);
        EXPECT_GT(line.line, 0) << line.text;
    }
}

TEST_F(DBManager, OpensEachDatabaseAtItsPathAndCreatesItsTable) {
    for (const Known& known : kKnown) {
        SCOPED_TRACE(known.path);
        EXPECT_FALSE(fs::exists(known.path));
        EXPECT_TRUE(Manager().OpenDB(known.db));
        EXPECT_TRUE(Manager().CloseDB());
        const std::string number = std::to_string(static_cast<int>(known.db));
        const std::string create = std::string("CREATE TABLE ") + known.table + known.columns;
        EXPECT_THAT(
            TakeLog(),
            ElementsAre("6 OpenDB: OpenDB : " + number, "6 m_GetDBPath: m_GetDBPath",
                        std::string("6 m_GetDBPath: Path : ") + known.path,
                        "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt", "6 m_GetTableName: m_GetTableName",
                        "6 m_IsTableExist: m_IsTableExist",
                        std::string("6 OpenDB: ") + known.table + " is not exist!!",
                        std::string("6 m_Create: Create: ") + known.table + " table",
                        "6 m_GetQueryForCreateTable: m_GetQueryForCreateTable", QueryLine(create + ";")));
        EXPECT_EQ(Value(known.path, "SELECT sql FROM sqlite_master"), create);
        EXPECT_EQ(Value(known.path, "SELECT name FROM sqlite_master"), known.table);
    }
}

TEST_F(DBManager, FindsTheTableOnTheSecondOpenAndOnlyLogs) {
    Manager().OpenDB(EDB_REMAINING);
    Set("remainingTBL", database::Problem("E1"));
    Manager().CloseDB();
    TakeLog();
    EXPECT_TRUE(Manager().OpenDB(EDB_REMAINING));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 OpenDB: OpenDB : 2", "6 m_GetDBPath: m_GetDBPath",
                            "6 m_GetDBPath: Path : /opt/usr/home/owner/share/remaining.db",
                            "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                            "6 m_GetTableName: m_GetTableName", "6 m_IsTableExist: m_IsTableExist"));
    EXPECT_THAT(Get(EDB_REMAINING, "issue_code"), ElementsAre("E1"));
    EXPECT_TRUE(Manager().CloseDB());
}

TEST_F(DBManager, SaysTrueForAnUnknownDatabase) {
    EXPECT_TRUE(Manager().OpenDB(kNoDatabase));
    EXPECT_THAT(TakeLog(), ElementsAre("6 OpenDB: OpenDB : 7", "6 m_GetDBPath: m_GetDBPath",
                                       "6 m_GetDBPath: ERROR: db path is wrong!! : 7",
                                       "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                                       "6 m_GetLimitForTableCnt: ERROR: db option is wrong!!"));
    EXPECT_TRUE(Manager().CloseDB());
    EXPECT_TRUE(Manager().OpenDB(static_cast<EDBName>(-1)));
    EXPECT_THAT(TakeLog(), Contains("6 m_GetDBPath: ERROR: db path is wrong!! : -1"));
    EXPECT_TRUE(Manager().CloseDB());
}

TEST_F(DBManager, SaysTrueForAFailedOpenAndLogsWhyEverythingAfterItFails) {
    fs::remove(database::kFolder);
    EXPECT_TRUE(Manager().OpenDB(EDB_REMAINING));
    const std::string create = QueryLine(std::string("CREATE TABLE remainingTBL") + kRemainingColumns + ";");
    const std::string error = SqlError(database::NullHandleError());
    EXPECT_THAT(
        TakeLog(),
        ElementsAre("6 OpenDB: OpenDB : 2", "6 m_GetDBPath: m_GetDBPath",
                    "6 m_GetDBPath: Path : /opt/usr/home/owner/share/remaining.db",
                    "6 OpenDB: ERROR: /opt/usr/home/owner/share/remaining.db open is fail!! ( unable to open "
                    "database file )",
                    "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt", "6 m_GetTableName: m_GetTableName",
                    "6 m_IsTableExist: m_IsTableExist", "6 OpenDB: remainingTBL is not exist!!",
                    "6 m_Create: Create: remainingTBL table",
                    "6 m_GetQueryForCreateTable: m_GetQueryForCreateTable", create, error,
                    "6 m_Create: ERROR: remainingTBL table create is fail!!"));

    EXPECT_FALSE(Set("remainingTBL", {"x"}));
    EXPECT_THAT(TakeLog(), ElementsAre("6 SetDB: SetDB", "6 m_Insert: m_Insert",
                                       QueryLine("INSERT INTO remainingTBL VALUES (\"x\");"), error,
                                       "6 m_Insert: ERROR: remainingTBL table insert is fail!!"));
    EXPECT_FALSE(Manager().DeleteDB("E1"));
    EXPECT_FALSE(Manager().FlushDB(EDB_REMAINING));
    EXPECT_THAT(TakeLog(), Contains(error).Times(2));
    std::vector<std::string> values = {"kept"};
    EXPECT_TRUE(Manager().GetDB(EDB_REMAINING, "idx", values));
    EXPECT_THAT(values, ElementsAre("kept"));
    EXPECT_TRUE(Manager().CloseDB());
    EXPECT_FALSE(fs::exists(database::kRemaining));
}

TEST_F(DBManager, TakesNoStatementWhenClosed) {
    EXPECT_FALSE(Set("remainingTBL", {"x"}));
    EXPECT_FALSE(Manager().DeleteDB("E1"));
    EXPECT_FALSE(Manager().FlushDB(EDB_REMAINING));
    EXPECT_TRUE(Get(EDB_REMAINING, "idx").empty());
    EXPECT_THAT(TakeLog(), Contains(SqlError(database::NullHandleError())).Times(3));

    Manager().OpenDB(EDB_REMAINING);
    Manager().CloseDB();
    EXPECT_FALSE(Manager().FlushDB(EDB_REMAINING));
}

TEST_F(DBManager, ClosesTwiceWithoutHarm) {
    EXPECT_TRUE(Manager().CloseDB());
    Manager().OpenDB(EDB_REMAINING);
    TakeLog();
    EXPECT_TRUE(Manager().CloseDB());
    EXPECT_TRUE(Manager().CloseDB());
    EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(DBManager, ReplacesAFormerConnectionThatWasNotClosed) {
    Manager().OpenDB(EDB_TEST);
    sqlite3* abandoned = HandleOf(Manager());
    EXPECT_TRUE(Manager().OpenDB(EDB_REMAINING));
    EXPECT_NE(HandleOf(Manager()), abandoned);
    EXPECT_TRUE(Set("remainingTBL", database::Problem("E1")));
    EXPECT_TRUE(Manager().CloseDB());
    EXPECT_EQ(Value(database::kRemaining, "SELECT count(*) FROM remainingTBL"), "1");
    EXPECT_EQ(Value(database::kTest, "SELECT count(*) FROM testTBL"), "0");
    // Still open: whoever abandons a connection keeps it.
    database::Close(abandoned);
}

TEST_F(DBManager, HoldsNoHandleAfterAFailedOpenAndAfterAClose) {
    Manager().OpenDB(EDB_REMAINING);
    EXPECT_NE(HandleOf(Manager()), nullptr);
    Manager().CloseDB();
    EXPECT_EQ(HandleOf(Manager()), nullptr);
    fs::remove_all(database::kFolder);
    Manager().OpenDB(EDB_REMAINING);
    EXPECT_EQ(HandleOf(Manager()), nullptr);
}

TEST_F(OpenDBManager, ReadsNothingFromAnEmptyTable) {
    std::vector<std::string> values;
    EXPECT_TRUE(Manager().GetDB(EDB_REMAINING, "is_fix", values));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 GetDB: GetDB", "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                            "6 m_GetTableName: m_GetTableName", "6 m_IsTableExist: m_IsTableExist",
                            "6 m_Select: m_Select", "6 m_Select: QUERY : SELECT is_fix FROM remainingTBL;"));
}

TEST_F(OpenDBManager, AppendsOneTextForEveryRowInTableOrder) {
    for (const char* code : {"E2", "E1", "E3"}) {
        ASSERT_TRUE(Set("remainingTBL", database::Problem(code)));
    }
    TakeLog();
    std::vector<std::string> values = {"before"};
    EXPECT_TRUE(Manager().GetDB(EDB_REMAINING, "issue_code", values));
    EXPECT_THAT(values, ElementsAre("before", "E2", "E1", "E3"));
    const std::vector<std::string> log = TakeLog();
    ASSERT_EQ(log.size(), 9U);
    EXPECT_THAT(std::vector<std::string>(log.begin() + 5, log.end()),
                ElementsAre("6 m_Select: QUERY : SELECT issue_code FROM remainingTBL;",
                            "6 m_Select: temp : E2", "6 m_Select: temp : E1", "6 m_Select: temp : E3"));
}

TEST_F(OpenDBManager, KeepsEveryColumnInItsPlace) {
    const std::vector<std::string> row = {"c1", "c2", "c3",  "c4",  "c5",  "c6",  "c7",
                                          "c8", "c9", "c10", "c11", "c12", "c13", "c14"};
    ASSERT_TRUE(Set("remainingTBL", row));
    const char* names[] = {"idx",       "issue_code", "is_fix",      "last_time",     "sol_type",
                           "sid_issue", "sid_sol",    "sid_button1", "sid_button2",   "action",
                           "toast1",    "toast2",     "source",      "view_authority"};
    for (std::size_t i = 0; i < row.size(); ++i) {
        EXPECT_THAT(Get(EDB_REMAINING, names[i]), ElementsAre(row[i])) << names[i];
    }
}

// The types that a column may hold, and what a read makes of them.
TEST_F(DBManager, ReadsTextAndIntegersAndLeavesOtherTypesEmpty) {
    struct Case {
        const char* literal;
        const char* read;
    };
    const std::vector<Case> cases = {{"'text'", "text"},
                                     {"''", ""},
                                     {"0", "0"},
                                     {"-17", "-17"},
                                     {"2147483647", "2147483647"},
                                     {"-2147483648", "-2147483648"},
                                     {"4294967295", "-1"},
                                     {"4294967301", "5"},
                                     {"NULL", ""},
                                     {"1.5", ""},
                                     {"x'4142'", ""},
                                     {"'Zähler'", "Zähler"}};
    std::vector<std::string> expected;
    {
        database::Connection connection(database::kTest);
        connection.Query("CREATE TABLE testTBL(value)");
        for (const Case& one : cases) {
            connection.Query(std::string("INSERT INTO testTBL VALUES (") + one.literal + ")");
            expected.emplace_back(one.read);
        }
    }
    Manager().OpenDB(EDB_TEST);
    EXPECT_THAT(Get(EDB_TEST, "value"), ElementsAreArray(expected));
    Manager().CloseDB();
}

TEST_F(DBManager, ReadsAnIntegerColumnInDecimal) {
    Manager().OpenDB(EDB_INFERENCE);
    ASSERT_TRUE(Set("inferenceTBL", {"t0", "t1", "1000", "1", "00042"}));
    EXPECT_EQ(Value(database::kInference, "SELECT typeof(TR) FROM inferenceTBL"), "integer");
    EXPECT_EQ(Value(database::kInference, "SELECT typeof(issueCode) FROM inferenceTBL"), "text");
    EXPECT_THAT(Get(EDB_INFERENCE, "TR"), ElementsAre("1"));
    EXPECT_THAT(Get(EDB_INFERENCE, "solutionCode"), ElementsAre("42"));
    EXPECT_THAT(Get(EDB_INFERENCE, "issueCode"), ElementsAre("1000"));
    Manager().CloseDB();
}

TEST_F(DBManager, GluesTheColumnsOfOneQueryTogether) {
    Manager().OpenDB(EDB_SOLUTION);
    ASSERT_TRUE(Set("solutionTBL", {"t", "1000", "7", "auto", "1"}));
    TakeLog();
    EXPECT_THAT(Get(EDB_SOLUTION, "issueCode, isApply, type"), ElementsAre("10001auto"));
    EXPECT_THAT(TakeLog(), Contains("6 m_Select: QUERY : SELECT issueCode, isApply, type FROM solutionTBL;"));
    Manager().CloseDB();
}

TEST_F(OpenDBManager, HoldsANumberLikeToastAsSqliteDoes) {
    std::vector<std::string> row = database::Problem("E1");
    row[10] = "0012";
    ASSERT_TRUE(Set("remainingTBL", row));
    row[10] = "1.5";
    ASSERT_TRUE(Set("remainingTBL", row));
    row[10] = "TV_SID_TOAST";
    ASSERT_TRUE(Set("remainingTBL", row));
    EXPECT_THAT(Get(EDB_REMAINING, "toast1"), ElementsAre("12", "", "TV_SID_TOAST"));
}

TEST_F(OpenDBManager, FailsToReadAColumnThatIsNotThere) {
    ASSERT_TRUE(Set("remainingTBL", database::Problem("E1")));
    TakeLog();
    std::vector<std::string> values = {"kept"};
    EXPECT_FALSE(Manager().GetDB(EDB_REMAINING, "no_such_column", values));
    EXPECT_THAT(values, ElementsAre("kept"));
    const std::vector<std::string> log = TakeLog();
    ASSERT_GE(log.size(), 2U);
    EXPECT_EQ(log[log.size() - 2], "6 m_Select: QUERY : SELECT no_such_column FROM remainingTBL;");
    EXPECT_EQ(log.back(), "6 m_Select: ERROR: remainingTBL table select is fail!!");
}

TEST_F(OpenDBManager, KeepsTheRowsReadBeforeAReadFails) {
    ASSERT_TRUE(Set("remainingTBL", {"1", "E1", "", "", "", "", "", "", "", "", "", "", "", "-"}));
    ASSERT_TRUE(Set("remainingTBL", {"2", "E2", "", "", "", "", "", "", "", "", "", "", "", "-"}));
    TakeLog();
    std::vector<std::string> values;
    // abs() of the smallest number overflows, in the second row only.
    EXPECT_FALSE(Manager().GetDB(EDB_REMAINING, "abs(CASE idx WHEN '2' THEN -9223372036854775808 ELSE 5 END)",
                                 values));
    EXPECT_THAT(values, ElementsAre("5"));
    EXPECT_EQ(TakeLog().back(), "6 m_Select: ERROR: remainingTBL table select is fail!!");
}

TEST_F(OpenDBManager, SkipsATableThatIsNotThereWithoutAWord) {
    Query(database::kRemaining, "DROP TABLE remainingTBL");
    std::vector<std::string> values;
    // The first look at the changed file fails, the second one sees it.
    EXPECT_TRUE(Manager().GetDB(EDB_REMAINING, "idx", values));
    TakeLog();
    EXPECT_TRUE(Manager().GetDB(EDB_REMAINING, "idx", values));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 GetDB: GetDB", "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                            "6 m_GetTableName: m_GetTableName", "6 m_IsTableExist: m_IsTableExist"));
}

TEST_F(OpenDBManager, ReadsNothingOfAnUnknownDatabaseAndSaysTrue) {
    std::vector<std::string> values = {"kept"};
    EXPECT_TRUE(Manager().GetDB(kNoDatabase, "idx", values));
    EXPECT_THAT(values, ElementsAre("kept"));
    EXPECT_THAT(TakeLog(), ElementsAre("6 GetDB: GetDB", "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                                       "6 m_GetLimitForTableCnt: ERROR: db option is wrong!!"));
}

TEST_F(OpenDBManager, LooksForAnotherDatabasesTableInTheOneThatIsOpen) {
    std::vector<std::string> values;
    EXPECT_TRUE(Manager().GetDB(EDB_TEST, "TR", values));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(OpenDBManager, InsertsARowOfQuotedTexts) {
    const std::vector<std::string> row = database::Problem("E1");
    EXPECT_TRUE(Set("remainingTBL", row));
    EXPECT_THAT(
        TakeLog(),
        ElementsAre("6 SetDB: SetDB", "6 m_Insert: m_Insert",
                    QueryLine("INSERT INTO remainingTBL VALUES (\"1\",\"E1\",\"0\",\"2026-01-31T23:59:59\","
                              "\"2\",\"issue\",\"sol\",\"button\",\"close\",\"action\",\"done\",\"failed\","
                              "\"ALL\",\"USER\");")));
    EXPECT_THAT(Query(database::kRemaining, "SELECT * FROM remainingTBL"), ElementsAre(row));
}

// What is glued together for a list, and whether SQLite takes it in a table of two columns.
TEST_F(DBManager, BuildsTheValuesFromTheList) {
    struct Case {
        std::vector<std::string> values;
        const char* text;
        bool inserted;
    };
    const std::vector<Case> cases = {
        {{"x", "y"}, "(\"x\",\"y\")", true},
        {{"", "y"}, "(\"\",\"y\")", true},
        {{"it's", "50%s"}, "(\"it's\",\"50%s\")", true},
        {{"a\nb", "c;d"}, "(\"a\nb\",\"c;d\")", true},
        {{"(", ")"}, "(\"(\",\")\")", true},
        {{"a", "b", "a"}, "(\"a\")\"b\",\"a\")", false},
        {{"a", "a"}, "(\"a\")\"a\")", false},
        {{"", ""}, "(\"\")\"\")", false},
        {{}, "(", false},
        {{"x"}, "(\"x\")", false},
        {{"x", "y", "z"}, "(\"x\",\"y\",\"z\")", false},
        {{"say \"x\"", "y"}, "(\"say \"x\"\",\"y\")", false},
    };
    Manager().OpenDB(EDB_TEST);
    Query(database::kTest, "CREATE TABLE pairs(a TEXT, b TEXT)");
    for (const Case& one : cases) {
        SCOPED_TRACE(one.text);
        TakeLog();
        const std::string before = Value(database::kTest, "SELECT count(*) FROM pairs");
        EXPECT_EQ(Set("pairs", one.values), one.inserted);
        const std::vector<std::string> log = TakeLog();
        ASSERT_GE(log.size(), 3U);
        EXPECT_EQ(log[2], QueryLine(std::string("INSERT INTO pairs VALUES ") + one.text + ";"));
        if (one.inserted) {
            EXPECT_EQ(log.size(), 3U);
            EXPECT_THAT(Query(database::kTest, "SELECT * FROM pairs ORDER BY rowid DESC LIMIT 1"),
                        ElementsAre(one.values));
        } else {
            ASSERT_EQ(log.size(), 5U);
            EXPECT_THAT(log[3], testing::StartsWith("6 m_SqlExecute: ERROR: sql execute is fail!! ( "));
            EXPECT_EQ(log[4], "6 m_Insert: ERROR: pairs table insert is fail!!");
            EXPECT_EQ(Value(database::kTest, "SELECT count(*) FROM pairs"), before);
        }
    }
    Manager().CloseDB();
}

TEST_F(OpenDBManager, LogsWhatSqliteSaysOfARowItRefuses) {
    EXPECT_FALSE(Set("remainingTBL", {"x", "y"}));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 SetDB: SetDB", "6 m_Insert: m_Insert",
                            QueryLine("INSERT INTO remainingTBL VALUES (\"x\",\"y\");"),
                            SqlError("table remainingTBL has 14 columns but 2 values were supplied"),
                            "6 m_Insert: ERROR: remainingTBL table insert is fail!!"));
}

TEST_F(OpenDBManager, ClosesTheListOfValuesAtAnEarlierTextEqualToTheLast) {
    EXPECT_FALSE(Set("remainingTBL", {"a", "b", "a"}));
    EXPECT_THAT(TakeLog(), Contains(QueryLine("INSERT INTO remainingTBL VALUES (\"a\")\"b\",\"a\");")));
    EXPECT_FALSE(Set("remainingTBL", {}));
    EXPECT_THAT(TakeLog(), Contains(QueryLine("INSERT INTO remainingTBL VALUES (;")));
    EXPECT_EQ(Value(database::kRemaining, "SELECT count(*) FROM remainingTBL"), "0");
}

TEST_F(OpenDBManager, StoresEveryValueAsText) {
    std::vector<std::string> row = database::Problem("0012");
    row[0] = "1";
    ASSERT_TRUE(Set("remainingTBL", row));
    EXPECT_EQ(Value(database::kRemaining,
                    "SELECT typeof(idx)||typeof(issue_code)||typeof(is_fix) FROM remainingTBL"),
              "texttexttext");
    EXPECT_THAT(Get(EDB_REMAINING, "issue_code"), ElementsAre("0012"));
}

TEST_F(OpenDBManager, FailsForATableThatIsNotThere) {
    EXPECT_FALSE(Set("noTBL", {"x"}));
    EXPECT_THAT(
        TakeLog(),
        ElementsAre("6 SetDB: SetDB", "6 m_Insert: m_Insert", QueryLine("INSERT INTO noTBL VALUES (\"x\");"),
                    SqlError("no such table: noTBL"), "6 m_Insert: ERROR: noTBL table insert is fail!!"));
}

TEST_F(OpenDBManager, GrowsWithoutALimit) {
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(Set("remainingTBL", database::Problem(std::to_string(i))));
    }
    EXPECT_EQ(Get(EDB_REMAINING, "issue_code").size(), 200U);
}

TEST_F(OpenDBManager, DeletesEveryRowOfTheIssue) {
    for (const char* code : {"E1", "E2", "E1", "E10"}) {
        ASSERT_TRUE(Set("remainingTBL", database::Problem(code)));
    }
    TakeLog();
    EXPECT_TRUE(Manager().DeleteDB("E1"));
    EXPECT_THAT(TakeLog(), ElementsAre("6 DeleteDB: DeleteDB",
                                       QueryLine("DELETE FROM remainingTBL WHERE issue_code='E1'")));
    EXPECT_THAT(Get(EDB_REMAINING, "issue_code"), ElementsAre("E2", "E10"));
}

TEST_F(OpenDBManager, SaysTrueWhenNoRowHasTheIssue) {
    ASSERT_TRUE(Set("remainingTBL", database::Problem("E2")));
    EXPECT_TRUE(Manager().DeleteDB("E1"));
    EXPECT_TRUE(Manager().DeleteDB(""));
    EXPECT_THAT(Get(EDB_REMAINING, "issue_code"), ElementsAre("E2"));
}

TEST_F(OpenDBManager, PutsTheIssueIntoTheStatementAsItIs) {
    ASSERT_TRUE(Set("remainingTBL", database::Problem("E2")));
    TakeLog();
    EXPECT_FALSE(Manager().DeleteDB("E'1"));
    const std::vector<std::string> log = TakeLog();
    ASSERT_EQ(log.size(), 4U);
    EXPECT_EQ(log[1], QueryLine("DELETE FROM remainingTBL WHERE issue_code='E'1'"));
    EXPECT_EQ(log[3], "6 DeleteDB: ERROR: remainingTBL column delete is fail!!");
    EXPECT_THAT(Get(EDB_REMAINING, "issue_code"), ElementsAre("E2"));
}

TEST_F(DBManager, DeletesFromTheRemainingTableWhateverIsOpen) {
    Manager().OpenDB(EDB_TEST);
    TakeLog();
    EXPECT_FALSE(Manager().DeleteDB("E1"));
    EXPECT_THAT(TakeLog(), ElementsAre("6 DeleteDB: DeleteDB",
                                       QueryLine("DELETE FROM remainingTBL WHERE issue_code='E1'"),
                                       SqlError("no such table: remainingTBL"),
                                       "6 DeleteDB: ERROR: remainingTBL column delete is fail!!"));
    Manager().CloseDB();
}

TEST_F(OpenDBManager, FlushesEveryRowAndKeepsTheTable) {
    for (const char* code : {"E1", "E2"}) {
        ASSERT_TRUE(Set("remainingTBL", database::Problem(code)));
    }
    TakeLog();
    EXPECT_TRUE(Manager().FlushDB(EDB_REMAINING));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 FlushDB: FlushDB", "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                            "6 m_GetTableName: m_GetTableName", QueryLine("DELETE FROM remainingTBL")));
    EXPECT_EQ(Value(database::kRemaining, "SELECT count(*) FROM remainingTBL"), "0");
    EXPECT_TRUE(Manager().FlushDB(EDB_REMAINING));
    EXPECT_TRUE(Set("remainingTBL", database::Problem("E3")));
}

TEST_F(OpenDBManager, FailsToFlushAnUnknownDatabase) {
    ASSERT_TRUE(Set("remainingTBL", database::Problem("E1")));
    TakeLog();
    EXPECT_FALSE(Manager().FlushDB(kNoDatabase));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 FlushDB: FlushDB", "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                            "6 m_GetLimitForTableCnt: ERROR: db option is wrong!!", QueryLine("DELETE FROM "),
                            SqlError("incomplete input"), "6 FlushDB: ERROR:  column delete is fail!!"));
    EXPECT_THAT(Get(EDB_REMAINING, "issue_code"), ElementsAre("E1"));
}

TEST_F(OpenDBManager, FailsToFlushATableThatIsNotThere) {
    EXPECT_FALSE(Manager().FlushDB(EDB_SOLUTION));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 FlushDB: FlushDB", "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                            "6 m_GetTableName: m_GetTableName", QueryLine("DELETE FROM solutionTBL"),
                            SqlError("no such table: solutionTBL"),
                            "6 FlushDB: ERROR: solutionTBL column delete is fail!!"));
}

TEST_F(OpenDBManager, CommitsEveryRowByItselfWhenCalledDirectly) {
    for (const char* code : {"E1", "E2"}) {
        ASSERT_TRUE(Set("remainingTBL", database::Problem(code)));
        EXPECT_EQ(Value(database::kRemaining, "SELECT max(issue_code) FROM remainingTBL"), code);
    }
}
