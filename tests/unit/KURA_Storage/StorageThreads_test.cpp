#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "Fakes.h"
#include "KURA_SolutionMap.h"
#include "KURA_Storage.h"

using KURA::KURA_Solution;
using KURA::TCInformationStorage;
using KURA::TSCurrentKURAMap;

namespace {

using Solutions = std::vector<KURA_Solution>;

Solutions MakeMany(std::size_t count, const std::string& mark) {
    return Solutions(count, KURA_Solution(mark, mark, mark, mark, mark, mark, mark, mark, mark, mark, mark,
                                          mark, mark, mark, mark));
}

bool IsWhole(const Solutions& solutions) {
    if (solutions.empty()) {
        return true;
    }
    const std::string& mark = solutions.front().issue_code;
    if (solutions.size() != (mark == "old" ? 20U : 30U)) {
        return false;
    }
    for (const KURA_Solution& solution : solutions) {
        if (solution.issue_code != mark || solution.view_authority != mark) {
            return false;
        }
    }
    return true;
}

}  // namespace

TEST(StorageThreads, IsTheSameForAll) {
    std::vector<std::future<TCInformationStorage*>> found;
    for (int i = 0; i < 8; ++i) {
        found.push_back(std::async(std::launch::async, [] { return TCInformationStorage::Instance(); }));
    }
    for (auto& each : found) {
        EXPECT_EQ(each.get(), TCInformationStorage::Instance());
    }
}

TEST(StorageThreads, WaitForTheMutexInEveryOperation) {
    fakes::Set().keepRecords = false;
    auto* store = TCInformationStorage::Instance();
    unsigned int number = 0;
    Solutions out;
    TSCurrentKURAMap summary;
    const std::vector<std::function<void()>> operations = {
        [] { TCInformationStorage::Instance(); },
        [&] { store->Initialize(); },
        [&] { store->ResetInformationStorage(); },
        [&] { store->SetSMVersion(1); },
        [&] { store->GetSMVersion(number); },
        [&] { store->SetSMCount(1); },
        [&] { store->GetSMCount(number); },
        [&] { store->SetSolutionInformation(1, {}); },
        [&] { store->GetSolutionInformation(number, out); },
        [&] { store->GetSolutionsOfIssue("1", out); },
        [&] { store->GetKURAMapInformation(summary); },
    };
    for (std::size_t i = 0; i < operations.size(); ++i) {
        std::atomic<bool> done{false};
        KURA::m_KURAmutex.lock();
        std::promise<void> begun;
        std::thread other([&] {
            begun.set_value();
            operations[i]();
            done = true;
        });
        begun.get_future().wait();
        for (int yields = 0; yields < 200; ++yields) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(done) << "operation " << i;
        KURA::m_KURAmutex.unlock();
        other.join();
        EXPECT_TRUE(done) << "operation " << i;
    }
}

TEST(StorageThreads, SeeAWholeMapOrNoneWhileItIsReplaced) {
    fakes::Set().keepRecords = false;
    auto* store = TCInformationStorage::Instance();
    std::atomic<bool> stop{false};
    std::atomic<int> torn{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 2; ++i) {
        readers.emplace_back([&, i] {
            while (!stop) {
                unsigned int count = 0;
                Solutions out;
                TSCurrentKURAMap summary;
                if (i == 0) {
                    store->GetSolutionInformation(count, out);
                } else {
                    store->GetKURAMapInformation(summary);
                    out.swap(summary.solutions);
                }
                torn += IsWhole(out) ? 0 : 1;
            }
        });
    }
    for (int round = 0; round < 200; ++round) {
        store->Initialize();
        store->SetSolutionInformation(20, MakeMany(20, "old"));
        store->Initialize();
        store->SetSolutionInformation(30, MakeMany(30, "new"));
    }
    stop = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(torn, 0);
}
