// Every operation on the disk fails once, or it and all that follow, in a save, a load and a deletion: what
// could not be done is said in the log, the file stays whole, and the list is one that was asked for.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "MemoryDisk.h"
#include "Operations.h"
#include "RemainingList.h"
#include "trust/Trust.h"

using remaining::Codes;

namespace {

const Codes kOld = {"O1", "O2", "O3"};
const Codes kWithoutSecond = {"O1", "O3"};

/// Lets each operation of work fail in turn, from the store with the old list; check is told whether the log
/// has an error. Returns how many operations failed.
std::size_t FailEachOperation(const std::function<void()>& work, const std::function<void(bool)>& check) {
    trust::Watch();
    MemoryDisk& disk = MemoryDisk::Instance();
    std::size_t faults = 0;
    for (const int error : {SQLITE_IOERR, SQLITE_FULL}) {
        for (const bool everAfter : {false, true}) {
            bool struck = true;
            for (std::size_t at = 1; struck; ++at) {
                SCOPED_TRACE("operation " + std::to_string(at) + (everAfter ? " and after" : "") +
                             (error == SQLITE_FULL ? ", full" : ""));
                disk.Format();
                remaining::Save(kOld);
                fakes::Set().log.clear();
                disk.Arm({at, everAfter, error});
                work();
                struck = disk.Struck();
                disk.Disarm();
                faults += struck ? 1 : 0;
                const bool told = operations::HasToldSince(0);
                EXPECT_EQ(database::Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
                check(told);
            }
        }
    }
    return faults;
}

}  // namespace

TEST(IoError, LeavesASaveDoneOrToldOfInTheLog) {
    // Larger than one page, smaller than the cache.
    const Codes many = remaining::Many(60);
    const std::size_t faults = FailEachOperation(
        [&] { remaining::Save(many); },
        [&](bool told) {
            const Codes stored = remaining::Stored();
            EXPECT_TRUE(stored == kOld || stored.empty() || stored == many) << stored.size() << " rows";
            EXPECT_TRUE(told || stored == many);
        });
    EXPECT_GT(faults, 100U);
    trust::Report("I/O error at the k-th operation", "save, in-memory disk below SQLite, once and for ever",
                  faults);
}

TEST(IoError, LeavesADeletionDoneOrToldOfInTheLog) {
    const std::size_t faults = FailEachOperation(
        [] { KURA::KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn("O2"); },
        [](bool told) {
            const Codes stored = remaining::Stored();
            EXPECT_TRUE(stored == kOld || stored == kWithoutSecond) << stored.size() << " rows";
            EXPECT_TRUE(told || stored == kWithoutSecond);
        });
    EXPECT_GT(faults, 60U);
    trust::Report("I/O error at the k-th operation", "deletion, once and for ever", faults);
}

// A table that cannot be looked up counts as missing, and one that is missing is skipped without an error:
// such a load is an empty list that says so, or ends at the column that came out shorter than the first.
TEST(IoError, LoadsTheWholeListOrNoneUnlessTheLogTellsOfAnError) {
    Codes loaded;
    bool shortColumn = false;
    std::size_t empty = 0;
    const std::size_t faults = FailEachOperation(
        [&] {
            shortColumn = false;
            try {
                loaded = remaining::Load();
            } catch (const std::out_of_range&) {
                shortColumn = true;
            }
        },
        [&](bool told) {
            EXPECT_EQ(remaining::Stored(), kOld);
            if (told || shortColumn || loaded == kOld) {
                return;
            }
            EXPECT_TRUE(loaded.empty()) << loaded.size() << " rows";
            EXPECT_TRUE(fakes::Set().Logged(4, "Remain Problem is empty : 0"));
            ++empty;
        });
    EXPECT_GT(faults, 30U);
    EXPECT_LT(empty, faults / 2) << "most failures are errors";
    trust::Report("I/O error at the k-th operation", "load, once and for ever", faults);
}
