// The text of /proc/vex_chipid_val: four hexadecimal numbers, as scanf reads them on the set.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace KURA {

using ChipIdNumbers = std::array<std::uint32_t, 4>;

/// More than this is never read of the file.
constexpr std::size_t kChipIdTextLimit = 4096;

/// Reads "0x%x 0x%x 0x%x 0x%x\n" and returns how many numbers were there; the others stay as they are.
int ScanChipId(const char* text, ChipIdNumbers& numbers);

/// "0000001A_0000002B_0000003C_0000004D"
std::string FormatChipId(const ChipIdNumbers& numbers);

}  // namespace KURA
