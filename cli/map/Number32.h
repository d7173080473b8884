// Reads a number from a text as a set does, which is a 32-bit machine: it skips leading blanks, ignores what
// follows the digits, and takes the nearest number that fits into 32 bits.
#pragma once

#include <cstdint>
#include <string_view>

namespace kuramap {

struct Number32 {
    bool hasDigits = false;
    bool hasBlanks = false;  ///< before the digits
    bool hasSign = false;
    bool hasLeadingZero = false;  ///< more digits follow the zero
    bool hasRest = false;         ///< other characters follow the digits
    bool isNegative = false;
    std::uint64_t magnitude = 0;  ///< without the sign; 2^63 for every larger number

    static Number32 Read(std::string_view text);

    /// Whether the text is a whole number and nothing else.
    bool IsPlain() const { return hasDigits && !hasBlanks && !hasRest; }
    bool FitsSigned() const { return magnitude <= (isNegative ? 2147483648u : 2147483647u); }

    /// The result of a signed conversion on the set; 0 without digits.
    std::int32_t Signed() const;
    /// The result of an unsigned conversion on the set: a minus sign wraps around; 0 without digits.
    std::uint32_t Unsigned() const;
};

}  // namespace kuramap
