// Converts text to numbers as a 32-bit machine does.
#pragma once

#include <cstdint>
#include <string>

namespace model {

/// Base-10 strtol: saturates, junk gives 0.
std::int32_t ToSigned(const std::string& text);

/// "%d" and "%u" of sscanf: false, the output untouched, without a digit.
bool ReadSigned(const std::string& text, int& out);
bool ReadUnsigned(const std::string& text, unsigned int& out);

}  // namespace model
