#include "Vocabulary.h"

#include <algorithm>
#include <numeric>

#include "Characters.h"

namespace kuramap {

namespace {

template <typename Row>
const Row* Find(const std::vector<Row>& table, std::string_view name) {
    const auto row = std::find_if(table.begin(), table.end(), [&](const Row& r) { return r.name == name; });
    return row == table.end() ? nullptr : &*row;
}

/// How many letters must be inserted, removed or changed, letter case aside.
std::size_t EditDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = diagonal + (ToLower(a[i - 1]) == ToLower(b[j - 1]) ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({changed, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

const std::vector<ActionType>& ActionTypes() {
    static const std::vector<ActionType> kTypes = {{"VCONFSET_BOOL", "settings key", ValueUse::kBoolean},
                                                   {"VCONFSET_INT", "settings key", ValueUse::kNumber},
                                                   {"VCONFSET_STR", "settings key", ValueUse::kText},
                                                   {"API", "operation", ValueUse::kNone},
                                                   {"CMD", "command line", ValueUse::kNone},
                                                   {"LAUNCH", "application id", ValueUse::kNone},
                                                   {"INFO", "", ValueUse::kNone},
                                                   {"MSGPORT", "screen", ValueUse::kNone},
                                                   {"SettingsAPI", "settings item", ValueUse::kText}};
    return kTypes;
}

const std::vector<Target>& Operations() {
    static const std::vector<Target> kOperations = {
        {"pixo_reset_picture", ValueUse::kNumber}, {"ResetPictureSize", ValueUse::kNone},
        {"voiceguide_on", ValueUse::kNone},        {"caption-setting", ValueUse::kNone},
        {"subtitle-setting", ValueUse::kNone},     {"performDeepClean", ValueUse::kNone},
        {"ResetOnOffTimer", ValueUse::kNone}};
    return kOperations;
}

const std::vector<Target>& Screens() {
    static const std::vector<Target> kScreens = {{"ShowSignalInfo", ValueUse::kNone},
                                                 {"ShowMgrStorage", ValueUse::kNone},
                                                 {"ShowSoundTest", ValueUse::kNone}};
    return kScreens;
}

const ActionType* FindActionType(std::string_view name) {
    return Find(ActionTypes(), name);
}

const Target* FindOperation(std::string_view name) {
    return Find(Operations(), name);
}

const Target* FindScreen(std::string_view name) {
    return Find(Screens(), name);
}

ValueUse UseOfValue(std::string_view actionType, std::string_view actionName) {
    if (actionType == "API") {
        const Target* const operation = FindOperation(actionName);
        return operation == nullptr ? ValueUse::kNone : operation->value;
    }
    const ActionType* const type = FindActionType(actionType);
    return type == nullptr ? ValueUse::kNone : type->value;
}

ElementKind KindOfElement(std::string_view lowerName) {
    if (lowerName == "solution") {
        return ElementKind::kSolution;
    }
    if (lowerName == "sol_val") {
        return ElementKind::kValue;
    }
    if (lowerName == "sm") {
        return ElementKind::kCount;
    }
    return lowerName == "sminfo" ? ElementKind::kVersion : ElementKind::kUnknown;
}

const std::vector<std::string_view>& ElementNames() {
    static const std::vector<std::string_view> kNames = {"solution", "sol_val", "sm", "sminfo"};
    return kNames;
}

const std::vector<std::string_view>& AttributeNames(ElementKind kind) {
    static const std::vector<std::string_view> kNone;
    static const std::vector<std::string_view> kVersion = {"version"};
    static const std::vector<std::string_view> kCount = {"cnt"};
    static const std::vector<std::string_view> kSolution(kFieldNames.begin(), kFieldNames.end());
    static const std::vector<std::string_view> kValue = {"param_value", "param_type"};
    switch (kind) {
        case ElementKind::kVersion:
            return kVersion;
        case ElementKind::kCount:
            return kCount;
        case ElementKind::kSolution:
            return kSolution;
        case ElementKind::kValue:
            return kValue;
        case ElementKind::kUnknown:
            break;
    }
    return kNone;
}

bool IsNear(std::string_view text, std::string_view word) {
    // Of three letters, one changed may well be another word.
    const std::size_t allowed = word.size() > 3 ? 1 : 0;
    return text.size() <= word.size() + 1 && EditDistance(text, word) <= allowed;
}

std::string DidYouMean(std::string_view text, const std::vector<std::string_view>& known) {
    // A text far longer than every word is near to none, and comparing it would cost its length.
    constexpr std::size_t kLongest = 64;
    if (text.empty() || text.size() > kLongest) {
        return "";
    }
    std::string_view nearest;
    std::size_t least = std::max<std::size_t>(2, text.size() / 3) + 1;
    for (const std::string_view word : known) {
        const std::size_t distance = EditDistance(text, word);
        if (distance < least) {
            least = distance;
            nearest = word;
        }
    }
    return nearest.empty() ? "" : "; did you mean \"" + std::string(nearest) + "\"?";
}

}  // namespace kuramap
