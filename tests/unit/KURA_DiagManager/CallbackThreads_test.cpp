// Completions on several threads of the engine while the host calls in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Fakes.h"
#include "KURA_DiagManager.h"
#include "KURA_DiagResultManager.h"
#include "SetUp.h"

using fakes::Set;
using KURA::KURA_DiagManager;
using KURA::KURA_DiagResultManager;

namespace {

constexpr int kRounds = 40;
constexpr std::size_t kThreads = 6;

/// Runs every task on a thread of its own, all of them rounds times.
void Together(int rounds, const std::vector<std::function<void()>>& tasks) {
    std::atomic<std::size_t> ready{0};
    std::vector<std::thread> threads;
    for (const std::function<void()>& task : tasks) {
        threads.emplace_back([&] {
            ++ready;
            while (ready < tasks.size()) {
                std::this_thread::yield();
            }
            for (int round = 0; round < rounds; ++round) {
                task();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

bool StartsWith(const std::string& text, const char* start) {
    return text.rfind(start, 0) == 0;
}

}  // namespace

TEST(CallbackThreads, CreateOneManager) {
    setup::Install();
    std::atomic<int> next{0};
    std::vector<KURA_DiagManager*> managers(kThreads);
    std::vector<KURA_DiagResultManager*> results(kThreads);
    const std::function<void()> create = [&] {
        const auto mine = static_cast<std::size_t>(next++);
        managers[mine] = KURA_DiagManager::GetInstance();
        results[mine] = KURA_DiagResultManager::GetInstance();
    };
    Together(1, std::vector<std::function<void()>>(kThreads, create));
    EXPECT_EQ(std::set<KURA_DiagManager*>(managers.begin(), managers.end()).size(), 1U);
    EXPECT_EQ(std::set<KURA_DiagResultManager*>(results.begin(), results.end()).size(), 1U);
    EXPECT_EQ(Set().Messages("createLibHandler").front(), "create Lib Handler");
    EXPECT_EQ(Set().Messages("createLibHandler").size(), 3U);
}

TEST(CallbackThreads, PublishOneAfterTheOtherWhileTheHostCalls) {
    setup::Install();
    KURA_DiagManager* manager = KURA_DiagManager::GetInstance();
    KURA_DiagResultManager* results = KURA_DiagResultManager::GetInstance();
    Set().keepRecords = false;
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::atomic<int> published{0};
    Set().onCall = [&](const std::string& call) {
        if (StartsWith(call, "CStartKH::") || StartsWith(call, "CHomeScreen::") ||
            StartsWith(call, "CUtils::m_pGetLaunchFrom")) {
            const int now = ++inside;
            most = now > most ? now : most.load();
            ++published;
            std::this_thread::yield();
            --inside;
        }
    };
    const WMSignalData signal{};
    Together(kRounds, {
                          [&] { KURA_DiagManager::SolutionCallbackFunc(0, signal); },
                          [&] { KURA_DiagManager::RemainingCallbackFunc(0, signal); },
                          [&] { KURA_DiagManager::TutorCallbackFunc(0, signal); },
                          [&] { KURA_DiagManager::SolutionCallbackFunc(0, signal); },
                          [&] {
                              manager->StartAutoDiagnosis();
                              manager->RemainingProblem();
                              manager->StartTutorDiagnosis();
                              manager->SetIsCallBackFinish(false);
                          },
                          [&] {
                              manager->StartAutoDiagnosis();
                              results->DeleteRemainingDBColumn("5");
                              results->LoadRemainingProblems();
                              KURA_DiagManager::GetInstance()->GetExitFlag();
                          },
                          [&] { results->ClearRemainingProblems(); },
                      });
    EXPECT_EQ(most, 1);
    EXPECT_EQ(published, 4 * kRounds);
    EXPECT_EQ(Set().subscriptions.size(), 4U * kRounds);
    Set().onCall = nullptr;

    // The last word is a whole list: one more run leaves exactly what it found.
    Set().keepRecords = true;
    KURA_DiagManager::SolutionCallbackFunc(0, signal);
    ASSERT_EQ(Set().startScreenLists.size(), 1U);
    EXPECT_EQ(Set().startScreenLists[0].size(), 2U);
    EXPECT_TRUE(results->LoadRemainingProblems());
}

TEST(CallbackThreads, HandTheListOverBeforeTheLockIsReleased) {
    setup::Install();
    KURA_DiagManager::GetInstance();
    for (const bool automatic : {true, false}) {
        std::future<void> other;
        std::future_status during = std::future_status::deferred;
        Set().onCall = [&](const std::string& call) {
            if (StartsWith(call, "CStartKH::") || StartsWith(call, "CHomeScreen::")) {
                other = std::async(std::launch::async,
                                   [] { KURA_DiagResultManager::GetInstance()->ClearRemainingProblems(); });
                during = other.wait_for(std::chrono::milliseconds(50));
            }
        };
        if (automatic) {
            KURA_DiagResultManager::GetInstance()->CreateErrorList();
        } else {
            KURA_DiagResultManager::GetInstance()->CompareRemaining();
        }
        EXPECT_EQ(during, std::future_status::timeout) << automatic;
        ASSERT_TRUE(other.valid());
        other.get();
    }
    Set().onCall = nullptr;
}

TEST(CallbackThreads, KeepTheManagersLockWhileTheyPublish) {
    setup::Install();
    KURA_DiagManager::GetInstance();
    std::future<KURA_DiagManager*> other;
    std::future_status during = std::future_status::deferred;
    Set().onCall = [&](const std::string& call) {
        if (StartsWith(call, "CStartKH::")) {
            other = std::async(std::launch::async, KURA_DiagManager::GetInstance);
            during = other.wait_for(std::chrono::milliseconds(50));
        }
    };
    KURA_DiagManager::SolutionCallbackFunc(0, WMSignalData{});
    EXPECT_EQ(during, std::future_status::timeout);
    ASSERT_TRUE(other.valid());
    EXPECT_EQ(other.get(), KURA_DiagManager::GetInstance());
    Set().onCall = nullptr;
}

TEST(CallbackThreads, LetAScreenAskForTheResultManagerFromAnyThread) {
    setup::Install();
    KURA_DiagManager::GetInstance();
    KURA_DiagResultManager* asked = nullptr;
    Set().onCall = [&](const std::string& call) {
        if (StartsWith(call, "CStartKH::")) {
            asked = std::async(std::launch::async, KURA_DiagResultManager::GetInstance).get();
        }
    };
    KURA_DiagManager::SolutionCallbackFunc(0, WMSignalData{});
    EXPECT_EQ(asked, KURA_DiagResultManager::GetInstance());
    Set().onCall = nullptr;
}
