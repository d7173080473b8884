#include "NearestName.h"

#include <algorithm>

namespace support {

namespace {

bool IsSame(char a, char b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return lower(a) == lower(b);
}

/// The greatest distance at which a word is still near: a third of its length, but at least two, and one in a
/// word of fewer than five characters, of which two changes leave too little.
std::size_t GreatestDistance(std::size_t length) {
    return length < 5 ? 1 : std::max<std::size_t>(2, length / 3);
}

}  // namespace

std::size_t EditDistance(std::string_view from, std::string_view to) {
    const std::size_t width = to.size() + 1;
    std::vector<std::size_t> table((from.size() + 1) * width);
    const auto at = [&](std::size_t i, std::size_t j) -> std::size_t& { return table[i * width + j]; };
    for (std::size_t i = 0; i <= from.size(); ++i) {
        for (std::size_t j = 0; j <= to.size(); ++j) {
            if (i == 0 || j == 0) {
                at(i, j) = i + j;
                continue;
            }
            const std::size_t changed = at(i - 1, j - 1) + (IsSame(from[i - 1], to[j - 1]) ? 0 : 1);
            at(i, j) = std::min({changed, at(i - 1, j) + 1, at(i, j - 1) + 1});
            if (i > 1 && j > 1 && IsSame(from[i - 1], to[j - 2]) && IsSame(from[i - 2], to[j - 1])) {
                at(i, j) = std::min(at(i, j), at(i - 2, j - 2) + 1);
            }
        }
    }
    return table.back();
}

std::string Suggestion(const std::string& word, const std::vector<std::string>& known) {
    // A word far longer than every known one is near none of them, and comparing it would take long.
    constexpr std::size_t kLongest = 100;
    if (word.size() > kLongest) {
        return "";
    }
    const std::string* nearest = nullptr;
    std::size_t best = GreatestDistance(word.size()) + 1;
    for (const std::string& candidate : known) {
        const std::size_t distance = EditDistance(word, candidate);
        if (distance < best && distance < candidate.size()) {
            best = distance;
            nearest = &candidate;
        }
    }
    return nearest == nullptr ? "" : "; did you mean \"" + *nearest + "\"?";
}

}  // namespace support
