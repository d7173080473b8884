// The power is cut at every moment of a save and of a deletion, on a disk that had written what was not yet
// synced in part, out of order, or not at all. The list that the next start finds is the one before, none, or
// the whole new one; once the work has returned it is the new one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "MemoryDisk.h"
#include "RemainingList.h"
#include "trust/Trust.h"

using remaining::Codes;

namespace {

const Codes kOld = {"O1", "O2", "O3"};

using Arrived = MemoryDisk::Arrived;

/// What may be found after a cut.
struct Allowed {
    std::vector<Codes> during;
    Codes after;  ///< once the work has returned
};

std::size_t g_cuts = 0;

void ExpectAfterCut(std::size_t moment, Arrived arrived, std::mt19937& random, const Allowed& allowed) {
    const std::size_t moments = MemoryDisk::Instance().Moments();
    MemoryDisk::Instance().CutPower(moment, arrived, random);
    ++g_cuts;
    Codes found;
    ASSERT_NO_THROW(found = remaining::Load());
    EXPECT_EQ(database::Value(database::kRemaining, "PRAGMA integrity_check"), "ok");
    EXPECT_EQ(found, remaining::Stored());
    if (moment == moments) {
        EXPECT_EQ(found, allowed.after);
    } else {
        const bool known =
            std::find(allowed.during.begin(), allowed.during.end(), found) != allowed.during.end();
        EXPECT_TRUE(known) << found.size() << " rows";
    }
}

/// Runs work once and cuts the power after every step-th of its moments.
void CutEverywhere(const std::function<void()>& work, const Allowed& allowed, std::size_t variants,
                   std::size_t step) {
    trust::Watch();
    fakes::Set().keepRecords = false;
    MemoryDisk& disk = MemoryDisk::Instance();
    disk.Format();
    remaining::Save(kOld);
    ASSERT_EQ(remaining::Stored(), kOld);
    disk.StartRecording();
    work();
    const std::size_t moments = disk.Moments();
    ASSERT_GT(moments, 8U);
    std::mt19937 random(20260131);
    for (std::size_t moment = 0; moment <= moments;
         moment += moment == moments ? 1 : std::min(step, moments - moment)) {
        SCOPED_TRACE("cut after moment " + std::to_string(moment) + " of " + std::to_string(moments));
        ExpectAfterCut(moment, Arrived::kNothing, random, allowed);
        ExpectAfterCut(moment, Arrived::kEverything, random, allowed);
        for (std::size_t i = 0; i < variants; ++i) {
            SCOPED_TRACE("variant " + std::to_string(i));
            ExpectAfterCut(moment, Arrived::kSomething, random, allowed);
            if (testing::Test::HasFailure()) {
                return;
            }
        }
    }
    const Codes next = {"next"};
    remaining::Save(next);
    EXPECT_EQ(remaining::Stored(), next) << "and a save goes on from there";
}

}  // namespace

TEST(PowerCut, LeavesTheOldListOrNoneOrTheWholeNewOne) {
    const Codes many = remaining::Many(120);
    CutEverywhere([&] { remaining::Save(many); }, {{kOld, {}, many}, many}, trust::Count(30, 400), 1);
    trust::Report("Cut of power", "save: every moment, unsynced writes dropped, torn, reordered", g_cuts);
}

TEST(PowerCut, LeavesTheListWithOrWithoutTheIssueThatIsDeleted) {
    const Codes rest = {"O1", "O3"};
    CutEverywhere([] { KURA::KURA_DiagResultManager::GetInstance()->DeleteRemainingDBColumn("O2"); },
                  {{kOld, rest}, rest}, trust::Count(60, 800), 1);
    trust::Report("Cut of power", "deletion: every moment, unsynced writes dropped, torn, reordered", g_cuts);
}

// Pages of such a list are written long before the commit, over those of the old one.
TEST(PowerCut, LeavesNoHalfOfAListThatSpillsFromTheCache) {
    Codes large = remaining::Many(6);
    for (std::string& code : large) {
        code += std::string(700000, 'x');
    }
    CutEverywhere([&] { remaining::Save(large); }, {{kOld, {}, large}, large}, trust::Count(1, 10),
                  trust::Factor() == 1 ? 150 : 15);
    trust::Report("Cut of power", "save larger than the cache", g_cuts);
}
