// Files that are damaged, locked or read-only, and disks that fail: what is reported, and that nothing worse
// happens.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "FaultyDisk.h"
#include "KURA_DBManager.h"
#include "KURA_DiagResultManager.h"

using database::Value;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

constexpr const char* kJournal = "/opt/usr/home/owner/share/remaining.db-journal";
/// Where a journal has the file's number of pages, followed by the sizes of a sector and of a page.
constexpr std::size_t kJournalPages = 16;

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

/// Whether an error was logged since the log had so many lines.
bool HasToldSince(std::size_t lines) {
    const std::vector<fakes::LogLine>& log = fakes::Set().log;
    return std::any_of(log.begin() + static_cast<std::ptrdiff_t>(lines), log.end(),
                       [](const fakes::LogLine& line) {
                           return line.priority == 6 && line.message.rfind("ERROR:", 0) == 0;
                       });
}

/// Every operation; true for those that said so. One that fails has to log an error of its own.
std::vector<bool> TryEverything(std::vector<std::string>& values) {
    const std::function<bool()> operations[] = {
        [] { return Manager().OpenDB(EDB_REMAINING); },
        [&] { return Manager().GetDB(EDB_REMAINING, "issue_code", values); },
        [] { return Insert("E4"); },
        [] { return Manager().DeleteDB("E1"); },
        [] { return Manager().FlushDB(EDB_REMAINING); },
        [] { return Manager().CloseDB(); },
    };
    std::vector<bool> results;
    for (const std::function<bool()>& operation : operations) {
        const std::size_t before = fakes::Set().log.size();
        results.push_back(operation());
        EXPECT_TRUE(results.back() || HasToldSince(before)) << "operation " << results.size();
    }
    return results;
}

enum class Loaded { kNothing, kRows, kShortColumn };

/// A load of the remaining problems ends by itself or at a column shorter than the first, which was logged.
Loaded Load() {
    const std::size_t before = fakes::Set().log.size();
    KURA::KURA_DiagResultManager& manager = *KURA::KURA_DiagResultManager::GetInstance();
    try {
        return manager.LoadRemainingProblems() ? Loaded::kRows : Loaded::kNothing;
    } catch (const std::out_of_range&) {
        EXPECT_TRUE(HasToldSince(before));
        return Loaded::kShortColumn;
    } catch (const std::exception& other) {
        ADD_FAILURE() << "a load of a damaged file threw: " << other.what();
        return Loaded::kNothing;
    }
}

/// How often damage was met, so that a test can tell that it did harm at all.
struct Harm {
    int failedOperations = 0;
    int rowsLoaded = 0;
    int shortColumns = 0;
};

/// Loads from the damaged store and tries everything on it; damage puts it there anew for each.
std::vector<std::string> Survive(const std::function<void()>& damage, Harm& harm) {
    fakes::Set().log.clear();
    damage();
    const Loaded loaded = Load();
    harm.rowsLoaded += loaded == Loaded::kRows ? 1 : 0;
    harm.shortColumns += loaded == Loaded::kShortColumn ? 1 : 0;
    fs::remove(kJournal);
    damage();
    std::vector<std::string> values;
    const std::vector<bool> results = TryEverything(values);
    EXPECT_TRUE(results.back()) << "the damaged file stays open";
    harm.failedOperations += static_cast<int>(std::count(results.begin(), results.end(), false));
    fs::remove(kJournal);
    return values;
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
    Harm harm;
    for (std::size_t size = 0; size < whole.size(); size += 97) {
        SCOPED_TRACE(size);
        const std::vector<std::string> values =
            Survive([&] { Write(database::kRemaining, whole.substr(0, size)); }, harm);
        EXPECT_LE(values.size(), 3U);
    }
    EXPECT_GT(harm.failedOperations, 0);
    EXPECT_GT(harm.rowsLoaded, 0);
}

TEST_F(Damage, SurvivesFlippedBytes) {
    const std::string whole = Read(database::kRemaining);
    std::mt19937 random(20260131);
    Harm harm;
    for (int round = 0; round < 2000; ++round) {
        SCOPED_TRACE(round);
        std::string damaged = whole;
        const std::size_t flips = 1 + random() % 8;
        for (std::size_t i = 0; i < flips; ++i) {
            // The head of the file and of its pages decides most; half of the flips go there.
            const std::size_t at =
                i % 2 == 0 ? random() % damaged.size() : random() % 2 * 4096 + random() % 128;
            damaged[at] = static_cast<char>(random());
        }
        Survive([&] { Write(database::kRemaining, damaged); }, harm);
    }
    EXPECT_GT(harm.failedOperations, 0);
    EXPECT_GT(harm.rowsLoaded, 0);
    EXPECT_GT(harm.shortColumns, 0);
}

TEST_F(Damage, SurvivesAJunkJournal) {
    const std::string whole = Read(database::kRemaining);
    const std::string magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    std::mt19937 random(20260131);
    Harm harm;
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        std::string junk = magic;
        for (int i = 0; i < 4600; ++i) {
            junk += static_cast<char>(random());
        }
        // Every second journal has a head that SQLite goes by: it cuts the file to that many pages.
        if (round % 2 == 0) {
            const char pages = static_cast<char>(random() % 4);
            junk.replace(kJournalPages, 12, {0, 0, 0, pages, 0, 0, 2, 0, 0, 0, 16, 0});
        }
        const std::vector<std::string> values = Survive(
            [&] {
                Write(database::kRemaining, whole);
                Write(kJournal, junk);
            },
            harm);
        EXPECT_LE(values.size(), 3U);
    }
    EXPECT_GT(harm.failedOperations, 0);
    EXPECT_GT(harm.rowsLoaded, 0);
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
