// What reads and writes cost in memory, and that none of them leaves half a list when it runs out. This
// program stands in front of operator new to count its pieces and to refuse one of them.
#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"
#include "RefusedMemory.h"

using KURA::KURA_Solution;
using KURA::TCInformationStorage;
using KURA::TSCurrentKURAMap;

namespace {

using Solutions = std::vector<KURA_Solution>;

/// Refuses the piece after so many others, while it lives.
class Refusal {
public:
    explicit Refusal(std::size_t left) { fakes::refusal.Begin(left); }
    ~Refusal() { fakes::refusal.End(); }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;
};

KURA_Solution Make(const std::string& code) {
    const std::string text = " of a length that no record holds inside";
    KURA_Solution solution(code, code + text, code + text, "", "", "", "", "", "", "", "", "", "", "", "");
    solution.sol_val = {{code + text, "type"}};
    return solution;
}

Solutions MakeMany(std::size_t count) {
    Solutions solutions;
    for (std::size_t i = 0; i < count; ++i) {
        solutions.push_back(Make(std::to_string(i)));
    }
    return solutions;
}

TCInformationStorage& Store() {
    return *TCInformationStorage::Instance();
}

}  // namespace

TEST(StorageMemory, TakesAMovedVectorWithoutACopy) {
    Store().Initialize();
    Solutions given = MakeMany(20);
    const std::size_t before = fakes::refusal.pieces;
    Store().SetSolutionInformation(20, std::move(given));
    EXPECT_EQ(fakes::refusal.pieces - before, 0U);
}

TEST(StorageMemory, AppendsAMovedVectorWithoutCopyingARecord) {
    Store().SetSolutionInformation(20, MakeMany(20));
    Solutions given = MakeMany(20);
    const std::size_t before = fakes::refusal.pieces;
    Store().SetSolutionInformation(20, std::move(given));
    EXPECT_EQ(fakes::refusal.pieces - before, 1U) << "room for the longer list";
}

TEST(StorageMemory, ReadsWithOneDeepCopy) {
    fakes::Set().keepRecords = false;
    const Solutions solutions = MakeMany(20);
    Store().SetSolutionInformation(20, solutions);
    Solutions copy;
    std::size_t before = fakes::refusal.pieces;
    copy = solutions;
    const std::size_t deepCopy = fakes::refusal.pieces - before;

    TSCurrentKURAMap summary;
    before = fakes::refusal.pieces;
    Store().GetKURAMapInformation(summary);
    EXPECT_EQ(fakes::refusal.pieces - before, deepCopy);
    EXPECT_EQ(summary.solutions.size(), copy.size());

    unsigned int count = 0;
    Solutions out;
    before = fakes::refusal.pieces;
    Store().GetSolutionInformation(count, out);
    EXPECT_EQ(fakes::refusal.pieces - before, deepCopy);
    EXPECT_EQ(out.size(), copy.size());
    EXPECT_GT(deepCopy, copy.size());
}

TEST(StorageMemory, LeavesTheReadersListWholeWhicheverPieceIsRefused) {
    fakes::Set().keepRecords = false;
    Store().SetSMVersion(8);
    Store().SetSolutionInformation(9, MakeMany(3));
    int refused = 0;
    for (std::size_t n = 0;; ++n) {
        unsigned int count = 77;
        Solutions out = {Make("held")};
        try {
            const Refusal refusal(n);
            Store().GetSolutionInformation(count, out);
        } catch (const std::bad_alloc&) {
            ++refused;
            ASSERT_EQ(count, 77U) << "piece " << n;
            ASSERT_EQ(out.size(), 1U) << "piece " << n;
            ASSERT_EQ(out[0].issue_code, "held") << "piece " << n;
            ASSERT_TRUE(KURA::m_KURAmutex.try_lock()) << "piece " << n;
            KURA::m_KURAmutex.unlock();
            continue;
        }
        EXPECT_EQ(out.size(), 4U);
        EXPECT_EQ(count, 9U);
        break;
    }
    EXPECT_GT(refused, 9);
}

TEST(StorageMemory, LeavesTheSummaryWholeWhicheverPieceIsRefused) {
    Store().SetSMVersion(8);
    Store().SetSolutionInformation(9, MakeMany(3));
    int refused = 0;
    for (std::size_t n = 0;; ++n) {
        TSCurrentKURAMap summary;
        summary.version = 1;
        summary.count = 2;
        summary.solutions = {Make("held")};
        try {
            const Refusal refusal(n);
            Store().GetKURAMapInformation(summary);
        } catch (const std::bad_alloc&) {
            ++refused;
            ASSERT_EQ(summary.version, 1U) << "piece " << n;
            ASSERT_EQ(summary.count, 2U) << "piece " << n;
            ASSERT_EQ(summary.solutions.size(), 1U) << "piece " << n;
            ASSERT_EQ(summary.solutions[0].issue_code, "held") << "piece " << n;
            ASSERT_TRUE(KURA::m_KURAmutex.try_lock()) << "piece " << n;
            KURA::m_KURAmutex.unlock();
            continue;
        }
        EXPECT_EQ(summary.version, 8U);
        EXPECT_EQ(summary.solutions.size(), 3U);
        break;
    }
    EXPECT_GT(refused, 9);
}

TEST(StorageMemory, LeavesTheFoundSolutionsWholeWhicheverPieceIsRefused) {
    fakes::Set().keepRecords = false;
    Solutions stored = MakeMany(3);
    stored[2].issue_code = "0";
    Store().SetSolutionInformation(3, std::move(stored));
    const std::string code = "0";
    int refused = 0;
    for (std::size_t n = 0;; ++n) {
        Solutions out = {Make("held")};
        try {
            const Refusal refusal(n);
            Store().GetSolutionsOfIssue(code, out);
        } catch (const std::bad_alloc&) {
            ++refused;
            ASSERT_EQ(out.size(), 1U) << "piece " << n;
            ASSERT_EQ(out[0].issue_code, "held") << "piece " << n;
            ASSERT_TRUE(KURA::m_KURAmutex.try_lock()) << "piece " << n;
            KURA::m_KURAmutex.unlock();
            continue;
        }
        EXPECT_EQ(out.size(), 3U);
        break;
    }
    EXPECT_GT(refused, 3);
}

TEST(StorageMemory, KeepsTheStoredListAndCountWhenThereIsNoRoomForMore) {
    Store().SetSolutionInformation(3, MakeMany(3));
    Solutions given = MakeMany(3);
    const auto append = [&given] {
        const Refusal refusal(0);
        Store().SetSolutionInformation(6, std::move(given));
    };
    EXPECT_THROW(append(), std::bad_alloc);
    unsigned int count = 0;
    Solutions out;
    Store().GetSolutionInformation(count, out);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(out.size(), 3U);
}
