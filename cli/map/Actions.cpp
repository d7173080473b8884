#include "Actions.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "Number32.h"

namespace kuramap {

namespace {

const NamedActions& Operations() {
    static const NamedActions kOperations = {
        RuleId::kUnknownOperation,
        "the repair does nothing, yet is logged as a success",
        {{"pixo_reset_picture", ValueUse::kNumber, "resets the settings of picture mode {number}"},
         {"ResetPictureSize", ValueUse::kNone, "resets the picture size"},
         {"voiceguide_on", ValueUse::kNone, "sets the settings item \"voiceguide_on\" to \"voiceguide\""},
         {"caption-setting", ValueUse::kNone, "sets the settings item \"caption-setting\" to \"caption\""},
         {"subtitle-setting", ValueUse::kNone, "sets the settings item \"subtitle-setting\" to \"subtitle\""},
         {"performDeepClean", ValueUse::kNone, "has the agent remove temporary files, for up to 10 seconds"},
         {"ResetOnOffTimer", ValueUse::kNone, "clears the on and off timers"}}};
    return kOperations;
}

const NamedActions& Screens() {
    static const NamedActions kScreens = {
        RuleId::kUnknownScreen,
        "the repair does nothing, and the issue is taken for solved",
        {{"ShowSignalInfo", ValueUse::kNone, "opens the signal page of the current input"},
         {"ShowMgrStorage", ValueUse::kNone, "leaves the issue list and opens the host's storage page"},
         {"ShowSoundTest", ValueUse::kNone, "launches the sound test"}}};
    return kScreens;
}

template <typename Row>
const Row* Find(const std::vector<Row>& table, std::string_view name) {
    const auto row = std::find_if(table.begin(), table.end(), [&](const Row& r) { return r.name == name; });
    return row == table.end() ? nullptr : &*row;
}

std::string InQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

/// The effect with {name}, {value} and {number} filled in.
std::string Filled(std::string_view effect, std::string_view name, std::string_view value) {
    const std::array<std::pair<std::string_view, std::string>, 3> marks = {
        {{"{name}", InQuotes(name)},
         {"{value}", InQuotes(value)},
         {"{number}", std::to_string(Number32::Read(value).Signed())}}};
    std::string text;
    while (!effect.empty()) {
        const auto* const mark = std::find_if(marks.begin(), marks.end(), [&](const auto& candidate) {
            return effect.substr(0, candidate.first.size()) == candidate.first;
        });
        text += mark == marks.end() ? std::string(1, effect.front()) : mark->second;
        effect.remove_prefix(mark == marks.end() ? 1 : mark->first.size());
    }
    return text;
}

}  // namespace

const std::vector<ActionType>& ActionTypes() {
    static const std::vector<ActionType> kTypes = {
        {"VCONFSET_BOOL", 2, kSettingsKey, ValueUse::kBoolean,
         "writes {number} to the settings key {name} as a boolean", false, nullptr},
        {"VCONFSET_INT", 2, kSettingsKey, ValueUse::kNumber,
         "writes {number} to the settings key {name} as a number", false, nullptr},
        {"VCONFSET_STR", 2, kSettingsKey, ValueUse::kText,
         "writes {value} to the settings key {name} as a text", false, nullptr},
        {"API", 1, "operation", ValueUse::kNone, "", false, &Operations()},
        {"CMD", 3, "command line", ValueUse::kNone, "hands the command {name} to the agent", true, nullptr},
        {"LAUNCH", 4, "application id", ValueUse::kNone, "launches the application {name}", false, nullptr},
        {"INFO", 5, "", ValueUse::kNone, "does nothing to the set; the user is told", false, nullptr},
        {"MSGPORT", 0, "screen", ValueUse::kNone, "", false, &Screens()},
        {"SettingsAPI", 0, "settings item", ValueUse::kText, "sets the settings item {name} to {value}",
         false, nullptr}};
    return kTypes;
}

const ActionType* FindActionType(std::string_view name) {
    return Find(ActionTypes(), name);
}

const NamedAction* FindNamedAction(const ActionType& type, std::string_view name) {
    return type.names == nullptr ? nullptr : Find(type.names->all, name);
}

ValueUse UseOfValue(std::string_view actionType, std::string_view actionName) {
    const ActionType* const type = FindActionType(actionType);
    if (type == nullptr) {
        return ValueUse::kNone;
    }
    const NamedAction* const named = FindNamedAction(*type, actionName);
    return named == nullptr ? type->value : named->value;
}

std::string EffectOfAction(std::string_view actionType, std::string_view actionName, std::string_view value) {
    const ActionType* const type = FindActionType(actionType);
    if (type == nullptr) {
        return "does nothing: there is no action type " + InQuotes(actionType);
    }
    if (type->names == nullptr) {
        return Filled(type->effect, actionName, value);
    }
    const NamedAction* const named = FindNamedAction(*type, actionName);
    return named != nullptr
               ? Filled(named->effect, actionName, value)
               : "does nothing: there is no " + std::string(type->target) + " " + InQuotes(actionName);
}

}  // namespace kuramap
