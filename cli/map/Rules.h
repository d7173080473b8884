// The checker's rules. One table holds the tag, the severity and the explanation of each rule;
// docs/map-rules.md is generated from it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kuramap {

/// Raise it when the rules find more, less or something else, or when a tag changes.
constexpr std::string_view kRuleSetVersion = "1.1";

enum class Severity { kOff, kInfo, kWarning, kError };

/// "error", "warning", "info", "off".
std::string_view NameOf(Severity severity);

/// The rules, in the order of the table.
enum class RuleId {
    kNotWellFormed,
    kRootNotClosed,
    kValueBeforeSolution,
    kNoSolutions,
    kCountMissing,
    kCountTooLarge,
    kCountTooSmall,
    kCodeNotANumber,
    kCodeLeadingZero,
    kCodeOutOfRange,
    kUnknownAction,
    kNameMissing,
    kUnknownOperation,
    kUnknownScreen,
    kValueMissing,
    kCommandLineBreak,
    kQuoteInKeptText,
    kTextEqualsAuthority,
    kUnknownElement,
    kUnknownAttribute,
    kTextContent,
    kDuplicateAttribute,
    kMisplacedElement,
    kRepeatedCount,
    kRepeatedVersion,
    kVersionNotANumber,
    kCountNotANumber,
    kValueNotANumber,
    kValueNotABoolean,
    kValueUnused,
    kSolutionCodeNotANumber,
    kKeyNearMiss,
    kCommandOverwritten,
    kToastLikeANumber,
    kGroundUnknown,
    kFilterNearMiss,
    kRebootUnknown,
    kScreenActionUnknown,
    kTextMissing,
    kTranslationMissing,
    kPlaceholdersDiffer,
    kTextTooLong,
    kCodeWithoutSolution,
    kSolutionWithoutCode,
    kAllowUnused,
    kEncodingNotUtf8,
    kRootUnusual,
    kNameNotLowerCase,
    kSeveralSolutions,
    kNeverShown,
    kAlwaysShown,
};

struct Rule {
    RuleId id;
    std::string_view tag;
    Severity severity;
    std::string_view summary;  ///< what is wrong, without an end mark
    std::string_view effect;   ///< what a set does with it
    std::string_view example;  ///< an extract in which the rule finds something
    std::string_view mend;
};

/// Errors first, then warnings, then infos.
const std::vector<Rule>& Rules();

const Rule& RuleOf(RuleId id);

/// Null for an unknown tag.
const Rule* FindRule(std::string_view tag);

/// The tags of all rules.
std::vector<std::string> Tags();

/// The explanation of a rule as plain text.
std::string Explain(const Rule& rule);

/// The text of docs/map-rules.md.
std::string RulesPage();

}  // namespace kuramap
