#include "Sizes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace cli {

std::string SizeText(long long bytes) {
    constexpr std::array kUnits = {"B", "KiB", "MiB", "GiB", "TiB"};
    auto size = static_cast<double>(bytes);
    std::size_t unit = 0;
    while ((size >= 1024 || size <= -1024) && unit + 1 < kUnits.size()) {
        size /= 1024;
        ++unit;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), unit == 0 || size >= 100 ? "%.0f %s" : "%.1f %s", size,
                  kUnits[unit]);
    return text.data();
}

std::string Bar(long long part, long long whole, int width) {
    const double share = whole <= 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
    const int filled = std::clamp(static_cast<int>(std::lround(share * width)), 0, width);
    return "[" + std::string(static_cast<std::size_t>(filled), '#') +
           std::string(static_cast<std::size_t>(width - filled), '.') + "]";
}

}  // namespace cli
