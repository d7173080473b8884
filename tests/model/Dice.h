// Random numbers for a run: the same seed gives the same run on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

namespace model {

class Dice {
public:
    explicit Dice(std::uint64_t seed) : m_engine(seed) {}

    /// 0 to below - 1.
    std::size_t Below(std::size_t below) { return static_cast<std::size_t>(m_engine() % below); }
    bool Percent(std::size_t percent) { return Below(100) < percent; }
    template <typename T>
    const T& Pick(const std::vector<T>& from) {
        return from[Below(from.size())];
    }

private:
    std::mt19937_64 m_engine;
};

}  // namespace model
