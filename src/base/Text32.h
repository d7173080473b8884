// Converts text to numbers with the results of the set, a 32-bit machine, on every machine. The C library
// would saturate and wrap at other limits where long has 64 bits.
#pragma once

#include <cstdint>

namespace KURA::base {

/// strtol(text, end, 10): saturates at -2147483648 and 2147483647; no digits give 0, and *end is then text.
/// end may be null.
std::int32_t ToInt32(const char* text, const char** end = nullptr);

/// strtoul(text, end, 10): saturates at 4294967295, a minus sign wraps, no digits give 0.
std::uint32_t ToUInt32(const char* text, const char** end = nullptr);

/// sscanf "%d" and "%u": false, the output untouched, when there are no digits.
bool ScanInt32(const char* text, std::int32_t& value);
bool ScanUInt32(const char* text, std::uint32_t& value);

}  // namespace KURA::base
