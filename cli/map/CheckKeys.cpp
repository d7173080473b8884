// The rule about settings keys. The checker does not know the keys of a set, so it compares the map's keys
// with each other: of two that are nearly the same, one is most likely misspelt.
#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Actions.h"
#include "Characters.h"
#include "Checker.h"
#include "support/NearestName.h"

namespace kuramap {

namespace {

/// In shorter keys a different letter may well make a different key.
constexpr std::size_t kShortest = 8;

/// No set has more keys than this, and comparing more takes much time and memory.
constexpr std::size_t kMost = 5000;

struct KeyUse {
    std::string_view key;
    const Solution* first = nullptr;
    std::size_t count = 0;
};

std::string WithoutDigits(std::string_view text) {
    std::string rest(text);
    rest.erase(std::remove_if(rest.begin(), rest.end(), [](char c) { return c >= '0' && c <= '9'; }),
               rest.end());
    return rest;
}

bool AreNear(std::string_view a, std::string_view b) {
    return WithoutDigits(a) != WithoutDigits(b) && support::EditDistance(Trimmed(a), Trimmed(b)) <= 1;
}

/// The key itself, and the key without each one of its letters. Near keys have one of these in common.
std::vector<std::string> Variants(std::string_view key) {
    const std::string whole = ToLower(Trimmed(key));
    std::vector<std::string> variants = {whole};
    for (std::size_t i = 0; i < whole.size(); ++i) {
        variants.push_back(std::string(whole).erase(i, 1));
    }
    return variants;
}

/// Each pair of near keys, the rarer one first; of two that are equally frequent, the later one.
std::vector<std::pair<const KeyUse*, const KeyUse*>> NearPairs(const std::vector<KeyUse>& uses) {
    std::vector<std::pair<const KeyUse*, const KeyUse*>> pairs;
    std::unordered_map<std::string, std::vector<const KeyUse*>> byVariant;
    for (const KeyUse& use : uses) {
        std::set<const KeyUse*> candidates;
        for (const std::string& variant : Variants(use.key)) {
            std::vector<const KeyUse*>& sharing = byVariant[variant];
            candidates.insert(sharing.begin(), sharing.end());
            sharing.push_back(&use);
        }
        for (const KeyUse* const other : candidates) {
            if (AreNear(use.key, other->key)) {
                const bool isRarer = use.count <= other->count;
                pairs.emplace_back(isRarer ? &use : other, isRarer ? other : &use);
            }
        }
    }
    return pairs;
}

}  // namespace

void Checker::CheckSettingsKeys() {
    std::vector<KeyUse> uses;
    std::unordered_map<std::string_view, std::size_t> indexOf;
    for (const Solution& solution : m_map.Solutions()) {
        const ActionType* const type = FindActionType(m_map.Text(solution, Field::kActionType));
        const std::string_view key = m_map.Text(solution, Field::kActionName);
        if (type == nullptr || type->target != kSettingsKey || key.size() < kShortest) {
            continue;
        }
        const auto [known, isNew] = indexOf.emplace(key, uses.size());
        if (isNew) {
            uses.push_back({key, &solution, 0});
        }
        ++uses[known->second].count;
    }
    if (uses.size() > kMost) {
        return;
    }
    for (const auto& [rare, other] : NearPairs(uses)) {
        Report(RuleId::kKeyNearMiss, At(*rare->first, Field::kActionName),
               "the settings key " + Quoted(rare->key) + " is nearly " + Quoted(other->key) + " of issue " +
                   std::string(m_map.Text(*other->first, Field::kIssueCode)) +
                   ": write the same key where the same one is meant");
    }
}

}  // namespace kuramap
