#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
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

/// The scheduler's letter for a thread of this process, 'S' for one that waits; '?' once it ended.
char StateOf(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    // "id (name) S ...": the name may hold anything.
    const std::size_t nameEnd = text.rfind(") ");
    return nameEnd == std::string::npos || nameEnd + 2 >= text.size() ? '?' : text[nameEnd + 2];
}

/// Whether a thread comes to wait for something before it is done. It says its id when it begins.
bool FallsAsleep(const std::atomic<pid_t>& thread, const std::atomic<bool>& done) {
    constexpr int kTries = 1000000;
    for (int tries = 0; tries < kTries && !done; ++tries) {
        if (thread != 0 && StateOf(thread) == 'S') {
            return true;
        }
        std::this_thread::yield();
    }
    return false;
}

/// How often one reader met what.
struct Met {
    std::atomic<int> old{0};
    std::atomic<int> fresh{0};
    std::atomic<int> torn{0};

    void Count(const Solutions& solutions) {
        if (!IsWhole(solutions)) {
            ++torn;
        } else if (!solutions.empty()) {
            ++(solutions.front().issue_code == "old" ? old : fresh);
        }
    }
    bool Both() const { return old > 0 && fresh > 0; }
};

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
        [&] { store->SetSolutionMap({}); },
        [&] { store->SetSolutionInformation(1, {}); },
        [&] { store->GetSolutionInformation(number, out); },
        [&] { store->GetSolutionsOfIssue("1", out); },
        [&] { store->GetKURAMapInformation(summary); },
    };
    for (std::size_t i = 0; i < operations.size(); ++i) {
        std::atomic<pid_t> id{0};
        std::atomic<bool> done{false};
        KURA::m_KURAmutex.lock();
        std::thread other([&] {
            id = gettid();
            operations[i]();
            done = true;
        });
        EXPECT_TRUE(FallsAsleep(id, done)) << "operation " << i;
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
    std::array<Met, 2> met;
    std::vector<std::thread> readers;
    for (std::size_t i = 0; i < met.size(); ++i) {
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
                met[i].Count(out);
            }
        });
    }
    constexpr int kRounds = 200;
    constexpr int kMostRounds = 50000;
    const auto goesOn = [&met](int round) {
        return round < kRounds || (round < kMostRounds && !(met[0].Both() && met[1].Both()));
    };
    for (int round = 0; goesOn(round); ++round) {
        Solutions old = MakeMany(20, "old");
        Solutions fresh = MakeMany(30, "new");
        store->Initialize();
        store->SetSolutionInformation(20, std::move(old));
        std::this_thread::yield();
        store->Initialize();
        store->SetSolutionInformation(30, std::move(fresh));
        std::this_thread::yield();
    }
    stop = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    for (const Met& reader : met) {
        EXPECT_GT(reader.old, 0);
        EXPECT_GT(reader.fresh, 0);
        EXPECT_EQ(reader.torn, 0);
    }
}
