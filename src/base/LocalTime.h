#pragma once

#include <ctime>
#include <string>

namespace KURA::base {

/// Local time in the form that the library stores and compares as text: "2026-01-31T23:59:59".
std::string FormatLocalTime(std::time_t time);

}  // namespace KURA::base
