#include "Number32.h"

#include <cstddef>
#include <limits>

namespace kuramap {

Number32 Number32::Read(std::string_view text) {
    constexpr std::uint64_t kLimit = std::uint64_t{1} << 63;
    Number32 number;
    std::size_t at = text.find_first_not_of(" \t\n\v\f\r");
    at = at == std::string_view::npos ? text.size() : at;
    number.hasBlanks = at > 0;
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        number.hasSign = true;
        number.isNegative = text[at] == '-';
        ++at;
    }
    const std::size_t first = at;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        const auto digit = static_cast<std::uint64_t>(text[at] - '0');
        number.magnitude = number.magnitude > (kLimit - digit) / 10 ? kLimit : number.magnitude * 10 + digit;
    }
    number.hasDigits = at > first;
    number.hasLeadingZero = at > first + 1 && text[first] == '0';
    number.hasRest = at < text.size();
    return number;
}

std::int32_t Number32::Signed() const {
    if (!FitsSigned()) {
        return isNegative ? std::numeric_limits<std::int32_t>::min()
                          : std::numeric_limits<std::int32_t>::max();
    }
    const auto value = static_cast<std::int64_t>(magnitude);
    return static_cast<std::int32_t>(isNegative ? -value : value);
}

std::uint32_t Number32::Unsigned() const {
    constexpr std::uint32_t kMost = std::numeric_limits<std::uint32_t>::max();
    if (magnitude > kMost) {
        return kMost;
    }
    const auto value = static_cast<std::uint32_t>(magnitude);
    return isNegative ? 0u - value : value;
}

}  // namespace kuramap
