// Files that are damaged, locked or read-only, and disks that fail: what is reported, and that nothing worse
// happens.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "FaultyDisk.h"
#include "KURA_DBManager.h"

using database::Value;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

constexpr const char* kJournal = "/opt/usr/home/owner/share/remaining.db-journal";

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

bool Insert(const std::string& code) {
    const std::vector<std::string> row = database::Problem(code);
    return Manager().SetDB("remainingTBL", {row.begin(), row.end()});
}

std::string Read(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Write(const char* path, const std::string& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

/// The remaining database with three problems, closed.
class Damage : public testing::Test {
protected:
    void SetUp() override {
        database::MakeFolders();
        Manager().OpenDB(EDB_REMAINING);
        for (const char* code : {"E1", "E2", "E3"}) {
            ASSERT_TRUE(Insert(code));
        }
        ASSERT_TRUE(Manager().CloseDB());
        fakes::Set().log.clear();
    }
};

/// Every operation; true for those that said so.
std::vector<bool> TryEverything(std::vector<std::string>& values) {
    std::vector<bool> results;
    results.push_back(Manager().OpenDB(EDB_REMAINING));
    results.push_back(Manager().GetDB(EDB_REMAINING, "issue_code", values));
    results.push_back(Insert("E4"));
    results.push_back(Manager().DeleteDB("E1"));
    results.push_back(Manager().FlushDB(EDB_REMAINING));
    results.push_back(Manager().CloseDB());
    return results;
}

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

TEST_F(Damage, ReadsAtMostWhatWasThereFromATruncatedFile) {
    const std::string whole = Read(database::kRemaining);
    for (std::size_t size = 0; size < whole.size(); size += 97) {
        SCOPED_TRACE(size);
        Write(database::kRemaining, whole.substr(0, size));
        std::vector<std::string> values;
        EXPECT_EQ(TryEverything(values).front(), true);
        EXPECT_LE(values.size(), 3U);
        fs::remove(kJournal);
        fakes::Set().log.clear();
    }
}

TEST_F(Damage, SurvivesFlippedBytes) {
    const std::string whole = Read(database::kRemaining);
    std::mt19937 random(20260131);
    for (int round = 0; round < 2000; ++round) {
        std::string damaged = whole;
        const std::size_t flips = 1 + random() % 8;
        for (std::size_t i = 0; i < flips; ++i) {
            // The head of the file and of its pages decides most; half of the flips go there.
            const std::size_t at =
                i % 2 == 0 ? random() % damaged.size() : random() % 2 * 4096 + random() % 128;
            damaged[at] = static_cast<char>(random());
        }
        Write(database::kRemaining, damaged);
        std::vector<std::string> values;
        EXPECT_EQ(TryEverything(values).front(), true);
        fs::remove(kJournal);
        fakes::Set().log.clear();
    }
}

TEST_F(Damage, SurvivesAJunkJournal) {
    const std::string whole = Read(database::kRemaining);
    const std::string magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    std::mt19937 random(20260131);
    for (int round = 0; round < 200; ++round) {
        Write(database::kRemaining, whole);
        std::string junk = magic;
        for (int i = 0; i < 4600; ++i) {
            junk += static_cast<char>(random());
        }
        Write(kJournal, junk);
        std::vector<std::string> values;
        EXPECT_EQ(TryEverything(values).front(), true);
        EXPECT_LE(values.size(), 3U);
        fs::remove(kJournal);
        fakes::Set().log.clear();
    }
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
