// Files that are damaged, locked or read-only, and disks that fail: what is reported, and that nothing worse
// happens.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "FaultyDisk.h"
#include "KURA_DBManager.h"
#include "Operations.h"

using database::Value;
using operations::Insert;
using operations::Read;
using operations::TryEverything;
using operations::Write;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

TCDBManager& Manager() {
    return *TCDBManager::GetInstance();
}

std::vector<std::string> SqlErrors() {
    std::vector<std::string> errors;
    for (const std::string& message : fakes::Set().Messages("m_SqlExecute")) {
        if (message.rfind("ERROR: sql execute is fail!! ( ", 0) == 0) {
            errors.push_back(message);
        }
    }
    fakes::Set().log.clear();
    return errors;
}

std::string SqlError(const std::string& text) {
    return "ERROR: sql execute is fail!! ( " + text + " )";
}

/// The remaining database with three problems, closed.
class Damage : public testing::Test {
protected:
    void SetUp() override { operations::MakeStore(); }
};

}  // namespace

TEST_F(Damage, OpensAFileThatIsNoDatabaseAndFailsAllThatFollows) {
    const std::string junk(5000, 'j');
    Write(database::kRemaining, junk);
    std::vector<std::string> values;
    EXPECT_THAT(TryEverything(values), ElementsAre(true, true, false, false, false, true));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_TRUE(fakes::Set().Logged(6, "remainingTBL is not exist!!"));
    EXPECT_TRUE(fakes::Set().Logged(6, "ERROR: remainingTBL table create is fail!!"));
    EXPECT_TRUE(fakes::Set().Logged(6, "ERROR: remainingTBL table insert is fail!!"));
    EXPECT_THAT(SqlErrors(),
                testing::AllOf(testing::SizeIs(4), testing::Each(SqlError("file is not a database"))));
    EXPECT_EQ(Read(database::kRemaining), junk);
}

TEST_F(Damage, TellsTheErrorOfTheStatementWhereTheFileIsNoDatabase) {
    Write(database::kRemaining, std::string(5000, 'j'));
    TCDBManager* manager = TCDBManager::GetInstance();
    manager->OpenDB(EDB_REMAINING);
    fakes::Set().log.clear();
    EXPECT_FALSE(manager->DeleteDB("it's"));
    manager->CloseDB();
    EXPECT_THAT(SqlErrors(), ElementsAre(SqlError("near \"s\": syntax error")));
}

TEST_F(Damage, TakesAnEmptyFileForANewDatabase) {
    Write(database::kRemaining, "");
    std::vector<std::string> values;
    EXPECT_THAT(TryEverything(values), ElementsAre(true, true, true, true, true, true));
    EXPECT_THAT(values, IsEmpty());
}

TEST_F(Damage, LogsAFolderInTheFilesPlace) {
    fs::remove(database::kRemaining);
    fs::create_directory(database::kRemaining);
    std::vector<std::string> values;
    EXPECT_THAT(TryEverything(values), ElementsAre(true, true, false, false, false, true));
    EXPECT_TRUE(fakes::Set().Logged(
        6, "ERROR: /opt/usr/home/owner/share/remaining.db open is fail!! ( unable to open database file )"));
}

TEST_F(Damage, FailsAtOnceWhileSomebodyElseHoldsTheFile) {
    database::Connection other(database::kRemaining);
    other.Query("BEGIN EXCLUSIVE");
    std::vector<std::string> values;
    EXPECT_THAT(TryEverything(values), ElementsAre(true, true, false, false, false, true));
    EXPECT_THAT(values, IsEmpty());
    EXPECT_THAT(SqlErrors(),
                testing::AllOf(testing::SizeIs(4), testing::Each(SqlError("database is locked"))));
    other.Query("ROLLBACK");
    EXPECT_EQ(other.Value("SELECT count(*) FROM remainingTBL"), "3");
}

TEST_F(Damage, TellsTheErrorOfTheStatementWhileSomebodyElseHoldsTheFile) {
    database::Connection other(database::kRemaining);
    other.Query("BEGIN EXCLUSIVE");
    TCDBManager* manager = TCDBManager::GetInstance();
    manager->OpenDB(EDB_REMAINING);
    fakes::Set().log.clear();
    EXPECT_FALSE(manager->DeleteDB("it's"));
    EXPECT_FALSE(manager->FlushDB(static_cast<EDBName>(7)));
    EXPECT_FALSE(manager->SetDB("remainingTBL", {"a", "b", "a"}));
    EXPECT_FALSE(manager->SetDB("remainingTBL", {}));
    EXPECT_FALSE(manager->DeleteDB("E1"));
    manager->CloseDB();
    other.Query("ROLLBACK");
    EXPECT_THAT(SqlErrors(),
                ElementsAre(SqlError("near \"s\": syntax error"), SqlError("incomplete input"),
                            SqlError("near \"\"b\"\": syntax error"), SqlError("near \";\": syntax error"),
                            SqlError("database is locked")));
    EXPECT_EQ(database::Value(database::kRemaining, "SELECT count(*) FROM remainingTBL"), "3");
}

TEST_F(Damage, ReadsButDoesNotWriteWhileSomebodyElseWrites) {
    database::Connection other(database::kRemaining);
    other.Query("BEGIN IMMEDIATE");
    std::vector<std::string> values;
    EXPECT_THAT(TryEverything(values), ElementsAre(true, true, false, false, false, true));
    EXPECT_THAT(values, ElementsAre("E1", "E2", "E3"));
    other.Query("ROLLBACK");
}

TEST_F(Damage, ReadsButDoesNotWriteAReadOnlyFile) {
    std::vector<std::string> values;
    {
        const disk::ReadOnly readOnly;
        EXPECT_THAT(TryEverything(values), ElementsAre(true, true, false, false, false, true));
    }
    EXPECT_THAT(values, ElementsAre("E1", "E2", "E3"));
    EXPECT_THAT(SqlErrors(), testing::AllOf(testing::SizeIs(3),
                                            testing::Each(SqlError("attempt to write a readonly database"))));
    EXPECT_EQ(Value(database::kRemaining, "SELECT count(*) FROM remainingTBL"), "3");
}

TEST_F(Damage, LogsAFullDisk) {
    Manager().OpenDB(EDB_REMAINING);
    {
        const disk::Failing full({disk::Operation::kWrite, ENOSPC, 1, true});
        EXPECT_FALSE(Insert("E4"));
        EXPECT_TRUE(disk::Failing::Struck());
    }
    EXPECT_THAT(SqlErrors(), ElementsAre(SqlError("database or disk is full")));
    EXPECT_TRUE(Manager().CloseDB());
    EXPECT_EQ(Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(Value(database::kRemaining, "SELECT count(*) FROM remainingTBL"), "3");
}

TEST_F(Damage, KeepsTheRowsReadBeforeTheDiskFails) {
    Manager().OpenDB(EDB_REMAINING);
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(Insert("F" + std::to_string(i)));
    }
    Manager().CloseDB();
    Manager().OpenDB(EDB_REMAINING);
    fakes::Set().log.clear();
    std::vector<std::string> values;
    bool done = true;
    {
        const disk::Failing failing({disk::Operation::kRead, EIO, 5, true});
        done = Manager().GetDB(EDB_REMAINING, "issue_code", values);
    }
    EXPECT_FALSE(done);
    EXPECT_GT(values.size(), 0U);
    EXPECT_LT(values.size(), 203U);
    EXPECT_TRUE(fakes::Set().Logged(6, "ERROR: remainingTBL table select is fail!!"));
    Manager().CloseDB();
}
