#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Fakes.h"
#include "KURA_KPISender.h"

using KURA::KURA_KPISender;

TEST(KPISenderThreads, FirstCallersMakeOneInstanceAndGatherOnce) {
    constexpr int kThreads = 8;
    std::atomic<int> waiting{0};
    std::vector<KURA_KPISender*> seen(kThreads, nullptr);
    // Whoever gathers waits until all the others have started, so that they do come in between.
    fakes::Set().onCall = [&](const std::string& call) {
        while (call == "system_info_get_value_string(187)" && waiting < kThreads) {
            std::this_thread::yield();
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            ++waiting;
            seen[static_cast<std::size_t>(i)] = KURA_KPISender::GetInstance();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::set<KURA_KPISender*>(seen.begin(), seen.end()).size(), 1U);
    EXPECT_NE(seen.front(), nullptr);
    EXPECT_EQ(fakes::Set().CountCalls("system_info_get_value_string(187)"), 1U);
    EXPECT_EQ(fakes::Set().CountCalls("vconf_get_str"), 1U);
    EXPECT_EQ(fakes::Set().Messages("KURA_KPISender").size(), 1U);
}

TEST(KPISenderThreads, ReportWhileAnotherWaitsInTheLogger) {
    std::string item = "item";
    bool waited = false;
    fakes::Set().onCall = [&](const std::string& call) {
        if (call.rfind("AddEventLogSync(", 0) == 0 && !waited) {
            waited = true;
            std::thread([] {
                std::string other = "other";
                KURA_KPISender::GetInstance()->SendKurahelpKPI(other.data());
            }).join();
        }
    };
    KURA_KPISender::GetInstance()->SendKurahelpKPI(item.data());
    EXPECT_EQ(fakes::Set().usageEvents.size(), 2U);
}
