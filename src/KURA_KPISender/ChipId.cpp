#include "ChipId.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "base/Text32.h"

namespace KURA {

namespace {

const char* SkipBlanks(const char* text) {
    while (std::isspace(static_cast<unsigned char>(*text)) != 0) {
        ++text;
    }
    return text;
}

/// One "%x": blanks, a sign and a second "0x" may come first. Null, value untouched, when no number is there.
/// scanf takes a lone "0x" for zero and goes on behind it, where strtoul would stop before the x.
const char* ScanHex(const char* text, std::uint32_t& value) {
    text = SkipBlanks(text);
    std::string number;
    if (*text == '-' || *text == '+') {
        number += *text++;
    }
    const std::size_t signLength = number.size();
    if (*text == '0') {
        number += *text++;
        text += *text == 'x' || *text == 'X' ? 1 : 0;
    }
    while (std::isxdigit(static_cast<unsigned char>(*text)) != 0) {
        number += *text++;
    }
    if (number.size() == signLength) {
        return nullptr;
    }
    value = base::ToUInt32(number.c_str(), nullptr, 16);
    return text;
}

}  // namespace

int ScanChipId(const char* text, ChipIdNumbers& numbers) {
    int count = 0;
    for (std::uint32_t& number : numbers) {
        if (text[0] != '0' || text[1] != 'x') {
            break;
        }
        const char* end = ScanHex(text + 2, number);
        if (end == nullptr) {
            break;
        }
        ++count;
        text = SkipBlanks(end);
    }
    return count;
}

std::string FormatChipId(const ChipIdNumbers& numbers) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%08X_%08X_%08X_%08X", numbers[0], numbers[1], numbers[2],
                  numbers[3]);
    return text.data();
}

}  // namespace KURA
