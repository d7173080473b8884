// The word that somebody may have meant who wrote one that nobody knows.
#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string>
#include <vector>

#include "KuraSet.h"

namespace kuraset {

namespace {

/// How many characters to change, add or leave out to make one word of the other.
std::size_t Distance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < to.size(); ++j) {
            const std::size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string Suggestion(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t kLongest = 100;
    if (word.size() > kLongest) {
        return "";
    }
    const std::string* nearest = nullptr;
    // Two letters that changed places count as two changes.
    std::size_t best = std::max<std::size_t>(word.size() > 3 ? 2 : 1, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        const std::size_t distance = Distance(word, candidate);
        if (distance < best && distance < candidate.size()) {
            best = distance;
            nearest = &candidate;
        }
    }
    return nearest == nullptr ? "" : "; did you mean \"" + *nearest + "\"?";
}

}  // namespace kuraset
