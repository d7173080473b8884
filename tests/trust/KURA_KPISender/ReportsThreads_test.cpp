// Usage reports from several threads. Two at the same time may mix their values; each value must arrive
// whole.
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Fakes.h"
#include "KURA_KPISender.h"
#include "KURA_SO_Interface.h"
#include "Machine.h"
#include "trust/Trust.h"

using KURA::KURA_KPISender;

namespace {

constexpr std::size_t kThreads = 4;
constexpr std::size_t kLongest = 3000;

/// Takes "key" and a value up to the next separator off the front of text. False when something else is
/// there.
bool Take(const std::string& text, std::size_t& at, const std::string& key, std::string& value) {
    if (text.compare(at, key.size(), key) != 0) {
        return false;
    }
    const std::size_t from = at + key.size();
    const std::size_t end = text.find_first_of(";}", from);
    if (end == std::string::npos) {
        return false;
    }
    value = text.substr(from, end - from);
    at = end + 1;
    return true;
}

/// Every report's texts repeat one letter.
bool IsOneLetter(const std::string& value) {
    return value.find_first_not_of(value.substr(0, 1)) == std::string::npos;
}

bool IsWhole(const std::string& call) {
    std::size_t at = call.find('{');
    std::string item;
    std::string status;
    std::string count;
    std::string other;
    bool whole = at != std::string::npos;
    for (const char* key : {"{chip_id=", "sn=", "series=", "platform=", "img_type=", "user_time="}) {
        whole = whole && Take(call, at, key, other);
    }
    whole = whole && Take(call, at, "select_item=", item) && Take(call, at, "status=", status) &&
            Take(call, at, "issue_count=", count);
    for (const char* key : {"issue_clear=", "total_storage=", "remain_storage=", "remain_count="}) {
        whole = whole && Take(call, at, key, other);
    }
    return whole && call.substr(at) == ")" && item.size() <= kLongest && IsOneLetter(item) &&
           (status == "NULL" || IsOneLetter(status)) && IsOneLetter(count);
}

void Report(std::size_t thread, std::size_t reports) {
    KURA_KPISender* sender = KURA_KPISender::GetInstance();
    std::mt19937 random(static_cast<unsigned>(thread));
    std::uniform_int_distribution<std::size_t> length(0, kLongest);
    const char letter = static_cast<char>('a' + thread);
    for (std::size_t i = 0; i < reports; ++i) {
        std::string item(length(random), letter);
        std::string status(length(random), letter);
        switch (i % 4) {
            case 0:
                sender->SendKurahelpKPI(item.data());
                break;
            case 1:
                sender->SendKurahelpKPI(item.data(), status.data());
                break;
            case 2:
                sender->SendKurahelpKPI(item.data(), static_cast<int>(1111111 * (thread + 1)));
                break;
            default:
                SendSelfDiagnosisResult(item.c_str(), status.c_str());
                break;
        }
    }
}

}  // namespace

TEST(ReportsThreads, SendWholeValues) {
    trust::Watch();
    const std::size_t reports = trust::Count(4000, 1000000) / kThreads;
    machine::g_monotonicSeconds = 88;
    std::atomic<std::size_t> whole{0};
    fakes::Set().keepRecords = false;
    fakes::Set().onCall = [&whole](const std::string& call) {
        whole += call.rfind("AddEventLogSync(", 0) == 0 && IsWhole(call) ? 1 : 0;
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
        threads.emplace_back(Report, i, reports);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(whole, kThreads * reports);
    trust::Report("Usage reports", "4 threads, texts of 0 to 3,000 bytes", kThreads * reports);
}
