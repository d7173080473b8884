// Very many diagnoses, remaining lists and repairs in one process. Its memory and descriptors do not grow
// after the first thousand.
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "Host.h"
#include "trust/Trust.h"

using fakes::Set;

/// A sanitizer's own count, where there is one.
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace {

constexpr std::size_t kFirst = 1000;
/// What log lines of another length may differ by, and what the C library keeps of a thread's freed blocks,
/// which it counts as allocated: 12 KiB more after 6,000 diagnoses with glibc 2.41, nothing more without that
/// cache.
constexpr std::size_t kSlackBytes = 32768;
constexpr std::size_t kSlackPages = 256;

std::size_t AllocatedBytes() {
    return __sanitizer_get_current_allocated_bytes != nullptr ? __sanitizer_get_current_allocated_bytes()
                                                              : mallinfo2().uordblks;
}

std::size_t ResidentPages() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm").ignore(32, ' ') >> pages;
    return pages;
}

std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

void ExpectFlat(const char* what, const std::function<void()>& work, std::size_t few, std::size_t all) {
    trust::Watch();
    host::Install();
    KURA::KURA_DiagManager::GetInstance();
    Set().keepRecords = false;
    const std::size_t runs = trust::Count(few, all);
    const std::size_t first = std::min(kFirst, runs / 2);
    for (std::size_t i = 0; i < first; ++i) {
        work();
    }
    const std::size_t bytes = AllocatedBytes();
    const std::size_t pages = ResidentPages();
    const std::ptrdiff_t descriptors = OpenDescriptors();
    for (std::size_t i = first; i < runs; ++i) {
        work();
    }
    EXPECT_LE(AllocatedBytes(), bytes + kSlackBytes);
    EXPECT_EQ(OpenDescriptors(), descriptors);
    if (__sanitizer_get_current_allocated_bytes == nullptr) {
        EXPECT_LE(ResidentPages(), pages + kSlackPages);
    }
    trust::Report("Long run in one process", what, runs);
}

}  // namespace

TEST(LongRun, OfDiagnosesHoldsNoMore) {
    ExpectFlat(
        "automatic diagnoses", [] { KURA::KURA_DiagManager::SolutionCallbackFunc(0, {}); }, 600, 200000);
}

TEST(LongRun, OfRemainingListsHoldsNoMore) {
    KURA::KURA_DiagManager::SolutionCallbackFunc(0, {});
    ExpectFlat(
        "remaining lists", [] { KURA::KURA_DiagManager::RemainingCallbackFunc(0, {}); }, 600, 200000);
}

TEST(LongRun, OfRepairsHoldsNoMore) {
    ExpectFlat(
        "repairs",
        [] {
            RequestApplySolution("9");
            Set().recordedSolutions.clear();
        },
        200, 100000);
}
