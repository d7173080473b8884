// Operations that no public one reaches, and transactions step by step.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DBManager.h"
#include "KURA_DBManager/Connection.h"
#include "LogLines.h"

using database::Value;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using Transaction = TCDBManager::Transaction;

namespace {

constexpr EDBName kNoDatabase = static_cast<EDBName>(7);

TCDBManager& Manager() {
    return *TCDBManager::GetInstance();
}

using fakes::TakeLog;

bool Insert(const std::string& code) {
    const std::vector<std::string> row = database::Problem(code);
    return Manager().SetDB("remainingTBL", {row.begin(), row.end()});
}

std::string CountRows() {
    return Value(database::kRemaining, "SELECT count(*) FROM remainingTBL");
}

/// The remaining database is open, with a row "E1".
class DBManagerInternals : public testing::Test {
protected:
    void SetUp() override {
        database::MakeFolders();
        Manager().OpenDB(EDB_REMAINING);
        ASSERT_TRUE(Insert("E1"));
        TakeLog();
    }
    void TearDown() override { EXPECT_TRUE(Manager().CloseDB()); }
};

}  // namespace

TEST_F(DBManagerInternals, DropsATableWhetherItIsThereOrNot) {
    EXPECT_TRUE(Manager().m_Drop("remainingTBL"));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 m_Drop: m_Drop",
                            "6 m_SqlExecute: m_SqlExecute query : DROP TABLE IF EXISTS remainingTBL;"));
    EXPECT_FALSE(Manager().m_IsTableExist("remainingTBL"));
    EXPECT_TRUE(Manager().m_Drop("remainingTBL"));
}

TEST_F(DBManagerInternals, KnowsTheTablesOfATransactionThatHasRead) {
    {
        const Transaction load(Manager(), Transaction::Kind::kLoad);
        EXPECT_TRUE(Manager().m_IsTableExist("remainingTBL"));
        EXPECT_FALSE(Manager().m_IsTableExist("testTBL"));
        EXPECT_FALSE(Manager().m_IsTableExist(""));
    }
    database::Query(database::kRemaining, "DROP TABLE remainingTBL");
    EXPECT_FALSE(Manager().m_IsTableExist("remainingTBL"));
    {
        const Transaction load(Manager(), Transaction::Kind::kLoad);
        EXPECT_FALSE(Manager().m_IsTableExist("remainingTBL"));
    }
    {
        const Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_TRUE(Manager().m_Create("remainingTBL"));
        EXPECT_TRUE(Manager().m_IsTableExist("remainingTBL"));
        EXPECT_TRUE(Manager().m_Drop("remainingTBL"));
        EXPECT_FALSE(Manager().m_IsTableExist("remainingTBL"));
    }
}

TEST_F(DBManagerInternals, LogsADropThatFails) {
    EXPECT_FALSE(Manager().m_Drop("sqlite_master"));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 m_Drop: m_Drop",
                            "6 m_SqlExecute: m_SqlExecute query : DROP TABLE IF EXISTS sqlite_master;",
                            "6 m_SqlExecute: ERROR: sql execute is fail!! ( table sqlite_master may not be "
                            "dropped )",
                            "6 m_Drop: ERROR: sqlite_master table delete is fail!!"));
}

TEST_F(DBManagerInternals, SelectsTheTextsOfAllColumnsGluedTogether) {
    Manager().m_SqlExecute("CREATE TABLE mixed(a, b, c, d);");
    Manager().m_SqlExecute("INSERT INTO mixed VALUES ('x', 5, 'y', 1.5);");
    Manager().m_SqlExecute("INSERT INTO mixed VALUES (NULL, x'41', 7, 8);");
    TakeLog();
    std::vector<std::string> rows = {"kept"};
    EXPECT_TRUE(Manager().m_Select("mixed", rows));
    EXPECT_THAT(rows, ElementsAre("kept", "xy", ""));
    EXPECT_THAT(TakeLog(), ElementsAre("6 m_Select: m_Select"));
}

TEST_F(DBManagerInternals, KeepsTheRowsBeforeASelectOfAllColumnsFails) {
    Manager().m_SqlExecute("CREATE TABLE halves(name, number);");
    Manager().m_SqlExecute("INSERT INTO halves VALUES ('row', 1), ('last', -9223372036854775808);");
    // Overflows in the second row.
    Manager().m_SqlExecute("ALTER TABLE halves ADD COLUMN size AS (abs(number));");
    TakeLog();
    std::vector<std::string> rows;
    EXPECT_FALSE(Manager().m_Select("halves", rows));
    EXPECT_THAT(rows, ElementsAre("row"));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 m_Select: m_Select", "6 m_Select: ERROR: halves table select is fail!!"));
    EXPECT_FALSE(Manager().m_Select("noTBL", rows));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 m_Select: m_Select", "6 m_Select: ERROR: noTBL table select is fail!!"));
}

TEST_F(DBManagerInternals, CreatesNoUnknownTable) {
    EXPECT_FALSE(Manager().m_Create("otherTBL"));
    EXPECT_THAT(TakeLog(),
                ElementsAre("6 m_Create: Create: otherTBL table",
                            "6 m_GetQueryForCreateTable: m_GetQueryForCreateTable",
                            "6 m_SqlExecute: m_SqlExecute query : CREATE TABLE otherTBL;",
                            "6 m_SqlExecute: ERROR: sql execute is fail!! ( near \";\": syntax error )",
                            "6 m_Create: ERROR: otherTBL table create is fail!!"));
    EXPECT_EQ(Manager().m_GetQueryForCreateTable("otherTBL"), "");
}

TEST_F(DBManagerInternals, KnowsATableOnlyByItsWholeName) {
    EXPECT_TRUE(Manager().m_IsTableExist("remainingTBL"));
    EXPECT_FALSE(Manager().m_IsTableExist("remaining"));
    EXPECT_FALSE(Manager().m_IsTableExist(""));
    EXPECT_FALSE(Manager().m_IsTableExist("it's"));
}

TEST_F(DBManagerInternals, NamesOneTablePerDatabase) {
    const char* names[] = {"inferenceTBL", "solutionTBL", "remainingTBL", "testTBL"};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Manager().m_GetTableName(static_cast<EDBName>(i), 0), names[i]);
        EXPECT_EQ(Manager().m_GetLimitForTableCnt(static_cast<EDBName>(i)), 1);
    }
    EXPECT_EQ(Manager().m_GetTableName(EDB_INFERENCE, 2), "remainingTBL");
    TakeLog();
    EXPECT_EQ(Manager().m_GetTableName(kNoDatabase, 0), "");
    EXPECT_EQ(Manager().m_GetTableName(static_cast<EDBName>(-1), 1), "");
    EXPECT_EQ(Manager().m_GetTableName(EDB_TEST, 1), "");
    EXPECT_EQ(Manager().m_GetLimitForTableCnt(kNoDatabase), 0);
    EXPECT_EQ(Manager().m_GetDBPath(kNoDatabase), "");
    EXPECT_THAT(
        TakeLog(),
        ElementsAre("6 m_GetTableName: m_GetTableName", "6 m_GetTableName: ERROR: table name is wrong!! : 7",
                    "6 m_GetTableName: m_GetTableName", "6 m_GetTableName: ERROR: table name is wrong!! : -1",
                    "6 m_GetTableName: m_GetTableName", "6 m_GetTableName: ERROR: table name is wrong!! : 3",
                    "6 m_GetLimitForTableCnt: m_GetLimitForTableCnt",
                    "6 m_GetLimitForTableCnt: ERROR: db option is wrong!!", "6 m_GetDBPath: m_GetDBPath",
                    "6 m_GetDBPath: ERROR: db path is wrong!! : 7"));
}

TEST_F(DBManagerInternals, FillsTheSlotsWithTheNamesAndZeros) {
    EXPECT_EQ(sizeof Manager().m_tableNames, 4U * 20U);
    EXPECT_EQ(std::string(Manager().m_tableNames[1], 20), std::string("solutionTBL") + std::string(9, '\0'));
}

TEST_F(DBManagerInternals, LogsItsDestruction) {
    // Never destroyed by the library.
    delete new TCDBManager;
    EXPECT_THAT(TakeLog(), ElementsAre("6 TCDBManager: TCDBManager()", "6 ~TCDBManager: ~TCDBManager()"));
}

TEST_F(DBManagerInternals, StoresWhatATransactionCommits) {
    {
        Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_THAT(TakeLog(), IsEmpty());
        EXPECT_TRUE(Insert("E2"));
        EXPECT_TRUE(Insert("E3"));
        EXPECT_EQ(CountRows(), "1");
        TakeLog();
        save.Commit();
        EXPECT_EQ(CountRows(), "3");
    }
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_TRUE(Insert("E4"));
    EXPECT_EQ(CountRows(), "4");
}

TEST_F(DBManagerInternals, TakesBackWhatATransactionDoesNotCommit) {
    {
        const Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_TRUE(Insert("E2"));
        TakeLog();
    }
    EXPECT_THAT(TakeLog(), IsEmpty());
    EXPECT_EQ(CountRows(), "1");
    EXPECT_TRUE(Insert("E3"));
    EXPECT_EQ(CountRows(), "2");
}

TEST_F(DBManagerInternals, StoresNothingOfALoad) {
    Transaction load(Manager(), Transaction::Kind::kLoad);
    EXPECT_TRUE(Insert("E2"));
    load.Commit();
    EXPECT_EQ(CountRows(), "1");
}

// Of the statements in a text, those before the forbidden word have run.
TEST_F(DBManagerInternals, RefusesATextThatEndsOrBeginsATransaction) {
    for (const char* word : {"COMMIT", "END", "ROLLBACK", "BEGIN", "SAVEPOINT a", "RELEASE a",
                             "ROLLBACK TO a", "ATTACH '/opt/other.db' AS other"}) {
        SCOPED_TRACE(word);
        Manager().FlushDB(EDB_REMAINING);
        Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_TRUE(Insert("E2"));
        TakeLog();
        EXPECT_FALSE(Manager().DeleteDB(std::string("E2'; ") + word + "; --"));
        EXPECT_TRUE(save.IsOwnFault());
        EXPECT_THAT(
            TakeLog(),
            ElementsAre("6 DeleteDB: DeleteDB",
                        std::string("6 m_SqlExecute: m_SqlExecute query : DELETE FROM remainingTBL WHERE "
                                    "issue_code='E2'; ") +
                            word + "; --'",
                        "6 m_SqlExecute: ERROR: sql execute is fail!! ( not authorized )",
                        "6 DeleteDB: ERROR: remainingTBL column delete is fail!!"));
        EXPECT_TRUE(Insert("E3"));
        save.Commit();
        EXPECT_EQ(Value(database::kRemaining, "SELECT issue_code FROM remainingTBL"), "E3");
    }
    EXPECT_FALSE(std::filesystem::exists("/opt/other.db"));
}

TEST_F(DBManagerInternals, TakesAnOpenTransactionBackOnClose) {
    {
        Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_TRUE(Insert("E2"));
        TakeLog();
        EXPECT_TRUE(Manager().CloseDB());
        EXPECT_THAT(TakeLog(), IsEmpty());
        EXPECT_EQ(CountRows(), "1");
        EXPECT_FALSE(save.IsOwnFault());
        save.Commit();
    }
    Manager().OpenDB(EDB_REMAINING);
    EXPECT_TRUE(Insert("E3"));
    EXPECT_EQ(CountRows(), "2");
}

TEST_F(DBManagerInternals, TakesAnOpenTransactionBackWhenAnotherDatabaseIsOpened) {
    sqlite3* first = Manager().m_handle;
    {
        Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_TRUE(Insert("E2"));
        Manager().OpenDB(EDB_TEST);
        EXPECT_TRUE(Manager().SetDB("testTBL", {"t0", "t1", "1000", "1", "7"}));
        EXPECT_EQ(Value(database::kTest, "SELECT count(*) FROM testTBL"), "1");
        // Another connection can write, although the first one is still open.
        database::Query(database::kRemaining, "INSERT INTO remainingTBL(issue_code) VALUES ('other')");
        save.Commit();
    }
    EXPECT_EQ(CountRows(), "2");
    sqlite3_close(first);
}

TEST_F(DBManagerInternals, StoresNothingOnceSqliteHasDroppedTheTransaction) {
    {
        Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_TRUE(Insert("E2"));
        // As after some failures of the disk.
        sqlite3_exec(Manager().m_handle, "ROLLBACK", nullptr, nullptr, nullptr);
        EXPECT_FALSE(Insert("E3"));
        EXPECT_EQ(CountRows(), "1");
        TakeLog();
        save.Commit();
        EXPECT_THAT(TakeLog(), IsEmpty());
        EXPECT_EQ(CountRows(), "1");
    }
    EXPECT_TRUE(Insert("E4"));
    EXPECT_EQ(CountRows(), "2");
}

// The end of such a transaction would not be durable.
TEST_F(DBManagerInternals, StoresNothingOfATransactionThatBeganWhileTheFileWasHeld) {
    Manager().CloseDB();
    database::Connection other(database::kRemaining);
    other.Query("BEGIN EXCLUSIVE");
    Manager().OpenDB(EDB_REMAINING);
    Transaction save(Manager(), Transaction::Kind::kSave);
    other.Query("ROLLBACK");
    EXPECT_TRUE(Insert("E2"));
    save.Commit();
    EXPECT_EQ(CountRows(), "1");
}

TEST_F(DBManagerInternals, DoesNotBeginOnAClosedConnection) {
    Manager().CloseDB();
    {
        Transaction save(Manager(), Transaction::Kind::kSave);
        EXPECT_FALSE(Insert("E2"));
        save.Commit();
    }
    EXPECT_THAT(TakeLog(), Contains("6 m_Insert: ERROR: remainingTBL table insert is fail!!"));
}

TEST_F(DBManagerInternals, ReadsAndStoresTextsUpTo16Mebibytes) {
    constexpr int kMost = 16777216;
    EXPECT_EQ(sqlite3_limit(Manager().m_handle, SQLITE_LIMIT_LENGTH, -1), kMost);
    EXPECT_EQ(sqlite3_limit(Manager().m_handle, SQLITE_LIMIT_SQL_LENGTH, -1), kMost);
    EXPECT_EQ(sqlite3_limit(Manager().m_handle, SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1), 1000);
    EXPECT_EQ(sqlite3_limit(Manager().m_handle, SQLITE_LIMIT_VDBE_OP, -1), 1000);
    KURA::store::Run(Manager().m_handle, "SELECT 1");
    EXPECT_TRUE(KURA::store::MayRead(kMost));
    EXPECT_FALSE(KURA::store::MayRead(1));
    KURA::store::Run(Manager().m_handle, "SELECT 1");
    EXPECT_FALSE(KURA::store::MayRead(kMost + 1));
}

TEST_F(DBManagerInternals, GivesTheNextConnectionItsTimeAgain) {
    const std::string count =
        "WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n WHERE x < 5000) "
        "SELECT count(*) FROM n, n AS m";
    const std::string few = count.substr(0, count.rfind(','));
    EXPECT_EQ(KURA::store::Run(Manager().m_handle, few.c_str()), SQLITE_OK);
    EXPECT_EQ(KURA::store::Run(Manager().m_handle, count.c_str()), SQLITE_INTERRUPT);
    EXPECT_EQ(KURA::store::Run(Manager().m_handle, few.c_str()), SQLITE_INTERRUPT) << "one was too slow";
    Manager().CloseDB();
    sqlite3* handle = nullptr;
    ASSERT_EQ(KURA::store::Open(database::kRemaining, handle), SQLITE_OK);
    EXPECT_EQ(KURA::store::Run(handle, few.c_str()), SQLITE_OK);
    sqlite3_close(handle);
    Manager().OpenDB(EDB_REMAINING);
}
