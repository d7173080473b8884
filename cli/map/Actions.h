// The actions of a solution map: the types, what each works on, and what it does to the set. This table is
// the only place for these facts outside the library. The checker, "show" and the texts of the rules read it.
// Tests compare it with the library, the documents, the schema and the fuzz dictionary.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Rules.h"

namespace kuramap {

/// How an action reads the first value of its solution.
enum class ValueUse { kNone, kText, kNumber, kBoolean };

/// An action of a type that knows only certain names.
struct NamedAction {
    std::string_view name;
    ValueUse value;
    std::string_view effect;  ///< as in ActionType
};

struct NamedActions {
    RuleId unknown;                ///< reports every other name
    std::string_view consequence;  ///< what the set does with another name
    std::vector<NamedAction> all;
};

/// The target of the types that write a key of the settings.
constexpr std::string_view kSettingsKey = "settings key";

struct ActionType {
    std::string_view name;
    int engineNumber;           ///< the type in the engine's record of a repair
    std::string_view target;    ///< what sol_name means; empty when it is only a note
    ValueUse value;             ///< kNone when each name has its own
    std::string_view effect;    ///< a sentence; {name} and {value} are filled in quoted, {number} as read
    bool isForAgent;            ///< sol_name is one line for the agent, which takes one request at a time
    const NamedActions* names;  ///< null when any name will do
};

const std::vector<ActionType>& ActionTypes();

/// Null for an unknown type; types are compared exactly.
const ActionType* FindActionType(std::string_view name);

/// Null for a name that the type does not know, and for a type without certain names.
const NamedAction* FindNamedAction(const ActionType& type, std::string_view name);

/// How the action uses the value; kNone also for an action that is not known.
ValueUse UseOfValue(std::string_view actionType, std::string_view actionName);

/// What the action does, as a sentence without its end mark.
std::string EffectOfAction(std::string_view actionType, std::string_view actionName, std::string_view value);

/// The names of a table.
template <typename Row>
std::vector<std::string> NamesOf(const std::vector<Row>& table) {
    std::vector<std::string> names;
    for (const Row& row : table) {
        names.emplace_back(row.name);
    }
    return names;
}

}  // namespace kuramap
