// Writes sizes for people.
#pragma once

#include <string>

namespace cli {

/// "1.5 GiB", "312 KiB", "17 B".
std::string SizeText(long long bytes);

/// A bar of `width` cells, of which the share of part in whole is filled.
std::string Bar(long long part, long long whole, int width = 40);

}  // namespace cli
