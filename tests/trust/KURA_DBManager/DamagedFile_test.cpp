// The store's file damaged in every way that a disk or a stranger finds: bytes flipped, cut short, set to
// zero, another head, a journal of junk beside it. Operations fail and say so, or they do not fail; nothing
// crashes, throws anything but what is documented, or stays open.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Database.h"
#include "Fakes.h"
#include "KURA_DiagResultManager.h"
#include "Operations.h"
#include "trust/Trust.h"

using operations::HasToldSince;
using operations::Read;
using operations::TryEverything;
using operations::Write;

namespace fs = std::filesystem;

namespace {

constexpr const char* kJournal = "/opt/usr/home/owner/share/remaining.db-journal";
/// Where a journal has the file's number of pages, followed by the sizes of a sector and of a page.
constexpr std::size_t kJournalPages = 16;

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
    fakes::Set().events.clear();
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

constexpr std::size_t kPage = 4096;
constexpr std::size_t kHead = 100;

/// One kind of damage to the bytes of the whole file.
struct Kind {
    const char* name;
    bool onlyLoses;     ///< no more rows than there were
    bool tearsColumns;  ///< some loads find fewer rows in one column than in another
    std::function<std::string(std::string whole, std::mt19937& random)> damage;
};

std::string Flip(std::string whole, std::mt19937& random) {
    const std::size_t flips = 1 + random() % 8;
    for (std::size_t i = 0; i < flips; ++i) {
        // The head of the file and of its pages decides most; half of the flips go there.
        const std::size_t at = i % 2 == 0 ? random() % whole.size() : random() % 2 * kPage + random() % 128;
        whole[at] = static_cast<char>(random());
    }
    return whole;
}

std::string Truncate(std::string whole, std::mt19937& random) {
    whole.resize(random() % whole.size());
    return whole;
}

std::string Zero(std::string whole, std::mt19937& random) {
    const std::size_t from = random() % whole.size();
    const std::size_t count = 1 + random() % (whole.size() - from);
    return whole.replace(from, count, count, '\0');
}

std::string Behead(std::string whole, std::mt19937& random) {
    // Behind the magic, or the file is simply none of SQLite's.
    const std::size_t from = 16 + random() % (kHead - 16);
    for (std::size_t at = from; at < std::min(from + 1 + random() % 16, kHead); ++at) {
        whole[at] = static_cast<char>(random());
    }
    return whole;
}

class DamagedFile : public testing::TestWithParam<Kind> {
protected:
    void SetUp() override {
        trust::Watch();
        operations::MakeStore();
    }
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedFile,
                         testing::Values(Kind{"Flipped", false, true, Flip},
                                         Kind{"Truncated", true, false, Truncate},
                                         Kind{"Zeroed", false, true, Zero},
                                         Kind{"Beheaded", false, false, Behead}),
                         [](const auto& test) { return test.param.name; });

TEST_P(DamagedFile, IsSurvived) {
    const std::string whole = Read(database::kRemaining);
    ASSERT_EQ(whole.size(), 2 * kPage);
    std::mt19937 random(20260131);
    Harm harm;
    const std::size_t rounds = trust::Count(1000, 24000);
    for (std::size_t round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        const std::string damaged = GetParam().damage(whole, random);
        const std::vector<std::string> values = Survive([&] { Write(database::kRemaining, damaged); }, harm);
        EXPECT_TRUE(!GetParam().onlyLoses || values.size() <= 3) << values.size() << " rows";
    }
    EXPECT_GT(harm.failedOperations, 0);
    EXPECT_GT(harm.rowsLoaded, 0);
    EXPECT_TRUE(!GetParam().tearsColumns || harm.shortColumns > 0);
    trust::Report("Damaged database", GetParam().name, rounds);
}

TEST(JunkJournal, IsSurvived) {
    trust::Watch();
    operations::MakeStore();
    const std::string whole = Read(database::kRemaining);
    const std::string magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    std::mt19937 random(20260131);
    Harm harm;
    const std::size_t rounds = trust::Count(300, 4000);
    for (std::size_t round = 0; round < rounds && !HasFailure(); ++round) {
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
    trust::Report("Damaged database", "junk journal", rounds);
}
