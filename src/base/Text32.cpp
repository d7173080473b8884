#include "Text32.h"

#include <cstdlib>
#include <limits>

namespace KURA::base {

namespace {

struct Digits {
    bool negative = false;
    std::uint64_t magnitude = 0;  // saturated at the 64-bit limit
    const char* end = nullptr;    // the text itself when it holds no digits
};

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

Digits ReadDigits(const char* text) {
    Digits result;
    const char* sign = text;
    while (IsBlank(*sign)) {
        ++sign;
    }
    result.negative = *sign == '-';
    const char* digits = (*sign == '-' || *sign == '+') ? sign + 1 : sign;
    result.end = text;
    if (IsBlank(*digits) || *digits == '-' || *digits == '+') {
        return result;  // strtoull would accept a second sign
    }
    char* end = nullptr;
    result.magnitude = std::strtoull(digits, &end, 10);
    if (end != digits) {
        result.end = end;
    }
    return result;
}

}  // namespace

std::int32_t ToInt32(const char* text, const char** end) {
    const Digits digits = ReadDigits(text);
    if (end != nullptr) {
        *end = digits.end;
    }
    const std::uint64_t limit =
        std::uint64_t{std::numeric_limits<std::int32_t>::max()} + (digits.negative ? 1 : 0);
    const auto magnitude = static_cast<std::int64_t>(digits.magnitude < limit ? digits.magnitude : limit);
    return static_cast<std::int32_t>(digits.negative ? -magnitude : magnitude);
}

std::uint32_t ToUInt32(const char* text, const char** end) {
    const Digits digits = ReadDigits(text);
    if (end != nullptr) {
        *end = digits.end;
    }
    constexpr std::uint32_t kMax = std::numeric_limits<std::uint32_t>::max();
    if (digits.magnitude > kMax) {
        return kMax;
    }
    const auto magnitude = static_cast<std::uint32_t>(digits.magnitude);
    return digits.negative ? 0U - magnitude : magnitude;
}

bool ScanInt32(const char* text, std::int32_t& value) {
    const char* end = text;
    const std::int32_t number = ToInt32(text, &end);
    if (end == text) {
        return false;
    }
    value = number;
    return true;
}

bool ScanUInt32(const char* text, std::uint32_t& value) {
    const char* end = text;
    const std::uint32_t number = ToUInt32(text, &end);
    if (end == text) {
        return false;
    }
    value = number;
    return true;
}

}  // namespace KURA::base
