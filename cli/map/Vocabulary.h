// The words of a solution map: the elements and attributes that the library knows by name.
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

/// The fields that the store of unfixed problems keeps as texts, in the order of its columns. The store ends
/// a row at the first text that equals the last one, view_authority.
constexpr std::array<Field, 11> kKeptFields = {Field::kIssueCode,    Field::kActionType, Field::kIssueText,
                                               Field::kSolutionText, Field::kButton1,    Field::kButton2,
                                               Field::kAction,       Field::kToast1,     Field::kToast2,
                                               Field::kSource,       Field::kAuthority};

/// The fields that hold string ids.
constexpr std::array<Field, 6> kTextFields = {Field::kIssueText, Field::kSolutionText, Field::kButton1,
                                              Field::kButton2,   Field::kToast1,       Field::kToast2};

/// The kind of the element with the lower-case name.
ElementKind KindOfElement(std::string_view lowerName);
const std::vector<std::string>& ElementNames();
/// The attributes that an element of the kind may have.
const std::vector<std::string>& AttributeNames(ElementKind kind);

}  // namespace kuramap
