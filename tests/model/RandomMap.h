// Makes random solution maps of every odd kind, and the texts of which maps and records are made.
#pragma once

#include <string>
#include <vector>

#include "Dice.h"

namespace model {

/// Issue codes: plain ones first, then both ends of the on-demand range, junk, and numbers that 32 bits do
/// not hold.
extern const std::vector<std::string> kCodes;
/// One of them, by preference one of a few.
const std::string& RandomCode(Dice& dice);
/// Times of the engine, and texts that only order like times.
extern const std::vector<std::string> kTimes;

/// A text without a zero byte: mostly plain, sometimes with quotes, percent signs or other bytes.
std::string RandomText(Dice& dice);

/// A document, mostly well-formed.
std::string RandomMap(Dice& dice);

}  // namespace model
