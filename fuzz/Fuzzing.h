// Shared by the fuzz targets. A target feeds any bytes to one reader of the library or of the tools, and
// stops the process with a sentence when the result breaks a promise of the reader. The sanitizers find all
// other errors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// Stops the process, naming the promise that was broken. The fuzzer keeps the input.
void Expect(bool holds, const char* promise);

/// The input as text. Forgets what the simulated set recorded; for one input in eight, log lines are
/// formatted and calls recorded, which reads every text that is handed out, and for the others they are only
/// counted.
std::string Begin(const std::uint8_t* data, std::size_t size);

/// Whether the input is among one in count, chosen by its bytes: what takes long is tried with these alone.
bool IsOneOf(unsigned int count, std::string_view text);

/// At most count parts of text; the last one keeps the separators that are left.
std::vector<std::string> Split(std::string_view text, char separator, std::size_t count);

/// Replaces the file at path, making the folders on the way at its first use. Stops the process when it
/// cannot.
void WriteFile(const std::string& path, std::string_view text);

/// Empty where there is no file.
std::string ReadFile(const std::string& path);

// --- The set's conversions, from those of a machine whose long long has 64 bits ---

/// strtol(text, nullptr, 10) where long has 32 bits.
std::int32_t Signed32(const char* text);

/// strtoul of a number that strtoll has read, where long has 32 bits.
std::uint32_t Unsigned32(long long number);

}  // namespace fuzz
