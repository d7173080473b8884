// The attacker in a race for a file name.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>

namespace trust {

/// Swaps two names as fast as it can, on a thread of its own, until it goes out of scope.
class Swapper {
public:
    Swapper(std::string one, std::string other)
        : m_one(std::move(one)), m_other(std::move(other)), m_thread([this] { Swap(); }) {}
    Swapper(const Swapper&) = delete;
    Swapper& operator=(const Swapper&) = delete;
    ~Swapper() {
        m_ending = true;
        m_thread.join();
    }
    long Swaps() const { return m_swaps; }

private:
    void Swap() {
        while (!m_ending) {
            if (renameat2(AT_FDCWD, m_one.c_str(), AT_FDCWD, m_other.c_str(), RENAME_EXCHANGE) == 0) {
                ++m_swaps;
            }
        }
    }

    std::string m_one;
    std::string m_other;
    std::atomic<bool> m_ending{false};
    std::atomic<long> m_swaps{0};
    std::thread m_thread;
};

/// Tries so often, and on until the other side had its turns too. Returns how often it was.
template <typename Try>
std::size_t TryOften(const Swapper& swapper, std::size_t wanted, Try attempt) {
    constexpr long kLeastSwaps = 2000;
    std::size_t tries = 0;
    while (tries < wanted || (swapper.Swaps() < kLeastSwaps && tries < 100 * wanted)) {
        attempt();
        ++tries;
    }
    EXPECT_GE(swapper.Swaps(), kLeastSwaps);
    return tries;
}

}  // namespace trust
