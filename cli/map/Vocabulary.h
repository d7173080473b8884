// The words of a solution map: what the library knows by name, and what each action makes of a solution.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kuramap {

enum class ElementKind { kUnknown, kVersion, kCount, kSolution, kValue };

/// The attributes of a solution, in the order of the library's record.
enum class Field {
    kIssueCode,
    kSolutionCode,
    kActionType,
    kActionName,
    kIssueText,
    kSolutionText,
    kButton1,
    kButton2,
    kReboot,
    kGround,
    kAction,
    kToast1,
    kToast2,
    kSource,
    kAuthority,
};
constexpr std::size_t kFieldCount = 15;

constexpr std::array<std::string_view, kFieldCount> kFieldNames = {
    "issue_code", "sol_code", "sol_type", "sol_name", "sid_issue", "sid_sol", "sid_button1",   "sid_button2",
    "reboot",     "is_fg_bg", "action",   "toast1",   "toast2",    "source",  "view_authority"};

constexpr std::string_view NameOf(Field field) {
    return kFieldNames[static_cast<std::size_t>(field)];
}

/// The fields that the store of unfixed problems keeps as texts, in the order of its columns. The last one
/// also tells the store where a row ends.
constexpr std::array<Field, 11> kKeptFields = {Field::kIssueCode,    Field::kActionType, Field::kIssueText,
                                               Field::kSolutionText, Field::kButton1,    Field::kButton2,
                                               Field::kAction,       Field::kToast1,     Field::kToast2,
                                               Field::kSource,       Field::kAuthority};

/// The fields that hold string ids.
constexpr std::array<Field, 6> kTextFields = {Field::kIssueText, Field::kSolutionText, Field::kButton1,
                                              Field::kButton2,   Field::kToast1,       Field::kToast2};

enum class ValueUse { kNone, kText, kNumber, kBoolean };

struct ActionType {
    std::string_view name;
    std::string_view target;  ///< what sol_name is; empty where it is only a note
    ValueUse value;
};

/// One of the operations of API, or a screen of MSGPORT.
struct Target {
    std::string_view name;
    ValueUse value;
};

const std::vector<ActionType>& ActionTypes();
const std::vector<Target>& Operations();
const std::vector<Target>& Screens();

/// Null for an unknown name; names are compared exactly.
const ActionType* FindActionType(std::string_view name);
const Target* FindOperation(std::string_view name);
const Target* FindScreen(std::string_view name);

/// The action uses the value in this way; kNone also for an action that is not known.
ValueUse UseOfValue(std::string_view actionType, std::string_view actionName);

/// By the lower-case name.
ElementKind KindOfElement(std::string_view lowerName);
const std::vector<std::string>& ElementNames();
/// The attributes that an element of the kind may have.
const std::vector<std::string>& AttributeNames(ElementKind kind);

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
