// A save of the remaining problems replaces the list as a whole: whatever fails in between, what is left is
// the old list, an empty one or the whole new one, in a file without damage. The library's own save is what
// runs here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "FaultyDisk.h"
#include "KURA_DBManager.h"
#include "KURA_DiagResultManager.h"
#include "KURA_MapToDBTable.h"
#include "RemainingList.h"

using database::Value;
using KURA::KURA_DiagResultManager;
using KURA::MapToDBTable;
using remaining::Codes;
using remaining::Load;
using remaining::Many;
using remaining::Save;
using remaining::Stored;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

namespace {

std::vector<std::string> SqlErrors() {
    std::vector<std::string> errors;
    for (const fakes::LogLine& line : fakes::Set().log) {
        if (line.message.rfind("ERROR: sql execute is fail!! ( ", 0) == 0) {
            EXPECT_EQ(line.priority, 6);
            EXPECT_EQ(line.function, "m_SqlExecute");
            errors.push_back(line.message);
        }
    }
    return errors;
}

std::size_t Count(const std::string& prefix) {
    std::size_t count = 0;
    for (const std::string& message : fakes::Set().Messages()) {
        count += message.rfind(prefix, 0) == 0 ? 1U : 0U;
    }
    return count;
}

const Codes kOld = {"O1", "O2", "O3"};
const Codes kNew = {"N1", "N2", "N3", "N4"};

bool CanRead() {
    sqlite3* handle = nullptr;
    sqlite3_open(database::kRemaining, &handle);
    const int result = sqlite3_exec(handle, "SELECT count(*) FROM remainingTBL", nullptr, nullptr, nullptr);
    sqlite3_close(handle);
    return result == SQLITE_OK;
}

/// The old list is stored.
class Transaction : public testing::Test {
protected:
    void SetUp() override {
        database::MakeFolders();
        Save(kOld);
        ASSERT_EQ(Stored(), kOld);
        fakes::Set().log.clear();
    }
};

/// Runs work with the k-th call of each kind failing, k growing until none is left to fail, once and for
/// ever; after each, check sees what is stored. Returns how often something failed.
std::size_t WithEveryFault(const std::function<void()>& prepare, const std::function<void()>& work,
                           const std::function<void()>& check) {
    const disk::Fault kinds[] = {{disk::Operation::kWrite, ENOSPC}, {disk::Operation::kWrite, EIO},
                                 {disk::Operation::kSync, EIO},     {disk::Operation::kRead, EIO},
                                 {disk::Operation::kTruncate, EIO}, {disk::Operation::kUnlink, EIO},
                                 {disk::Operation::kOpen, EMFILE}};
    std::size_t faults = 0;
    for (disk::Fault fault : kinds) {
        for (const bool everAfter : {false, true}) {
            fault.everAfter = everAfter;
            bool struck = true;
            for (fault.at = 1; struck; ++fault.at) {
                SCOPED_TRACE("operation " + std::to_string(static_cast<int>(fault.operation)) + ", error " +
                             std::to_string(fault.error) + ", call " + std::to_string(fault.at) +
                             (everAfter ? " and after" : ""));
                prepare();
                {
                    const disk::Failing failing(fault);
                    work();
                }
                struck = disk::Failing::Struck();
                faults += struck ? 1 : 0;
                EXPECT_EQ(Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
                check();
            }
        }
    }
    return faults;
}

}  // namespace

TEST_F(Transaction, LoadsNothingFromATableInOtherLetters) {
    database::Query(database::kRemaining, "ALTER TABLE remainingTBL RENAME TO passing");
    database::Query(database::kRemaining, "ALTER TABLE passing RENAME TO REMAININGTBL");
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_EQ(Count("QUERY : "), 0U);
    EXPECT_EQ(Count("Remain Problem is empty : 0"), 1U);
}

TEST_F(Transaction, SavesWithoutAWordOfItsOwn) {
    Save({"N1", "N2"});
    EXPECT_EQ(Stored(), (Codes{"N1", "N2"}));
    EXPECT_THAT(
        fakes::Set().Messages("m_SqlExecute"),
        ElementsAre(
            "m_SqlExecute query : DELETE FROM remainingTBL",
            testing::StartsWith("m_SqlExecute query : INSERT INTO remainingTBL VALUES (\"1\",\"N1\","),
            testing::StartsWith("m_SqlExecute query : INSERT INTO remainingTBL VALUES (\"1\",\"N2\",")));
}

TEST_F(Transaction, SyncsAsOftenForManyRowsAsForOne) {
    for (const std::size_t rows : {1U, 10U, 100U}) {
        const std::size_t before = disk::SyncCount();
        Save(Many(rows));
        EXPECT_EQ(disk::SyncCount() - before, 10U) << rows << " rows";
        EXPECT_EQ(Stored().size(), rows);
    }
}

TEST_F(Transaction, LeavesOutOnlyTheRowThatBreaksItsStatement) {
    Save({"N1", "say \"no\"", "N3"});
    EXPECT_EQ(Stored(), (Codes{"N1", "N3"}));
    EXPECT_EQ(SqlErrors().size(), 1U);
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 1U);
}

// The first row is stored by the time that its text goes on.
TEST_F(Transaction, LeavesOutWhatFollowsAWordThatWouldEndTheTransaction) {
    for (const char* word : {"COMMIT", "ROLLBACK", "BEGIN", "SAVEPOINT a"}) {
        SCOPED_TRACE(word);
        fakes::Set().log.clear();
        const std::string fourteen = R"(N2","","","","","","","","","","","",""); )";
        Save({"N1", fourteen + word + "; --", "N3"});
        EXPECT_EQ(Stored(), (Codes{"N1", "N2", "N3"}));
        EXPECT_THAT(SqlErrors(), ElementsAre("ERROR: sql execute is fail!! ( not authorized )"));
        EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 1U);
    }
}

TEST_F(Transaction, LeavesOutOnlyTheRowThatAForeignTableRefuses) {
    const char* const columns[] = {
        "issue_code TEXT CHECK(issue_code <> 'N2')", "issue_code TEXT CHECK(length(issue_code) <> 4)",
        "issue_code INTEGER PRIMARY KEY", "issue_code TEXT NOT NULL UNIQUE ON CONFLICT FAIL"};
    const Codes lists[] = {{"1", "N2", "3"}, {"1", "four", "3"}, {"1", "word", "3"}, {"1", "1", "3"}};
    for (std::size_t i = 0; i < 4; ++i) {
        SCOPED_TRACE(columns[i]);
        database::Query(database::kRemaining, "DROP TABLE remainingTBL");
        database::Query(
            database::kRemaining,
            std::string("CREATE TABLE remainingTBL(idx, ") + columns[i] +
                ", is_fix, last_time, sol_type, sid_issue, sid_sol, sid_button1, sid_button2, action, "
                "toast1, toast2, source, view_authority)");
        fakes::Set().log.clear();
        Save(lists[i]);
        EXPECT_EQ(Stored(), (Codes{"1", "3"}));
        EXPECT_EQ(SqlErrors().size(), 1U);
        EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 1U);
    }
}

TEST_F(Transaction, LeavesOutOnlyTheRowThatIsLongerThanAnyMayBe) {
    Save({"N1", std::string(17 << 20, 'x'), "N3"});
    EXPECT_EQ(Stored(), (Codes{"N1", "N3"}));
    EXPECT_EQ(SqlErrors().size(), 1U);
}

TEST_F(Transaction, LeavesOutOnlyTheRowWhoseTextEqualsItsLast) {
    Save({"N1", "USER", "N3"});
    EXPECT_EQ(Stored(), (Codes{"N1", "N3"}));
    EXPECT_EQ(SqlErrors().size(), 1U);
}

TEST_F(Transaction, KeepsTheOldListWhenAReaderBlocksTheDeletion) {
    database::Connection reader(database::kRemaining);
    reader.Query("BEGIN");
    EXPECT_EQ(reader.Value("SELECT count(*) FROM remainingTBL"), "3");
    Save(kNew);
    EXPECT_THAT(SqlErrors(), ElementsAre("ERROR: sql execute is fail!! ( database is locked )"));
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 0U);
    reader.Query("COMMIT");
    EXPECT_EQ(Stored(), kOld);
    Save(kNew);
    EXPECT_EQ(Stored(), kNew);
}

// While a commit waits nobody else begins to read.
TEST_F(Transaction, WaitsForThoseWhoStillRead) {
    database::Connection reader(database::kRemaining);
    reader.Query("BEGIN");
    EXPECT_EQ(reader.Value("SELECT count(*) FROM remainingTBL"), "3");
    std::thread otherProcess([&] {
        while (CanRead()) {
        }
        reader.Query("COMMIT");
    });
    Save(kNew);
    otherProcess.join();
    EXPECT_THAT(SqlErrors(), IsEmpty());
    EXPECT_EQ(Stored(), kNew);
}

// Readers do not hinder the inserts, only their commit.
TEST_F(Transaction, SavesNothingWhenAReaderBlocksTheCommit) {
    database::Connection reader(database::kRemaining);
    bool reading = false;
    fakes::Set().onCall = [&](const std::string& call) {
        if (!reading && call == "CUtils::GetChannelType()") {
            reader.Query("BEGIN");
            reader.Query("SELECT * FROM remainingTBL");
            reading = true;
        }
    };
    Save(kNew);
    fakes::Set().onCall = nullptr;
    EXPECT_THAT(SqlErrors(), ElementsAre("ERROR: sql execute is fail!! ( database is locked )"));
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 0U);
    reader.Query("COMMIT");
    EXPECT_THAT(Stored(), IsEmpty());
}

TEST_F(Transaction, SavesNothingWhileSomebodyElseWrites) {
    database::Connection writer(database::kRemaining);
    writer.Query("BEGIN IMMEDIATE");
    Save(kNew);
    EXPECT_EQ(SqlErrors().size(), 1 + kNew.size());
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), kNew.size());
    writer.Query("ROLLBACK");
    EXPECT_EQ(Stored(), kOld);
}

// Somebody holds the table while it is to be cleared, and is gone before the rows come.
TEST_F(Transaction, AddsNothingToAListThatCouldNotBeCleared) {
    database::Connection writer(database::kRemaining);
    writer.Query("BEGIN IMMEDIATE");
    bool writing = true;
    fakes::Set().onCall = [&](const std::string& call) {
        if (writing && call == "CUtils::GetChannelType()") {
            writer.Query("ROLLBACK");
            writing = false;
        }
    };
    Save(kNew);
    fakes::Set().onCall = nullptr;
    EXPECT_EQ(Count("ERROR: remainingTBL column delete is fail!!"), 1U);
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 0U);
    EXPECT_EQ(Stored(), kOld);
    Save(kNew);
    EXPECT_EQ(Stored(), kNew);
}

// Somebody writes when the first row is inserted and is gone before the second: the first is lost, and half a
// list must not remain of the others.
TEST_F(Transaction, SavesNothingWhenOnlyTheFirstRowWasLockedOut) {
    database::Connection writer(database::kRemaining);
    std::size_t rows = 0;
    fakes::Set().onCall = [&](const std::string& call) {
        // Asked for every row before it is inserted.
        if (call == "CUtils::GetChannelType()") {
            writer.Query(++rows == 1 ? "BEGIN IMMEDIATE" : rows == 2 ? "ROLLBACK" : "SELECT 1");
        }
    };
    Save(kNew);
    fakes::Set().onCall = nullptr;
    EXPECT_EQ(rows, kNew.size());
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 1U);
    EXPECT_THAT(Stored(), IsEmpty());
}

TEST_F(Transaction, RunsAsBeforeWhenItCannotBegin) {
    fs::remove_all(database::kFolder);
    Save(kNew);
    // Create, flush, create, and every row: all on a connection that could not be opened.
    EXPECT_EQ(SqlErrors().size(), 3 + kNew.size());
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), kNew.size());
    EXPECT_FALSE(fs::exists(database::kFolder));
    fs::create_directories(database::kFolder);
    Save(kNew);
    EXPECT_EQ(Stored(), kNew);
}

TEST_F(Transaction, LogsACommitThatFailsAndTakesTheRowsBack) {
    // The deletion syncs five times; the next one is the commit's.
    {
        const disk::Failing failing({disk::Operation::kSync, EIO, 6});
        Save(kNew);
        ASSERT_TRUE(disk::Failing::Struck());
    }
    EXPECT_THAT(SqlErrors(), ElementsAre("ERROR: sql execute is fail!! ( disk I/O error )"));
    EXPECT_EQ(Count("ERROR: remainingTBL table insert is fail!!"), 0U);
    EXPECT_THAT(Stored(), IsEmpty());
    Save(kNew);
    EXPECT_EQ(Stored(), kNew);
}

TEST_F(Transaction, LeavesTheOldListOrNoneOrTheWholeNewOneWhateverFails) {
    const Codes manyNew = Many(40);
    const std::size_t faults = WithEveryFault([] { Save(kOld); }, [&] { Save(manyNew); },
                                              [&] { EXPECT_THAT(Stored(), AnyOf(kOld, Codes{}, manyNew)); });
    EXPECT_GT(faults, 60U);
}

// The list is larger than SQLite's cache, so that pages are written, and may fail, before the commit.
TEST_F(Transaction, LeavesNoHalfOfAListThatSpillsFromTheCache) {
    Codes large = Many(6);
    for (std::string& code : large) {
        code += std::string(900000, 'x');
    }
    for (const std::size_t at : {3U, 300U, 600U, 900U, 1200U}) {
        for (const bool everAfter : {false, true}) {
            SCOPED_TRACE(at);
            Save(kOld);
            fakes::Set().log.clear();
            {
                const disk::Failing full({disk::Operation::kWrite, ENOSPC, at, everAfter});
                Save(large);
                ASSERT_TRUE(disk::Failing::Struck());
            }
            EXPECT_EQ(Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
            const Codes stored = Stored();
            EXPECT_TRUE(stored == kOld || stored.empty() || stored == large) << stored.size();
            EXPECT_THAT(SqlErrors(), Not(IsEmpty()));
        }
    }
}

TEST_F(Transaction, LoadsTheListOrPartOfItsColumnsWhateverFails) {
    const std::size_t faults = WithEveryFault([] { Save(kOld); },
                                              [] {
                                                  try {
                                                      EXPECT_LE(Load().size(), kOld.size());
                                                  } catch (const std::out_of_range&) {
                                                      // A column is shorter than the first one: the load says
                                                      // so itself.
                                                  }
                                              },
                                              [] { EXPECT_EQ(Stored(), kOld); });
    EXPECT_GT(faults, 10U);
    EXPECT_EQ(Load(), kOld);
}

TEST_F(Transaction, DeletesTheIssueOrNothingWhateverFails) {
    const std::size_t faults = WithEveryFault(
        [] { Save(kOld); }, [] { KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn("O2"); },
        [] {
            EXPECT_THAT(Stored(), AnyOf(kOld, Codes{"O1", "O3"}));
        });
    EXPECT_GT(faults, 20U);
}

TEST_F(Transaction, ReadsFourteenColumnsAndLetsGoOfTheTable) {
    database::Connection writer(database::kRemaining);
    EXPECT_EQ(Load(), kOld);
    EXPECT_EQ(Count("QUERY : SELECT "), 14U);
    EXPECT_EQ(Count("ERROR"), 0U);
    writer.Query("DELETE FROM remainingTBL WHERE issue_code='O1'");
    EXPECT_EQ(Load(), (Codes{"O2", "O3"}));
}

// The columns of one load come from one state of the table, whoever writes in between.
TEST_F(Transaction, LoadsOneStateOfTheTable) {
    fakes::Set().keepRecords = false;
    std::atomic<bool> loading{true};
    std::thread otherProcess([&] {
        database::Connection writer(database::kRemaining);
        writer.Query("PRAGMA busy_timeout = 60000");
        for (int state = 0; loading; ++state) {
            const std::string text = std::to_string(state);
            writer.Query("BEGIN IMMEDIATE");
            writer.Query("DELETE FROM remainingTBL");
            for (int row = 0; row < 1 + state % 5; ++row) {
                writer.Query("INSERT INTO remainingTBL VALUES ('1','" + text +
                             "','0','','','','','','','','','','','" + text + "')");
            }
            writer.Query("COMMIT");
        }
    });
    std::size_t loaded = 0;
    for (int i = 0; i < 500; ++i) {
        KURA_DiagResultManager& manager = *KURA_DiagResultManager::GetInstance();
        EXPECT_NO_THROW(manager.LoadRemainingProblems());
        std::vector<MapToDBTable> rows;
        manager.GetRemainingTable(rows);
        for (const MapToDBTable& row : rows) {
            EXPECT_TRUE(row.issue_code == row.view_authority || row.view_authority == "USER");
            ++loaded;
        }
    }
    loading = false;
    otherProcess.join();
    EXPECT_GT(loaded, 0U);
}
