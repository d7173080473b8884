#include "NearestName.h"

#include <algorithm>
#include <cstddef>

namespace support {

namespace {

/// How many times to change, add, leave out or swap with its neighbour a character to make one word of the
/// other.
std::size_t Distance(const std::string& from, const std::string& to) {
    const std::size_t width = to.size() + 1;
    std::vector<std::size_t> table((from.size() + 1) * width);
    const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& { return table[i * width + j]; };
    for (std::size_t i = 0; i <= from.size(); ++i) {
        for (std::size_t j = 0; j <= to.size(); ++j) {
            if (i == 0 || j == 0) {
                at(i, j) = i + j;
                continue;
            }
            const std::size_t changed = at(i - 1, j - 1) + (from[i - 1] == to[j - 1] ? 0 : 1);
            at(i, j) = std::min({changed, at(i - 1, j) + 1, at(i, j - 1) + 1});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
                at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
            }
        }
    }
    return table.back();
}

}  // namespace

std::string Suggestion(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t kLongest = 100;
    if (word.size() > kLongest) {
        return "";
    }
    const std::string* nearest = nullptr;
    std::size_t best = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        const std::size_t distance = Distance(word, candidate);
        if (distance < best && distance < candidate.size()) {
            best = distance;
            nearest = &candidate;
        }
    }
    return nearest == nullptr ? "" : "; did you mean \"" + *nearest + "\"?";
}

}  // namespace support
