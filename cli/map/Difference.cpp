#include "Difference.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>

namespace kuramap {

namespace {

using Entries = std::vector<const Entry*>;

/// The solutions of each issue in their order, and the issues in the order of the map.
struct Issues {
    std::vector<std::string> order;
    std::unordered_map<std::string, Entries> solutions;
};

Issues ByIssue(const Meaning& meaning) {
    Issues issues;
    for (const Entry& entry : meaning.entries) {
        const std::string& code = entry.Text(Field::kIssueCode);
        Entries& entries = issues.solutions[code];
        if (entries.empty()) {
            issues.order.push_back(code);
        }
        entries.push_back(&entry);
    }
    return issues;
}

std::vector<Change> ChangesOf(const Entry& before, const Entry& after) {
    std::vector<Change> changes;
    for (std::size_t i = 0; i < kFieldCount; ++i) {
        if (before.fields[i] != after.fields[i]) {
            changes.push_back({std::string(kFieldNames[i]), before.fields[i], after.fields[i]});
        }
    }
    const std::size_t count = std::max(before.values.size(), after.values.size());
    for (std::size_t i = 0; i < count; ++i) {
        const auto valueOf = [i](const Entry& entry) {
            return i < entry.values.size() ? entry.values[i].value : std::string();
        };
        const bool isNew = i >= before.values.size() || i >= after.values.size();
        if (isNew || valueOf(before) != valueOf(after)) {
            changes.push_back({"value " + std::to_string(i + 1), valueOf(before), valueOf(after)});
        }
    }
    return changes;
}

bool IsSameSolution(const Entry& a, const Entry& b) {
    return a.Text(Field::kSolutionCode) == b.Text(Field::kSolutionCode) &&
           a.Text(Field::kActionType) == b.Text(Field::kActionType) &&
           a.Text(Field::kActionName) == b.Text(Field::kActionName);
}

/// Finds for each new solution the index of the old one that it continues. Four rounds make the pairs: equal
/// solutions, then solutions with the same code and action, then with the same code, then at the same index.
std::vector<std::optional<std::size_t>> Pair(const Entries& before, const Entries& after) {
    std::vector<std::optional<std::size_t>> pairs(after.size());
    std::vector<bool> isTaken(before.size(), false);
    const auto pairWhere = [&](auto matches) {
        for (std::size_t i = 0; i < after.size(); ++i) {
            for (std::size_t k = 0; k < before.size() && !pairs[i]; ++k) {
                if (!isTaken[k] && matches(k, i)) {
                    pairs[i] = k;
                    isTaken[k] = true;
                }
            }
        }
    };
    pairWhere([&](std::size_t k, std::size_t i) { return *before[k] == *after[i]; });
    pairWhere([&](std::size_t k, std::size_t i) { return IsSameSolution(*before[k], *after[i]); });
    pairWhere([&](std::size_t k, std::size_t i) {
        return before[k]->Text(Field::kSolutionCode) == after[i]->Text(Field::kSolutionCode);
    });
    pairWhere([](std::size_t k, std::size_t i) { return k == i; });
    return pairs;
}

void CompareIssue(const std::string& code, const Entries& before, const Entries& after,
                  Difference& difference) {
    const std::vector<std::optional<std::size_t>> pairs = Pair(before, after);
    std::set<std::size_t> kept;
    std::optional<std::size_t> last;
    bool isReordered = false;
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (!pairs[i]) {
            difference.added.push_back({code, i + 1, *after[i]});
            continue;
        }
        isReordered |= last && *pairs[i] < *last;
        last = pairs[i];
        kept.insert(*pairs[i]);
        std::vector<Change> changes = ChangesOf(*before[*pairs[i]], *after[i]);
        if (!changes.empty()) {
            difference.changed.push_back({code, i + 1, std::move(changes)});
        }
    }
    for (std::size_t k = 0; k < before.size(); ++k) {
        if (kept.count(k) == 0) {
            difference.removed.push_back({code, k + 1, *before[k]});
        }
    }
    if (isReordered) {
        difference.reordered.push_back(code);
    }
}

std::vector<std::string> Common(const Issues& issues, const Issues& others) {
    std::vector<std::string> codes;
    std::copy_if(issues.order.begin(), issues.order.end(), std::back_inserter(codes),
                 [&others](const std::string& code) { return others.solutions.count(code) != 0; });
    return codes;
}

}  // namespace

bool Difference::IsEmpty() const {
    return removed.empty() && added.empty() && changed.empty() && reordered.empty() && !isListedDifferently &&
           versionBefore == versionAfter && countBefore == countAfter;
}

Difference Compare(const Meaning& before, const Meaning& after) {
    const Issues old = ByIssue(before);
    const Issues now = ByIssue(after);
    static const Entries kNone;
    Difference difference;
    for (const std::string& code : old.order) {
        if (now.solutions.count(code) == 0) {
            CompareIssue(code, old.solutions.at(code), kNone, difference);
        }
    }
    for (const std::string& code : now.order) {
        const auto earlier = old.solutions.find(code);
        CompareIssue(code, earlier == old.solutions.end() ? kNone : earlier->second, now.solutions.at(code),
                     difference);
    }
    difference.isListedDifferently = Common(old, now) != Common(now, old);
    difference.versionBefore = before.version;
    difference.versionAfter = after.version;
    difference.countBefore = before.count;
    difference.countAfter = after.count;
    return difference;
}

}  // namespace kuramap
