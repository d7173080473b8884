#include "LocalTime.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace KURA::base {

std::string FormatLocalTime(std::time_t time) {
    std::tm local{};
    if (localtime_r(&time, &local) == nullptr) {
        local = std::tm{};  // localtime_r fills some fields even when the year does not fit
    }
    std::array<char, 80> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d", local.tm_year + 1900,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
    // Columns and comparisons expect this length, so a year of five digits loses the last digit of the
    // seconds.
    constexpr std::size_t kLength = 19;
    return std::string(text.data()).substr(0, kLength);
}

}  // namespace KURA::base
