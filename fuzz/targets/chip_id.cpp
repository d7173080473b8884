// The text of the chip-id file against scanf. The sender reads the file once in the life of a process, so the
// reading itself is compiled in here.
#include "KURA_KPISender/ChipId.h"

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "Fuzzing.h"

namespace {

/// As many hexadecimal digits may be a number that the 64-bit scanf below cannot tell from a negative one.
bool HasLongNumber(const std::string& text) {
    std::size_t digits = 0;
    for (const char c : text) {
        digits = std::isxdigit(static_cast<unsigned char>(c)) != 0 ? digits + 1 : 0;
        if (digits >= 16) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = fuzz::Begin(data, size);
    KURA::ChipIdNumbers numbers{1, 2, 3, 4};
    const int count = KURA::ScanChipId(text.c_str(), numbers);
    fuzz::Expect(count >= 0 && count <= 4, "there are four numbers at most");
    fuzz::Expect(KURA::FormatChipId(numbers).size() == 4 * 8 + 3, "a chip id has one length");
    if (HasLongNumber(text)) {
        return 0;
    }
    unsigned long long expected[] = {1, 2, 3, 4};
    const int scanned = std::sscanf(text.c_str(), "0x%llx 0x%llx 0x%llx 0x%llx\n", &expected[0], &expected[1],
                                    &expected[2], &expected[3]);
    fuzz::Expect(count == (scanned < 0 ? 0 : scanned), "as many numbers are read as scanf reads");
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        fuzz::Expect(numbers[i] == fuzz::Unsigned32(static_cast<long long>(expected[i])),
                     "each number is what scanf reads on the set");
    }
    return 0;
}
