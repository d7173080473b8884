#include "Numbers.h"

namespace model {

namespace {

struct Digits {
    bool any = false;
    bool minus = false;
    std::uint64_t value = 0;  ///< held at 2^33, far beyond any limit
};

Digits ReadDigits(const std::string& text) {
    Digits digits;
    std::size_t i = text.find_first_not_of(" \t\n\v\f\r");
    if (i == std::string::npos) {
        return digits;
    }
    if (text[i] == '-' || text[i] == '+') {
        digits.minus = text[i] == '-';
        ++i;
    }
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        digits.any = true;
        digits.value = digits.value * 10 + static_cast<std::uint64_t>(text[i] - '0');
        if (digits.value > (1ULL << 33)) {
            digits.value = 1ULL << 33;
        }
    }
    return digits;
}

std::int32_t Signed(const Digits& digits) {
    if (digits.minus) {
        return digits.value >= 2147483648ULL ? INT32_MIN : -static_cast<std::int32_t>(digits.value);
    }
    return digits.value >= 2147483647ULL ? INT32_MAX : static_cast<std::int32_t>(digits.value);
}

}  // namespace

std::int32_t ToSigned(const std::string& text) {
    return Signed(ReadDigits(text));
}

bool ReadSigned(const std::string& text, int& out) {
    const Digits digits = ReadDigits(text);
    if (digits.any) {
        out = Signed(digits);
    }
    return digits.any;
}

bool ReadUnsigned(const std::string& text, unsigned int& out) {
    const Digits digits = ReadDigits(text);
    if (!digits.any) {
        return false;
    }
    if (digits.value > 4294967295ULL) {
        out = 4294967295U;
    } else {
        const auto value = static_cast<unsigned int>(digits.value);
        out = digits.minus ? 0U - value : value;
    }
    return true;
}

}  // namespace model
