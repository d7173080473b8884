#include "Vocabulary.h"

#include <algorithm>

namespace kuramap {

namespace {

template <typename Row>
const Row* Find(const std::vector<Row>& table, std::string_view name) {
    const auto row = std::find_if(table.begin(), table.end(), [&](const Row& r) { return r.name == name; });
    return row == table.end() ? nullptr : &*row;
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

const std::vector<std::string>& ElementNames() {
    static const std::vector<std::string> kNames = {"solution", "sol_val", "sm", "sminfo"};
    return kNames;
}

const std::vector<std::string>& AttributeNames(ElementKind kind) {
    static const std::vector<std::string> kNone;
    static const std::vector<std::string> kVersion = {"version"};
    static const std::vector<std::string> kCount = {"cnt"};
    static const std::vector<std::string> kSolution(kFieldNames.begin(), kFieldNames.end());
    static const std::vector<std::string> kValue = {"param_value", "param_type"};
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

}  // namespace kuramap
